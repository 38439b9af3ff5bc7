#include "core/lut/nuv_lut.h"
#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

// Where the first entry of the caller's table stands, in entries of the whole one. Negative when
// the caller's is the larger.
[[nodiscard]] std::int64_t first_entry(const NUV_Header& header, std::uint32_t entries) noexcept
{
    if (header.data_type() != NUV_DataType::s_integer)
        return 0;
    // Half of the smallest power of two that holds all entries.
    const std::int64_t half = entries > 1 ? std::int64_t{std::bit_floor(entries - 1)} : 0;
    return (std::int64_t{1} << (header.bits() - 1)) - half;
}

} // namespace

NUV_Held<NUV_LutData> expand_lut(NUV_Manager& manager, const NUV_Header* header,
                                 const std::uint8_t* table, std::uint32_t entries,
                                 std::uint16_t bits)
{
    constexpr auto method = "NUV_Lut::engine()";
    const auto refuse = [&](NUV_StatusCode code) -> NUV_Held<NUV_LutData> {
        fail(manager, code, method);
        return {};
    };

    if (!header || (!table && entries > 0))
        return refuse(NUV_ERR_ARGUMENT);
    if (header->bits() != 8 && header->bits() != 16)
        return refuse(NUV_ERR_UNSUPPORTED);
    if (bits != 8 && bits != 16 && bits != 32)
        return refuse(NUV_ERR_ARGUMENT);

    NUV_Held<NUV_LutData> expanded = make_object<NUV_LutData>(manager);
    if (!expanded)
        return {};
    expanded->bits = bits;
    expanded->channels = header->channels();
    expanded->entries = std::uint32_t{1} << header->bits();

    const std::uint64_t entry_bytes = std::uint64_t{bits} * header->channels() / 8; // all channels
    const auto bytes = fits_32(entry_bytes * expanded->entries);
    if (!bytes || *bytes == 0)
        return refuse(NUV_ERR_ARGUMENT);
    NUV_Scratch<std::uint8_t> buffer;
    if (!buffer.allocate(manager, *bytes))
        return {};
    std::memset(buffer.data(), 0, *bytes);

    // All below 2^51. Byte i comes from byte i - offset: the offset counts entries in the one and
    // bytes in the other, and both ends must lie in their tables.
    const std::int64_t offset = first_entry(*header, entries);
    const auto each = static_cast<std::int64_t>(entry_bytes);
    const std::int64_t caller_bytes = each * entries;
    const std::int64_t begin = std::max({std::int64_t{0}, each * offset, offset});
    const std::int64_t end =
        std::min({std::int64_t{*bytes}, each * (entries + offset), caller_bytes + offset});
    if (begin < end)
        std::memcpy(buffer.data() + begin, table + (begin - offset),
                    static_cast<std::size_t>(end - begin));

    if (!expanded->value(buffer.data(), *bytes))
        return {};
    return expanded;
}

} // namespace nuv
