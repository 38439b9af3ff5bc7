#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Which pixel of a packed line each output pixel copies. Pixels are counted from the top bit of the
// first byte. Of the tables each form has one.
struct NUV_NearestBits {
    // Where 64 output pixels come from, first the one that goes to the lowest bit of their first
    // byte. Those behind the end of the line have no bit.
    struct Window {
        static constexpr std::size_t pixels = 64;
        static constexpr std::size_t parts = 4;

        std::uint32_t begins[parts]; // the byte of the line from which a part of them is counted
        std::uint8_t bytes[pixels];
        std::uint8_t bits[pixels]; // of these bytes
    };
    std::span<const std::uint32_t> pixels; // by output pixel
    std::span<const Window> windows;
    std::span<const std::uint64_t> masks; // of each 64 source pixels those that are copied
    std::size_t out_pixels = 0;
    std::size_t in_bytes = 0; // of a line
};

// Reads nothing behind a line. What is left of the last output byte is 0. All forms give the same
// bytes.
using MoveBits = void (*)(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);

void move_bits_portable(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
#if NUV_X86
// By windows: each 16 output pixels come from 16 bytes, or each 64 from 64.
void move_bits_avx2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
void move_bits_avx512(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
// By masks, for pixels of which each is behind the one before.
void move_bits_bmi2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out);
#endif

// By the pixels, of which there is one at least, in ascending order, and the bytes of a line that
// has them all.
[[nodiscard]] MoveBits choose_move_bits(const NUV_Cpu& cpu, std::span<const std::uint32_t> pixels,
                                        std::size_t in_bytes) noexcept;

// How much of each table the form has, 0 where it is another's, and what is in it.
[[nodiscard]] std::size_t count_bit_windows(MoveBits form, std::size_t out_pixels) noexcept;
[[nodiscard]] std::size_t count_bit_masks(MoveBits form, std::size_t in_bytes) noexcept;
void set_bit_windows(MoveBits form, std::span<const std::uint32_t> pixels, std::size_t in_bytes,
                     std::span<NUV_NearestBits::Window> windows) noexcept;
void set_bit_masks(std::span<const std::uint32_t> pixels, std::span<std::uint64_t> masks) noexcept;

} // namespace nuv
