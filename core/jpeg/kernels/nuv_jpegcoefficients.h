#pragma once

#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
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
            const NUV_JPEGWideEntry entry =
                table.entries[reader.peek(NUV_JPEGWideTable::index_bits)];
            if (entry.length() != 0) [[likely]] {
                reader.skip(entry.length());
                out.symbol = entry.symbol();
                out.value = entry.value();
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

// In pieces, for which compilers take a few stores: the instruction that fills memory is slow to
// start.
inline void clear_block(std::int16_t* block) noexcept
{
    constexpr std::size_t piece = 16;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < jpeg_block_size; i += piece)
        std::memset(block + i, 0, piece * sizeof(*block));
}

// T.81, F.2.2.1: the difference of a DC coefficient, which takes the low 4 bits of its symbol
// alone.
[[nodiscard]] inline NUV_JPEGResult read_difference(NUV_JPEGBitReader& reader,
                                                    const NUV_JPEGDecodeTable& table,
                                                    std::int32_t& difference) noexcept
{
    if (reader.holds(jpeg_most_bits_of_value)) [[likely]] {
        const NUV_JPEGDecodeTable::Entry entry = table.first_level[reader.peek(8)];
        if (entry.length != 0) [[likely]] {
            reader.skip(entry.length);
            difference = reader.take_extended(entry.symbol & 15U);
            return NUV_JPEGResult::good;
        }
    }
    NUV_JPEGCoefficient coefficient;
    std::uint32_t no_run = 0;
    const NUV_JPEGResult result = read_coefficient(reader, table, no_run, coefficient);
    difference = coefficient.value;
    return result;
}

// Takes coefficients from `k` on by one or two, until the block ends and `reached` is set: true; or
// until what comes next has to be looked at more closely.
[[nodiscard, gnu::always_inline]] inline bool take_known(NUV_JPEGBitReader& reader,
                                                         std::int16_t* block,
                                                         const NUV_JPEGWideTable& table,
                                                         std::uint32_t& k,
                                                         std::uint32_t& reached) noexcept
{
    constexpr std::uint32_t index_bits = NUV_JPEGWideTable::index_bits;
    constexpr std::uint32_t steps = 4; // for one look at the bits that are held
    for (;;) {
        if (reader.held() < steps * index_bits)
            reader.fill();
        if (reader.held() < steps * index_bits) [[unlikely]]
            return false;
#pragma GCC unroll 4
        for (std::uint32_t step = 0; step < steps; ++step) {
            const std::uint64_t bits = reader.held_bits();
            const NUV_JPEGWideEntry entry = table.entries[bits >> (64 - index_bits)];
            const std::uint32_t length = entry.length_of_both();
            if (length == 0) [[unlikely]]
                return false;
            // The first one goes over what a second one past the block leaves in the last place.
            const std::uint32_t far = entry.far();
            block[jpeg_zigzag[k + far]] = entry.second_value();
            block[jpeg_zigzag[k + entry.zeros()]] = entry.value();
            k += far + 1;
            if (k > jpeg_last_coefficient) {
                constexpr std::uint32_t end_of_block = NUV_JPEGWideEntry::end_of_block;
                const std::uint32_t marked = far < end_of_block ? 0 : 1; // by an end of block
                const std::uint32_t ended = k - marked * (end_of_block + 1);
                if (ended + marked > jpeg_block_size) [[unlikely]] {
                    k -= far + 1;
                    block[jpeg_last_coefficient] = 0;
                    return false;
                }
                reader.keep(bits << length, length);
                reached = ended;
                return true;
            }
            reader.keep(bits << length, length);
        }
    }
}

// T.81, F.2.2.1 and F.2.2.2. `reached` is the number of coefficients that the block has. How far is
// read ahead depends on the kind of the table, and is always the same for plain ones.
template <class AcTable>
[[nodiscard, gnu::always_inline]] inline NUV_JPEGResult decode_coefficients(
    NUV_JPEGBitReader& reader, std::int16_t* block, std::int16_t& previous_dc,
    const NUV_JPEGDecodeTable& dc_table, const AcTable& ac_table, std::uint32_t& reached) noexcept
{
    constexpr bool is_wide = std::is_same_v<AcTable, NUV_JPEGWideTable>;
    clear_block(block);
    if constexpr (is_wide)
        reader.fill();
    std::int32_t difference = 0;
    const NUV_JPEGResult dc = read_difference(reader, dc_table, difference);
    if (!is_good(dc))
        return dc;
    previous_dc = static_cast<std::int16_t>(previous_dc + difference);
    block[0] = previous_dc;

    NUV_JPEGCoefficient coefficient;
    std::uint32_t k = 1;
    while (k <= jpeg_last_coefficient) {
        if constexpr (is_wide) {
            if (take_known(reader, block, ac_table, k, reached)) [[likely]]
                return NUV_JPEGResult::good;
        }
        const std::uint32_t before = k;
        static_cast<void>(reader.holds(jpeg_most_bits_of_value));
        const NUV_JPEGResult ac = read_coefficient(reader, plain_table(ac_table), k, coefficient);
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
