#include "extension/scalei2var/nuv_scalei2var.h"

#include "core/include/nuv_interpolationtable.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "extension/scalei2utility/nuv_scalei2arithmetic.h"
#include "extension/scalei2utility/nuv_scalei2mask.h"

namespace nuv {

NUV_Engine* NUV_ScaleI2VAR::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height)
{
    return engine(previous, width, height, -0.75F, std::uint16_t{0});
}

NUV_Engine* NUV_ScaleI2VAR::engine(NUV_Engine* previous, double ratio_x, double ratio_y, float a)
{
    if (!accepts_image(previous, "NUV_ScaleI2VAR::engine()"))
        return nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    if (!ratio_to_size_mine(previous->header(), ratio_x, ratio_y, width, height))
        return nullptr;
    return engine(previous, width, height, a, std::uint16_t{0});
}

NUV_Engine* NUV_ScaleI2VAR::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                   float a, std::uint16_t bits)
{
    constexpr auto method = "NUV_ScaleI2VAR::engine()";

    if (!accepts(previous, width, height, method))
        return nullptr;
    const NUV_Header& source = *previous->header();
    if (!limits_bits(source, bits) && width == source.width() && height == source.height())
        return previous;
    if (!takes_scale_i2(source))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (width < scale_i2_least_size || height < scale_i2_least_size)
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    const auto mask_x = scale_i2_mask(static_cast<double>(width) / source.width());
    const auto mask_y = scale_i2_mask(static_cast<double>(height) / source.height());
    if (!mask_x || !mask_y)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    NUV_Held<NUV_CubicSplineTable> table = make_object<NUV_CubicSplineTable>(manager());
    if (!table || !table->allocate())
        return nullptr;
    table->fill(a);
    table->stretch(mask_x->stretch, mask_y->stretch);
    return source.bits() == 8
               ? scale_fixed(previous, width, height, bits, *table, mask_x->taps, mask_y->taps)
               : scale_float(previous, width, height, bits, *table, mask_x->taps, mask_y->taps);
}

bool NUV_ScaleI2VAR::ratio_to_size_mine(const NUV_Header* header, double ratio_x, double ratio_y,
                                        std::uint32_t& width, std::uint32_t& height)
{
    return scaled_sizes(header, ratio_x, ratio_y, width, height,
                        "NUV_ScaleI2VAR::ratio_to_size_mine()");
}

// An axis that keeps its size is shifted to and from the intermediate form, which the other one
// needs all the same; down the lines only where there is nothing to limit.
NUV_Engine* NUV_ScaleI2VAR::scale_fixed(NUV_Engine* previous, std::uint32_t width,
                                        std::uint32_t height, std::uint16_t bits,
                                        const NUV_CubicSplineTable& table, std::uint32_t taps_x,
                                        std::uint32_t taps_y)
{
    const NUV_Header& source = *previous->header();
    const double ratio_x = static_cast<double>(width) / source.width();
    const double ratio_y = static_cast<double>(height) / source.height();
    const bool keeps_lines = is_same_ratio(ratio_y, 1) && !limits_bits(source, bits);
    constexpr std::int32_t shift = NUV_ScaleI2FixedArithmetic::middle_bits;

    NUV_Engine* middle = nullptr;
    if (is_same_ratio(ratio_x, 1)) {
        middle = NUV_ShiftData(manager()).engine(previous, NUV_DataType::s_integer,
                                                 std::uint16_t{16}, shift, false);
    } else {
        middle = NUV_ScaleI2VARWidthFixedReal(manager()).engine(previous, width, &table, taps_x);
    }
    if (!middle)
        return nullptr;
    if (keeps_lines) {
        return NUV_ShiftData(manager()).engine(middle, NUV_DataType::u_integer, std::uint16_t{8},
                                               -shift, true);
    }
    return NUV_ScaleI2VARHeightFixedReal(manager()).engine(middle, height, bits, &table, taps_y);
}

} // namespace nuv
