#include "core/jpeg/source/nuv_jpegbitwriter.h"
#include "core/jpeg/source/nuv_jpegforms.h"
#include "core/jpeg/source/nuv_jpeghuffman.h"
#include "core/jpeg/source/nuv_jpegtables.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace nuv {
namespace {

constexpr int last_coefficient = 63;
constexpr std::uint32_t end_of_block = 0x00;
constexpr std::uint32_t sixteen_zeros = 0xF0; // ZRL

// The most that one call writes, all bytes being 0xFF and stuffed: 63 held bits, DC of 16 + 16
// bits and 63 coefficients of 16 + 15 make 32 whole words of 8 bytes.
constexpr std::ptrdiff_t most_bytes_of_block = 512;

// T.81, F.1.2.1: the category SSSS and the low bits of a value, those of a negative one from
// value - 1.
struct Magnitude {
    int category;
    std::uint32_t bits;
};

constexpr Magnitude magnitude_of(std::int32_t value) noexcept
{
    const auto absolute = static_cast<std::uint32_t>(value < 0 ? -value : value);
    const int category = std::bit_width(absolute);
    const auto low = static_cast<std::uint32_t>(value < 0 ? value - 1 : value);
    return {category, low & ((1U << category) - 1U)};
}

// Every value that a picture of 8 bits leads to, with its bits above 4 bits of category.
constexpr std::int32_t table_reach = 1023;
constexpr std::array<std::uint16_t, 2 * table_reach + 1> magnitudes = [] {
    std::array<std::uint16_t, 2 * table_reach + 1> table{};
    for (std::int32_t value = -table_reach; value <= table_reach; ++value) {
        const Magnitude magnitude = magnitude_of(value);
        table[static_cast<std::size_t>(value + table_reach)] = static_cast<std::uint16_t>(
            magnitude.bits << 4 | static_cast<std::uint32_t>(magnitude.category));
    }
    return table;
}();

inline Magnitude magnitude_by_table(std::int32_t value) noexcept
{
    const auto index = static_cast<std::uint32_t>(value + table_reach);
    if (index >= magnitudes.size()) [[unlikely]]
        return magnitude_of(value);
    const std::uint32_t entry = magnitudes[index];
    return {static_cast<int>(entry & 15U), entry >> 4};
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
inline bool put_value(NUV_JPEGBitWriter& writer, const NUV_JPEGEncodeTable& table,
                      std::uint32_t zeros, const Magnitude& magnitude) noexcept
{
    const std::uint32_t word =
        table.words[zeros << 4 | static_cast<std::uint32_t>(magnitude.category)];
    if (word == 0) [[unlikely]]
        return false;
    const std::uint64_t code = word & 0xFFFFU;
    writer.put(code << magnitude.category | magnitude.bits,
               static_cast<int>(word >> 16) + magnitude.category);
    return true;
}

inline bool put_symbol(NUV_JPEGBitWriter& writer, const NUV_JPEGEncodeTable& table,
                       std::uint32_t symbol) noexcept
{
    return put_value(writer, table, symbol >> 4, {static_cast<int>(symbol & 15U), 0});
}

// T.81, F.1.2.2: the coefficients behind DC.
bool put_coefficients(NUV_JPEGBitWriter& writer, const std::int16_t* block, std::uint64_t mask,
                      const NUV_JPEGEncodeTable& table) noexcept
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
        const Magnitude magnitude =
            magnitude_by_table(block[jpeg_zigzag[static_cast<std::size_t>(k)]]);
        if (magnitude.category > 15)
            return false;
        if (!put_value(writer, table, static_cast<std::uint32_t>(zeros), magnitude))
            return false;
    }
    return done == last_coefficient || put_symbol(writer, table, end_of_block);
}

bool put_block(NUV_JPEGBitWriter& writer, const NUV_JPEGEncodeArguments& call,
               std::uint64_t natural_mask) noexcept
{
    const std::int16_t* block = call.block;
    const Magnitude dc = magnitude_by_table(std::int32_t{block[0]} - *call.previous_dc);
    *call.previous_dc = block[0];
    constexpr std::uint64_t all_but_dc = ~std::uint64_t{1};
    return dc.category <= 16 && put_value(writer, *call.dc_table, 0, dc) &&
           put_coefficients(writer, block, to_zigzag(natural_mask) & all_but_dc, *call.ac_table);
}

std::uint64_t non_zero_mask(const std::int16_t* block) noexcept
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < jpeg_block_size; ++i)
        mask |= std::uint64_t{block[i] != 0} << i;
    return mask;
}
