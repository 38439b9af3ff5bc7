#include "core/jpeg/kernels/nuv_jpegbitwriter.h"
#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace nuv {
namespace {

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

// Every coefficient of a picture of 8 bits, with its bits above 4 bits of category.
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

// Code and low bits of a value in one go; false when the symbol has no code.
[[gnu::always_inline]] inline bool append_value(NUV_JPEGBitWriter& writer,
                                                const NUV_JPEGEncodeTable& table,
                                                std::uint32_t zeros,
                                                const Magnitude& magnitude) noexcept
{
    const std::uint32_t word = table.words[zeros << 4 | magnitude.category];
    if (word == 0) [[unlikely]]
        return false;
    const std::uint64_t code = word & 0xFFFFU;
    writer.append(code << magnitude.category | magnitude.bits, (word >> 16) + magnitude.category);
    return true;
}

[[gnu::always_inline]] inline bool append_symbol(NUV_JPEGBitWriter& writer,
                                                 const NUV_JPEGEncodeTable& table,
                                                 std::uint32_t symbol) noexcept
{
    return append_value(writer, table, symbol >> 4, {symbol & 15U, 0});
}

// A coefficient and the zeros in front of it. What was appended is stored before.
[[gnu::always_inline]] inline bool append_coefficient(NUV_JPEGBitWriter& writer,
                                                      const NUV_JPEGEncodeTable& table,
                                                      std::uint32_t zeros,
                                                      std::int32_t value) noexcept
{
    writer.store();
    for (; zeros > 15; zeros -= 16) {
        if (!append_symbol(writer, table, sixteen_zeros))
            return false;
        writer.store();
    }
    const Magnitude magnitude = magnitude_by_table(value);
    return magnitude.category <= 15 && append_value(writer, table, zeros, magnitude);
}

// By a wide table most take at most 22 bits, and have room behind what was appended.
[[gnu::always_inline]] inline bool append_coefficient(NUV_JPEGBitWriter& writer,
                                                      const NUV_JPEGWideEncodeTable& table,
                                                      std::uint32_t zeros,
                                                      std::int32_t value) noexcept
{
    constexpr std::uint32_t reach = NUV_JPEGWideEncodeTable::reach;
    const std::uint32_t index = static_cast<std::uint32_t>(value) + reach;
    if (index >= 2 * reach || zeros > 15) [[unlikely]]
        return append_coefficient(writer, table.plain, zeros, value);
    const std::uint32_t entry = table.entries[zeros * 2 * reach + index];
    if (entry == 0) [[unlikely]]
        return false;
    writer.append(entry >> 8, entry & 63U);
    return true;
}

// What of a block is not yet coded: in zig-zag order the first coefficient, and the ones that are
// not zero.
struct CoefficientsLeft {
    const std::int16_t* block;
    std::uint64_t mask;
    std::uint32_t begin;
};

template <class Table>
[[gnu::always_inline]] inline bool append_first_of(CoefficientsLeft& left,
                                                   NUV_JPEGBitWriter& writer,
                                                   const Table& table) noexcept
{
    const auto k = static_cast<std::uint32_t>(std::countr_zero(left.mask));
    const std::uint32_t zeros = k - left.begin;
    left.mask &= left.mask - 1;
    left.begin = k + 1;
    return append_coefficient(writer, table, zeros, left.block[jpeg_zigzag[k]]);
}

inline const NUV_JPEGEncodeTable& plain_table(const NUV_JPEGEncodeTable& table) noexcept
{
    return table;
}

inline const NUV_JPEGEncodeTable& plain_table(const NUV_JPEGWideEncodeTable& table) noexcept
{
    return table.plain;
}

// T.81, F.1.2: DC, the coefficients that the mask tells of, and the end of the block. Of what is
// appended two go out together: 7 held bits, 32 of DC and 22 make the most, 61.
template <class Table>
[[gnu::always_inline]] inline bool put_block(NUV_JPEGBitWriter& writer, const std::int16_t* block,
                                             std::uint64_t zigzag_mask, std::int16_t& previous_dc,
                                             const NUV_JPEGEncodeTable& dc_table,
                                             const Table& ac_table) noexcept
{
    const Magnitude dc = magnitude_by_table(std::int32_t{block[0]} - previous_dc);
    previous_dc = block[0];
    if (dc.category > 16 || !append_value(writer, dc_table, 0, dc))
        return false;

    CoefficientsLeft left = {block, zigzag_mask & ~std::uint64_t{1}, 1};
    while (left.mask != 0) {
        if (!append_first_of(left, writer, ac_table))
            return false;
        writer.store();
        if (left.mask == 0)
            break;
        if (!append_first_of(left, writer, ac_table))
            return false;
    }
    if (left.begin < jpeg_block_size && !append_symbol(writer, plain_table(ac_table), end_of_block))
        return false;
    writer.store();
    return true;
}

std::uint8_t* huffman_encode_blocks(const NUV_JPEGBlockToCode* blocks, std::size_t count,
                                    std::uint8_t* output, NUV_JPEGEncodeState* state)
{
    NUV_JPEGBitWriter writer(output, *state);
    for (const NUV_JPEGBlockToCode* block = blocks; block != blocks + count; ++block) {
        if (!put_block(writer, block->coefficients, *block->mask, *block->previous_dc,
                       *block->dc_table, *block->ac_table)) [[unlikely]]
            return nullptr;
    }
    return writer.finish(*state);
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

std::uint64_t non_zero_mask(const std::int16_t* block) noexcept
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < jpeg_block_size; ++i)
        mask |= std::uint64_t{block[i] != 0} << i;
    return mask;
}

std::uint64_t mask_in_zigzag(std::uint64_t natural_mask) noexcept
{
    std::uint64_t mask = 0;
    for (std::size_t row = 0; row < 8; ++row)
        mask |= zigzag_masks[row][natural_mask >> (8 * row) & 0xFF];
    return mask;
}

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
    // Near the end of the output the block is coded aside, to see first whether it fits.
    std::uint8_t aside[most_bytes_of_block];
    const std::ptrdiff_t room = call.size - *call.position;
    std::uint8_t* const end_of_output = call.output + *call.position;
    std::uint8_t* const start = room >= most_bytes_of_block ? end_of_output : aside;

    NUV_JPEGBitWriter writer(start, *call.state);
    if (call.flush)
        writer.flush();
    else if (!put_block(writer, call.block, mask_in_zigzag(natural_mask), *call.previous_dc,
                        *call.dc_table, *call.ac_table))
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
    set_huffman_encode_form<non_zero_mask>(primitives);
    primitives.huffman_encode_blocks = huffman_encode_blocks;
    primitives.huffman_encode_state_init = huffman_encode_state_init;
}

} // namespace nuv
