#pragma once

#include "core/scale/kernels/nuv_splitweights.h"
#include "framework/base/nuv_cpu.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

#    include <bit>

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
    NUV_TARGET("avx512bw")
    __m512i sums(__m512i upper, __m512i lower, __mmask16& doubt) const noexcept
    {
        const __m512i low = _mm512_add_epi32(_mm512_madd_epi16(upper, low_upper),
                                             _mm512_madd_epi16(lower, low_lower));
        const __m512i high = _mm512_add_epi32(_mm512_madd_epi16(upper, high_upper),
                                              _mm512_madd_epi16(lower, high_lower));
        const __m512i low_part =
            CountsSign ? _mm512_srav_epi32(low, shifts) : _mm512_srai_epi32(low, split_bits);
        const __m512i sums = _mm512_add_epi32(high, low_part);
        const __m512i moved =
            _mm512_add_epi32(sums, _mm512_set1_epi32((1 << (split_bits - 1)) + split_doubt));
        doubt =
            _mm512_testn_epi32_mask(moved, _mm512_set1_epi32((1 << split_bits) - 2 * split_doubt));
        if constexpr (!CountsSign)
            return moved;
        doubt = _mm512_mask_cmple_epi32_mask(doubt, _mm512_abs_epi32(low), doubtful);
        return _mm512_add_epi32(sums, _mm512_set1_epi32(1 << (split_bits - 1)));
    }
};

// Thirty-two samples, of which those of each four in turn are made with `first` and with `second`,
// from four each, which are less 32768. `doubt` becomes those that have to be made again.
template <bool CountsSign>
NUV_TARGET("avx512bw")
inline __m512i combine_words(const __m512i (&samples)[4], const NUV_SplitAVX512& first,
                             const NUV_SplitAVX512& second, std::uint32_t& doubt) noexcept
{
    __mmask16 low_doubt = 0;
    __mmask16 high_doubt = 0;
    const __m512i low_sums =
        first.sums<CountsSign>(_mm512_unpacklo_epi16(samples[0], samples[1]),
                               _mm512_unpacklo_epi16(samples[2], samples[3]), low_doubt);
    const __m512i high_sums =
        second.sums<CountsSign>(_mm512_unpackhi_epi16(samples[0], samples[1]),
                                _mm512_unpackhi_epi16(samples[2], samples[3]), high_doubt);
    doubt = low_doubt | static_cast<std::uint32_t>(high_doubt) << 16;
    const __m512i words = _mm512_packs_epi32(_mm512_srai_epi32(low_sums, split_bits),
                                             _mm512_srai_epi32(high_sums, split_bits));
    return _mm512_xor_si512(words, _mm512_set1_epi16(-32768));
}

// Takes one of the bits of such a doubt; which of the 32 samples it is of.
[[nodiscard]] inline std::size_t take_combined_doubt(std::uint32_t& doubt) noexcept
{
    const auto bit = static_cast<std::size_t>(std::countr_zero(doubt));
    doubt &= doubt - 1;
    return bit % 16 / 4 * 8 + bit / 16 * 4 + bit % 4;
}

} // namespace nuv

#endif // NUV_X86
