#include "core/colormatrix/source/nuv_colormatrix_kernels.h"

#if NUV_X86

#    include <algorithm>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 8;

// A row of the matrix in every 32-bit lane: pairs of factors, 16 bits each.
struct Row {
    __m256i first_two;
    __m256i outer;  // the first and the third
    __m256i third;  // 0 and the third
    __m256i offset; // 32 bits, with what rounds
};

// Eight pixels, as pairs of 16 bits in every lane.
struct Pixels {
    __m256i first_two;
    __m256i outer; // the first and the third
};

// The results of three rows for eight pixels, 32 bits each, not yet limited.
struct Results {
    __m256i of[3];
};

// Of one or three columns.
NUV_TARGET("avx2")
inline Row load_row(const NUV_MatrixView<std::int32_t>& matrix, std::size_t j)
{
    const std::int32_t* factors = matrix.factors + matrix.columns * j;
    const std::int32_t second = matrix.columns == 3 ? factors[1] : 0;
    const std::int32_t third = matrix.columns == 3 ? factors[2] : 0;
    return {_mm256_set1_epi32(factor_pair(factors[0], second)),
            _mm256_set1_epi32(factor_pair(factors[0], third)),
            _mm256_set1_epi32(factor_pair(0, third)),
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
    const __m256i outer = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, -1, 2, -1, 3, -1, 5, -1, 6, -1, 8, -1, 9, -1, 11, -1));
    return {_mm256_shuffle_epi8(both, first_two), _mm256_shuffle_epi8(both, outer)};
}

NUV_TARGET("avx2")
inline __m256i round(__m256i sum, const Row& row)
{
    return _mm256_srai_epi32(_mm256_add_epi32(sum, row.offset), NUV_FixedReal::fraction_bits);
}

NUV_TARGET("avx2")
inline __m256i multiply(const Pixels& pixels, const Row& row)
{
    return round(_mm256_add_epi32(_mm256_madd_epi16(pixels.first_two, row.first_two),
                                  _mm256_madd_epi16(pixels.outer, row.third)),
                 row);
}

// Three rows by their factors: one column; three columns without the second factor in the first row
// and the third in the last, as from YCbCr to RGB, which saves two products; and all other.
enum class Shape { column, sparse, full };

[[nodiscard]] Shape shape_of(const NUV_MatrixView<std::int32_t>& matrix)
{
    if (matrix.columns == 1)
        return Shape::column;
    return matrix.factors[1] == 0 && matrix.factors[8] == 0 ? Shape::sparse : Shape::full;
}

template <Shape S>
NUV_TARGET("avx2")
inline Results multiply_eight(const std::uint8_t* in, const Row (&rows)[3])
{
    if constexpr (S == Shape::column) {
        const __m128i samples = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in));
        const __m256i wide = _mm256_cvtepu8_epi32(samples);
        return {{round(_mm256_madd_epi16(wide, rows[0].first_two), rows[0]),
                 round(_mm256_madd_epi16(wide, rows[1].first_two), rows[1]),
                 round(_mm256_madd_epi16(wide, rows[2].first_two), rows[2])}};
    }
    const Pixels pixels = load_pixels(in);
    if constexpr (S == Shape::sparse) {
        return {{round(_mm256_madd_epi16(pixels.outer, rows[0].outer), rows[0]),
                 multiply(pixels, rows[1]),
                 round(_mm256_madd_epi16(pixels.first_two, rows[2].first_two), rows[2])}};
    }
    return {{multiply(pixels, rows[0]), multiply(pixels, rows[1]), multiply(pixels, rows[2])}};
}

// Writes four bytes past the eight pixels.
NUV_TARGET("avx2")
inline void store_eight(std::uint8_t* out, const Results& results)
{
    const __m256i interleave = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, 1, 5, 9, 2, 6, 10, 3, 7, 11, -1, -1, -1, -1));
    // The two packs limit: to 16 bits with a sign, then to 8 without.
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(results.of[0], results.of[1]),
                                              _mm256_packs_epi32(results.of[2], results.of[2]));
    const __m256i mixed = _mm256_shuffle_epi8(bytes, interleave);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(mixed));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 12), _mm256_extracti128_si256(mixed, 1));
}

// Each step reads and writes up to four bytes past its eight pixels: two more must follow.
template <Shape S>
NUV_TARGET("avx2")
std::size_t multiply_by_three_rows(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                                   const NUV_MatrixView<std::int32_t>& matrix)
{
    const Row rows[3] = {load_row(matrix, 0), load_row(matrix, 1), load_row(matrix, 2)};
    constexpr std::size_t columns = S == Shape::column ? 1 : 3;
    std::size_t i = 0;
    for (; i + pixels_at_once + 2 <= pixels; i += pixels_at_once) {
        prefetch_ahead(in + columns * i, columns * pixels_at_once);
        prefetch_ahead(out + 3 * i, 3 * pixels_at_once);
        store_eight(out + 3 * i, multiply_eight<S>(in + columns * i, rows));
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
        prefetch_ahead(from, 3 * step);
        prefetch_ahead(out + i, step);
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

// True when all three rows of a column give the sample itself.
[[nodiscard]] bool repeats(const NUV_MatrixView<std::int32_t>& matrix)
{
    const auto is = [](const std::int32_t* numbers, std::int32_t wanted) {
        return std::all_of(numbers, numbers + 3, [=](std::int32_t n) { return n == wanted; });
    };
    return is(matrix.factors, NUV_FixedReal::one) && is(matrix.offsets, 0);
}

// 32 samples three times each.
NUV_TARGET("avx2")
std::size_t repeat_samples(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels)
{
    constexpr std::size_t step = 4 * pixels_at_once;
    const __m256i orders[3] = {
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5)),
        _mm256_broadcastsi128_si256(
            _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10)),
        _mm256_broadcastsi128_si256(
            _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15))};
    std::size_t i = 0;
    for (; i + step <= pixels; i += step) {
        prefetch_ahead(in + i, step);
        prefetch_ahead(out + 3 * i, 3 * step);
        const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
        auto* const to = reinterpret_cast<__m128i*>(out + 3 * i);
        for (int k = 0; k < 3; ++k) {
            const __m256i piece = _mm256_shuffle_epi8(samples, orders[k]);
            _mm_storeu_si128(to + k, _mm256_castsi256_si128(piece));
            _mm_storeu_si128(to + 3 + k, _mm256_extracti128_si256(piece, 1));
        }
    }
    return i;
}

} // namespace

void matrix_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                     const NUV_MatrixView<std::int32_t>& matrix)
{
    if (matrix.rows == 1) {
        const std::size_t done = multiply_by_one_row(in, out, pixels, matrix);
        matrix_row_portable<std::uint8_t, std::int32_t, 1, 3>(in + 3 * done, out + done,
                                                              pixels - done, matrix);
        return;
    }
    const Shape shape = shape_of(matrix);
    const auto form = shape == Shape::column   ? multiply_by_three_rows<Shape::column>
                      : shape == Shape::sparse ? multiply_by_three_rows<Shape::sparse>
                                               : multiply_by_three_rows<Shape::full>;
    const std::size_t done = shape == Shape::column && repeats(matrix)
                                 ? repeat_samples(in, out, pixels)
                                 : form(in, out, pixels, matrix);
    matrix_row_portable<std::uint8_t, std::int32_t, 3, 0>(in + matrix.columns * done,
                                                          out + 3 * done, pixels - done, matrix);
}

} // namespace nuv

#endif // NUV_X86
