#include "core/include/nuv_pixelvectors_avx2.h"
#include "core/scale/kernels/nuv_scalelines_kernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

NUV_TARGET("avx2") inline __m256i load(const std::uint8_t* from) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// Sums of eight samples each, in the order in which packing twice restores the line.
struct NUV_SampleSums {
    __m256i part[4];
};

// first x its weight + second x its weight, of 32 samples.
NUV_TARGET("avx2")
inline NUV_SampleSums weigh(__m256i first, __m256i second, __m256i weights) noexcept
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low = _mm256_unpacklo_epi8(first, second);
    const __m256i high = _mm256_unpackhi_epi8(first, second);
    return {{_mm256_madd_epi16(_mm256_unpacklo_epi8(low, zero), weights),
             _mm256_madd_epi16(_mm256_unpackhi_epi8(low, zero), weights),
             _mm256_madd_epi16(_mm256_unpacklo_epi8(high, zero), weights),
             _mm256_madd_epi16(_mm256_unpackhi_epi8(high, zero), weights)}};
}

// The packing saturates to 0 and 255, which is what sums below zero and above the range become.
NUV_TARGET("avx2") inline __m256i rounded(const NUV_SampleSums& sums) noexcept
{
    const __m256i half = _mm256_set1_epi32(NUV_FixedReal::half);
    __m256i shifted[4];
    for (int i = 0; i < 4; ++i)
        shifted[i] = _mm256_srai_epi32(_mm256_add_epi32(sums.part[i], half), 12);
    return _mm256_packus_epi16(_mm256_packs_epi32(shifted[0], shifted[1]),
                               _mm256_packs_epi32(shifted[2], shifted[3]));
}

// 16 samples, less 32768 each, so that they have a sign.
NUV_TARGET("avx2") inline __m256i load_signed(const std::uint16_t* from) noexcept
{
    const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    return _mm256_xor_si256(samples, _mm256_set1_epi16(-32768));
}

// Sums of eight samples each, in the order in which packing restores the line.
struct NUV_WordSums {
    __m256i part[2];
};

NUV_TARGET("avx2")
inline NUV_WordSums weigh_words(__m256i first, __m256i second, __m256i weights) noexcept
{
    return {{_mm256_madd_epi16(_mm256_unpacklo_epi16(first, second), weights),
             _mm256_madd_epi16(_mm256_unpackhi_epi16(first, second), weights)}};
}

// All weights of a sum together are one, so that it comes out less 32768, too. The packing
// saturates to what are then 0 and 65535.
NUV_TARGET("avx2") inline __m256i rounded(const NUV_WordSums& sums) noexcept
{
    const __m256i half = _mm256_set1_epi32(NUV_FixedReal::half);
    const __m256i words =
        _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(sums.part[0], half), 12),
                           _mm256_srai_epi32(_mm256_add_epi32(sums.part[1], half), 12));
    return _mm256_xor_si256(words, _mm256_set1_epi16(-32768));
}

} // namespace

NUV_TARGET("avx2")
void blend_lines_avx2(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t* out,
                      std::size_t samples, std::int32_t weight)
{
    const __m256i weights = weight_pairs(NUV_FixedReal::one - weight, weight);
    constexpr std::size_t step = 16;
    std::size_t i = 0;
    for (; i + step <= samples; i += step) {
        const __m256i line =
            rounded(weigh_words(load_signed(upper + i), load_signed(lower + i), weights));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), line);
    }
    blend_lines_portable(upper + i, lower + i, out + i, samples - i, weight);
}

NUV_TARGET("avx2")
void blend_lines_avx2(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out,
                      std::size_t samples, std::int32_t weight)
{
    const __m256i weights = weight_pairs(NUV_FixedReal::one - weight, weight);
    constexpr std::size_t step = sizeof(__m256i);
    std::size_t i = 0;
    for (; i + step <= samples; i += step) {
        const __m256i line = rounded(weigh(load(upper + i), load(lower + i), weights));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), line);
    }
    blend_lines_portable(upper + i, lower + i, out + i, samples - i, weight);
}

NUV_TARGET("avx2")
void combine_lines_avx2(const std::uint8_t* const lines[4], std::uint8_t* out, std::size_t samples,
                        const NUV_CubicWeights<std::int32_t>& weights,
                        NUV_SampleLimits<std::uint8_t> limits)
{
    const __m256i upper_weights = weight_pairs(weights.tap[0], weights.tap[1]);
    const __m256i lower_weights = weight_pairs(weights.tap[2], weights.tap[3]);
    const __m256i maximum = _mm256_set1_epi8(static_cast<char>(limits.maximum));
    constexpr std::size_t step = sizeof(__m256i);
    std::size_t i = 0;
    for (; i + step <= samples; i += step) {
        NUV_SampleSums sums = weigh(load(lines[0] + i), load(lines[1] + i), upper_weights);
        const NUV_SampleSums lower = weigh(load(lines[2] + i), load(lines[3] + i), lower_weights);
        for (int part = 0; part < 4; ++part)
            sums.part[part] = _mm256_add_epi32(sums.part[part], lower.part[part]);
        const __m256i line = _mm256_min_epu8(rounded(sums), maximum);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), line);
    }
    const std::uint8_t* const rest[4] = {lines[0] + i, lines[1] + i, lines[2] + i, lines[3] + i};
    combine_lines_fixed_portable<std::uint8_t, std::int32_t>(rest, out + i, samples - i, weights,
                                                             limits);
}

NUV_TARGET("avx2")
void combine_lines_avx2(const std::uint16_t* const lines[4], std::uint16_t* out,
                        std::size_t samples, const NUV_CubicWeights<std::int32_t>& weights,
                        NUV_SampleLimits<std::uint16_t> limits)
{
    const __m256i upper_weights = weight_pairs(weights.tap[0], weights.tap[1]);
    const __m256i lower_weights = weight_pairs(weights.tap[2], weights.tap[3]);
    const __m256i maximum = _mm256_set1_epi16(static_cast<std::int16_t>(limits.maximum));
    constexpr std::size_t step = 16;
    std::size_t i = 0;
    for (; i + step <= samples; i += step) {
        NUV_WordSums sums =
            weigh_words(load_signed(lines[0] + i), load_signed(lines[1] + i), upper_weights);
        const NUV_WordSums lower =
            weigh_words(load_signed(lines[2] + i), load_signed(lines[3] + i), lower_weights);
        for (int part = 0; part < 2; ++part)
            sums.part[part] = _mm256_add_epi32(sums.part[part], lower.part[part]);
        const __m256i line = _mm256_min_epu16(rounded(sums), maximum);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), line);
    }
    const std::uint16_t* const rest[4] = {lines[0] + i, lines[1] + i, lines[2] + i, lines[3] + i};
    combine_lines_fixed_portable<std::uint16_t, std::int32_t>(rest, out + i, samples - i, weights,
                                                              limits);
}

} // namespace nuv

#endif // NUV_X86
