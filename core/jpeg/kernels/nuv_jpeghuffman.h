#pragma once

// What stands beside the Huffman primitives: a wider decoding table for the coder's inner loop, and
// the part of the encoder that its forms share.

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <cstdint>

namespace nuv {

// What a wide table knows by the next bits: a symbol together with the value behind it, and the
// symbol that follows where that is among the bits, too. Fields of one word, of which the lowest is
// the one that the next lookup waits for.
struct NUV_JPEGWideEntry {
    std::uint64_t word; // 8 bits each of length_of_both, symbol, length and far, 16 of the values

    // Of all that is known; 0 for a code or a value that goes on behind the bits, and for a symbol
    // without a value other than 16 zeros (ZRL) and the end of the block (EOB).
    [[nodiscard]] std::uint32_t length_of_both() const noexcept { return word & 0xFFU; }
    // How far behind the next coefficient the last one stands that is known; end_of_block more
    // where the block ends behind it.
    static constexpr std::uint32_t end_of_block = 64;
    [[nodiscard]] std::uint32_t far() const noexcept
    {
        return static_cast<std::uint32_t>(word) >> 24;
    }
    // Of the symbol that comes next and its value; 0 for a code that is longer than the bits.
    [[nodiscard]] std::uint32_t length() const noexcept { return word >> 16 & 0xFFU; }
    [[nodiscard]] std::uint32_t symbol() const noexcept { return word >> 8 & 0xFFU; }
    [[nodiscard]] std::uint32_t zeros() const noexcept { return word >> 12 & 15U; }
    // 0 when it is not among the bits, or when there is none.
    [[nodiscard]] std::int16_t value() const noexcept
    {
        return static_cast<std::int16_t>(word >> 32);
    }
    // That of the symbol behind; 0 where that has none, and any at the same place without it.
    [[nodiscard]] std::int16_t second_value() const noexcept
    {
        return static_cast<std::int16_t>(word >> 48);
    }
};

// A decoding table for AC coefficients with one more level in front, which resolves most symbols in
// one step together with their values, many by two.
struct NUV_JPEGWideTable {
    static constexpr std::uint32_t index_bits = 10;

    NUV_JPEGDecodeTable plain;
    NUV_JPEGWideEntry entries[1U << index_bits]; // by the next bits
};

// As huffman_decode_spec_init of the primitives, for a wide table of single symbols.
[[nodiscard]] NUV_JPEGResult huffman_decode_wide_init(const std::uint8_t* bits,
                                                      const std::uint8_t* values,
                                                      NUV_JPEGWideTable* table);
// Adds to each entry the symbol that follows, where it is known and its bits are there. It pays
// from some hundred blocks on.
void huffman_decode_wide_join(NUV_JPEGWideTable* table) noexcept;

// A decoding table for lossless differences (T.81, H.1.2.2): code and value in one step, whether
// the value is among the index bits or goes on behind them.
struct NUV_JPEGDifferenceTable {
    static constexpr std::uint32_t index_bits = 13;
    static constexpr std::uint32_t no_code = 65; // more bits than are ever held

    NUV_JPEGDecodeTable plain;
    // By the next 13 bits: in bits 0 to 9 how many bits code and value take; in 10 to 15 how many
    // of these, the lowest of the value, are still to be added; in 16 to 31 the difference without
    // them. Where the code and the sign of the value are not among the 13 bits, no_code.
    std::uint32_t entries[1U << index_bits];
};

// As huffman_decode_spec_init of the primitives, for differences.
[[nodiscard]] NUV_JPEGResult huffman_decode_difference_init(const std::uint8_t* bits,
                                                            const std::uint8_t* values,
                                                            NUV_JPEGDifferenceTable* table);

// An encoding table for AC coefficients that gives code and low bits of a small value at once.
struct NUV_JPEGWideEncodeTable {
    static constexpr std::int32_t reach = 32; // values from -32 to 31

    NUV_JPEGEncodeTable plain;
    // By zeros * 64 + 32 + value: the bits to write above 8 bits of how many they are; 0 without a
    // code.
    std::uint32_t entries[16 * 2 * reach];
};

// As huffman_encode_spec_init of the primitives, for a wide table.
[[nodiscard]] NUV_JPEGResult huffman_encode_wide_init(const std::uint8_t* bits,
                                                      const std::uint8_t* values,
                                                      NUV_JPEGWideEncodeTable* table);

// A block for huffman_encode_blocks, and what codes it.
struct NUV_JPEGBlockToCode {
    const std::int16_t* coefficients; // in natural order
    const std::uint64_t* mask;        // which are not zero, in zig-zag order
    const NUV_JPEGEncodeTable* dc_table;
    const NUV_JPEGWideEncodeTable* ac_table;
    std::int16_t* previous_dc;
};

// The arguments of huffman_encode_block.
struct NUV_JPEGEncodeArguments {
    const std::int16_t* block;
    std::uint8_t* output;
    std::int32_t size;
    std::int32_t* position;
    std::int16_t* previous_dc;
    const NUV_JPEGEncodeTable* dc_table;
    const NUV_JPEGEncodeTable* ac_table;
    NUV_JPEGEncodeState* state;
    bool flush;
};

[[nodiscard]] NUV_JPEGResult check_encode_arguments(const NUV_JPEGEncodeArguments& call) noexcept;

// huffman_encode_block for checked arguments. Bit i of `natural_mask` is set when coefficient i in
// natural order is not zero; a call that flushes does not look at it.
[[nodiscard]] NUV_JPEGResult encode_masked_block(const NUV_JPEGEncodeArguments& call,
                                                 std::uint64_t natural_mask) noexcept;

// huffman_encode_block over one way to find the coefficients that are not zero,
// `std::uint64_t non_zero_mask(const std::int16_t* block)`.
template <auto non_zero_mask>
void set_huffman_encode_form(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.huffman_encode_block =
        [](const std::int16_t* block, std::uint8_t* output, std::int32_t size,
           std::int32_t* position, std::int16_t* previous_dc, const NUV_JPEGEncodeTable* dc_table,
           const NUV_JPEGEncodeTable* ac_table, NUV_JPEGEncodeState* state, bool flush) {
            const NUV_JPEGEncodeArguments call = {block,    output,   size,  position, previous_dc,
                                                  dc_table, ac_table, state, flush};
            const NUV_JPEGResult checked = check_encode_arguments(call);
            if (!is_good(checked))
                return checked;
            return encode_masked_block(call, flush ? 0 : non_zero_mask(block));
        };
}

} // namespace nuv
