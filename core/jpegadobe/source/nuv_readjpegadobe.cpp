#include "core/jpegadobe/nuv_readjpegadobe.h"

#include "core/jpeg/nuv_readjpeg.h"
#include "core/jpegadobe/nuv_convertycck.h"
#include "core/lut/nuv_lut.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_nop.h"

#include <array>
#include <cstddef>

namespace nuv {
namespace {

bool is_adobe_image(const NUV_Header& header)
{
    if (header.bits() != 8)
        return false;
    const NUV_ColorType* const color = header.color_type();
    switch (header.channels()) {
    case 1:
        return color == NUV_ColorType::gray;
    case 3:
        return color == NUV_ColorType::s_rgb || color == NUV_ColorType::ycbcr;
    case 4:
        return color == NUV_ColorType::unknown;
    default:
        return false;
    }
}

} // namespace

NUV_Engine* NUV_ReadJPEGAdobe::engine(NUV_InputStorage* storage, std::int32_t scale)
{
    NUV_JPEGAdobeInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadJPEGAdobe::engine()");
    return engine(storage, &info, scale);
}

NUV_Engine* NUV_ReadJPEGAdobe::engine(NUV_InputStorage* storage, const NUV_JPEGAdobeInfo* info,
                                      std::int32_t scale)
{
    constexpr auto method = "NUV_ReadJPEGAdobe::engine()";

    if (!info || !info->loaded() || !storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    // Before the header's validity: other depths are known, and not meant for a raw image.
    if (!is_adobe_image(*info))
        return fail(manager(), NUV_ERR_INVALID_DATA, method, info->not_served());
    if (!info->is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    NUV_Engine* last = NUV_ReadJPEG(manager()).engine(storage, info, scale);
    if (last && last->header()->color_type() != info->color_type()) {
        NUV_Header header(manager());
        if (!header.copy(*last->header()))
            return nullptr;
        header.color_type(info->color_type());
        last = NUV_RewriteHeader(manager()).engine(last, &header);
    }
    if (!last || info->channels() != 4)
        return last;
    return info->transform() != 0 ? NUV_ConvertYCCKToYCbCr(manager()).engine(last)
                                  : turn_cmyk(last);
}

NUV_Engine* NUV_ReadJPEGAdobe::turn_cmyk(NUV_Engine* inverted)
{
    constexpr std::size_t channels = 4;
    constexpr std::size_t entries = 256;

    std::array<std::uint8_t, channels * entries> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<std::uint8_t>(255 - i % entries);
    const NUV_Held<NUV_LutData> table = make_object<NUV_LutData>(manager());
    if (!table)
        return nullptr;
    table->bits = 8;
    table->channels = channels;
    table->entries = entries;
    if (!table->value(values.data(), values.size()))
        return nullptr;
    return NUV_Lut(manager()).engine(inverted, table.get(), NUV_ColorType::cmyk);
}

} // namespace nuv
