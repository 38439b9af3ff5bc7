#pragma once

#include "core/jpeg/kernels/nuv_jpegcoefficients.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace nuv {

// Decoding of lossless differences, written once for both kinds of table.

// T.81, H.2.2: category 16 is the difference 32768 and has no bits behind it.
inline constexpr std::uint32_t jpeg_last_category = 16;

// On a copy of the reader, so that the reader itself can stay in registers.
[[nodiscard, gnu::noinline]] inline NUV_JPEGResult read_any_difference(
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

template <class Table>
[[nodiscard]] inline NUV_JPEGResult read_difference(NUV_JPEGBitReader& reader, const Table& table,
                                                    std::uint16_t& difference) noexcept
{
    if constexpr (std::is_same_v<Table, NUV_JPEGWideTable>) {
        if (reader.holds(jpeg_most_bits_of_value)) [[likely]] {
            const std::uint32_t entry = table.entries[reader.peek(NUV_JPEGWideTable::index_bits)];
            const std::uint32_t length = entry & 0xFFU;
            const std::uint32_t category = entry >> 8 & 0xFFU;
            if (length != 0 && category < jpeg_last_category) [[likely]] {
                // The length may have the value in it already; reading that again costs less than
                // to tell the two apart.
                const bool has_value = entry >> 16 != 0;
                reader.skip(length - (has_value ? category : 0));
                difference = static_cast<std::uint16_t>(reader.take_extended(category));
                return NUV_JPEGResult::good;
            }
        }
    }
    NUV_JPEGBitReader copy = reader;
    const NUV_JPEGResult result = read_any_difference(copy, plain_table(table), difference);
    reader = copy;
    return result;
}

// The differences `first` to `end` of each row, one row after the other in each column.
// `components` rows and tables, at least one.
template <class Table>
[[nodiscard]] NUV_JPEGResult decode_differences(NUV_JPEGBitReader& bits, const Table* const* tables,
                                                std::uint16_t* const* rows, std::size_t components,
                                                std::size_t first, std::size_t end) noexcept
{
    NUV_JPEGBitReader reader = bits; // which can stay in registers
    NUV_JPEGResult result = NUV_JPEGResult::good;
    if (components == 1) {
        const Table& table = *tables[0];
        std::uint16_t* const row = rows[0];
        for (std::size_t x = first; x < end && is_good(result); ++x)
            result = read_difference(reader, table, row[x]);
    } else {
        for (std::size_t x = first; x < end && is_good(result); ++x) {
            for (std::size_t i = 0; i < components && is_good(result); ++i)
                result = read_difference(reader, *tables[i], rows[i][x]);
        }
    }
    bits = reader;
    return result;
}

} // namespace nuv
