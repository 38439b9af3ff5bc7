#pragma once

#include "framework/base/nuv_cpu.h"

#if NUV_X86

#    include <cstdint>
#    include <immintrin.h>

namespace nuv {

// How four neighbouring pixels of 3 or 4 bytes become pairs of 16-bit samples, so that a weighted
// sum over them is two multiply-adds: those of pixels 0 and 1, and those of pixels 2 and 3, one
// channel after the other in groups of four, the last of which is 0 for 3. -1 gives a zero byte.
struct NUV_PairShuffles {
    __m256i first;
    __m256i second;
};

template <int Channels>
NUV_TARGET("avx2")
inline NUV_PairShuffles pair_shuffles() noexcept
{
    constexpr char none = -1;
    if constexpr (Channels == 3) {
        const __m128i first = _mm_setr_epi8(0, none, 3, none, 1, none, 4, none, 2, none, 5, none,
                                            none, none, none, none);
        const __m128i second = _mm_setr_epi8(6, none, 9, none, 7, none, 10, none, 8, none, 11, none,
                                             none, none, none, none);
        return {_mm256_broadcastsi128_si256(first), _mm256_broadcastsi128_si256(second)};
    } else {
        const __m128i first =
            _mm_setr_epi8(0, none, 4, none, 1, none, 5, none, 2, none, 6, none, 3, none, 7, none);
        const __m128i second = _mm_setr_epi8(8, none, 12, none, 9, none, 13, none, 10, none, 14,
                                             none, 11, none, 15, none);
        return {_mm256_broadcastsi128_si256(first), _mm256_broadcastsi128_si256(second)};
    }
}

// The 16 bytes at `low` and those at `high`, which need not be aligned.
NUV_TARGET("avx2") inline __m256i load_two(const void* low, const void* high) noexcept
{
    const __m128i first = _mm_loadu_si128(static_cast<const __m128i*>(low));
    const __m128i second = _mm_loadu_si128(static_cast<const __m128i*>(high));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
}

// Two weights of 16 bits, the first in the lower half, in every 32 bits.
NUV_TARGET("avx2") inline __m256i weight_pairs(std::int32_t first, std::int32_t second) noexcept
{
    const std::uint32_t low = static_cast<std::uint16_t>(first);
    const std::uint32_t high = static_cast<std::uint16_t>(second);
    return _mm256_set1_epi32(static_cast<std::int32_t>(low | high << 16));
}

// Four pixels of three bytes, packed from pixels of four; four bytes of 0 behind them.
NUV_TARGET("avx2") inline __m128i without_fourths(__m128i four_pixels) noexcept
{
    return _mm_shuffle_epi8(four_pixels,
                            _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
}

// Four samples of 16 bits as numbers, from the lower half of `samples`.
NUV_TARGET("avx2") inline __m256d four_numbers(__m128i samples) noexcept
{
    return _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(samples));
}
NUV_TARGET("avx2") inline __m256d four_numbers(const std::uint16_t* from) noexcept
{
    return four_numbers(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
}

} // namespace nuv

#endif // NUV_X86
