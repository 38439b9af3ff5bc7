#include "core/dib/nuv_dibinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

constexpr std::size_t most_colors = 256; // that pixels of 8 bits can name

// True when the palette begins with these two gray levels.
[[nodiscard]] bool begins_with(const NUV_Header::NUV_Palette& palette, std::uint8_t first,
                               std::uint8_t second) noexcept
{
    const std::uint8_t levels[] = {first, first, first, second, second, second};
    return palette.entries >= 2 && std::memcmp(palette.value(), levels, sizeof(levels)) == 0;
}

[[nodiscard]] const NUV_EncodeType* encode_type_of(std::uint32_t compression) noexcept
{
    switch (compression) {
    case NUV_BitmapInfoHeader::rle8:
        return NUV_EncodeType::win_rle8;
    case NUV_BitmapInfoHeader::rle4:
        return NUV_EncodeType::win_rle4;
    default:
        return NUV_EncodeType::raw;
    }
}

} // namespace

bool NUV_DIBInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_DIBInfo::load()");
    const std::int32_t start = storage->position();
    if (load_headers(*storage))
        return true;
    static_cast<void>(storage->to(start));
    return false;
}

bool NUV_DIBInfo::load_headers(NUV_InputStorage& storage)
{
    const std::int32_t start = storage.position();
    if (!info_header_.read(&storage) || !info_header_.is_valid() || !interpret_info_header(storage))
        return false;
    consumed_bytes_ = static_cast<std::uint32_t>(storage.position() - start);
    return true;
}

bool NUV_DIBInfo::interpret_info_header(NUV_InputStorage& storage)
{
    const NUV_BitmapInfoHeader& stored = info_header_;
    const auto lines = static_cast<std::uint32_t>(stored.height);
    width(static_cast<std::uint32_t>(stored.width));
    height(stored.height < 0 ? 0 - lines : lines);
    data_type(NUV_DataType::u_integer);
    encode_type(encode_type_of(stored.compression));

    NUV_Palette colors(manager());
    if (!read_palette(storage, colors, stored.clr_used, stored.bit_count))
        return false;
    describe_samples(colors);
    if (!palette().copy(colors))
        return false;
    resolution_.x = stored.x_pels_per_meter;
    resolution_.y = stored.y_pels_per_meter;
    resolution_.unit = NUV_ResolutionInfo::per_metre;
    return load_profile(storage);
}

// Bits, channels and colour, and no palette where these tell the colours.
void NUV_DIBInfo::describe_samples(NUV_Palette& colors)
{
    const std::uint16_t depth = info_header_.bit_count;
    channels(depth > 8 ? 3 : 1);
    bits(depth == 1 ? 1 : 8);
    color_type(NUV_ColorType::s_rgb);
    if (info_header_.compression == NUV_BitmapInfoHeader::bit_fields)
        bits(mask_depth(depth));
    if (depth != 1)
        return;
    if (begins_with(colors, 0, 255))
        color_type(NUV_ColorType::gray);
    else if (begins_with(colors, 255, 0))
        color_type(NUV_ColorType::gray_reverse);
    else
        return;
    colors.bits = colors.channels = 0;
    colors.entries = 0;
    static_cast<void>(colors.value(nullptr, 0)); // which cannot fail for nothing
}

// The bits of a sample that the widest field needs. The scan goes upward through the three fields
// as if they lay in this order: with red in the highest bits, it alone is measured.
std::uint16_t NUV_DIBInfo::mask_depth(std::uint32_t bit_count) const noexcept
{
    std::uint32_t position = 0;
    std::uint32_t widest = 0;
    for (const std::uint32_t mask :
         {info_header_.red_mask, info_header_.green_mask, info_header_.blue_mask}) {
        while (position < bit_count && (mask >> position & 1) == 0)
            ++position;
        if (position >= bit_count)
            continue;
        const std::uint32_t first = position;
        while (position < 32 && (mask >> position & 1) != 0)
            ++position;
        widest = std::max(widest, position - first);
    }
    if (widest <= 8)
        return 8;
    return widest <= 16 ? 16 : 32;
}

bool NUV_DIBInfo::read_palette(NUV_InputStorage& storage, NUV_Palette& palette,
                               std::uint32_t clr_used, std::uint32_t bit_count)
{
    const auto broken = [&](std::uint32_t bytes) {
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_DIBInfo::read_palette()",
                    ends_early(storage, "the colour table", bytes));
    };
    const std::uint32_t used = clr_used & 0xFFFF;
    const std::uint32_t entry_bytes = info_header_.color_bytes();
    const bool has_indices = bit_count == 1 || bit_count == 4 || bit_count == 8;
    color_table_bytes_ = 0;
    if (!has_indices && bit_count != 16 && bit_count != 24 && bit_count != 32)
        return false;
    if (!has_indices) {
        // A table is a proposal for poorer screens here, and skipped.
        color_table_bytes_ = used * entry_bytes;
        return skip_exactly(storage, color_table_bytes_) || broken(color_table_bytes_);
    }

    const std::uint32_t limit = std::uint32_t{1} << bit_count;
    const std::uint32_t count = used != 0 ? std::min(used, limit) : limit;
    const std::uint32_t beyond = used > limit ? used - limit : 0;
    color_table_bytes_ = count * entry_bytes;
    std::uint8_t stored[4 * most_colors];
    if (!read_exactly(storage, stored, color_table_bytes_))
        return broken(color_table_bytes_);
    if (!skip_exactly(storage, beyond * entry_bytes))
        return broken(beyond * entry_bytes);

    std::uint8_t value[3 * most_colors];
    for (std::size_t i = 0; i < count; ++i)
        std::reverse_copy(stored + i * entry_bytes, stored + i * entry_bytes + 3, value + 3 * i);
    palette.bits = 8;
    palette.channels = 3;
    palette.entries = count;
    return palette.value(value, 3 * count);
}

// By its place in the storage, which then stands where it stood. False when it cannot: the pixels
// may follow there.
bool NUV_DIBInfo::load_profile(NUV_InputStorage& storage)
{
    profile_.free();
    if (!info_header_.has_profile())
        return true;
    const auto behind_table = static_cast<std::uint32_t>(storage.position());
    if (seek_exactly(storage, info_header_.profile_data))
        read_profile(storage, info_header_.profile_size);
    else
        warn_of_profile();
    return seek_exactly(storage, behind_table);
}

bool NUV_DIBInfo::read_profile(NUV_InputStorage& storage, std::uint32_t size)
{
    profile_.free();
    if (size == 0)
        return true;
    const bool is_there = size <= remaining_bytes(storage);
    if (is_there && !profile_.allocate(manager(), size))
        return true;
    if (is_there)
        std::memset(profile_.data(), 0, size);
    if (!is_there || !read_exactly(storage, profile_.data(), size))
        warn_of_profile();
    return true;
}

void NUV_DIBInfo::warn_of_profile()
{
    warn(manager(), NUV_WARN_BROKEN_DATA, "NUV_DIBInfo::read_profile()",
         NUV_Diagnosis()
             .because(NUV_Cause::invalid)
             .at_byte(info_header_.profile_data)
             .says("%u bytes of a profile end early", info_header_.profile_size));
}

} // namespace nuv
