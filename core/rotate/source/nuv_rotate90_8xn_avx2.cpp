#include "core/include/nuv_pixelvectors_avx2.h"
#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::uint32_t side = 4; // of a square of pixels
// Four pixels are loaded and stored as 16 bytes, of which the last four belong to the two pixels
// behind them: these have to be there.
constexpr std::uint32_t reach = 6;

// Four pixels, each in a lane of four bytes.
NUV_TARGET("avx2")
inline __m128i load_pixels(const std::uint8_t* from)
{
    const __m128i spread = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)), spread);
}

NUV_TARGET("avx2")
inline void store_pixels(std::uint8_t* to, __m128i pixels)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), without_fourths(pixels));
}

} // namespace

// Squares of 4 x 4 pixels. Each store also writes into the next square, which comes after it.
NUV_TARGET("avx2")
void rotate90tile_3_avx2(const Rotate90Tile& tile, std::size_t pixel_bytes)
{
    constexpr std::size_t size = 3; // bytes of a pixel
    std::uint32_t x = 0;
    for (; x + reach <= tile.width; x += side) {
        const std::uint8_t* in = tile.in + x * size;
        std::uint8_t* out = tile.out + std::ptrdiff_t{x} * tile.out_step;
        std::uint32_t row = 0;
        for (; row + reach <= tile.rows; row += side) {
            const __m128i a = load_pixels(in);
            const __m128i b = load_pixels(in + tile.in_step);
            const __m128i c = load_pixels(in + 2 * tile.in_step);
            const __m128i d = load_pixels(in + 3 * tile.in_step);
            const __m128i ab_left = _mm_unpacklo_epi32(a, b);
            const __m128i ab_right = _mm_unpackhi_epi32(a, b);
            const __m128i cd_left = _mm_unpacklo_epi32(c, d);
            const __m128i cd_right = _mm_unpackhi_epi32(c, d);
            store_pixels(out, _mm_unpacklo_epi64(ab_left, cd_left));
            store_pixels(out + tile.out_step, _mm_unpackhi_epi64(ab_left, cd_left));
            store_pixels(out + 2 * tile.out_step, _mm_unpacklo_epi64(ab_right, cd_right));
            store_pixels(out + 3 * tile.out_step, _mm_unpackhi_epi64(ab_right, cd_right));
            in += std::ptrdiff_t{side} * tile.in_step;
            out += side * size;
        }
        for (std::uint32_t i = 0; i < side; ++i) {
            stride_pixels_of_lines<3>(in + i * size, tile.in_step,
                                      out + std::ptrdiff_t{i} * tile.out_step, tile.rows - row,
                                      pixel_bytes, true);
        }
    }
    rotate90tile_from<3>(tile, x, pixel_bytes);
}

} // namespace nuv

#endif // NUV_X86
