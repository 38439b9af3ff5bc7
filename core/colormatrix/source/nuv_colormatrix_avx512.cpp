#include "core/colormatrix/source/nuv_colormatrix_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

#    include <array>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 16;

using Order = std::array<std::uint8_t, sizeof(__m512i)>;

// Brings samples to lanes of 32 bits, the first two of a pixel to 16 bits each, and the third to
// the lower 16. Masks clear what is between them.
constexpr Order first_two_order = [] {
    Order order{};
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<std::uint8_t>(i / 4 * 3 + i % 4 / 2);
    return order;
}();
constexpr Order third_order = [] {
    Order order{};
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<std::uint8_t>(i / 4 * 3 + 2);
    return order;
}();
constexpr __mmask64 first_two_mask = 0x5555555555555555;
constexpr __mmask64 third_mask = 0x1111111111111111;

// Packing leaves the results of four pixels in each 16 bytes, those of a row in four.
constexpr Order pixel_order = [] {
    Order order{};
    for (std::size_t i = 0; i < 3 * pixels_at_once; ++i) {
        const std::size_t pixel = i / 3;
        order[i] = static_cast<std::uint8_t>(pixel / 4 * 16 + i % 3 * 4 + pixel % 4);
    }
    return order;
}();

// In every lane of 32 bits.
struct Matrix {
    __m512i first_two[3]; // factors
    __m512i third[3];     // factors
    __m512i offsets[3];   // with what rounds
};

NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i load_order(const Order& order)
{
    return _mm512_loadu_si512(order.data());
}

NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i multiply_row(__m512i first_two, __m512i third, const Matrix& matrix, int j)
{
    const __m512i sum = _mm512_add_epi32(_mm512_madd_epi16(first_two, matrix.first_two[j]),
                                         _mm512_madd_epi16(third, matrix.third[j]));
    return _mm512_srai_epi32(_mm512_add_epi32(sum, matrix.offsets[j]),
                             NUV_FixedReal::fraction_bits);
}

// The samples of `mask` alone are read and written.
NUV_TARGET("avx512vbmi,avx512bw")
inline void multiply_sixteen(const std::uint8_t* in, std::uint8_t* out, __mmask64 mask,
                             const Matrix& matrix)
{
    const __m512i pixels = _mm512_maskz_loadu_epi8(mask, in);
    const __m512i first_two =
        _mm512_maskz_permutexvar_epi8(first_two_mask, load_order(first_two_order), pixels);
    const __m512i third =
        _mm512_maskz_permutexvar_epi8(third_mask, load_order(third_order), pixels);
    const __m512i first_row = multiply_row(first_two, third, matrix, 0);
    const __m512i second_row = multiply_row(first_two, third, matrix, 1);
    const __m512i third_row = multiply_row(first_two, third, matrix, 2);
    // The two packs limit: to 16 bits with a sign, then to 8 without.
    const __m512i bytes = _mm512_packus_epi16(_mm512_packs_epi32(first_row, second_row),
                                              _mm512_packs_epi32(third_row, third_row));
    _mm512_mask_storeu_epi8(out, mask, _mm512_permutexvar_epi8(load_order(pixel_order), bytes));
}

[[nodiscard]] constexpr __mmask64 first_samples(std::size_t count)
{
    return (std::uint64_t{1} << count) - 1;
}

} // namespace

NUV_TARGET("avx512vbmi,avx512bw")
void matrix_row_avx512(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                       const NUV_MatrixView<std::int32_t>& matrix)
{
    Matrix wide;
    for (std::size_t j = 0; j < 3; ++j) {
        const std::int32_t* factors = matrix.factors + 3 * j;
        wide.first_two[j] = _mm512_set1_epi32(factor_pair(factors[0], factors[1]));
        wide.third[j] = _mm512_set1_epi32(factor_pair(factors[2], 0));
        wide.offsets[j] = _mm512_set1_epi32(matrix.offsets[j] + NUV_FixedReal::half);
    }
    constexpr std::size_t step = 3 * pixels_at_once; // samples
    std::size_t left = 3 * pixels;
    for (; left >= step; left -= step, in += step, out += step) {
        prefetch_ahead(in, step);
        prefetch_ahead(out, step);
        multiply_sixteen(in, out, first_samples(step), wide);
    }
    if (left > 0)
        multiply_sixteen(in, out, first_samples(left), wide);
}

} // namespace nuv

#endif // NUV_X86
