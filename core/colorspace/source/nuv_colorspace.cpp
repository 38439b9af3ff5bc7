#include "core/colorspace/nuv_colorspace.h"

#include "core/colorspace/source/nuv_colorspaceconverter.h"
#include "core/colorspace/source/nuv_csutilitymaker.h"

namespace nuv {
namespace {

[[nodiscard]] bool is_served(const NUV_Header& header, const NUV_ColorType& target)
{
    if (!header.is_raw() || header.data_type() != NUV_DataType::u_integer ||
        !header.palette().is_empty())
        return false;
    const bool is_bilevel = header.bits() == 1 && header.channels() == 1 && target.channels() == 1;
    return header.bits() == 8 || header.bits() == 16 || is_bilevel;
}

} // namespace

NUV_Engine* NUV_ColorSpace::engine(NUV_Engine* previous, const NUV_ColorType* target)
{
    constexpr auto method = "NUV_ColorSpace::engine()";

    if (!has_image(previous) || !target)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const NUV_Header& header = *previous->header();
    if (header.color_type() == target)
        return previous;
    if (!is_convertible(header.color_type()) || !is_convertible(target) ||
        !is_served(header, *target))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    const auto convert = [&]<class T>() -> NUV_Engine* {
        NUV_CsUtilityMaker<T> plan(manager());
        if (!plan.make(header.color_type(), target, header.bits())) // a status stands, mostly
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
        return NUV_ColorSpaceConverter(manager()).engine(previous, target, &plan);
    };
    return header.bits() == 16 ? convert.operator()<std::uint16_t>()
                               : convert.operator()<std::uint8_t>();
}

} // namespace nuv
