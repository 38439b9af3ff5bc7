#pragma once

#include "core/include/nuv_pixelbytes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// Rows of whole pixels that are only moved. `PixelBytes` is the size of a pixel, or 0 for one that
// is told at run time; the pixels of a row may lie at any address.

template <std::size_t PixelBytes>
void copy_pixel(std::uint8_t* out, const std::uint8_t* in, std::size_t pixel_bytes) noexcept
{
    if constexpr (PixelBytes != 0)
        std::memcpy(out, in, PixelBytes);
    else
        std::memcpy(out, in, pixel_bytes);
}

// out[k] is the pixel at in + offsets[k] bytes, k < pixels.
template <std::size_t PixelBytes>
void gather_pixels(const std::uint8_t* in, const std::uint32_t* offsets, std::uint8_t* out,
                   std::size_t pixels, std::size_t pixel_bytes) noexcept
{
    const std::size_t size = PixelBytes != 0 ? PixelBytes : pixel_bytes;
    for (std::size_t k = 0; k < pixels; ++k)
        copy_pixel<PixelBytes>(out + k * size, in + offsets[k], size);
}

// out[k] is the pixel at in + k * step_bytes, k < pixels. Lines upward and pixels from the right
// have steps below 0.
template <std::size_t PixelBytes>
void stride_pixels(const std::uint8_t* in, std::ptrdiff_t step_bytes, std::uint8_t* out,
                   std::size_t pixels, std::size_t pixel_bytes) noexcept
{
    const std::size_t size = PixelBytes != 0 ? PixelBytes : pixel_bytes;
    for (; pixels > 0; --pixels, in += step_bytes, out += size)
        copy_pixel<PixelBytes>(out, in, size);
}

// Each of the `pixels` pixels of `in`, `factor` times.
template <std::size_t PixelBytes>
void repeat_pixels(const std::uint8_t* in, std::size_t factor, std::uint8_t* out,
                   std::size_t pixels, std::size_t pixel_bytes) noexcept
{
    const std::size_t size = PixelBytes != 0 ? PixelBytes : pixel_bytes;
    for (std::size_t k = 0; k < pixels; ++k) {
        for (std::size_t i = 0; i < factor; ++i)
            copy_pixel<PixelBytes>(out + (k * factor + i) * size, in + k * size, size);
    }
}

// Packs bit offsets[k] of `in` to bit k of `out`, k < pixels, both counted from the top bit of the
// first byte. What is left of the last byte becomes 0.
void gather_bits(const std::uint8_t* in, const std::uint32_t* offsets, std::uint8_t* out,
                 std::size_t pixels) noexcept;

} // namespace nuv
