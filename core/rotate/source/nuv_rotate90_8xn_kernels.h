#pragma once

#include "core/include/nuv_mirrorrow_kernels.h"
#include "core/include/nuv_pixelbytes.h"
#include "core/include/nuv_pixelcopy.h"
#include "core/rotate/source/nuv_rotate90plane.h"
#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// As stride_pixels(). `has_next` tells that a byte follows each pixel of the input, in its line.
template <std::size_t PixelBytes>
void stride_pixels_of_lines(const std::uint8_t* in, std::ptrdiff_t in_step, std::uint8_t* out,
                            std::size_t count, std::size_t pixel_bytes,
                            [[maybe_unused]] bool has_next)
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
    stride_pixels<PixelBytes>(in, in_step, out, count, pixel_bytes);
}

// Some source lines that are turned together. Lines of the tile count in the order in which they
// stand in the output, from the left.
struct Rotate90Tile {
    const std::uint8_t* in = nullptr; // the first line of the tile
    std::uint8_t* out = nullptr;      // where source column 0 goes
    std::ptrdiff_t in_step = 0;       // to the next line of the tile
    std::ptrdiff_t out_step = 0;      // to where the next source column goes
    std::uint32_t width = 0;          // source columns
    std::uint32_t rows = 0;           // source lines
};

// Turns a tile. All forms give the same bytes, read within the source lines and write within the
// tile's part of the output lines.
using Rotate90TileForm = void (*)(const Rotate90Tile& tile, std::size_t pixel_bytes);

// Columns `from` and up.
template <std::size_t PixelBytes>
void rotate90tile_from(const Rotate90Tile& tile, std::uint32_t from, std::size_t pixel_bytes)
{
    const std::size_t size = PixelBytes != 0 ? PixelBytes : pixel_bytes;
    const std::uint8_t* in = tile.in + from * size;
    for (std::uint32_t x = from; x < tile.width; ++x, in += size) {
        stride_pixels_of_lines<PixelBytes>(in, tile.in_step,
                                           tile.out + std::ptrdiff_t{x} * tile.out_step, tile.rows,
                                           pixel_bytes, x + 1 < tile.width);
    }
}

template <std::size_t PixelBytes>
void rotate90tile(const Rotate90Tile& tile, std::size_t pixel_bytes)
{
    rotate90tile_from<PixelBytes>(tile, 0, pixel_bytes);
}

#if NUV_X86
void rotate90tile_1_sse2(const Rotate90Tile& tile, std::size_t pixel_bytes);
void rotate90tile_2_sse2(const Rotate90Tile& tile, std::size_t pixel_bytes);
void rotate90tile_3_avx2(const Rotate90Tile& tile, std::size_t pixel_bytes);
#endif

// The fastest form that `cpu` can run.
[[nodiscard]] inline Rotate90TileForm choose_rotate90tile([[maybe_unused]] const NUV_Cpu& cpu,
                                                          std::size_t pixel_bytes) noexcept
{
#if NUV_X86
    if (pixel_bytes == 1 && cpu.has_sse2)
        return rotate90tile_1_sse2;
    if (pixel_bytes == 2 && cpu.has_sse2)
        return rotate90tile_2_sse2;
    if (pixel_bytes == 3 && cpu.has_avx2)
        return rotate90tile_3_avx2;
#endif
    return visit_pixel_bytes(
        pixel_bytes, []<std::size_t Bytes>() -> Rotate90TileForm { return rotate90tile<Bytes>; });
}

// Puts bands of whole-byte pixels where they belong in the plane. With source pixel (x, y) of a
// W x H image, as (column, line): 90 degrees to (H-1-y, x), 180 to (W-1-x, H-1-y), 270 to
// (y, W-1-x).
class Rotate90Block {
public:
    Rotate90Block() = default;
    // `angle` is 90, 180 or 270. Chooses the fastest forms that `cpu` can run.
    Rotate90Block(std::int32_t angle, std::size_t pixel_bytes, const NUV_Cpu& cpu);

    // For 90 and 270.
    void rotate(const NUV_Rotate90Band& band) const;
    // For 180, a line of so many pixels.
    void turn_line(const std::uint8_t* in, std::uint8_t* out, std::size_t width) const
    {
        mirror_row_(in, out, width, pixel_bytes_);
    }

private:
    std::int32_t angle_ = 0;
    std::size_t pixel_bytes_ = 0;
    Rotate90TileForm tile_form_ = nullptr; // for 90 and 270
    MirrorRow mirror_row_ = nullptr;       // for 180
};

} // namespace nuv
