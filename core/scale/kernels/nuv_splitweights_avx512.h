#pragma once

#include "core/scale/kernels/nuv_doubts.h"
#include "core/scale/kernels/nuv_scaleavx512.h"
#include "core/scale/kernels/nuv_splitweights.h"

#if NUV_X86

namespace nuv {

// Split weights of 16 sums: see nuv_splitweights.h. Pairs are those of samples 0 and 1, the upper
// ones, and of samples 2 and 3.
struct NUV_SplitAVX512 {
    __m512i high_upper;
    __m512i high_lower;
    __m512i low_upper;
    __m512i low_lower;
    // Where the sign counts of some:
    __m512i shifts; // of the lower sums
    __m512i doubtful;

    // v + 2^13 + 8, which tells as v + 2^13 does but for those in doubt. Where the sign counts, the
    // latter. `doubt` becomes those that have to be made again.
    template <bool CountsSign>
    NUV_AVX512 __m512i sums(__m512i upper, __m512i lower, __mmask16& doubt) const noexcept
    {
        constexpr std::int32_t half = 1 << (split_bits - 1);
        const __m512i tells = _mm512_set1_epi32((1 << split_bits) - 2 * split_doubt);
        if constexpr (!CountsSign) {
            // The sum of low x s is 2^30 at most, which leaves room for what it is moved by.
            const __m512i moved = _mm512_set1_epi32((half + split_doubt) << split_bits);
            const __m512i low = add_products(moved, upper, low_upper, lower, low_lower);
            const __m512i sums = add_products(_mm512_srai_epi32(low, split_bits), upper, high_upper,
                                              lower, high_lower);
            doubt = _mm512_testn_epi32_mask(sums, tells);
            return sums;
        }
        const __m512i low =
            add_products(_mm512_setzero_si512(), upper, low_upper, lower, low_lower);
        const __m512i high =
            add_products(_mm512_set1_epi32(half), upper, high_upper, lower, high_lower);
        const __m512i sums = _mm512_add_epi32(high, _mm512_srav_epi32(low, shifts));
        const __m512i moved = _mm512_add_epi32(sums, _mm512_set1_epi32(split_doubt));
        doubt = _mm512_mask_cmple_epi32_mask(_mm512_testn_epi32_mask(moved, tells),
                                             _mm512_abs_epi32(low), doubtful);
        return sums;
    }

private:
    NUV_AVX512 static __m512i add_products(__m512i sums, __m512i upper, __m512i upper_weights,
                                           __m512i lower, __m512i lower_weights) noexcept
    {
        return _mm512_dpwssd_epi32(_mm512_dpwssd_epi32(sums, upper, upper_weights), lower,
                                   lower_weights);
    }
};

// Thirty-two samples, of which those of each four in turn are made with `first` and with `second`,
// from four each, which are less 32768. `doubt` becomes those that have to be made again.
template <bool CountsSign>
[[gnu::always_inline]] NUV_AVX512 inline __m512i combine_words(__m512i sample0, __m512i sample1,
                                                               __m512i sample2, __m512i sample3,
                                                               const NUV_SplitAVX512& first,
                                                               const NUV_SplitAVX512& second,
                                                               std::uint32_t& doubt) noexcept
{
    __mmask16 low_doubt = 0;
    __mmask16 high_doubt = 0;
    const __m512i low_sums =
        first.sums<CountsSign>(_mm512_unpacklo_epi16(sample0, sample1),
                               _mm512_unpacklo_epi16(sample2, sample3), low_doubt);
    const __m512i high_sums =
        second.sums<CountsSign>(_mm512_unpackhi_epi16(sample0, sample1),
                                _mm512_unpackhi_epi16(sample2, sample3), high_doubt);
    doubt = _mm512_kunpackw(high_doubt, low_doubt);
    const __m512i words = _mm512_packs_epi32(_mm512_srai_epi32(low_sums, split_bits),
                                             _mm512_srai_epi32(high_sums, split_bits));
    return _mm512_xor_si512(words, _mm512_set1_epi16(-32768));
}

// Takes one of the bits of such a doubt; which of the 32 samples it is of.
[[nodiscard]] inline std::size_t take_combined_doubt(std::uint32_t& doubt) noexcept
{
    return take_doubt_of_halves<16>(doubt);
}

} // namespace nuv

#endif // NUV_X86
