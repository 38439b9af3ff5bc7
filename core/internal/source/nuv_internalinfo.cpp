#include "core/internal/nuv_internalinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/utility/nuv_endian.h"

#include <bit>

namespace nuv {
namespace {

constexpr std::uint32_t magic = 0x4E555646; // "NUVF"
constexpr std::uint32_t version_1 = 0x00010000;
constexpr std::uint32_t magic_bytes = 4;
constexpr std::uint32_t header_bytes = 56; // magic and fields

[[nodiscard]] std::int32_t load_id(const std::uint8_t* from)
{
    return static_cast<std::int32_t>(load_be32(from));
}

} // namespace

NUV_Diagnosis NUV_InternalInfo::at(std::uint32_t offset) const noexcept
{
    return NUV_Diagnosis().at_byte(std::int64_t{start_} + offset);
}

bool NUV_InternalInfo::refuse(std::uint32_t code, const NUV_Diagnosis& why)
{
    return fail(manager(), code, "NUV_InternalInfo::load()", why);
}

bool NUV_InternalInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return refuse(NUV_ERR_ARGUMENT);
    start_ = storage->position();
    if (load_fields(*storage))
        return true;
    static_cast<void>(storage->to(start_));
    return false;
}

bool NUV_InternalInfo::load_fields(NUV_InputStorage& storage)
{
    std::uint8_t fields[header_bytes];
    if (!read_exactly(storage, fields, magic_bytes))
        return refuse(NUV_ERR_BROKEN_DATA,
                      NUV_Diagnosis().because(NUV_Cause::unknown_kind).says("it is too short"));
    if (load_be32(fields) != magic)
        return false;
    if (!read_exactly(storage, fields + magic_bytes, header_bytes - magic_bytes))
        return refuse(NUV_ERR_BROKEN_DATA,
                      ends_early(storage, "the header", header_bytes - magic_bytes));
    return describe(fields) && load_palette(storage, fields);
}

bool NUV_InternalInfo::describe(const std::uint8_t* fields)
{
    if (load_be32(fields + 4) != version_1)
        return refuse(NUV_ERR_UNSUPPORTED, at(4).says("the version %08x", load_be32(fields + 4)));
    data_size_ = load_be64(fields + 8);
    if (data_size_ == 0)
        return refuse(NUV_ERR_INVALID_DATA, at(8).says("0 bytes of data"));
    if (load_be32(fields + 16) != 0 || load_be32(fields + 24) != 0) // upper halves
        return refuse(NUV_ERR_UNSUPPORTED, at(16).says("a side of 2^32 pixels or more"));
    width(load_be32(fields + 20));
    height(load_be32(fields + 28));
    bits(load_be16(fields + 32));
    channels(load_be16(fields + 34));
    data_type(NUV_DataType::by_id(load_id(fields + 36)));
    encode_type(NUV_EncodeType::by_id(load_id(fields + 40)));
    color_type(NUV_ColorType::by_id(load_id(fields + 44)));
    return true;
}

bool NUV_InternalInfo::load_palette(NUV_InputStorage& storage, const std::uint8_t* fields)
{
    constexpr std::uint32_t most_entries = 65536;    // that 16 bits can index
    constexpr std::uint64_t most_bytes = 0x7FFFFFFF; // that a storage can have

    if (!palette().copy(NUV_Palette(manager()))) // none, until this file has one
        return false;
    const std::uint16_t entry_bits = load_be16(fields + 48);
    const std::uint16_t entry_channels = load_be16(fields + 50);
    const std::uint32_t entries = load_be32(fields + 52);
    if (entries == 0)
        return true;
    const std::uint64_t bytes = std::uint64_t{entry_channels} * entry_bits * entries / 8;
    if ((entry_bits != 8 && entry_bits != 16) || entry_channels == 0 || entries > most_entries ||
        bytes > most_bytes)
        return refuse(NUV_ERR_INVALID_DATA,
                      at(48).says("a palette of %u entries, %u x %u bits", entries,
                                  unsigned{entry_channels}, unsigned{entry_bits}));
    if (bytes > remaining_bytes(storage)) // before any memory is taken
        return refuse(NUV_ERR_BROKEN_DATA, ends_early(storage, "the palette", bytes));

    const auto stored_bytes = static_cast<std::uint32_t>(bytes);
    NUV_Scratch<std::uint8_t> value;
    if (!value.allocate(manager(), stored_bytes))
        return false;
    if (!read_exactly(storage, value.data(), stored_bytes))
        return refuse(NUV_ERR_BROKEN_DATA, ends_early(storage, "the palette", stored_bytes));
    if (entry_bits == 16 && std::endian::native == std::endian::little)
        swap_bytes(value.data(), stored_bytes / 2, 2);
    palette().bits = entry_bits;
    palette().channels = entry_channels;
    palette().entries = entries;
    return palette().value(value.data(), stored_bytes);
}

} // namespace nuv
