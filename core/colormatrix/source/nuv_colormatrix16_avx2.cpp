#include "core/colormatrix/source/nuv_colormatrix_kernels.h"
#include "core/include/nuv_pixelvectors_avx2.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 4;

// One channel of four pixels in each.
template <int Columns>
struct Samples {
    __m256d of[Columns];
};

// The results of the rows for four pixels, 32 bits each.
template <int Rows>
struct Results {
    __m128i of[Rows];
};

// One channel of the four pixels, of which the first two stand in the lower half, and the others in
// the last 12 bytes of the upper one.
template <int Channel>
NUV_TARGET("avx2")
inline __m256d take(__m256i pixels)
{
    constexpr char at = 2 * Channel;
    const __m256i order = _mm256_setr_epi8(at, at + 1, -1, -1, -1, -1, -1, -1, at + 6, at + 7, -1,
                                           -1, -1, -1, -1, -1, at + 4, at + 5, -1, -1, -1, -1, -1,
                                           -1, at + 10, at + 11, -1, -1, -1, -1, -1, -1);
    // As a double, 2^52 and a whole number below that have the bits of the number in the lower
    // ones.
    const __m256d base = _mm256_set1_pd(0x1p52);
    const __m256i samples = _mm256_shuffle_epi8(pixels, order);
    return _mm256_sub_pd(_mm256_or_pd(_mm256_castsi256_pd(samples), base), base);
}

template <int Columns>
NUV_TARGET("avx2")
inline Samples<Columns> load_four(const std::uint16_t* in)
{
    if constexpr (Columns == 1) {
        return {{four_numbers(in)}};
    } else {
        const __m256i pixels = load_two(in, in + 4);
        return {{take<0>(pixels), take<1>(pixels), take<2>(pixels)}};
    }
}

template <int Rows>
NUV_TARGET("avx2")
inline void store_four(std::uint16_t* out, const Results<Rows>& results)
{
    if constexpr (Rows == 1) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out),
                         _mm_packus_epi32(results.of[0], results.of[0]));
    } else {
        const __m128i pairs = _mm_or_si128(results.of[0], _mm_slli_epi32(results.of[1], 16));
        const __m128i thirds = results.of[2];
        const __m128i low =
            _mm_or_si128(_mm_shuffle_epi8(pairs, _mm_setr_epi8(0, 1, 2, 3, -1, -1, 4, 5, 6, 7, -1,
                                                               -1, 8, 9, 10, 11)),
                         _mm_shuffle_epi8(thirds, _mm_setr_epi8(-1, -1, -1, -1, 0, 1, -1, -1, -1,
                                                                -1, 4, 5, -1, -1, -1, -1)));
        const __m128i high =
            _mm_or_si128(_mm_shuffle_epi8(pairs, _mm_setr_epi8(-1, -1, 12, 13, 14, 15, -1, -1, -1,
                                                               -1, -1, -1, -1, -1, -1, -1)),
                         _mm_shuffle_epi8(thirds, _mm_setr_epi8(8, 9, -1, -1, -1, -1, 12, 13, -1,
                                                                -1, -1, -1, -1, -1, -1, -1)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), low);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 8), high);
    }
}

// As matrix_sample() does: both comparisons give their second operand for what is not a number.
NUV_TARGET("avx2")
inline __m128i round(__m256d sum)
{
    constexpr double maximum = std::numeric_limits<std::uint16_t>::max();
    sum = _mm256_min_pd(_mm256_max_pd(sum, _mm256_setzero_pd()), _mm256_set1_pd(maximum));
    return _mm256_cvttpd_epi32(_mm256_add_pd(sum, _mm256_set1_pd(0.5)));
}

template <int Rows, int Columns>
NUV_TARGET("avx2")
void multiply(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
              const NUV_MatrixView<double>& matrix)
{
    __m256d offsets[Rows];
    __m256d factors[Rows][Columns];
    for (int j = 0; j < Rows; ++j) {
        offsets[j] = _mm256_set1_pd(matrix.offsets[j]);
        for (int k = 0; k < Columns; ++k)
            factors[j][k] = _mm256_set1_pd(matrix.factors[j * Columns + k]);
    }
    for (; pixels >= pixels_at_once; pixels -= pixels_at_once) {
        prefetch_ahead(in, Columns * pixels_at_once * sizeof *in);
        prefetch_ahead(out, Rows * pixels_at_once * sizeof *out);
        const Samples<Columns> samples = load_four<Columns>(in);
        Results<Rows> results;
        for (int j = 0; j < Rows; ++j) {
            __m256d sum = offsets[j];
            for (int k = 0; k < Columns; ++k)
                sum = _mm256_add_pd(sum, _mm256_mul_pd(samples.of[k], factors[j][k]));
            results.of[j] = round(sum);
        }
        store_four<Rows>(out, results);
        in += Columns * pixels_at_once;
        out += Rows * pixels_at_once;
    }
    matrix_row_portable<std::uint16_t, double, Rows, Columns>(in, out, pixels, matrix);
}

} // namespace

void matrix16_row_avx2(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
                       const NUV_MatrixView<double>& matrix)
{
    const auto form = matrix.rows == 1      ? multiply<1, 3>
                      : matrix.columns == 1 ? multiply<3, 1>
                                            : multiply<3, 3>;
    form(in, out, pixels, matrix);
}

} // namespace nuv

#endif // NUV_X86
