#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include "core/jpeg/kernels/nuv_jpegtransform.h"

#    include <cstddef>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t side = 8;

// Two blocks: a row, or a column, of each in the halves of a register.
struct Octet {
    __m256i row[side];
};

// The two constants that a pair of 16-bit values is multiplied with.
NUV_TARGET("avx2")
inline __m256i pair_of(int low, int high)
{
    return _mm256_set1_epi32(
        static_cast<int>(static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high) << 16));
}

template <int Shift>
NUV_TARGET("avx2")
inline __m256i descale(__m256i low, __m256i high)
{
    const __m256i half = _mm256_set1_epi32(1 << (Shift - 1));
    return _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(low, half), Shift),
                              _mm256_srai_epi32(_mm256_add_epi32(high, half), Shift));
}

// 8192 times a sum, descaled: 13 of the bits to drop are those of the factor.
template <int Shift>
NUV_TARGET("avx2")
inline __m256i descale_sum(__m256i sum)
{
    if constexpr (Shift < 13) {
        return _mm256_slli_epi16(sum, 13 - Shift);
    } else {
        const __m256i half = _mm256_set1_epi16(1 << (Shift - 14));
        return _mm256_srai_epi16(_mm256_add_epi16(sum, half), Shift - 13);
    }
}

// Pairs of values, those of the lower and of the upper part of each half.
struct Pairs {
    __m256i low, high;
};

NUV_TARGET("avx2")
inline Pairs pairs_of(__m256i a, __m256i b)
{
    return {_mm256_unpacklo_epi16(a, b), _mm256_unpackhi_epi16(a, b)};
}

// Output 2 or 6, from the differences of the sums.
template <int K, int Shift>
NUV_TARGET("avx2")
inline __m256i even_output(const Pairs& in)
{
    static_assert(jpeg_dct_even[3][K] == -jpeg_dct_even[0][K] &&
                  jpeg_dct_even[2][K] == -jpeg_dct_even[1][K]);
    const __m256i constants = pair_of(jpeg_dct_even[0][K], jpeg_dct_even[1][K]);
    return descale<Shift>(_mm256_madd_epi16(in.low, constants),
                          _mm256_madd_epi16(in.high, constants));
}

// Output 2 K + 1, from the differences 0 and 1, 2 and 3.
template <int K, int Shift>
NUV_TARGET("avx2")
inline __m256i odd_output(const Pairs& front, const Pairs& back)
{
    const __m256i first = pair_of(jpeg_dct_odd[0][K], jpeg_dct_odd[1][K]);
    const __m256i second = pair_of(jpeg_dct_odd[2][K], jpeg_dct_odd[3][K]);
    return descale<Shift>(
        _mm256_add_epi32(_mm256_madd_epi16(front.low, first), _mm256_madd_epi16(back.low, second)),
        _mm256_add_epi32(_mm256_madd_epi16(front.high, first),
                         _mm256_madd_epi16(back.high, second)));
}

template <int Shift>
NUV_TARGET("avx2")
inline Octet forward_pass(const Octet& in)
{
    __m256i sum[side / 2];
    __m256i difference[side / 2];
    for (std::size_t i = 0; i < side / 2; ++i) {
        sum[i] = _mm256_add_epi16(in.row[i], in.row[side - 1 - i]);
        difference[i] = _mm256_sub_epi16(in.row[i], in.row[side - 1 - i]);
    }
    const __m256i outer = _mm256_add_epi16(sum[0], sum[3]);
    const __m256i inner = _mm256_add_epi16(sum[1], sum[2]);
    const Pairs even = pairs_of(_mm256_sub_epi16(sum[0], sum[3]), _mm256_sub_epi16(sum[1], sum[2]));
    const Pairs front = pairs_of(difference[0], difference[1]);
    const Pairs back = pairs_of(difference[2], difference[3]);
    return {{descale_sum<Shift>(_mm256_add_epi16(outer, inner)), odd_output<0, Shift>(front, back),
             even_output<1, Shift>(even), odd_output<1, Shift>(front, back),
             descale_sum<Shift>(_mm256_sub_epi16(outer, inner)), odd_output<2, Shift>(front, back),
             even_output<3, Shift>(even), odd_output<3, Shift>(front, back)}};
}

// Of each block.
NUV_TARGET("avx2")
inline Octet transpose(const Octet& in)
{
    Octet pairs;
    Octet quads;
    Octet out;
    for (std::size_t i = 0; i < side; i += 2) {
        pairs.row[i] = _mm256_unpacklo_epi16(in.row[i], in.row[i + 1]);
        pairs.row[i + 1] = _mm256_unpackhi_epi16(in.row[i], in.row[i + 1]);
    }
    for (std::size_t i = 0; i < side; i += 2) {
        const std::size_t from = i / 4 * 4 + i % 4 / 2;
        quads.row[i] = _mm256_unpacklo_epi32(pairs.row[from], pairs.row[from + 2]);
        quads.row[i + 1] = _mm256_unpackhi_epi32(pairs.row[from], pairs.row[from + 2]);
    }
    for (std::size_t i = 0; i < side; i += 2) {
        out.row[i] = _mm256_unpacklo_epi64(quads.row[i / 2], quads.row[i / 2 + 4]);
        out.row[i + 1] = _mm256_unpackhi_epi64(quads.row[i / 2], quads.row[i / 2 + 4]);
    }
    return out;
}

// value * factor / 2^15, nearest, ties to even. The multiplication takes the factor as signed and
// rounds ties up: a tie (product modulo 2^15 is 2^14) loses the last bit of its result, and a
// factor of 32768 and above, which counted 65536 too low, gets twice the value. Neither addition
// of the two can saturate too early, since before them result and value differ in sign.
NUV_TARGET("avx2")
inline __m256i quantise(__m256i values, __m256i factors)
{
    const __m256i rounded = _mm256_mulhrs_epi16(values, factors);
    const __m256i low =
        _mm256_and_si256(_mm256_mullo_epi16(values, factors), _mm256_set1_epi16(0x7FFF));
    const __m256i tie = _mm256_cmpeq_epi16(low, _mm256_set1_epi16(0x4000));
    const __m256i last_bit = _mm256_srli_epi16(tie, 15);
    const __m256i nearest = _mm256_andnot_si256(last_bit, rounded);
    const __m256i large = _mm256_and_si256(values, _mm256_srai_epi16(factors, 15));
    return _mm256_adds_epi16(_mm256_adds_epi16(nearest, large), large);
}

NUV_TARGET("avx2")
inline __m128i load_8(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

// Two blocks.
NUV_TARGET("avx2")
void transform_two(const std::int16_t* samples, const std::uint16_t* table,
                   std::int16_t* coefficients, std::uint64_t* masks)
{
    Octet rows;
    for (std::size_t i = 0; i < side; ++i) {
        rows.row[i] = _mm256_inserti128_si256(_mm256_castsi128_si256(load_8(samples + i * side)),
                                              load_8(samples + jpeg_block_size + i * side), 1);
    }
    const Octet first = forward_pass<jpeg_dct_first_shift>(transpose(rows));
    Octet done = forward_pass<jpeg_dct_second_shift>(transpose(first));
    for (std::size_t i = 0; i < side; ++i) {
        const __m256i factors = _mm256_broadcastsi128_si256(load_8(table + i * side));
        done.row[i] = quantise(done.row[i], factors);
        auto* const upper = reinterpret_cast<__m128i*>(coefficients + i * side);
        auto* const lower = reinterpret_cast<__m128i*>(coefficients + jpeg_block_size + i * side);
        _mm_storeu_si128(upper, _mm256_castsi256_si128(done.row[i]));
        _mm_storeu_si128(lower, _mm256_extracti128_si256(done.row[i], 1));
    }
    std::uint64_t zeros[2] = {};
    for (std::size_t i = 0; i < side; i += 2) {
        const __m256i packed = _mm256_packs_epi16(done.row[i], done.row[i + 1]);
        const auto both = static_cast<std::uint32_t>(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(packed, _mm256_setzero_si256())));
        zeros[0] |= std::uint64_t{both & 0xFFFFU} << (i * side);
        zeros[1] |= std::uint64_t{both >> 16} << (i * side);
    }
    masks[0] = mask_in_zigzag(~zeros[0]);
    masks[1] = mask_in_zigzag(~zeros[1]);
}

NUV_TARGET("avx2")
void transform_blocks_avx2(const std::int16_t* samples, std::size_t count,
                           const std::uint16_t* table, std::int16_t* coefficients,
                           std::uint64_t* masks)
{
    for (std::size_t i = 0; i < count; i += 2) {
        transform_two(samples + i * jpeg_block_size, table, coefficients + i * jpeg_block_size,
                      masks + i);
    }
}

} // namespace

void set_avx2_forward_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.transform_blocks = transform_blocks_avx2;
}

} // namespace nuv

#endif // NUV_X86
