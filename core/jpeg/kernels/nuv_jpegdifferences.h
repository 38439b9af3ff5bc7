#pragma once

#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Decoding of lossless differences.

// T.81, H.2.2: category 16 is the difference 32768 and has no bits behind it.
inline constexpr std::uint32_t jpeg_last_category = 16;

[[nodiscard, gnu::noinline]] inline NUV_JPEGResult read_difference(
    NUV_JPEGBitReader& reader, const NUV_JPEGDecodeTable& table, std::uint16_t& difference) noexcept
{
    std::uint32_t category = 0;
    const NUV_JPEGResult read = reader.read_symbol(table, category);
    if (!is_good(read))
        return read;
    if (category > jpeg_last_category)
        return NUV_JPEGResult::no_code;
    if (category == 0 || category == jpeg_last_category) {
        difference = static_cast<std::uint16_t>(category << 11); // 0 or 32768
        return NUV_JPEGResult::good;
    }
    if (!reader.holds(category))
        return reader.shortage();
    difference = static_cast<std::uint16_t>(reader.take_extended(category));
    return NUV_JPEGResult::good;
}

// The next difference of each of `Count` tables, all of them from one refill and without a branch
// for each. False, with the reader untouched, when not all are in the tables with all of their
// bits, or too few bits are held.
template <std::size_t Count>
[[nodiscard, gnu::always_inline]] inline bool take_known_differences(
    NUV_JPEGBitReader& reader, const std::array<const std::uint32_t*, Count>& entries,
    std::array<std::uint16_t, Count>& differences) noexcept
{
    reader.fill();
    std::uint64_t bits = reader.held_bits();
    std::uint32_t used = 0;
    for (std::size_t i = 0; i < Count; ++i) {
        const std::uint32_t entry = entries[i][bits >> (64 - NUV_JPEGDifferenceTable::index_bits)];
        differences[i] = static_cast<std::uint16_t>(entry >> 16);
        bits <<= entry & 63U;
        used += entry;
    }
    used &= 0xFFFFU; // a bit that is still to be added counts as 1024
    if (used > reader.held()) [[unlikely]]
        return false;
    reader.keep(bits, used);
    return true;
}

// One difference that may have bits outside the table.
[[nodiscard, gnu::always_inline]] inline bool take_difference(NUV_JPEGBitReader& reader,
                                                              const std::uint32_t* entries,
                                                              std::uint16_t& difference) noexcept
{
    reader.fill();
    const std::uint64_t bits = reader.held_bits();
    const std::uint32_t entry = entries[bits >> (64 - NUV_JPEGDifferenceTable::index_bits)];
    const std::uint32_t used = entry & 0x3FFU;
    const std::uint32_t rest = (1U << (entry >> 10 & 15U)) - 1U;
    if (used > reader.held()) [[unlikely]]
        return false;
    difference = static_cast<std::uint16_t>(
        (entry >> 16) + (static_cast<std::uint32_t>(bits >> (-used & 63U)) & rest));
    reader.skip(used);
    return true;
}

// The differences `first` to `end` of each row, one row after the other in each column. As many as
// `Count` of them are taken at once.
template <std::size_t Components, std::size_t Count>
[[nodiscard]] NUV_JPEGResult decode_rows_of(NUV_JPEGBitReader& bits,
                                            const NUV_JPEGDifferenceTable* const* tables,
                                            std::uint16_t* const* rows, std::size_t first,
                                            std::size_t end) noexcept
{
    constexpr std::size_t pixels = Count / Components;
    constexpr std::size_t count = pixels * Components;
    std::array<const std::uint32_t*, Components> entries;
    std::array<const std::uint32_t*, count> group_entries;
    for (std::size_t i = 0; i < Components; ++i)
        entries[i] = tables[i]->entries;
    for (std::size_t i = 0; i < count; ++i)
        group_entries[i] = entries[i % Components];
    NUV_JPEGBitReader reader = bits; // which can stay in registers
    NUV_JPEGResult result = NUV_JPEGResult::good;
    for (std::size_t x = first; x < end && is_good(result);) {
        if constexpr (count != 0) {
            std::array<std::uint16_t, count> differences;
            if (x + pixels <= end && take_known_differences(reader, group_entries, differences))
                [[likely]] {
                for (std::size_t i = 0; i < count; ++i)
                    rows[i % Components][x + i / Components] = differences[i];
                x += pixels;
                continue;
            }
        }
        for (std::size_t i = 0; i < Components && is_good(result); ++i) {
            if (take_difference(reader, entries[i], rows[i][x])) [[likely]]
                continue;
            NUV_JPEGBitReader copy = reader;
            result = read_difference(copy, tables[i]->plain, rows[i][x]);
            reader = copy;
        }
        ++x;
    }
    bits = reader;
    return result;
}

// The same for 1 to 4 components; differences of deep samples seldom are in the tables.
[[nodiscard]] inline NUV_JPEGResult decode_differences(NUV_JPEGBitReader& bits,
                                                       const NUV_JPEGDifferenceTable* const* tables,
                                                       std::uint16_t* const* rows,
                                                       std::size_t components, bool is_deep,
                                                       std::size_t first, std::size_t end) noexcept
{
    const auto decode = [&]<std::size_t Components, std::size_t Count>() {
        return is_deep ? decode_rows_of<Components, 0>(bits, tables, rows, first, end)
                       : decode_rows_of<Components, Count>(bits, tables, rows, first, end);
    };
    switch (components) {
    case 1:
        return decode.template operator()<1, 3>();
    case 2:
        return decode.template operator()<2, 4>();
    case 3:
        return decode.template operator()<3, 3>();
    default:
        return decode.template operator()<4, 4>();
    }
}

} // namespace nuv
