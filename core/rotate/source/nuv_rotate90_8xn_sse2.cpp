#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"

#if NUV_X86

#    include "core/rotate/source/nuv_transpose_sse2.h"

#    include <emmintrin.h>

namespace nuv {
namespace {

constexpr std::uint32_t side = 16; // of a square of pixels

} // namespace

// Squares of 16 x 16 pixels; the columns and lines that are left over in the portable form.
NUV_TARGET("sse2")
void rotate90tile_1_sse2(const Rotate90Tile& tile, std::size_t pixel_bytes)
{
    const std::uint32_t columns = tile.width / side * side;
    const std::uint32_t rows = tile.rows / side * side;
    for (std::uint32_t x = 0; x < columns; x += side) {
        for (std::uint32_t row = 0; row < rows; row += side) {
            __m128i square[side];
            const std::uint8_t* in = tile.in + std::ptrdiff_t{row} * tile.in_step + x;
            for (__m128i& line : square) {
                line = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
                in += tile.in_step;
            }
            transpose_bytes(square);
            std::uint8_t* out = tile.out + std::ptrdiff_t{x} * tile.out_step + row;
            for (const __m128i& line : square) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out), line);
                out += tile.out_step;
            }
        }
    }
    rotate90tile_from<1>(tile, columns, pixel_bytes);
    if (rows < tile.rows) {
        Rotate90Tile rest = tile;
        rest.in += std::ptrdiff_t{rows} * tile.in_step;
        rest.out += rows;
        rest.rows -= rows;
        rest.width = columns;
        rotate90tile_from<1>(rest, 0, pixel_bytes);
    }
}

} // namespace nuv

#endif // NUV_X86
