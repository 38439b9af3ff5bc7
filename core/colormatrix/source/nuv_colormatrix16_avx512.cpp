#include "core/colormatrix/source/nuv_colormatrix_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

#    include <array>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 8;

using Order = std::array<std::uint8_t, sizeof(__m512i)>;

// As a double, 2^52 and a whole number below that have the bits of the number in the lower ones.
constexpr double two_to_52 = 0x1p52;

// Brings the samples of one channel of eight pixels to the lower bits of lanes of 64 bits.
template <int Columns, int Column>
constexpr Order spread_order = [] {
    Order order{};
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<std::uint8_t>(2 * (i / 8 * Columns + Column) + i % 2);
    return order;
}();
constexpr __mmask64 spread_mask = 0x0303030303030303;

// Brings results together, which stand one after the other in the lower bits of each lane.
template <std::size_t Rows>
constexpr Order gather_order = [] {
    Order order{};
    for (std::size_t i = 0; i < 2 * Rows * pixels_at_once; ++i)
        order[i] = static_cast<std::uint8_t>(i / (2 * Rows) * 8 + i % (2 * Rows));
    return order;
}();

template <int Columns, int Column>
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512d take(__m512i pixels)
{
    const __m512i order = _mm512_loadu_si512(spread_order<Columns, Column>.data());
    const __m512d base = _mm512_set1_pd(two_to_52);
    const __m512i bits =
        _mm512_mask_permutexvar_epi8(_mm512_castpd_si512(base), spread_mask, order, pixels);
    return _mm512_sub_pd(_mm512_castsi512_pd(bits), base);
}

// As matrix_sample() does: both comparisons give their second operand for what is not a number, and
// the last sum cuts off what is behind the point. The sample stands in the lower bits.
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i round(__m512d sum)
{
    constexpr double maximum = std::numeric_limits<std::uint16_t>::max();
    sum = _mm512_min_pd(_mm512_max_pd(sum, _mm512_setzero_pd()), _mm512_set1_pd(maximum));
    sum = _mm512_add_pd(sum, _mm512_set1_pd(0.5));
    constexpr int towards_zero = _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC;
    return _mm512_castpd_si512(_mm512_add_round_pd(sum, _mm512_set1_pd(two_to_52), towards_zero));
}

// A matrix in registers.
template <int Rows, int Columns>
struct Matrix {
    __m512d offsets[Rows];
    __m512d factors[Rows][Columns];
};

template <int Columns>
struct Samples {
    __m512d of[Columns];
};

// The first samples of `mask` alone are read and written.
template <int Rows, int Columns>
NUV_TARGET("avx512vbmi,avx512bw")
inline void multiply_eight(const std::uint16_t* in, __mmask32 in_mask, std::uint16_t* out,
                           __mmask32 out_mask, const Matrix<Rows, Columns>& matrix)
{
    const __m512i pixels = _mm512_maskz_loadu_epi16(in_mask, in);
    Samples<Columns> samples;
    samples.of[0] = take<Columns, 0>(pixels);
    if constexpr (Columns == 3) {
        samples.of[1] = take<Columns, 1>(pixels);
        samples.of[2] = take<Columns, 2>(pixels);
    }
    __m512i results[Rows];
    for (int j = 0; j < Rows; ++j) {
        __m512d sum = matrix.offsets[j];
        for (int k = 0; k < Columns; ++k)
            sum = _mm512_add_pd(sum, _mm512_mul_pd(samples.of[k], matrix.factors[j][k]));
        results[j] = round(sum);
    }
    __m512i all = results[0];
    if constexpr (Rows == 3) {
        constexpr int any_of_three = 0xFE;
        all = _mm512_ternarylogic_epi64(all, _mm512_slli_epi64(results[1], 16),
                                        _mm512_slli_epi64(results[2], 32), any_of_three);
    }
    const __m512i order = _mm512_loadu_si512(gather_order<Rows>.data());
    _mm512_mask_storeu_epi16(out, out_mask, _mm512_permutexvar_epi8(order, all));
}

[[nodiscard]] constexpr __mmask32 first_samples(std::size_t count)
{
    return static_cast<__mmask32>((std::uint64_t{1} << count) - 1);
}

template <int Rows, int Columns>
NUV_TARGET("avx512vbmi,avx512bw")
void multiply(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
              const NUV_MatrixView<double>& view)
{
    Matrix<Rows, Columns> matrix;
    for (int j = 0; j < Rows; ++j) {
        matrix.offsets[j] = _mm512_set1_pd(view.offsets[j]);
        for (int k = 0; k < Columns; ++k)
            matrix.factors[j][k] = _mm512_set1_pd(view.factors[j * Columns + k]);
    }
    constexpr __mmask32 in_mask = first_samples(Columns * pixels_at_once);
    constexpr __mmask32 out_mask = first_samples(Rows * pixels_at_once);
    for (; pixels >= pixels_at_once; pixels -= pixels_at_once) {
        prefetch_ahead(in, Columns * pixels_at_once * sizeof *in);
        prefetch_ahead(out, Rows * pixels_at_once * sizeof *out);
        multiply_eight<Rows, Columns>(in, in_mask, out, out_mask, matrix);
        in += Columns * pixels_at_once;
        out += Rows * pixels_at_once;
    }
    if (pixels > 0)
        multiply_eight<Rows, Columns>(in, first_samples(Columns * pixels), out,
                                      first_samples(Rows * pixels), matrix);
}

} // namespace

void matrix16_row_avx512(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
                         const NUV_MatrixView<double>& matrix)
{
    const auto form = matrix.rows == 1      ? multiply<1, 3>
                      : matrix.columns == 1 ? multiply<3, 1>
                                            : multiply<3, 3>;
    form(in, out, pixels, matrix);
}

} // namespace nuv

#endif // NUV_X86
