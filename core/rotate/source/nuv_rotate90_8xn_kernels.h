#pragma once

#include "core/rotate/source/nuv_rotate90plane.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// Puts one band of whole-byte pixels where they belong in the plane. With source pixel (x, y) of a
// W x H image, as (column, line): 90 degrees to (H-1-y, x), 180 to (W-1-x, H-1-y), 270 to (y, W-1-x).
using Rotate90Block = void (*)(const NUV_Rotate90Band& band, std::size_t pixel_bytes);

// Copies `count` pixels that lie `in_step` bytes apart to a row without gaps. PixelBytes 0 stands
// for `pixel_bytes`. `has_next` tells that a byte follows each pixel of the input, in its line.
template <int PixelBytes>
void gather_pixels(const std::uint8_t* in, std::ptrdiff_t in_step, std::uint8_t* out,
                   std::size_t count, std::size_t pixel_bytes, [[maybe_unused]] bool has_next)
{
    if constexpr (PixelBytes == 3) {
        // A word at a time: the fourth byte is overwritten by the next pixel, and there is always a
        // next one but for the last.
        if (has_next) {
            for (; count > 1; --count, in += in_step, out += 3) {
                std::uint32_t word;
                std::memcpy(&word, in, sizeof(word));
                std::memcpy(out, &word, sizeof(word));
            }
        }
    }
    const std::size_t size = PixelBytes != 0 ? std::size_t{PixelBytes} : pixel_bytes;
    for (; count > 0; --count, in += in_step, out += size) {
        if constexpr (PixelBytes != 0)
            std::memcpy(out, in, PixelBytes); // one or two moves
        else
            std::memcpy(out, in, pixel_bytes);
    }
}

template <int PixelBytes, bool Clockwise>
void rotate90block_8xn(const NUV_Rotate90Band& band, std::size_t pixel_bytes)
{
    // So many source lines at a time that a piece of an output line fills whole cache lines, while
    // one cache line of each source line stays near for the columns that follow.
    constexpr std::uint32_t tile = 64;
    const std::size_t size = PixelBytes != 0 ? std::size_t{PixelBytes} : pixel_bytes;
    const auto src_step = static_cast<std::ptrdiff_t>(band.src_step);
    for (std::uint32_t row = 0; row < band.rows; row += tile) {
        const std::uint32_t rows = std::min(tile, band.rows - row);
        // The first source line of the piece, and the output column that it goes to.
        const std::uint32_t from = Clockwise ? row + rows - 1 : row;
        const std::uint32_t column =
            Clockwise ? band.height - 1 - (band.first_row + from) : band.first_row + from;
        const std::uint8_t* in = band.src + from * band.src_step;
        std::uint8_t* out = band.plane + column * size;
        for (std::uint32_t x = 0; x < band.width; ++x, in += size) {
            const std::uint32_t line = Clockwise ? x : band.width - 1 - x;
            gather_pixels<PixelBytes>(in, Clockwise ? -src_step : src_step,
                                      out + line * band.plane_step, rows, pixel_bytes,
                                      x + 1 < band.width);
        }
    }
}

template <int PixelBytes>
void rotate90block_8xn_180(const NUV_Rotate90Band& band, std::size_t pixel_bytes)
{
    const std::size_t size = PixelBytes != 0 ? std::size_t{PixelBytes} : pixel_bytes;
    const std::size_t last = (std::size_t{band.width} - 1) * size;
    for (std::uint32_t row = 0; row < band.rows; ++row) {
        const std::uint8_t* in = band.src + row * band.src_step + last;
        std::uint8_t* out =
            band.plane + (band.height - 1 - (band.first_row + row)) * band.plane_step;
        // No byte follows the last pixel of the line; one follows all others.
        gather_pixels<PixelBytes>(in, 0, out, 1, pixel_bytes, false);
        if (band.width == 1)
            continue;
        gather_pixels<PixelBytes>(in - size, -static_cast<std::ptrdiff_t>(size), out + size,
                                  band.width - 1, pixel_bytes, true);
    }
}

// `angle` is 90, 180 or 270.
[[nodiscard]] Rotate90Block choose_rotate90block_8xn(std::int32_t angle, std::size_t pixel_bytes);

} // namespace nuv
