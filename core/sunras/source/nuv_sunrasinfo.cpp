#include "core/sunras/nuv_sunrasinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/utility/nuv_endian.h"

#include <cstddef>

namespace nuv {
namespace {

constexpr std::uint32_t sun_magic = 0x59A66A95;
constexpr std::uint32_t no_map = 0;
constexpr std::uint32_t rgb_map = 1;

} // namespace

bool NUV_SunrasInfo::broken(const NUV_Diagnosis& why)
{
    return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_SunrasInfo::load()", why);
}

bool NUV_SunrasInfo::broken_map(const NUV_InputStorage& storage, std::uint32_t map_bytes)
{
    return broken(ends_early(storage, "the colour map", map_bytes));
}

NUV_Diagnosis NUV_SunrasInfo::at(std::uint32_t offset) const noexcept
{
    return NUV_Diagnosis().at_byte(std::int64_t{start_} + offset);
}

bool NUV_SunrasInfo::invalid(const NUV_Diagnosis& why)
{
    return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_SunrasInfo::load()", why);
}

bool NUV_SunrasInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_SunrasInfo::load()");
    start_ = storage->position();
    if (load_fields(*storage))
        return true;
    static_cast<void>(storage->to(start_));
    return false;
}

bool NUV_SunrasInfo::load_fields(NUV_InputStorage& storage)
{
    std::uint8_t magic[4];
    if (read_up_to(storage, magic, sizeof(magic)) != sizeof(magic))
        return broken(NUV_Diagnosis().because(NUV_Cause::unknown_kind).says("it is too short"));
    if (load_be32(magic) != sun_magic)
        return false;
    std::uint8_t stored[28]; // width, height, depth, length, type, map type, map length
    if (!read_exactly(storage, stored, sizeof(stored)))
        return broken(ends_early(storage, "the header", sizeof(stored)));

    width(load_be32(stored));
    height(load_be32(stored + 4));
    if (width() == 0 || height() == 0)
        return invalid(at(4).says("%u x %u pixels", width(), height()));
    const NUV_Fields fields{.depth = load_be32(stored + 8),
                            .type = load_be32(stored + 16),
                            .map_type = load_be32(stored + 20),
                            .map_bytes = load_be32(stored + 24)};
    return describe(fields) && load_map(storage, fields);
}

bool NUV_SunrasInfo::describe(const NUV_Fields& fields)
{
    bits(fields.depth == 1 ? 1 : 8);
    switch (fields.depth) {
    case 1:
        channels(1);
        color_type(NUV_ColorType::gray_reverse);
        break;
    case 8:
        channels(1);
        color_type(fields.map_type == rgb_map && fields.map_bytes != 0 ? NUV_ColorType::s_rgb
                                                                       : NUV_ColorType::gray);
        break;
    case 24:
        channels(3);
        color_type(NUV_ColorType::s_rgb);
        break;
    case 32:
        channels(4);
        color_type(NUV_ColorType::cmyk);
        break;
    default:
        return invalid(at(12).says("%u bits a pixel", fields.depth));
    }
    if (fields.type > rgb_type)
        return invalid(at(20).says("type %u", fields.type));
    type_ = fields.type;
    data_type(NUV_DataType::u_integer);
    encode_type(type_ == byte_encoded_type ? NUV_EncodeType::byte_encode : NUV_EncodeType::raw);
    return true;
}

bool NUV_SunrasInfo::load_map(NUV_InputStorage& storage, const NUV_Fields& fields)
{
    if (!palette().copy(NUV_Palette(manager()))) // none, until this file has one
        return false;
    const bool is_palette = fields.map_type == rgb_map && bits() == 8 && channels() == 1;
    if (is_palette && (fields.map_bytes == 0 || fields.map_bytes % 3 != 0))
        return invalid(at(28).says("a colour map of %u bytes", fields.map_bytes));
    if (fields.map_type != no_map && fields.map_type != rgb_map)
        return invalid(at(24).says("a colour map of type %u", fields.map_type));
    // Before anything is skipped or allocated by it: any 32 bits can stand there.
    if (fields.map_bytes > remaining_bytes(storage))
        return broken_map(storage, fields.map_bytes);
    map_type_ = fields.map_type;
    if (is_palette)
        return load_palette(storage, fields.map_bytes);
    return skip_exactly(storage, fields.map_bytes) || broken_map(storage, fields.map_bytes);
}

// The map has all reds, then all greens, then all blues.
bool NUV_SunrasInfo::load_palette(NUV_InputStorage& storage, std::uint32_t map_bytes)
{
    constexpr std::uint32_t most_entries = 65536; // that any palette can have

    const std::uint32_t entries = map_bytes / 3;
    palette().bits = 8;
    palette().channels = 3;
    palette().entries = entries;
    if (entries > most_entries) // Not kept: the header is not valid, which the reader refuses.
        return skip_exactly(storage, map_bytes) || broken_map(storage, map_bytes);

    NUV_Scratch<std::uint8_t> stored;
    NUV_Scratch<std::uint8_t> value;
    if (!stored.allocate(manager(), map_bytes) || !value.allocate(manager(), map_bytes))
        return false;
    if (!read_exactly(storage, stored.data(), map_bytes))
        return broken_map(storage, map_bytes);
    for (std::size_t i = 0; i < entries; ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            value[3 * i + c] = stored[c * entries + i];
    }
    return palette().value(value.data(), map_bytes);
}

} // namespace nuv
