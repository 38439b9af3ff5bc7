#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"
#    include "core/jpeg/kernels/nuv_jpegtransform.h"

#    include <cstddef>

namespace nuv {
namespace {

#    define NUV_AVX512 NUV_TARGET("avx512vbmi,avx512bw")

// Two blocks in four registers, each half as the form for AVX2 has its one. Comments write
// [a | b] for the quarters of a half: what they tell is so in both.
struct Quad {
    __m512i a, b, c, d;
};

// The two constants that a pair of 16-bit values is multiplied with, as one value of 32 bits.
constexpr int pair_of(int low, int high) noexcept
{
    return static_cast<int>(static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high)
                                                                      << 16);
}

// One such for the lower quarter, one for the upper.
NUV_AVX512
inline __m512i pair_constants(int even, int odd)
{
    return _mm512_mask_blend_epi32(0xF0F0, _mm512_set1_epi32(even), _mm512_set1_epi32(odd));
}

// [a lower | b lower]
NUV_AVX512
inline __m512i lower_quarters(__m512i a, __m512i b)
{
    return _mm512_permutex2var_epi64(a, _mm512_setr_epi64(0, 1, 8, 9, 4, 5, 12, 13), b);
}

// [a upper | b upper]
NUV_AVX512
inline __m512i upper_quarters(__m512i a, __m512i b)
{
    return _mm512_permutex2var_epi64(a, _mm512_setr_epi64(2, 3, 10, 11, 6, 7, 14, 15), b);
}

NUV_AVX512
inline __m512i exchange_quarters(__m512i a)
{
    return _mm512_shuffle_i64x2(a, a, 0xB1);
}

// Outputs 2 K and 2 K + 1: [out_2K | out_2K+1] of 8 columns.
// front_*: [s0 s1 | d0 d1], back_*: [s2 s3 | d2 d3] of four columns.
template <int K, int Shift>
NUV_AVX512 inline __m512i forward_outputs(__m512i front_low, __m512i back_low, __m512i front_high,
                                          __m512i back_high)
{
    const __m512i front = pair_constants(pair_of(jpeg_dct_even[0][K], jpeg_dct_even[1][K]),
                                         pair_of(jpeg_dct_odd[0][K], jpeg_dct_odd[1][K]));
    const __m512i back = pair_constants(pair_of(jpeg_dct_even[2][K], jpeg_dct_even[3][K]),
                                        pair_of(jpeg_dct_odd[2][K], jpeg_dct_odd[3][K]));
    const __m512i half = _mm512_set1_epi32(1 << (Shift - 1));
    const __m512i low =
        _mm512_add_epi32(_mm512_madd_epi16(front_low, front), _mm512_madd_epi16(back_low, back));
    const __m512i high =
        _mm512_add_epi32(_mm512_madd_epi16(front_high, front), _mm512_madd_epi16(back_high, back));
    return _mm512_packs_epi32(_mm512_srai_epi32(_mm512_add_epi32(low, half), Shift),
                              _mm512_srai_epi32(_mm512_add_epi32(high, half), Shift));
}

// In: [in0 | in1], [in2 | in3], [in4 | in5], [in6 | in7] of 8 columns; out the same.
template <int Shift>
NUV_AVX512 inline Quad forward_pass(const Quad& in)
{
    const __m512i in_76 = exchange_quarters(in.d);
    const __m512i in_54 = exchange_quarters(in.c);
    const __m512i sums_01 = _mm512_add_epi16(in.a, in_76);
    const __m512i sums_23 = _mm512_add_epi16(in.b, in_54);
    const __m512i differences_01 = _mm512_sub_epi16(in.a, in_76);
    const __m512i differences_23 = _mm512_sub_epi16(in.b, in_54);
    const __m512i both_0 = lower_quarters(sums_01, differences_01);
    const __m512i both_1 = upper_quarters(sums_01, differences_01);
    const __m512i both_2 = lower_quarters(sums_23, differences_23);
    const __m512i both_3 = upper_quarters(sums_23, differences_23);
    const __m512i front_low = _mm512_unpacklo_epi16(both_0, both_1);
    const __m512i front_high = _mm512_unpackhi_epi16(both_0, both_1);
    const __m512i back_low = _mm512_unpacklo_epi16(both_2, both_3);
    const __m512i back_high = _mm512_unpackhi_epi16(both_2, both_3);
    return {forward_outputs<0, Shift>(front_low, back_low, front_high, back_high),
            forward_outputs<1, Shift>(front_low, back_low, front_high, back_high),
            forward_outputs<2, Shift>(front_low, back_low, front_high, back_high),
            forward_outputs<3, Shift>(front_low, back_low, front_high, back_high)};
}

// From [r0 | r4], ... [r3 | r7] to [c0 | c1], ... [c6 | c7], or from the columns of a pass back to
// rows, of which then the columns stand in the order 0 2 4 6 1 3 5 7.
NUV_AVX512
inline Quad transpose(const Quad& in)
{
    const __m512i first_low = _mm512_unpacklo_epi16(in.a, in.b);
    const __m512i first_high = _mm512_unpackhi_epi16(in.a, in.b);
    const __m512i second_low = _mm512_unpacklo_epi16(in.c, in.d);
    const __m512i second_high = _mm512_unpackhi_epi16(in.c, in.d);
    return {_mm512_permutex_epi64(_mm512_unpacklo_epi32(first_low, second_low), 0xD8),
            _mm512_permutex_epi64(_mm512_unpackhi_epi32(first_low, second_low), 0xD8),
            _mm512_permutex_epi64(_mm512_unpacklo_epi32(first_high, second_high), 0xD8),
            _mm512_permutex_epi64(_mm512_unpackhi_epi32(first_high, second_high), 0xD8)};
}

// value * factor / 2^15, nearest, ties to even: see the form for AVX2.
NUV_AVX512
inline __m512i quantise(__m512i values, __m512i factors)
{
    const __m512i rounded = _mm512_mulhrs_epi16(values, factors);
    const __m512i low =
        _mm512_and_si512(_mm512_mullo_epi16(values, factors), _mm512_set1_epi16(0x7FFF));
    const __mmask32 tie = _mm512_cmpeq_epi16_mask(low, _mm512_set1_epi16(0x4000));
    const __m512i odd = _mm512_and_si512(rounded, _mm512_set1_epi16(1));
    const __m512i nearest = _mm512_mask_sub_epi16(rounded, tie, rounded, odd);
    const __m512i large = _mm512_and_si512(values, _mm512_srai_epi16(factors, 15));
    return _mm512_adds_epi16(_mm512_adds_epi16(nearest, large), large);
}

// Two rows of each block, from those of a pass.
NUV_AVX512
inline void put_rows(__m512i rows, const std::uint16_t* table, std::int16_t* out)
{
    const __m512i natural =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    const __m512i factors =
        _mm512_broadcast_i64x4(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table)));
    const __m512i done = quantise(_mm512_shuffle_epi8(rows, natural), factors);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm512_castsi512_si256(done));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + jpeg_block_size),
                        _mm512_extracti64x4_epi64(done, 1));
}

// A row, and the one four below it, of each block. They were written row by row a moment ago: a
// load of several would wait until that has reached the cache.
NUV_AVX512
inline __m512i load_rows(const std::int16_t* rows)
{
    const auto row = [rows](std::size_t at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + at));
    };
    const __m256i first = _mm256_inserti128_si256(_mm256_castsi128_si256(row(0)), row(32), 1);
    const __m256i second = _mm256_inserti128_si256(_mm256_castsi128_si256(row(jpeg_block_size)),
                                                   row(jpeg_block_size + 32), 1);
    return _mm512_inserti64x4(_mm512_castsi256_si512(first), second, 1);
}

NUV_AVX512
NUV_JPEGResult fdct_quant_pair_avx512(std::int16_t* blocks, const std::uint16_t* table)
{
    if (blocks == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    const Quad columns = transpose(
        {load_rows(blocks), load_rows(blocks + 8), load_rows(blocks + 16), load_rows(blocks + 24)});
    const Quad rows = transpose(forward_pass<jpeg_dct_first_shift>(columns));
    const Quad done = forward_pass<jpeg_dct_second_shift>(rows);
    put_rows(done.a, table, blocks);
    put_rows(done.b, table + 16, blocks + 16);
    put_rows(done.c, table + 32, blocks + 32);
    put_rows(done.d, table + 48, blocks + 48);
    return NUV_JPEGResult::good;
}

} // namespace

void set_avx512_transform_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.fdct_quant_pair = fdct_quant_pair_avx512;
}

} // namespace nuv

#endif // NUV_X86
