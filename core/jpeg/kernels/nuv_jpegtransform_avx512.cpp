#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"
#    include "core/jpeg/kernels/nuv_jpegtransform.h"
#    include "core/jpeg/stream/nuv_jpegtables.h"

#    include <cstddef>

namespace nuv {
namespace {

#    define NUV_AVX512 NUV_TARGET("avx512vbmi,avx512bw")

constexpr std::size_t side = 8;

// Four blocks: a row, or a column, of each in the quarters of a register.
struct Octet {
    __m512i row[side];
};

// The two constants that a pair of 16-bit values is multiplied with.
NUV_AVX512
inline __m512i pair_of(int low, int high)
{
    return _mm512_set1_epi32(
        static_cast<int>(static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high) << 16));
}

template <int Shift>
NUV_AVX512 inline __m512i descale(__m512i low, __m512i high)
{
    const __m512i half = _mm512_set1_epi32(1 << (Shift - 1));
    return _mm512_packs_epi32(_mm512_srai_epi32(_mm512_add_epi32(low, half), Shift),
                              _mm512_srai_epi32(_mm512_add_epi32(high, half), Shift));
}

// 8192 times a sum, descaled: 13 of the bits to drop are those of the factor.
template <int Shift>
NUV_AVX512 inline __m512i descale_sum(__m512i sum)
{
    if constexpr (Shift < 13) {
        return _mm512_slli_epi16(sum, 13 - Shift);
    } else {
        const __m512i half = _mm512_set1_epi16(1 << (Shift - 14));
        return _mm512_srai_epi16(_mm512_add_epi16(sum, half), Shift - 13);
    }
}

// Pairs of values, those of the lower and of the upper half of each quarter.
struct Pairs {
    __m512i low, high;
};

NUV_AVX512
inline Pairs pairs_of(__m512i a, __m512i b)
{
    return {_mm512_unpacklo_epi16(a, b), _mm512_unpackhi_epi16(a, b)};
}

// Output 2 or 6, from the differences of the sums.
template <int K, int Shift>
NUV_AVX512 inline __m512i even_output(const Pairs& in)
{
    static_assert(jpeg_dct_even[3][K] == -jpeg_dct_even[0][K] &&
                  jpeg_dct_even[2][K] == -jpeg_dct_even[1][K]);
    const __m512i constants = pair_of(jpeg_dct_even[0][K], jpeg_dct_even[1][K]);
    return descale<Shift>(_mm512_madd_epi16(in.low, constants),
                          _mm512_madd_epi16(in.high, constants));
}

// Output 2 K + 1, from the differences 0 and 1, 2 and 3.
template <int K, int Shift>
NUV_AVX512 inline __m512i odd_output(const Pairs& front, const Pairs& back)
{
    const __m512i first = pair_of(jpeg_dct_odd[0][K], jpeg_dct_odd[1][K]);
    const __m512i second = pair_of(jpeg_dct_odd[2][K], jpeg_dct_odd[3][K]);
    return descale<Shift>(
        _mm512_add_epi32(_mm512_madd_epi16(front.low, first), _mm512_madd_epi16(back.low, second)),
        _mm512_add_epi32(_mm512_madd_epi16(front.high, first),
                         _mm512_madd_epi16(back.high, second)));
}

template <int Shift>
NUV_AVX512 inline Octet forward_pass(const Octet& in)
{
    __m512i sum[side / 2];
    __m512i difference[side / 2];
    for (std::size_t i = 0; i < side / 2; ++i) {
        sum[i] = _mm512_add_epi16(in.row[i], in.row[side - 1 - i]);
        difference[i] = _mm512_sub_epi16(in.row[i], in.row[side - 1 - i]);
    }
    const __m512i outer = _mm512_add_epi16(sum[0], sum[3]);
    const __m512i inner = _mm512_add_epi16(sum[1], sum[2]);
    const Pairs even = pairs_of(_mm512_sub_epi16(sum[0], sum[3]), _mm512_sub_epi16(sum[1], sum[2]));
    const Pairs front = pairs_of(difference[0], difference[1]);
    const Pairs back = pairs_of(difference[2], difference[3]);
    return {{descale_sum<Shift>(_mm512_add_epi16(outer, inner)), odd_output<0, Shift>(front, back),
             even_output<1, Shift>(even), odd_output<1, Shift>(front, back),
             descale_sum<Shift>(_mm512_sub_epi16(outer, inner)), odd_output<2, Shift>(front, back),
             even_output<3, Shift>(even), odd_output<3, Shift>(front, back)}};
}

// Of each block.
NUV_AVX512
inline Octet transpose(const Octet& in)
{
    Octet pairs;
    Octet quads;
    Octet out;
    for (std::size_t i = 0; i < side / 2; ++i) {
        pairs.row[2 * i] = _mm512_unpacklo_epi16(in.row[2 * i], in.row[2 * i + 1]);
        pairs.row[2 * i + 1] = _mm512_unpackhi_epi16(in.row[2 * i], in.row[2 * i + 1]);
    }
    for (std::size_t i = 0; i < side; i += 4) {
        for (std::size_t j = 0; j < 2; ++j) {
            quads.row[i + 2 * j] = _mm512_unpacklo_epi32(pairs.row[i + j], pairs.row[i + j + 2]);
            quads.row[i + 2 * j + 1] =
                _mm512_unpackhi_epi32(pairs.row[i + j], pairs.row[i + j + 2]);
        }
    }
    for (std::size_t i = 0; i < side / 2; ++i) {
        out.row[2 * i] = _mm512_unpacklo_epi64(quads.row[i], quads.row[i + 4]);
        out.row[2 * i + 1] = _mm512_unpackhi_epi64(quads.row[i], quads.row[i + 4]);
    }
    return out;
}

// value * factor / 2^15, nearest, ties to even: see the form for AVX2.
NUV_AVX512
inline __m512i quantise(__m512i values, __m512i factors)
{
    const __m512i rounded = _mm512_mulhrs_epi16(values, factors);
    const __m512i product = _mm512_mullo_epi16(values, factors);
    const __mmask32 tie =
        _mm512_cmpeq_epi16_mask(_mm512_add_epi16(product, product), _mm512_set1_epi16(-0x8000));
    const __m512i odd = _mm512_and_si512(rounded, _mm512_set1_epi16(1));
    const __m512i nearest = _mm512_mask_sub_epi16(rounded, tie, rounded, odd);
    const __mmask32 large = _mm512_movepi16_mask(factors);
    const __m512i once = _mm512_mask_adds_epi16(nearest, large, nearest, values);
    return _mm512_mask_adds_epi16(once, large, once, values);
}

// From a row of four blocks a register to four rows of a block.
NUV_AVX512
inline void transpose_quarters(__m512i* rows)
{
    const __m512i upper_01 = _mm512_shuffle_i64x2(rows[0], rows[1], 0x44);
    const __m512i lower_01 = _mm512_shuffle_i64x2(rows[0], rows[1], 0xEE);
    const __m512i upper_23 = _mm512_shuffle_i64x2(rows[2], rows[3], 0x44);
    const __m512i lower_23 = _mm512_shuffle_i64x2(rows[2], rows[3], 0xEE);
    rows[0] = _mm512_shuffle_i64x2(upper_01, upper_23, 0x88);
    rows[1] = _mm512_shuffle_i64x2(upper_01, upper_23, 0xDD);
    rows[2] = _mm512_shuffle_i64x2(lower_01, lower_23, 0x88);
    rows[3] = _mm512_shuffle_i64x2(lower_01, lower_23, 0xDD);
}

// Where _mm512_packs_epi16() of the rows 0 to 3 and 4 to 7 puts the coefficients in zig-zag order.
alignas(64) constexpr std::array<std::uint8_t, jpeg_block_size> packed_zigzag = [] {
    std::array<std::uint8_t, jpeg_block_size> places{};
    for (std::size_t k = 0; k < jpeg_block_size; ++k) {
        const std::size_t row = jpeg_zigzag[k] / side;
        const std::size_t column = jpeg_zigzag[k] % side;
        places[k] = static_cast<std::uint8_t>(row % 4 * 16 + row / 4 * side + column);
    }
    return places;
}();

// A row of each block. A load into one quarter alone needs no permutation, of which the port that
// does them has enough.
NUV_AVX512
inline __m512i load_rows(const std::int16_t* first)
{
    const auto row = [first](std::size_t block) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(first + block * jpeg_block_size));
    };
    __m512i rows = _mm512_castsi128_si512(row(0));
    rows = _mm512_mask_broadcast_i32x4(rows, 0x00F0, row(1));
    rows = _mm512_mask_broadcast_i32x4(rows, 0x0F00, row(2));
    return _mm512_mask_broadcast_i32x4(rows, 0xF000, row(3));
}

// Four blocks.
NUV_AVX512
inline void transform_group(const std::int16_t* samples, const std::uint16_t* table,
                            std::int16_t* coefficients, std::uint64_t* masks)
{
    Octet rows;
    for (std::size_t i = 0; i < side; ++i)
        rows.row[i] = load_rows(samples + i * side);
    const Octet first = forward_pass<jpeg_dct_first_shift>(transpose(rows));
    Octet done = forward_pass<jpeg_dct_second_shift>(transpose(first));
    for (std::size_t i = 0; i < side; ++i) {
        const __m512i factors = _mm512_broadcast_i32x4(
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(table + i * side)));
        done.row[i] = quantise(done.row[i], factors);
    }
    transpose_quarters(done.row);
    transpose_quarters(done.row + 4);
    const __m512i zigzag = _mm512_load_si512(packed_zigzag.data());
    for (std::size_t i = 0; i < 4; ++i) {
        _mm512_storeu_si512(coefficients + i * jpeg_block_size, done.row[i]);
        _mm512_storeu_si512(coefficients + i * jpeg_block_size + 32, done.row[i + 4]);
        const __m512i packed = _mm512_packs_epi16(done.row[i], done.row[i + 4]);
        const __m512i ordered = _mm512_permutexvar_epi8(zigzag, packed);
        masks[i] = _mm512_test_epi8_mask(ordered, ordered);
    }
}

NUV_AVX512
void transform_blocks_avx512(const std::int16_t* samples, std::size_t count,
                             const std::uint16_t* table, std::int16_t* coefficients,
                             std::uint64_t* masks)
{
    constexpr std::size_t group = NUV_JPEGPrimitives::transform_group;
    for (std::size_t i = 0; i < count; i += group) {
        transform_group(samples + i * jpeg_block_size, table, coefficients + i * jpeg_block_size,
                        masks + i);
    }
}

} // namespace

void set_avx512_transform_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.transform_blocks = transform_blocks_avx512;
}

} // namespace nuv

#endif // NUV_X86
