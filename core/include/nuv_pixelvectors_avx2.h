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

// Gray rows, eight pixels at a time, whose taps begin at `offsets` samples: those of the first
// four, and those of the last four, are taken from 16 bytes that begin with the first one's.

// How many samples each begins behind the first of its four.
NUV_TARGET("avx2") inline __m256i behind_first(__m256i offsets) noexcept
{
    return _mm256_sub_epi32(offsets, _mm256_shuffle_epi32(offsets, 0));
}

// True when the 16 bytes have all taps, `Taps` for each pixel.
template <class T, int Taps>
NUV_TARGET("avx2")
inline bool are_near(__m256i offsets) noexcept
{
    const __m256i most = _mm256_set1_epi32(16 / sizeof(T) - Taps);
    const __m256i farthest = _mm256_max_epu32(behind_first(offsets), most);
    return _mm256_movemask_epi8(_mm256_cmpeq_epi32(farthest, most)) == -1;
}

// Which of the 16 bytes each begins with, in each byte of its 32 bits.
template <class T>
NUV_TARGET("avx2")
inline __m256i first_bytes(__m256i offsets) noexcept
{
    const __m256i low_bytes = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12));
    const __m256i bytes = _mm256_slli_epi32(behind_first(offsets), sizeof(T) - 1);
    return _mm256_shuffle_epi8(bytes, low_bytes);
}

// The samples that begin there, and those behind them, as pairs of words.
NUV_TARGET("avx2") inline __m256i pairs_at(__m256i first_bytes, __m256i in, std::uint8_t) noexcept
{
    // An index above 127 gives a zero byte.
    const __m256i pair = _mm256_set1_epi32(static_cast<std::int32_t>(0x80018000));
    return _mm256_shuffle_epi8(in, _mm256_add_epi8(first_bytes, pair));
}
NUV_TARGET("avx2") inline __m256i pairs_at(__m256i first_bytes, __m256i in, std::uint16_t) noexcept
{
    return _mm256_shuffle_epi8(in, _mm256_add_epi8(first_bytes, _mm256_set1_epi32(0x03020100)));
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
