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

bool NUV_SunrasInfo::broken()
{
    return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_SunrasInfo::load()",
                NUV_Diagnosis().says("the header ends early"));
}

bool NUV_SunrasInfo::invalid(const NUV_Diagnosis& why)
{
    return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_SunrasInfo::load()", why);
}

bool NUV_SunrasInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_SunrasInfo::load()");
    const std::int32_t start = storage->position();
    if (load_fields(*storage))
        return true;
    static_cast<void>(storage->to(start));
    return false;
}

bool NUV_SunrasInfo::load_fields(NUV_InputStorage& storage)
{
    std::uint8_t magic[4];
    if (read_up_to(storage, magic, sizeof(magic)) != sizeof(magic))
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_SunrasInfo::load()",
                    NUV_Diagnosis().because(NUV_Cause::unknown_kind).says("it is too short"));
    if (load_be32(magic) != sun_magic)
        return false;
    std::uint8_t stored[28]; // width, height, depth, length, type, map type, map length
    if (read_up_to(storage, stored, sizeof(stored)) != sizeof(stored))
        return broken();

    width(load_be32(stored));
    height(load_be32(stored + 4));
    if (width() == 0 || height() == 0)
        return invalid(NUV_Diagnosis().says("%u x %u pixels", width(), height()));
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
        return invalid(NUV_Diagnosis().says("%u bits a pixel", fields.depth));
    }
    if (fields.type > rgb_type)
        return invalid(NUV_Diagnosis().says("type %u", fields.type));
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
        return invalid(NUV_Diagnosis().says("a colour map of %u bytes", fields.map_bytes));
    if (fields.map_type != no_map && fields.map_type != rgb_map)
        return invalid(NUV_Diagnosis().says("a colour map of type %u", fields.map_type));
    // Before anything is skipped or allocated by it: any 32 bits can stand there.
    const std::int64_t left = std::int64_t{storage.size()} - storage.position();
    if (fields.map_bytes > left)
        return broken();
    const auto map_bytes = static_cast<std::int32_t>(fields.map_bytes);
    map_type_ = fields.map_type;
    if (is_palette)
        return load_palette(storage, fields.map_bytes);
    return storage.ignore(map_bytes) == map_bytes || broken();
}

// The map has all reds, then all greens, then all blues.
bool NUV_SunrasInfo::load_palette(NUV_InputStorage& storage, std::uint32_t map_bytes)
{
    constexpr std::uint32_t most_entries = 65536; // that any palette can have

    const std::uint32_t entries = map_bytes / 3;
    palette().bits = 8;
    palette().channels = 3;
    palette().entries = entries;
    const auto stored_bytes = static_cast<std::int32_t>(map_bytes);
    if (entries > most_entries) // Not kept: the header is not valid, which the reader refuses.
        return storage.ignore(stored_bytes) == stored_bytes || broken();

    NUV_Scratch<std::uint8_t> stored;
    NUV_Scratch<std::uint8_t> value;
    if (!stored.allocate(manager(), map_bytes) || !value.allocate(manager(), map_bytes))
        return false;
    if (read_up_to(storage, stored.data(), map_bytes) != map_bytes)
        return broken();
    for (std::size_t i = 0; i < entries; ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            value[3 * i + c] = stored[c * entries + i];
    }
    return palette().value(value.data(), map_bytes);
}

} // namespace nuv
