#include "core/channel/source/nuv_interleave_kernels.h"

#if NUV_X86

#    include <array>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t lane = 16; // bytes

// Of the 48 bytes that three lanes make, those at `Piece` * 16 and behind that come from `Plane`:
// the number of their byte in it, or -1.
template <class T, std::size_t Piece, std::size_t Plane>
constexpr auto places = [] {
    std::array<std::int8_t, lane> order{};
    for (std::size_t i = 0; i < lane; ++i) {
        const std::size_t sample = (Piece * lane + i) / sizeof(T);
        const std::size_t byte = sample / 3 * sizeof(T) + i % sizeof(T);
        order[i] = sample % 3 == Plane ? static_cast<std::int8_t>(byte) : std::int8_t{-1};
    }
    return order;
}();

template <class T, std::size_t Piece, std::size_t Plane>
NUV_TARGET("avx2")
inline __m256i spread(__m256i plane) noexcept
{
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(places<T, Piece, Plane>.data())));
    return _mm256_shuffle_epi8(plane, order);
}

template <class T, std::size_t Piece>
NUV_TARGET("avx2")
inline void store_piece(T* out, __m256i first, __m256i second, __m256i third) noexcept
{
    const __m256i piece =
        _mm256_or_si256(_mm256_or_si256(spread<T, Piece, 0>(first), spread<T, Piece, 1>(second)),
                        spread<T, Piece, 2>(third));
    auto* const lanes = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(lanes + Piece, _mm256_castsi256_si128(piece));
    _mm_storeu_si128(lanes + 3 + Piece, _mm256_extracti128_si256(piece, 1));
}

} // namespace

template <class T>
NUV_TARGET("avx2")
void interleave_triples_avx2(const T* first, const T* second, const T* third, T* out,
                             std::size_t pixels)
{
    constexpr std::size_t group = 2 * lane / sizeof(T); // pixels
    for (; pixels >= group;
         pixels -= group, first += group, second += group, third += group, out += 3 * group) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second));
        const __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(third));
        store_piece<T, 0>(out, a, b, c);
        store_piece<T, 1>(out, a, b, c);
        store_piece<T, 2>(out, a, b, c);
    }
    interleave_triples_portable(first, second, third, out, pixels);
}

template void interleave_triples_avx2(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*,
                                      std::uint8_t*, std::size_t);
template void interleave_triples_avx2(const std::uint16_t*, const std::uint16_t*,
                                      const std::uint16_t*, std::uint16_t*, std::size_t);

} // namespace nuv

#endif // NUV_X86
