#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include "core/jpeg/kernels/nuv_jpegsamples.h"
#    include "core/jpeg/kernels/nuv_jpegtransform.h"

#    include <cstddef>
#    include <immintrin.h>

namespace nuv {
namespace {

// A block in four registers, two rows of 8 values in each. Comments write [a | b] for the lower
// and the upper half of a register, and r0..r7 and c0..c7 for rows and columns.
struct Quad {
    __m256i a, b, c, d;
};

// Four pairs of constants for the even outputs or inputs in the lower half, for the odd ones in
// the upper half: one multiplication serves both.
NUV_TARGET("avx2")
inline __m256i pair_constants(int even_first, int even_second, int odd_first, int odd_second)
{
    const auto pair = [](int low, int high) {
        return static_cast<int>(static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high)
                                                                          << 16);
    };
    return _mm256_setr_m128i(_mm_set1_epi32(pair(even_first, even_second)),
                             _mm_set1_epi32(pair(odd_first, odd_second)));
}

NUV_TARGET("avx2")
inline __m256i load_16(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

NUV_TARGET("avx2")
inline void store_16(std::int16_t* to, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

// The product of 16 values each, saturated.
NUV_TARGET("avx2")
inline __m256i dequantise(__m256i values, __m256i factors)
{
    const __m256i low = _mm256_mullo_epi16(values, factors);
    const __m256i high = _mm256_mulhi_epi16(values, factors);
    return _mm256_packs_epi32(_mm256_unpacklo_epi16(low, high), _mm256_unpackhi_epi16(low, high));
}

// Output k and 7 - k of the inverse transform, eight of each, still wide.
// pairs_a_*: [in0 in4 | in1 in5], pairs_b_*: [in2 in6 | in3 in7] of four columns.
template <int K, int Shift>
NUV_TARGET("avx2")
inline void inverse_outputs(__m256i pairs_a_low, __m256i pairs_b_low, __m256i pairs_a_high,
                            __m256i pairs_b_high, __m256i& front, __m256i& back)
{
    constexpr const auto& even = jpeg_dct_even[K];
    constexpr const auto& odd = jpeg_dct_odd[K];
    const __m256i constants_a = pair_constants(even[0], even[2], odd[0], odd[2]);
    const __m256i constants_b = pair_constants(even[1], even[3], odd[1], odd[3]);
    const __m256i low = _mm256_add_epi32(_mm256_madd_epi16(pairs_a_low, constants_a),
                                         _mm256_madd_epi16(pairs_b_low, constants_b));
    const __m256i high = _mm256_add_epi32(_mm256_madd_epi16(pairs_a_high, constants_a),
                                          _mm256_madd_epi16(pairs_b_high, constants_b));
    const __m256i even_sum = _mm256_add_epi32(_mm256_permute2x128_si256(low, high, 0x20),
                                              _mm256_set1_epi32(1 << (Shift - 1)));
    const __m256i odd_sum = _mm256_permute2x128_si256(low, high, 0x31);
    front = _mm256_srai_epi32(_mm256_add_epi32(even_sum, odd_sum), Shift);
    back = _mm256_srai_epi32(_mm256_sub_epi32(even_sum, odd_sum), Shift);
}

// Register i of the result is [out_i of 4 columns, out_i+4 of them | the same of the other 4].
template <int Shift>
NUV_TARGET("avx2")
inline Quad inverse_pass(__m256i pairs_a_low, __m256i pairs_b_low, __m256i pairs_a_high,
                         __m256i pairs_b_high)
{
    __m256i out[8];
    inverse_outputs<0, Shift>(pairs_a_low, pairs_b_low, pairs_a_high, pairs_b_high, out[0], out[7]);
    inverse_outputs<1, Shift>(pairs_a_low, pairs_b_low, pairs_a_high, pairs_b_high, out[1], out[6]);
    inverse_outputs<2, Shift>(pairs_a_low, pairs_b_low, pairs_a_high, pairs_b_high, out[2], out[5]);
    inverse_outputs<3, Shift>(pairs_a_low, pairs_b_low, pairs_a_high, pairs_b_high, out[3], out[4]);
    return {_mm256_packs_epi32(out[0], out[4]), _mm256_packs_epi32(out[1], out[5]),
            _mm256_packs_epi32(out[2], out[6]), _mm256_packs_epi32(out[3], out[7])};
}

// Outputs k and 7 - k where the inputs from 4 on are 0. pairs_*: [in0 in2 | in1 in3] of four
// columns.
template <int K, int Shift>
NUV_TARGET("avx2")
inline void short_inverse_outputs(__m256i pairs_low, __m256i pairs_high, __m256i& front,
                                  __m256i& back)
{
    constexpr const auto& even = jpeg_dct_even[K];
    constexpr const auto& odd = jpeg_dct_odd[K];
    const __m256i constants = pair_constants(even[0], even[1], odd[0], odd[1]);
    const __m256i low = _mm256_madd_epi16(pairs_low, constants);
    const __m256i high = _mm256_madd_epi16(pairs_high, constants);
    const __m256i even_sum = _mm256_add_epi32(_mm256_permute2x128_si256(low, high, 0x20),
                                              _mm256_set1_epi32(1 << (Shift - 1)));
    const __m256i odd_sum = _mm256_permute2x128_si256(low, high, 0x31);
    front = _mm256_srai_epi32(_mm256_add_epi32(even_sum, odd_sum), Shift);
    back = _mm256_srai_epi32(_mm256_sub_epi32(even_sum, odd_sum), Shift);
}

// The columns 0 to 3 of outputs K and K + 1, and of 7 - K and 6 - K, for inputs as above.
template <int K, int Shift>
NUV_TARGET("avx2")
inline void short_inverse_columns(__m256i pairs, __m256i& front, __m256i& back)
{
    constexpr const auto& even = jpeg_dct_even;
    constexpr const auto& odd = jpeg_dct_odd;
    const __m256i first =
        _mm256_madd_epi16(pairs, pair_constants(even[K][0], even[K][1], odd[K][0], odd[K][1]));
    const __m256i second = _mm256_madd_epi16(
        pairs, pair_constants(even[K + 1][0], even[K + 1][1], odd[K + 1][0], odd[K + 1][1]));
    const __m256i even_sum = _mm256_add_epi32(_mm256_permute2x128_si256(first, second, 0x20),
                                              _mm256_set1_epi32(1 << (Shift - 1)));
    const __m256i odd_sum = _mm256_permute2x128_si256(first, second, 0x31);
    front = _mm256_srai_epi32(_mm256_add_epi32(even_sum, odd_sum), Shift);
    back = _mm256_srai_epi32(_mm256_sub_epi32(even_sum, odd_sum), Shift);
}

// Four rows of four values, two in each half, to [in0 in2 | in1 in3] of the rows in `order`.
NUV_TARGET("avx2")
inline __m256i pair_rows(__m256i rows, __m256i order)
{
    const __m256i even_odd =
        _mm256_setr_epi8(0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15, //
                         0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15);
    return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(rows, even_odd), order);
}

// From the result of a pass to quarter columns:
// a: [c0 c1 | c4 c5] of r0..r3, b: [c2 c3 | c6 c7] of r0..r3, c and d the same of r4..r7.
NUV_TARGET("avx2")
inline Quad transpose(const Quad& in)
{
    const __m256i rows_01 = _mm256_unpacklo_epi16(in.a, in.b);
    const __m256i rows_45 = _mm256_unpackhi_epi16(in.a, in.b);
    const __m256i rows_23 = _mm256_unpacklo_epi16(in.c, in.d);
    const __m256i rows_67 = _mm256_unpackhi_epi16(in.c, in.d);
    return {_mm256_unpacklo_epi32(rows_01, rows_23), _mm256_unpackhi_epi32(rows_01, rows_23),
            _mm256_unpacklo_epi32(rows_45, rows_67), _mm256_unpackhi_epi32(rows_45, rows_67)};
}

// [c0 c1 | c4 c5] of four rows to [c0 c4 in pairs | c1 c5 in pairs].
NUV_TARGET("avx2")
inline __m256i pair_up(__m256i quarter_columns)
{
    const __m256i order = _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15, //
                                           0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    return _mm256_shuffle_epi8(_mm256_permute4x64_epi64(quarter_columns, 0xD8), order);
}

NUV_TARGET("avx2")
inline void store_rows(std::int16_t* output, __m256i rows, std::size_t lower, std::size_t upper)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output + 8 * lower), _mm256_castsi256_si128(rows));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output + 8 * upper),
                     _mm256_extracti128_si256(rows, 1));
}

NUV_TARGET("avx2")
inline void fill_block(std::int16_t* output, std::int16_t value)
{
    const __m256i all = _mm256_set1_epi16(value);
    for (std::size_t i = 0; i < 4; ++i)
        store_16(output + 16 * i, all);
}

// The last pass: the rows [r0 | r4], [r1 | r5], [r2 | r6] and [r3 | r7].
NUV_TARGET("avx2")
inline Quad rows_of(const Quad& columns)
{
    // Transposed back, so that a holds columns 0 to 3 and c columns 4 to 7 of [r0 r1 | r4 r5].
    const Quad done = transpose(columns);
    return {_mm256_unpacklo_epi64(done.a, done.c), _mm256_unpackhi_epi64(done.a, done.c),
            _mm256_unpacklo_epi64(done.b, done.d), _mm256_unpackhi_epi64(done.b, done.d)};
}

NUV_TARGET("avx2")
inline Quad inverse_block(const std::int16_t* coefficients, const std::int16_t* table)
{
    const __m256i rows_01 = dequantise(load_16(coefficients), load_16(table));
    const __m256i rows_23 = dequantise(load_16(coefficients + 16), load_16(table + 16));
    const __m256i rows_45 = dequantise(load_16(coefficients + 32), load_16(table + 32));
    const __m256i rows_67 = dequantise(load_16(coefficients + 48), load_16(table + 48));
    const Quad columns = transpose(inverse_pass<jpeg_dct_first_shift>(
        _mm256_unpacklo_epi16(rows_01, rows_45), _mm256_unpacklo_epi16(rows_23, rows_67),
        _mm256_unpackhi_epi16(rows_01, rows_45), _mm256_unpackhi_epi16(rows_23, rows_67)));
    return rows_of(inverse_pass<jpeg_dct_second_shift>(pair_up(columns.a), pair_up(columns.b),
                                                       pair_up(columns.c), pair_up(columns.d)));
}

// The same where nothing stands outside the first four rows and columns: the products with 0 are
// left out.
NUV_TARGET("avx2")
inline Quad inverse_short_block(const std::int16_t* coefficients, const std::int16_t* table)
{
    const __m256i rows_01 = dequantise(load_16(coefficients), load_16(table));
    const __m256i rows_23 = dequantise(load_16(coefficients + 16), load_16(table + 16));
    const __m256i pairs = _mm256_unpacklo_epi16(rows_01, rows_23);
    __m256i out_01;
    __m256i out_76;
    __m256i out_23;
    __m256i out_54;
    short_inverse_columns<0, jpeg_dct_first_shift>(pairs, out_01, out_76);
    short_inverse_columns<2, jpeg_dct_first_shift>(pairs, out_23, out_54);
    const __m256i upper = pair_rows(_mm256_packs_epi32(out_01, out_23), // r0 r2 | r1 r3
                                    _mm256_setr_epi32(0, 4, 2, 6, 1, 5, 3, 7));
    const __m256i lower = pair_rows(_mm256_packs_epi32(out_54, out_76), // r5 r7 | r4 r6
                                    _mm256_setr_epi32(4, 0, 6, 2, 5, 1, 7, 3));
    constexpr int shift = jpeg_dct_second_shift;
    __m256i out[8];
    short_inverse_outputs<0, shift>(upper, lower, out[0], out[7]);
    short_inverse_outputs<1, shift>(upper, lower, out[1], out[6]);
    short_inverse_outputs<2, shift>(upper, lower, out[2], out[5]);
    short_inverse_outputs<3, shift>(upper, lower, out[3], out[4]);
    return rows_of({_mm256_packs_epi32(out[0], out[4]), _mm256_packs_epi32(out[1], out[5]),
                    _mm256_packs_epi32(out[2], out[6]), _mm256_packs_epi32(out[3], out[7])});
}

NUV_TARGET("avx2")
inline void store_half(std::uint8_t* out, __m128i value)
{
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), value);
}

// Two rows of samples, and the two that are four below. Packing limits to -128..127, which is
// 0..255 with the top bit turned.
NUV_TARGET("avx2")
inline void put_rows(std::uint8_t* out, std::size_t stride, __m256i first, __m256i second)
{
    const __m256i levels =
        _mm256_xor_si256(_mm256_packs_epi16(first, second), _mm256_set1_epi8(-128));
    const __m128i upper = _mm256_castsi256_si128(levels);
    const __m128i lower = _mm256_extracti128_si256(levels, 1);
    store_half(out, upper);
    store_half(out + stride, _mm_unpackhi_epi64(upper, upper));
    store_half(out + 4 * stride, lower);
    store_half(out + 5 * stride, _mm_unpackhi_epi64(lower, lower));
}

template <auto inverse>
NUV_TARGET("avx2")
void block_to_samples_avx2(const std::int16_t* coefficients, const std::int16_t* table,
                           std::uint8_t* out, std::size_t stride)
{
    const Quad rows = inverse(coefficients, table);
    put_rows(out, stride, rows.a, rows.b);
    put_rows(out + 2 * stride, stride, rows.c, rows.d);
}

} // namespace

NUV_TARGET("avx2")
NUV_JPEGResult idct_dequant_avx2(const std::int16_t* coefficients, std::int16_t* output,
                                 const std::int16_t* table)
{
    if (coefficients == nullptr || output == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    const __m256i rows_01 = load_16(coefficients);
    const __m256i rows_23 = load_16(coefficients + 16);
    const __m256i rows_45 = load_16(coefficients + 32);
    const __m256i rows_67 = load_16(coefficients + 48);
    const __m256i all_but_01 = _mm256_or_si256(rows_23, _mm256_or_si256(rows_45, rows_67));
    const __m256i not_dc = _mm256_setr_epi32(-65536, -1, -1, -1, -1, -1, -1, -1);
    const __m256i ac = _mm256_or_si256(all_but_01, _mm256_and_si256(rows_01, not_dc));
    if (_mm256_testz_si256(ac, ac) != 0) {
        const std::int32_t dc = saturate_to_16_bits(std::int32_t{coefficients[0]} * table[0]);
        fill_block(output, static_cast<std::int16_t>((saturate_to_16_bits(4 * dc) + 16) >> 5));
        return NUV_JPEGResult::good;
    }

    const Quad rows = inverse_block(coefficients, table);
    store_rows(output, rows.a, 0, 4);
    store_rows(output, rows.b, 1, 5);
    store_rows(output, rows.c, 2, 6);
    store_rows(output, rows.d, 3, 7);
    return NUV_JPEGResult::good;
}

void set_avx2_block_forms(NUV_JPEGSampleForms& forms) noexcept
{
    forms.block_to_samples = block_to_samples_avx2<inverse_block>;
    forms.short_block_to_samples = block_to_samples_avx2<inverse_short_block>;
}

void set_avx2_transform_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.idct_dequant = idct_dequant_avx2;
}

} // namespace nuv

#endif // NUV_X86
