#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Which pixel of a packed line each output pixel copies. Pixels are counted from the top bit of the
// first byte.
struct NUV_NearestBits {
    // 64 pixels whose bits have something to do with each other, first one in the top bit.
    struct Word {
        std::uint64_t mask;
        std::uint32_t first;
    };
    std::span<const std::uint32_t> pixels; // by output pixel
    std::span<const Word> words;           // what nearest_bit_words() says
    std::size_t in_bytes = 0;              // of a line
};

// Reads nothing behind a line. What is left of the last output byte is 0. All forms give the same
// bytes.
using MoveBits = void (*)(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);

void move_bits_portable(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
#if NUV_X86
// For pixels that ascend: each word is 64 pixels of the source, of which `mask` has those that are
// copied.
void shrink_bits_bmi2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
// For pixels of which each is the one before or the next: each word is 64 pixels of the output, of
// which `mask` has those that are not the one before, and the first; that one copies `first`.
void enlarge_bits_bmi2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
#endif

// By the pixels, of which there is one at least.
[[nodiscard]] MoveBits choose_move_bits(const NUV_Cpu& cpu,
                                        std::span<const std::uint32_t> pixels) noexcept;

// How many words a form wants, and what is in them.
[[nodiscard]] std::size_t count_nearest_bit_words(MoveBits form,
                                                  const NUV_NearestBits& bits) noexcept;
void set_nearest_bit_words(MoveBits form, std::span<const std::uint32_t> pixels,
                           std::span<NUV_NearestBits::Word> words) noexcept;

} // namespace nuv
