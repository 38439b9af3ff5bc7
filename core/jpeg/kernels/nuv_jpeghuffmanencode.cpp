#include "core/jpeg/kernels/nuv_jpegbitwriter.h"
#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace nuv {
namespace {

constexpr int last_coefficient = 63;
constexpr std::uint32_t end_of_block = 0x00;
constexpr std::uint32_t sixteen_zeros = 0xF0; // ZRL

// The most that one call needs: 7 held bits, DC of 16 + 16 bits and 63 coefficients of 16 + 15 are
// 249 bytes, which are 498 when all are 0xFF and stuffed, and 8 more for the writer.
constexpr std::ptrdiff_t most_bytes_of_block = 512;

// T.81, F.1.2.1: the category SSSS and the low bits of a value, those of a negative one from
// value - 1.
struct Magnitude {
    std::uint32_t category;
    std::uint32_t bits;
};

constexpr Magnitude magnitude_of(std::int32_t value) noexcept
{
    const auto absolute = static_cast<std::uint32_t>(value < 0 ? -value : value);
    const auto category = static_cast<std::uint32_t>(std::bit_width(absolute));
    const auto low = static_cast<std::uint32_t>(value < 0 ? value - 1 : value);
    return {category, low & ((1U << category) - 1U)};
}

// Every value that a picture of 8 bits leads to, with its bits above 4 bits of category.
constexpr std::int32_t table_reach = 1023;
constexpr std::array<std::uint16_t, 2 * table_reach + 1> magnitudes = [] {
    std::array<std::uint16_t, 2 * table_reach + 1> table{};
    std::int32_t value = -table_reach;
    for (std::uint16_t& entry : table) {
        const Magnitude magnitude = magnitude_of(value++);
        entry = static_cast<std::uint16_t>(magnitude.bits << 4 | magnitude.category);
    }
    return table;
}();

inline Magnitude magnitude_by_table(std::int32_t value) noexcept
{
    const auto index = static_cast<std::uint32_t>(value + table_reach);
    if (index >= magnitudes.size()) [[unlikely]]
        return magnitude_of(value);
    const std::uint32_t entry = magnitudes[index];
    return {entry & 15U, entry >> 4};
}

// Which coefficients of a row are set, to the same in zig-zag order.
using RowMasks = std::array<std::uint64_t, 256>;
constexpr std::array<RowMasks, 8> zigzag_masks = [] {
    std::array<RowMasks, 8> masks{};
    for (std::size_t row = 0; row < 8; ++row) {
        for (std::size_t set = 0; set < 256; ++set) {
            for (std::size_t column = 0; column < 8; ++column) {
                if ((set >> column & 1U) != 0)
                    masks[row][set] |= std::uint64_t{1} << jpeg_zigzag_position[row * 8 + column];
            }
        }
    }
    return masks;
}();

inline std::uint64_t to_zigzag(std::uint64_t natural_mask) noexcept
{
    std::uint64_t mask = 0;
    for (std::size_t row = 0; row < 8; ++row)
        mask |= zigzag_masks[row][natural_mask >> (8 * row) & 0xFF];
    return mask;
}

// Code and low bits of a value in one go; false when the symbol has no code.
[[gnu::always_inline]] inline bool put_value(NUV_JPEGBitWriter& writer,
                                             const NUV_JPEGEncodeTable& table, std::uint32_t zeros,
                                             const Magnitude& magnitude) noexcept
{
    const std::uint32_t word = table.words[zeros << 4 | magnitude.category];
    if (word == 0) [[unlikely]]
        return false;
    const std::uint64_t code = word & 0xFFFFU;
    writer.put(code << magnitude.category | magnitude.bits, (word >> 16) + magnitude.category);
    return true;
}

[[gnu::always_inline]] inline bool put_symbol(NUV_JPEGBitWriter& writer,
                                              const NUV_JPEGEncodeTable& table,
                                              std::uint32_t symbol) noexcept
{
    return put_value(writer, table, symbol >> 4, {symbol & 15U, 0});
}

// T.81, F.1.2.2: the coefficients behind DC. `wide` is looked at by the wide encoder alone.
template <bool Wide>
[[gnu::always_inline]] inline bool put_coefficients(NUV_JPEGBitWriter& writer,
                                                    const std::int16_t* block, std::uint64_t mask,
                                                    const NUV_JPEGEncodeTable& table,
                                                    const NUV_JPEGWideEncodeTable* wide) noexcept
{
    int done = 0;
    for (; mask != 0; mask &= mask - 1) {
        const int k = std::countr_zero(mask);
        int zeros = k - done - 1;
        done = k;
        for (; zeros > 15; zeros -= 16) {
            if (!put_symbol(writer, table, sixteen_zeros))
                return false;
        }
        const std::int32_t value = block[jpeg_zigzag[static_cast<std::size_t>(k)]];
        if constexpr (Wide) {
            constexpr std::uint32_t reach = NUV_JPEGWideEncodeTable::reach;
            const std::uint32_t index = static_cast<std::uint32_t>(value) + reach;
            if (index < 2 * reach) [[likely]] {
                const std::uint32_t entry =
                    wide->entries[static_cast<std::uint32_t>(zeros) * 2 * reach + index];
                if (entry == 0) [[unlikely]]
                    return false;
                writer.put(entry >> 8, entry & 0xFFU);
                continue;
            }
        }
        const Magnitude magnitude = magnitude_by_table(value);
        if (magnitude.category > 15)
            return false;
        if (!put_value(writer, table, static_cast<std::uint32_t>(zeros), magnitude))
            return false;
    }
    return done == last_coefficient || put_symbol(writer, table, end_of_block);
}

template <bool Wide>
[[gnu::always_inline]] inline bool put_block(NUV_JPEGBitWriter& writer,
                                             const NUV_JPEGEncodeArguments& call,
                                             std::uint64_t natural_mask) noexcept
{
    const std::int16_t* block = call.block;
    const Magnitude dc = magnitude_by_table(std::int32_t{block[0]} - *call.previous_dc);
    *call.previous_dc = block[0];
    constexpr std::uint64_t all_but_dc = ~std::uint64_t{1};
    return dc.category <= 16 && put_value(writer, *call.dc_table, 0, dc) &&
           put_coefficients<Wide>(writer, block, to_zigzag(natural_mask) & all_but_dc,
                                  *call.ac_table, call.wide_ac_table);
}

std::uint64_t non_zero_mask(const std::int16_t* block) noexcept
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < jpeg_block_size; ++i)
        mask |= std::uint64_t{block[i] != 0} << i;
    return mask;
}

template <bool Wide>
NUV_JPEGResult encode_block(const NUV_JPEGEncodeArguments& call,
                            std::uint64_t natural_mask) noexcept
{
    // Near the end of the output the block is coded aside, to see first whether it fits.
    std::uint8_t aside[most_bytes_of_block];
    const std::ptrdiff_t room = call.size - *call.position;
    std::uint8_t* const end_of_output = call.output + *call.position;
    std::uint8_t* const start = room >= most_bytes_of_block ? end_of_output : aside;

    NUV_JPEGBitWriter writer(start, *call.state);
    if (call.flush)
        writer.flush();
    else if (!put_block<Wide>(writer, call, natural_mask))
        return NUV_JPEGResult::bad_huffman;

    NUV_JPEGEncodeState state = *call.state;
    const std::ptrdiff_t written = writer.finish(state) - start;
    if (written > room)
        return NUV_JPEGResult::bad_size;
    if (start == aside)
        std::copy_n(aside, written, end_of_output);
    *call.state = state;
    *call.position += static_cast<std::int32_t>(written);
    return NUV_JPEGResult::good;
}

NUV_JPEGResult huffman_encode_state_init(NUV_JPEGEncodeState* state)
{
    if (state == nullptr)
        return NUV_JPEGResult::null_pointer;
    state->accumulator = 0;
    state->bits = 0;
    return NUV_JPEGResult::good;
}

} // namespace

NUV_JPEGResult check_encode_arguments(const NUV_JPEGEncodeArguments& call) noexcept
{
    if (call.block == nullptr || call.output == nullptr || call.position == nullptr ||
        call.previous_dc == nullptr || call.dc_table == nullptr || call.ac_table == nullptr ||
        call.state == nullptr)
        return NUV_JPEGResult::null_pointer;
    if (call.size < 1)
        return NUV_JPEGResult::bad_size;
    if (*call.position < 0 || *call.position > call.size || call.state->bits > 7)
        return NUV_JPEGResult::bad_parameter;
    return NUV_JPEGResult::good;
}

NUV_JPEGResult encode_masked_block(const NUV_JPEGEncodeArguments& call,
                                   std::uint64_t natural_mask) noexcept
{
    return call.wide_ac_table != nullptr ? encode_block<true>(call, natural_mask)
                                         : encode_block<false>(call, natural_mask);
}

NUV_JPEGResult huffman_encode_wide_init(const std::uint8_t* bits, const std::uint8_t* values,
                                        NUV_JPEGWideEncodeTable* table)
{
    if (table == nullptr)
        return NUV_JPEGResult::null_pointer;
    const NUV_JPEGResult result =
        jpeg_primitives({}).huffman_encode_spec_init(bits, values, &table->plain);
    if (!is_good(result))
        return result;

    constexpr std::int32_t reach = NUV_JPEGWideEncodeTable::reach;
    for (std::uint32_t zeros = 0; zeros < 16; ++zeros) {
        for (std::int32_t value = -reach; value < reach; ++value) {
            const Magnitude magnitude = magnitude_of(value);
            const std::uint32_t word = table->plain.words[zeros << 4 | magnitude.category];
            const std::uint32_t code = word & 0xFFFFU;
            const bool has_code = value != 0 && word != 0;
            table->entries[zeros * 2 * reach + static_cast<std::uint32_t>(value + reach)] =
                has_code ? (code << magnitude.category | magnitude.bits) << 8 |
                               ((word >> 16) + magnitude.category)
                         : 0;
        }
    }
    return NUV_JPEGResult::good;
}

void set_portable_huffman_encode_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    set_huffman_encode_forms<non_zero_mask>(primitives);
    primitives.huffman_encode_state_init = huffman_encode_state_init;
}

} // namespace nuv
