#pragma once

#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace nuv {

// Decoding of coefficients, written once for both kinds of table.

inline constexpr std::uint32_t jpeg_last_coefficient = 63;
inline constexpr std::uint32_t jpeg_most_bits_of_value = 16 + 15; // code and low bits

inline const NUV_JPEGDecodeTable& plain_table(const NUV_JPEGDecodeTable& table) noexcept
{
    return table;
}

inline const NUV_JPEGDecodeTable& plain_table(const NUV_JPEGWideTable& table) noexcept
{
    return table.plain;
}

// A symbol with the value that follows it; the value is 0 when the symbol's low 4 bits are.
struct NUV_JPEGCoefficient {
    std::uint32_t symbol = 0;
    std::int32_t value = 0;
};

// The value behind a symbol that is read already. A run out of the block is found before.
[[nodiscard]] inline NUV_JPEGResult read_value(NUV_JPEGBitReader& reader,
                                               NUV_JPEGCoefficient& out) noexcept
{
    const std::uint32_t count = out.symbol & 15U;
    if (count == 0)
        return NUV_JPEGResult::good;
    if (!reader.holds(count))
        return reader.shortage();
    out.value = extend_sign(reader.take(count), count);
    return NUV_JPEGResult::good;
}

// Reads one symbol and its value for coefficient `k`, which is moved to the value's place. A value
// of more than `MostBits` bits is refused before its bits are read, as is a run out of the block.
template <std::uint32_t MostBits = 15, class Table>
[[nodiscard]] inline NUV_JPEGResult read_coefficient(NUV_JPEGBitReader& reader, const Table& table,
                                                     std::uint32_t& k,
                                                     NUV_JPEGCoefficient& out) noexcept
{
    const auto has_meaning = [&] {
        k += out.symbol >> 4;
        const std::uint32_t count = out.symbol & 15U;
        return count == 0 || (k <= jpeg_last_coefficient && count <= MostBits);
    };
    if constexpr (std::is_same_v<Table, NUV_JPEGWideTable>) {
        if (reader.holds(jpeg_most_bits_of_value)) [[likely]] {
            const std::uint32_t entry = table.entries[reader.peek(NUV_JPEGWideTable::index_bits)];
            const std::uint32_t length = entry & 0xFFU;
            if (length != 0) [[likely]] {
                reader.skip(length);
                out.symbol = entry >> 8 & 0xFFU;
                out.value = static_cast<std::int16_t>(entry >> 16);
                if (!has_meaning())
                    return NUV_JPEGResult::run_past_block;
                return out.value != 0 ? NUV_JPEGResult::good : read_value(reader, out);
            }
        }
    }
    out.value = 0;
    const NUV_JPEGResult read = reader.read_symbol(plain_table(table), out.symbol);
    if (!is_good(read))
        return read;
    return has_meaning() ? read_value(reader, out) : NUV_JPEGResult::run_past_block;
}

// T.81, F.2.2.1 and F.2.2.2. `reached` is the number of coefficients that the block has.
template <class Table>
[[nodiscard]] NUV_JPEGResult decode_coefficients(NUV_JPEGBitReader& reader, std::int16_t* block,
                                                 std::int16_t& previous_dc, const Table& dc_table,
                                                 const Table& ac_table,
                                                 std::uint32_t& reached) noexcept
{
    std::fill_n(block, jpeg_block_size, std::int16_t{0});
    NUV_JPEGCoefficient coefficient;
    std::uint32_t no_run = 0; // DC takes the low 4 bits of its symbol alone
    const NUV_JPEGResult dc = read_coefficient(reader, dc_table, no_run, coefficient);
    if (!is_good(dc))
        return dc;
    previous_dc = static_cast<std::int16_t>(previous_dc + coefficient.value);
    block[0] = previous_dc;

    std::uint32_t k = 1;
    while (k <= jpeg_last_coefficient) {
        const std::uint32_t before = k;
        const NUV_JPEGResult ac = read_coefficient(reader, ac_table, k, coefficient);
        if (!is_good(ac))
            return ac;
        if (coefficient.value != 0) [[likely]] {
            block[jpeg_zigzag[k]] = static_cast<std::int16_t>(coefficient.value);
        } else if (coefficient.symbol >> 4 != 15) {
            k = before; // end of block
            break;
        }
        ++k;
    }
    reached = std::min<std::uint32_t>(k, jpeg_block_size);
    return NUV_JPEGResult::good;
}

} // namespace nuv
