#pragma once

#include "core/scale/kernels/nuv_scaleavx512.h"
#include "core/scale/kernels/nuv_splitblend.h"

#if NUV_X86

namespace nuv {

// Split weights of 32 samples: see nuv_splitblend.h.
struct NUV_BlendWeightsAVX512 {
    __m512i high;
    __m512i low;
    __m512i doubtful;
    __mmask32 shrink; // where it does not grow
    __mmask32 flip;

    NUV_AVX512 NUV_BlendWeightsAVX512(const void* high_words, const void* low_words,
                                      const void* doubtful_words, std::uint32_t grows,
                                      std::uint32_t flips) noexcept
        : high(_mm512_loadu_si512(high_words)),
          low(_mm512_loadu_si512(low_words)),
          doubtful(_mm512_loadu_si512(doubtful_words)),
          shrink(~grows),
          flip(flips)
    {}
    NUV_AVX512 explicit NUV_BlendWeightsAVX512(const NUV_SplitBlend& split) noexcept
        : high(_mm512_set1_epi16(static_cast<std::int16_t>(split.high))),
          low(_mm512_set1_epi16(static_cast<std::int16_t>(split.low))),
          doubtful(_mm512_set1_epi16(static_cast<std::int16_t>(split.doubtful))),
          shrink(split.grows ? 0 : ~std::uint32_t{0}),
          flip(split.flips ? ~std::uint32_t{0} : 0)
    {}
};

// Thirty-two samples between two each. `doubt` becomes those that have to be made again.
NUV_AVX512 inline __m512i blend_words(__m512i upper, __m512i lower,
                                      const NUV_BlendWeightsAVX512& weights,
                                      std::uint32_t& doubt) noexcept
{
    const __m512i apart =
        _mm512_sub_epi16(_mm512_max_epu16(upper, lower), _mm512_min_epu16(upper, lower));
    const __mmask32 falls = _mm512_cmplt_epu16_mask(lower, upper);
    const __m512i parts = _mm512_avg_epu16(_mm512_mullo_epi16(apart, weights.high),
                                           _mm512_mulhi_epu16(apart, weights.low));
    const __m512i moved =
        _mm512_add_epi16(_mm512_srli_epi16(parts, 1), _mm512_set1_epi16(blend_half));
    const __mmask32 near_half =
        _mm512_cmplt_epu16_mask(_mm512_and_si512(moved, _mm512_set1_epi16((1 << blend_bits) - 1)),
                                _mm512_set1_epi16(blend_doubt));
    doubt = _mm512_mask_cmple_epu16_mask(near_half, apart, weights.doubtful);
    const __m512i rounded = _mm512_mask_sub_epi16(moved, weights.shrink ^ (weights.flip & falls),
                                                  moved, _mm512_set1_epi16(blend_doubt));
    const __m512i step = _mm512_add_epi16(_mm512_mulhi_epu16(apart, weights.high),
                                          _mm512_srli_epi16(rounded, blend_bits));
    return _mm512_mask_sub_epi16(_mm512_add_epi16(upper, step), falls, upper, step);
}

} // namespace nuv

#endif // NUV_X86
