#pragma once

#include "framework/base/nuv_cpu.h"

#if NUV_X86

#    include <array>
#    include <cstddef>
#    include <cstdint>
#    include <immintrin.h>

namespace nuv {

// Of the 48 bytes that three lanes make, those at `Piece` * 16 and behind that come from `Plane`:
// the number of their byte in it, or -1.
template <class T, std::size_t Piece, std::size_t Plane>
inline constexpr auto triple_places = [] {
    std::array<std::int8_t, 16> order{};
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::size_t sample = (Piece * order.size() + i) / sizeof(T);
        const std::size_t byte = sample / 3 * sizeof(T) + i % sizeof(T);
        order[i] = sample % 3 == Plane ? static_cast<std::int8_t>(byte) : std::int8_t{-1};
    }
    return order;
}();

template <class T, std::size_t Piece, std::size_t Plane>
NUV_TARGET("avx2")
inline __m256i spread_triples(__m256i plane) noexcept
{
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(triple_places<T, Piece, Plane>.data())));
    return _mm256_shuffle_epi8(plane, order);
}

template <class T, std::size_t Piece>
NUV_TARGET("avx2")
inline void store_triples_piece(T* out, __m256i first, __m256i second, __m256i third) noexcept
{
    const __m256i first_two =
        _mm256_or_si256(spread_triples<T, Piece, 0>(first), spread_triples<T, Piece, 1>(second));
    const __m256i piece = _mm256_or_si256(first_two, spread_triples<T, Piece, 2>(third));
    auto* const lanes = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(lanes + Piece, _mm256_castsi256_si128(piece));
    _mm_storeu_si128(lanes + 3 + Piece, _mm256_extracti128_si256(piece, 1));
}

// Pixels of three samples, of as many as 32 bytes of each plane have.
template <class T>
NUV_TARGET("avx2")
inline void store_triples(T* out, __m256i first, __m256i second, __m256i third) noexcept
{
    store_triples_piece<T, 0>(out, first, second, third);
    store_triples_piece<T, 1>(out, first, second, third);
    store_triples_piece<T, 2>(out, first, second, third);
}

} // namespace nuv

#endif // NUV_X86
