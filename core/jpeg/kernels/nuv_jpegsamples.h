#pragma once

// From transformed blocks to lines of pixels, in the forms for one processor.

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// All forms give equal bytes. Pointers need no alignment.
struct NUV_JPEGSampleForms {
    // Dequantises and transforms back (idct_dequant of the primitives), adds 128 and limits to
    // 0..255: 8 rows of 8 samples, `stride` bytes apart.
    void (*block_to_samples)(const std::int16_t* coefficients, const std::int16_t* table,
                             std::uint8_t* out, std::size_t stride);
    // The same for a block of which no more than the first ten coefficients in zig-zag order are
    // other than 0.
    void (*short_block_to_samples)(const std::int16_t* coefficients, const std::int16_t* table,
                                   std::uint8_t* out, std::size_t stride);
    // Each of `count` samples twice.
    void (*repeat_twice)(const std::uint8_t* in, std::uint8_t* out, std::size_t count);
    // `count` pixels of 3 or 4 samples out of as many rows.
    void (*interleave_3)(const std::uint8_t* const* in, std::uint8_t* out, std::size_t count);
    void (*interleave_4)(const std::uint8_t* const* in, std::uint8_t* out, std::size_t count);
};

// The forms that `cpu` runs fastest.
[[nodiscard]] const NUV_JPEGSampleForms& jpeg_sample_forms(const NUV_Cpu& cpu) noexcept;

inline constexpr std::uint32_t jpeg_short_block = 10; // coefficients

// A sample of a transformed block as it is delivered.
[[nodiscard]] constexpr std::uint8_t deliver_sample(std::int32_t sample) noexcept
{
    const std::int32_t level = sample + 128;
    return static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
}

// `side` x `side` samples, one after the other, into rows `stride` bytes apart.
void put_samples(const std::int16_t* samples, std::size_t side, std::uint8_t* out,
                 std::size_t stride) noexcept;

// The inverse transform of `side` points (1, 2, 4) of the lowest coefficients of a block, T.81,
// A.3.3 at `side` / 8 of its size, so that the mean stays. The output is `side` x `side` samples
// without the level shift.
void reduced_idct(const std::int16_t* coefficients, const std::int16_t* table, std::size_t side,
                  std::int16_t* samples) noexcept;

void set_portable_sample_forms(NUV_JPEGSampleForms& forms) noexcept;
#if NUV_X86
void set_sse2_sample_forms(NUV_JPEGSampleForms& forms) noexcept;
void set_avx2_sample_forms(NUV_JPEGSampleForms& forms) noexcept;
void set_avx2_block_forms(NUV_JPEGSampleForms& forms) noexcept;
#endif

} // namespace nuv
