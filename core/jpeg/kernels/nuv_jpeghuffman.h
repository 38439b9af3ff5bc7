#pragma once

// What stands beside the Huffman primitives: a wider decoding table for the coder's inner loop, and
// the part of the encoder that its forms share.

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <cstdint>

namespace nuv {

// A decoding table with one more level in front, which resolves most symbols together with the
// value behind them in one step.
struct NUV_JPEGWideTable {
    static constexpr std::uint32_t index_bits = 10;

    NUV_JPEGDecodeTable plain;
    // By the next 10 bits: in bits 0 to 7 how many of them are used, 0 when the code is longer; in
    // 8 to 15 the symbol; in 16 to 31 the signed value, 0 when it is not among the 10 bits or when
    // there is none.
    std::uint32_t entries[1U << index_bits];
};

// As huffman_decode_spec_init of the primitives, for a wide table.
[[nodiscard]] NUV_JPEGResult huffman_decode_wide_init(const std::uint8_t* bits,
                                                      const std::uint8_t* values,
                                                      NUV_JPEGWideTable* table);

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
