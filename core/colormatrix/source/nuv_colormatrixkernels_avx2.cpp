#include "core/colormatrix/source/nuv_colormatrixkernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 8;

// A row of the matrix in every 32-bit lane.
struct Row {
    __m256i first_two; // factors, 16 bits each
    __m256i third;
    __m256i offset; // with what rounds
};

// Eight pixels, as pairs of 16 bits in every lane.
struct Pixels {
    __m256i first_two;
    __m256i third; // and 0
};

NUV_TARGET("avx2")
inline Row load_row(const NUV_MatrixView<std::int32_t>& matrix, std::size_t j)
{
    const std::int32_t* factors = matrix.factors + 3 * j;
    const std::uint32_t low = static_cast<std::uint32_t>(factors[0]) & 0xFFFF;
    const std::uint32_t high = static_cast<std::uint32_t>(factors[1]) << 16;
    return {_mm256_set1_epi32(static_cast<int>(low | high)), _mm256_set1_epi32(factors[2] & 0xFFFF),
            _mm256_set1_epi32(matrix.offsets[j] + NUV_FixedReal::half)};
}

// Reads four bytes past the eight pixels.
NUV_TARGET("avx2")
inline Pixels load_pixels(const std::uint8_t* in)
{
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 12));
    const __m256i both = _mm256_set_m128i(high, low);
    const __m256i first_two = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1));
    const __m256i third = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1));
    return {_mm256_shuffle_epi8(both, first_two), _mm256_shuffle_epi8(both, third)};
}

// Not yet limited.
NUV_TARGET("avx2")
inline __m256i multiply(const Pixels& pixels, const Row& row)
{
    const __m256i sum =
        _mm256_add_epi32(_mm256_add_epi32(_mm256_madd_epi16(pixels.first_two, row.first_two),
                                          _mm256_madd_epi16(pixels.third, row.third)),
                         row.offset);
    return _mm256_srai_epi32(sum, NUV_FixedReal::fraction_bits);
}

// Each step reads and writes four bytes past its eight pixels: two more must follow.
NUV_TARGET("avx2")
std::size_t multiply_by_three_rows(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                                   const NUV_MatrixView<std::int32_t>& matrix)
{
    const Row rows[3] = {load_row(matrix, 0), load_row(matrix, 1), load_row(matrix, 2)};
    const __m256i interleave = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, 1, 5, 9, 2, 6, 10, 3, 7, 11, -1, -1, -1, -1));
    std::size_t i = 0;
    for (; i + pixels_at_once + 2 <= pixels; i += pixels_at_once) {
        const Pixels eight = load_pixels(in + 3 * i);
        const __m256i first = multiply(eight, rows[0]);
        const __m256i second = multiply(eight, rows[1]);
        const __m256i third = multiply(eight, rows[2]);
        // The two packs limit: to 16 bits with a sign, then to 8 without.
        const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(first, second),
                                                  _mm256_packs_epi32(third, third));
        const __m256i mixed = _mm256_shuffle_epi8(bytes, interleave);
        std::uint8_t* to = out + 3 * i;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(mixed));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 12), _mm256_extracti128_si256(mixed, 1));
    }
    return i;
}

// Each step reads four bytes past its 32 pixels.
NUV_TARGET("avx2")
std::size_t multiply_by_one_row(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                                const NUV_MatrixView<std::int32_t>& matrix)
{
    constexpr std::size_t step = 4 * pixels_at_once;
    const Row row = load_row(matrix, 0);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t i = 0;
    for (; i + step + 2 <= pixels; i += step) {
        const std::uint8_t* from = in + 3 * i;
        const __m256i a = multiply(load_pixels(from), row);
        const __m256i b = multiply(load_pixels(from + 3 * pixels_at_once), row);
        const __m256i c = multiply(load_pixels(from + 6 * pixels_at_once), row);
        const __m256i d = multiply(load_pixels(from + 9 * pixels_at_once), row);
        const __m256i bytes =
            _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            _mm256_permutevar8x32_epi32(bytes, order));
    }
    return i;
}

} // namespace

void matrix_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                     const NUV_MatrixView<std::int32_t>& matrix)
{
    if (matrix.rows == 3) {
        const std::size_t done = multiply_by_three_rows(in, out, pixels, matrix);
        matrix_row_portable<std::uint8_t, std::int32_t, 3, 3>(in + 3 * done, out + 3 * done,
                                                              pixels - done, matrix);
        return;
    }
    const std::size_t done = multiply_by_one_row(in, out, pixels, matrix);
    matrix_row_portable<std::uint8_t, std::int32_t, 1, 3>(in + 3 * done, out + done, pixels - done,
                                                          matrix);
}

} // namespace nuv

#endif // NUV_X86
