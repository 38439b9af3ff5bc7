#include "wrapper/source/nuv_wrapper_codes.h"

#include "core/jpeg/nuv_jpeginfo.h"
#include "framework/base/nuv_tags.h"
#include "wrapper/nuv_wrapper.h"

namespace nuv {

const NUV_ColorType* color_tag(std::int32_t code) noexcept
{
    switch (code) {
    case ColorType::eGray:
        return NUV_ColorType::gray;
    case ColorType::eGrayReverse:
        return NUV_ColorType::gray_reverse;
    case ColorType::eRGB:
        return NUV_ColorType::s_rgb;
    case ColorType::eYCbCr:
        return NUV_ColorType::ycbcr;
    default:
        return NUV_ColorType::unknown;
    }
}

std::int32_t color_code(const NUV_ColorType* tag) noexcept
{
    if (tag == NUV_ColorType::gray)
        return ColorType::eGray;
    if (tag == NUV_ColorType::gray_reverse)
        return ColorType::eGrayReverse;
    if (tag == NUV_ColorType::s_rgb || tag == NUV_ColorType::adobe_rgb)
        return ColorType::eRGB;
    if (tag == NUV_ColorType::ycbcr)
        return ColorType::eYCbCr;
    return ColorType::eUnknown;
}

const NUV_EncodeType* encode_tag(std::int32_t format) noexcept
{
    if (format == Format::eRaw)
        return NUV_EncodeType::raw;
    if (format == Format::eJPEG || format == Format::eLosslessJPEG)
        return NUV_EncodeType::jpeg;
    return NUV_EncodeType::unknown;
}

std::int32_t format_code(const NUV_EncodeType* tag) noexcept
{
    if (tag == NUV_EncodeType::raw)
        return Format::eRaw;
    if (tag == NUV_EncodeType::jpeg)
        return Format::eJPEG;
    if (tag == NUV_EncodeType::jpeg2000)
        return Format::eJPEG2000;
    return Format::eOther;
}

std::int32_t format_code(const NUV_JPEGInfo& jpeg) noexcept
{
    if (jpeg.is_lossless())
        return Format::eLosslessJPEG;
    return jpeg.is_progressive() ? Format::eProgressiveJPEG : Format::eJPEG;
}

bool is_gray(std::int32_t code) noexcept
{
    return code == ColorType::eGray || code == ColorType::eGrayReverse;
}

std::uint32_t sampling_key(std::int32_t code) noexcept
{
    switch (code) {
    case WriteJPEGOption::eSampling444:
        return 0x111111;
    case WriteJPEGOption::eSampling420:
        return 0x221111;
    case WriteJPEGOption::eSampling411:
        return 0x411111;
    default:
        return 0x211111;
    }
}

std::int32_t sampling_code(std::uint32_t key) noexcept
{
    switch (key) {
    case 0x111111:
        return WriteJPEGOption::eSampling444;
    case 0x211111:
    case 0x121111:
        return WriteJPEGOption::eSampling422;
    case 0x221111:
        return WriteJPEGOption::eSampling420;
    case 0x411111:
    case 0x141111:
        return WriteJPEGOption::eSampling411;
    default:
        return WriteJPEGOption::eSamplingOther;
    }
}

} // namespace nuv
