#include "api/source/nuv_codes.h"

namespace nuv {
namespace {

struct ColorRow {
    nuv_color code;
    const NUV_ColorType* const* tag;
    const char* name;
};

constexpr ColorRow colors[] = {
    {NUV_GRAY, &NUV_ColorType::gray, "gray"},
    {NUV_GRAY_REVERSE, &NUV_ColorType::gray_reverse, "gray-reverse"},
    {NUV_LSTAR, &NUV_ColorType::lstar, "lstar"},
    {NUV_RGB, &NUV_ColorType::s_rgb, "rgb"},
    {NUV_ADOBE_RGB, &NUV_ColorType::adobe_rgb, "adobe-rgb"},
    {NUV_HSL, &NUV_ColorType::hsl, "hsl"},
    {NUV_CMY, &NUV_ColorType::cmy, "cmy"},
    {NUV_XYZ, &NUV_ColorType::xyz, "xyz"},
    {NUV_ICC_LAB, &NUV_ColorType::icc_lab, "icc-lab"},
    {NUV_ITU_LAB, &NUV_ColorType::itu_lab, "itu-lab"},
    {NUV_YCBCR, &NUV_ColorType::ycbcr, "ycbcr"},
    {NUV_CMYK, &NUV_ColorType::cmyk, "cmyk"},
    {NUV_COLOR_OTHER, &NUV_ColorType::unknown, "of a color that is not told"},
};

} // namespace

const NUV_ColorType* color_tag_of(std::int32_t code) noexcept
{
    for (const ColorRow& row : colors) {
        if (row.code == code)
            return *row.tag;
    }
    return nullptr;
}

const char* color_name_of(const NUV_ColorType* tag) noexcept
{
    for (const ColorRow& row : colors) {
        if (*row.tag == tag)
            return row.name;
    }
    return tag->key();
}

nuv_color color_code_of(const NUV_ColorType* tag) noexcept
{
    for (const ColorRow& row : colors) {
        if (*row.tag == tag)
            return row.code;
    }
    return NUV_COLOR_OTHER;
}

const NUV_DataType* data_tag_of(std::int32_t type) noexcept
{
    switch (type) {
    case NUV_UNSIGNED:
        return NUV_DataType::u_integer;
    case NUV_SIGNED:
        return NUV_DataType::s_integer;
    case NUV_REAL:
        return NUV_DataType::floating;
    default:
        return nullptr;
    }
}

nuv_sample_type data_code_of(const NUV_DataType* tag) noexcept
{
    if (tag == NUV_DataType::floating)
        return NUV_REAL;
    return tag == NUV_DataType::s_integer ? NUV_SIGNED : NUV_UNSIGNED;
}

nuv_status status_of(NUV_Cause cause) noexcept
{
    switch (cause) {
    case NUV_Cause::none:
        return NUV_OK;
    case NUV_Cause::cancelled:
        return NUV_CANCELLED;
    case NUV_Cause::bad_call:
        return NUV_BAD_CALL;
    case NUV_Cause::no_memory:
        return NUV_NO_MEMORY;
    case NUV_Cause::limit:
        return NUV_LIMIT;
    case NUV_Cause::io:
        return NUV_IO;
    case NUV_Cause::unknown_kind:
        return NUV_UNKNOWN_KIND;
    case NUV_Cause::unsupported:
        return NUV_UNSUPPORTED;
    case NUV_Cause::invalid:
        return NUV_INVALID;
    case NUV_Cause::damaged:
        return NUV_DAMAGED;
    }
    return NUV_INVALID;
}

std::uint32_t sampling_key_of(std::int32_t code) noexcept
{
    switch (code) {
    case NUV_SAMPLING_444:
        return 0x111111;
    case NUV_SAMPLING_DEFAULT:
    case NUV_SAMPLING_422:
        return 0x211111;
    case NUV_SAMPLING_420:
        return 0x221111;
    case NUV_SAMPLING_411:
        return 0x411111;
    default:
        return 0;
    }
}

nuv_sampling sampling_code_of(std::uint32_t key) noexcept
{
    switch (key) {
    case 0x111111:
        return NUV_SAMPLING_444;
    case 0x211111:
    case 0x121111:
        return NUV_SAMPLING_422;
    case 0x221111:
        return NUV_SAMPLING_420;
    case 0x411111:
    case 0x141111:
        return NUV_SAMPLING_411;
    default:
        return NUV_SAMPLING_OTHER;
    }
}

nuv_picture picture_of(const NUV_Header& header) noexcept
{
    nuv_picture picture{};
    picture.size = sizeof(picture);
    picture.width = header.width();
    picture.height = header.height();
    picture.channels = header.channels();
    picture.bits = header.bits();
    picture.color = color_code_of(header.color_type());
    picture.type = data_code_of(header.data_type());
    picture.palette_entries = header.palette().entries;
    return picture;
}

} // namespace nuv
