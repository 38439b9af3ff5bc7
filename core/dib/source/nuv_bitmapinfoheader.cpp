#include "core/dib/nuv_bitmapinfoheader.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <iterator>

namespace nuv {
namespace {

constexpr auto is_valid_method = "NUV_BitmapInfoHeader::is_valid()";

constexpr std::uint32_t header_sizes[] = {12, 40, 52, 56, 60, 96, 108, 112, 120, 124};

// Numbers of known colour spaces, besides those of profiles.
constexpr std::uint32_t calibrated_rgb = 0;
constexpr std::uint32_t s_rgb = 0x73524742;
constexpr std::uint32_t windows_color_space = 0x57696E20;

[[nodiscard]] bool is_header_size(std::uint32_t bytes) noexcept
{
    return std::ranges::find(header_sizes, bytes) != std::end(header_sizes);
}

// No bits, or bits without a gap.
[[nodiscard]] constexpr bool is_one_run(std::uint32_t mask) noexcept
{
    if (mask == 0)
        return true;
    const std::uint32_t run = mask >> std::countr_zero(mask);
    return (run & (run + 1)) == 0;
}

} // namespace

bool NUV_BitmapInfoHeader::read(NUV_InputStorage* storage)
{
    constexpr auto method = "NUV_BitmapInfoHeader::read()";
    constexpr std::uint32_t masks = masks_bytes - info_bytes;

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    std::uint8_t stored[most_bytes] = {};
    std::uint8_t* const behind_size = stored + sizeof(header_size);
    const auto read_part = [&](std::uint8_t* into, std::uint32_t bytes) -> bool {
        return read_exactly(*storage, into, bytes) ||
               fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    ends_early(*storage, "the information header", bytes));
    };
    start_ = storage->position();
    if (!read_part(stored, sizeof(header_size)))
        return false;
    header_size = load_le32(stored);
    if (!is_header_size(header_size))
        return false;
    if (!read_part(behind_size, header_size - std::uint32_t{sizeof(header_size)}))
        return false;
    if (header_size == core_bytes) {
        take_core(stored);
        return true;
    }
    take_info(stored);
    if (!has_masks_behind())
        return true;
    if (!read_part(stored + info_bytes, masks))
        return false;
    take_info(stored);
    return true;
}

// Width and height have a sign here, too.
void NUV_BitmapInfoHeader::take_core(const std::uint8_t* stored) noexcept
{
    static constexpr std::uint8_t nothing[most_bytes] = {};

    take_info(nothing);
    width = static_cast<std::int16_t>(load_le16(stored + 4));
    height = static_cast<std::int16_t>(load_le16(stored + 6));
    planes = load_le16(stored + 8);
    bit_count = load_le16(stored + 10);
}

// `stored` is the longest header there is; zeros stand for what is not there.
void NUV_BitmapInfoHeader::take_info(const std::uint8_t* stored) noexcept
{
    constexpr std::uint32_t intent_bytes = 112; // the least header with an intent
    constexpr std::uint32_t picture_intent = 4;

    width = static_cast<std::int32_t>(load_le32(stored + 4));
    height = static_cast<std::int32_t>(load_le32(stored + 8));
    planes = load_le16(stored + 12);
    bit_count = load_le16(stored + 14);
    compression = load_le32(stored + 16);
    size_image = load_le32(stored + 20);
    x_pels_per_meter = static_cast<std::int32_t>(load_le32(stored + 24));
    y_pels_per_meter = static_cast<std::int32_t>(load_le32(stored + 28));
    clr_used = load_le32(stored + 32);
    clr_important = load_le32(stored + 36);
    red_mask = load_le32(stored + 40);
    green_mask = load_le32(stored + 44);
    blue_mask = load_le32(stored + 48);
    alpha_mask = load_le32(stored + 52);
    cs_type = load_le32(stored + 56);
    for (std::size_t i = 0; i < std::size(end_points); ++i)
        end_points[i] = load_le32(stored + 60 + 4 * i);
    gamma_red = load_le32(stored + 96);
    gamma_green = load_le32(stored + 100);
    gamma_blue = load_le32(stored + 104);
    intent = header_size < intent_bytes ? picture_intent : load_le32(stored + 108);
    profile_data = load_le32(stored + 112);
    profile_size = load_le32(stored + 116);
    reserved = load_le32(stored + 120);
}

bool NUV_BitmapInfoHeader::has_valid_masks() const noexcept
{
    const bool are_runs = is_one_run(red_mask) && is_one_run(green_mask) && is_one_run(blue_mask);
    const std::uint32_t shared =
        (red_mask & green_mask) | (red_mask & blue_mask) | (green_mask & blue_mask);
    return are_runs && shared == 0;
}

void NUV_BitmapInfoHeader::check_color_space() const
{
    constexpr std::uint32_t known[] = {calibrated_rgb, s_rgb, windows_color_space, linked_profile,
                                       embedded_profile};
    if (std::ranges::find(known, cs_type) == std::end(known))
        warn(manager(), NUV_WARN_BROKEN_DATA, is_valid_method,
             at(56).because(NUV_Cause::invalid).says("a colour space %08x", cs_type));
}

NUV_Diagnosis NUV_BitmapInfoHeader::at(std::int64_t offset) const noexcept
{
    NUV_Diagnosis why;
    return start_ == NUV_Diagnosis::unknown ? why : why.at_byte(start_ + offset);
}

bool NUV_BitmapInfoHeader::invalid(const NUV_Diagnosis& why) const
{
    return fail(manager(), NUV_ERR_INVALID_DATA, is_valid_method, why);
}

bool NUV_BitmapInfoHeader::is_valid() const
{
    constexpr std::uint16_t depths[] = {1, 4, 8, 16, 24, 32};

    if (!is_header_size(header_size))
        return false;
    NUV_Diagnosis depth_place = at(header_size == core_bytes ? 10 : 14);
    if (width <= 0 || height == 0)
        return invalid(at(4).says("%d x %d pixels", width, height));
    if (std::ranges::find(depths, bit_count) == std::end(depths))
        return invalid(depth_place.says("%u bits a pixel", unsigned{bit_count}));
    if (compression > bit_fields)
        return invalid(at(16).says("a coding %u", compression));
    if (compression == bit_fields && bit_count != 16 && bit_count != 32)
        return invalid(depth_place.says("fields of %u bits", unsigned{bit_count}));
    if (compression == bit_fields && !has_valid_masks())
        return invalid(at(40).says("fields %08x %08x %08x", red_mask, green_mask, blue_mask));
    if (header_size >= color_space_bytes)
        check_color_space();
    return true;
}

} // namespace nuv
