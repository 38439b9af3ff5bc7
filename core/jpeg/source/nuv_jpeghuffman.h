#pragma once

// What the forms of the Huffman primitives share, and what the coder may use beside them.

#include "core/jpeg/source/nuv_jpegprimitives.h"

#include <array>
#include <cstdint>

namespace nuv {

// Bit i of the result is set when coefficient i in natural order is not zero.
using NonZeroMask = std::uint64_t (*)(const std::int16_t* block);

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

// The checks of huffman_encode_block.
[[nodiscard]] NUV_JPEGResult check_encode_arguments(const NUV_JPEGEncodeArguments& call) noexcept;

// huffman_encode_block for checked arguments; `natural_mask` is that of the block, and is not
// looked at when the call only flushes.
[[nodiscard]] NUV_JPEGResult encode_masked_block(const NUV_JPEGEncodeArguments& call,
                                                 std::uint64_t natural_mask) noexcept;

} // namespace nuv
