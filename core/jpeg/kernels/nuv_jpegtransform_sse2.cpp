#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include "core/jpeg/kernels/nuv_jpegtransform.h"

#    include <cstddef>
#    include <emmintrin.h>

namespace nuv {
namespace {

NUV_TARGET("sse2")
inline __m128i pair_constants(int first, int second)
{
    return _mm_set1_epi32(static_cast<int>(static_cast<unsigned>(first & 0xFFFF) |
                                           static_cast<unsigned>(second) << 16));
}

NUV_TARGET("sse2")
inline __m128i load_8(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

NUV_TARGET("sse2")
inline void store_8(std::int16_t* to, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

// Pairs of two rows, the values of four columns in each half.
struct Pairs {
    __m128i low, high;
};

NUV_TARGET("sse2")
inline Pairs pair_up(__m128i first, __m128i second)
{
    return {_mm_unpacklo_epi16(first, second), _mm_unpackhi_epi16(first, second)};
}

// constants[0] x first of pair a + constants[1] x second of it, and so on for pair b.
NUV_TARGET("sse2")
inline Pairs dot(const Pairs& a, __m128i constants_a, const Pairs& b, __m128i constants_b)
{
    return {
        _mm_add_epi32(_mm_madd_epi16(a.low, constants_a), _mm_madd_epi16(b.low, constants_b)),
        _mm_add_epi32(_mm_madd_epi16(a.high, constants_a), _mm_madd_epi16(b.high, constants_b))};
}

NUV_TARGET("sse2")
inline void transpose(__m128i (&rows)[8])
{
    const Pairs rows_01 = pair_up(rows[0], rows[1]);
    const Pairs rows_23 = pair_up(rows[2], rows[3]);
    const Pairs rows_45 = pair_up(rows[4], rows[5]);
    const Pairs rows_67 = pair_up(rows[6], rows[7]);
    const __m128i columns_01_upper = _mm_unpacklo_epi32(rows_01.low, rows_23.low);
    const __m128i columns_23_upper = _mm_unpackhi_epi32(rows_01.low, rows_23.low);
    const __m128i columns_45_upper = _mm_unpacklo_epi32(rows_01.high, rows_23.high);
    const __m128i columns_67_upper = _mm_unpackhi_epi32(rows_01.high, rows_23.high);
    const __m128i columns_01_lower = _mm_unpacklo_epi32(rows_45.low, rows_67.low);
    const __m128i columns_23_lower = _mm_unpackhi_epi32(rows_45.low, rows_67.low);
    const __m128i columns_45_lower = _mm_unpacklo_epi32(rows_45.high, rows_67.high);
    const __m128i columns_67_lower = _mm_unpackhi_epi32(rows_45.high, rows_67.high);
    rows[0] = _mm_unpacklo_epi64(columns_01_upper, columns_01_lower);
    rows[1] = _mm_unpackhi_epi64(columns_01_upper, columns_01_lower);
    rows[2] = _mm_unpacklo_epi64(columns_23_upper, columns_23_lower);
    rows[3] = _mm_unpackhi_epi64(columns_23_upper, columns_23_lower);
    rows[4] = _mm_unpacklo_epi64(columns_45_upper, columns_45_lower);
    rows[5] = _mm_unpackhi_epi64(columns_45_upper, columns_45_lower);
    rows[6] = _mm_unpacklo_epi64(columns_67_upper, columns_67_lower);
    rows[7] = _mm_unpackhi_epi64(columns_67_upper, columns_67_lower);
}

// Outputs K and 7 - K of the inverse transform.
template <int K, int Shift>
NUV_TARGET("sse2")
inline void inverse_outputs(const Pairs& in_04, const Pairs& in_26, const Pairs& in_15,
                            const Pairs& in_37, __m128i (&out)[8])
{
    constexpr const auto& even = jpeg_dct_even[K];
    constexpr const auto& odd = jpeg_dct_odd[K];
    const Pairs evens =
        dot(in_04, pair_constants(even[0], even[2]), in_26, pair_constants(even[1], even[3]));
    const Pairs odds =
        dot(in_15, pair_constants(odd[0], odd[2]), in_37, pair_constants(odd[1], odd[3]));
    const __m128i half = _mm_set1_epi32(1 << (Shift - 1));
    const __m128i low = _mm_add_epi32(evens.low, half);
    const __m128i high = _mm_add_epi32(evens.high, half);
    out[K] = _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(low, odds.low), Shift),
                             _mm_srai_epi32(_mm_add_epi32(high, odds.high), Shift));
    out[7 - K] = _mm_packs_epi32(_mm_srai_epi32(_mm_sub_epi32(low, odds.low), Shift),
                                 _mm_srai_epi32(_mm_sub_epi32(high, odds.high), Shift));
}

template <int Shift>
NUV_TARGET("sse2")
inline void inverse_pass(__m128i (&rows)[8])
{
    const Pairs in_04 = pair_up(rows[0], rows[4]);
    const Pairs in_26 = pair_up(rows[2], rows[6]);
    const Pairs in_15 = pair_up(rows[1], rows[5]);
    const Pairs in_37 = pair_up(rows[3], rows[7]);
    inverse_outputs<0, Shift>(in_04, in_26, in_15, in_37, rows);
    inverse_outputs<1, Shift>(in_04, in_26, in_15, in_37, rows);
    inverse_outputs<2, Shift>(in_04, in_26, in_15, in_37, rows);
    inverse_outputs<3, Shift>(in_04, in_26, in_15, in_37, rows);
}

NUV_TARGET("sse2")
inline __m128i dequantise(__m128i values, __m128i factors)
{
    const Pairs products =
        pair_up(_mm_mullo_epi16(values, factors), _mm_mulhi_epi16(values, factors));
    return _mm_packs_epi32(products.low, products.high);
}

// Output 2 K from the sums or 2 K + 1 from the differences.
template <int Shift>
NUV_TARGET("sse2")
inline __m128i forward_output(const Pairs& in_01, const Pairs& in_23,
                              const std::int16_t (&matrix)[4][4], std::size_t k)
{
    const Pairs sums = dot(in_01, pair_constants(matrix[0][k], matrix[1][k]), in_23,
                           pair_constants(matrix[2][k], matrix[3][k]));
    const __m128i half = _mm_set1_epi32(1 << (Shift - 1));
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(sums.low, half), Shift),
                           _mm_srai_epi32(_mm_add_epi32(sums.high, half), Shift));
}

template <int Shift>
NUV_TARGET("sse2")
inline void forward_pass(__m128i (&rows)[8])
{
    const Pairs sums_01 = pair_up(_mm_add_epi16(rows[0], rows[7]), _mm_add_epi16(rows[1], rows[6]));
    const Pairs sums_23 = pair_up(_mm_add_epi16(rows[2], rows[5]), _mm_add_epi16(rows[3], rows[4]));
    const Pairs differences_01 =
        pair_up(_mm_sub_epi16(rows[0], rows[7]), _mm_sub_epi16(rows[1], rows[6]));
    const Pairs differences_23 =
        pair_up(_mm_sub_epi16(rows[2], rows[5]), _mm_sub_epi16(rows[3], rows[4]));
    for (std::size_t k = 0; k < 4; ++k) {
        rows[2 * k] = forward_output<Shift>(sums_01, sums_23, jpeg_dct_even, k);
        rows[2 * k + 1] = forward_output<Shift>(differences_01, differences_23, jpeg_dct_odd, k);
    }
}

// value * factor / 2^15, nearest, ties to even. The factor is taken as signed; one of 32768 and
// above counts 65536 too low then and gets twice the value at the end.
NUV_TARGET("sse2")
inline __m128i quantise(__m128i values, __m128i factors)
{
    const Pairs products =
        pair_up(_mm_mullo_epi16(values, factors), _mm_mulhi_epi16(values, factors));
    const auto round = [](__m128i product) NUV_TARGET("sse2") {
        const __m128i odd = _mm_and_si128(_mm_srai_epi32(product, 15), _mm_set1_epi32(1));
        const __m128i half = _mm_add_epi32(odd, _mm_set1_epi32(0x3FFF));
        return _mm_srai_epi32(_mm_add_epi32(product, half), 15);
    };
    const __m128i nearest = _mm_packs_epi32(round(products.low), round(products.high));
    const __m128i large = _mm_and_si128(values, _mm_srai_epi16(factors, 15));
    return _mm_adds_epi16(_mm_adds_epi16(nearest, large), large);
}

NUV_TARGET("sse2")
NUV_JPEGResult fdct_quant_sse2(std::int16_t* block, const std::uint16_t* table)
{
    if (block == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    __m128i rows[8];
    for (std::size_t i = 0; i < 8; ++i)
        rows[i] = load_8(block + 8 * i);
    transpose(rows);
    forward_pass<jpeg_dct_first_shift>(rows);
    transpose(rows);
    forward_pass<jpeg_dct_second_shift>(rows);
    for (std::size_t i = 0; i < 8; ++i)
        store_8(block + 8 * i, quantise(rows[i], load_8(table + 8 * i)));
    return NUV_JPEGResult::good;
}

} // namespace

NUV_TARGET("sse2")
NUV_JPEGResult idct_dequant_sse2(const std::int16_t* coefficients, std::int16_t* output,
                                 const std::int16_t* table)
{
    if (coefficients == nullptr || output == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    __m128i rows[8];
    for (std::size_t i = 0; i < 8; ++i)
        rows[i] = load_8(coefficients + 8 * i);
    __m128i ac = _mm_and_si128(rows[0], _mm_setr_epi32(-65536, -1, -1, -1));
    for (std::size_t i = 1; i < 8; ++i)
        ac = _mm_or_si128(ac, rows[i]);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(ac, _mm_setzero_si128())) == 0xFFFF) {
        const std::int32_t dc = saturate_to_16_bits(std::int32_t{coefficients[0]} * table[0]);
        const __m128i all =
            _mm_set1_epi16(static_cast<std::int16_t>((saturate_to_16_bits(4 * dc) + 16) >> 5));
        for (std::size_t i = 0; i < 8; ++i)
            store_8(output + 8 * i, all);
        return NUV_JPEGResult::good;
    }

    for (std::size_t i = 0; i < 8; ++i)
        rows[i] = dequantise(rows[i], load_8(table + 8 * i));
    inverse_pass<jpeg_dct_first_shift>(rows);
    transpose(rows);
    inverse_pass<jpeg_dct_second_shift>(rows);
    transpose(rows);
    for (std::size_t i = 0; i < 8; ++i)
        store_8(output + 8 * i, rows[i]);
    return NUV_JPEGResult::good;
}

void set_sse2_transform_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.fdct_quant = fdct_quant_sse2;
    primitives.transform_blocks = transform_each<fdct_quant_sse2, non_zero_mask_sse2>;
    primitives.idct_dequant = idct_dequant_sse2;
}

} // namespace nuv

#endif // NUV_X86
