#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"

#if NUV_X86

#    include "core/rotate/source/nuv_transpose_sse2.h"

#    include <emmintrin.h>

namespace nuv {
namespace {

// Squares of as many pixels a side as fill a register; the columns and lines that are left over in
// the portable form.
template <std::size_t PixelBytes>
NUV_TARGET("sse2")
void rotate90tile_sse2(const Rotate90Tile& tile, std::size_t pixel_bytes)
{
    constexpr std::uint32_t side = sizeof(__m128i) / PixelBytes;
    const std::uint32_t columns = tile.width / side * side;
    const std::uint32_t rows = tile.rows / side * side;
    for (std::uint32_t x = 0; x < columns; x += side) {
        for (std::uint32_t row = 0; row < rows; row += side) {
            __m128i square[side];
            const std::uint8_t* in = tile.in + std::ptrdiff_t{row} * tile.in_step + x * PixelBytes;
            for (__m128i& line : square) {
                line = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
                in += tile.in_step;
            }
            if constexpr (PixelBytes == 1)
                transpose_bytes(square);
            else
                transpose_pairs(square);
            std::uint8_t* out = tile.out + std::ptrdiff_t{x} * tile.out_step + row * PixelBytes;
            for (const __m128i& line : square) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out), line);
                out += tile.out_step;
            }
        }
    }
    rotate90tile_from<PixelBytes>(tile, columns, pixel_bytes);
    if (rows < tile.rows) {
        Rotate90Tile rest = tile;
        rest.in += std::ptrdiff_t{rows} * tile.in_step;
        rest.out += rows * PixelBytes;
        rest.rows -= rows;
        rest.width = columns;
        rotate90tile_from<PixelBytes>(rest, 0, pixel_bytes);
    }
}

} // namespace

NUV_TARGET("sse2")
void rotate90tile_1_sse2(const Rotate90Tile& tile, std::size_t pixel_bytes)
{
    rotate90tile_sse2<1>(tile, pixel_bytes);
}

NUV_TARGET("sse2")
void rotate90tile_2_sse2(const Rotate90Tile& tile, std::size_t pixel_bytes)
{
    rotate90tile_sse2<2>(tile, pixel_bytes);
}

} // namespace nuv

#endif // NUV_X86
