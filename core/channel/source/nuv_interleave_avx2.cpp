#include "core/channel/source/nuv_interleave_kernels.h"

#if NUV_X86

#    include <array>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t lane = 16; // bytes

// Of the 48 bytes that 16 pixels make, those at `piece` * 16 and behind that come from `plane`: the
// number of their pixel, or -1.
template <std::size_t Piece, std::size_t Plane>
constexpr auto places = [] {
    std::array<std::int8_t, lane> order{};
    for (std::size_t i = 0; i < lane; ++i) {
        const std::size_t byte = Piece * lane + i;
        order[i] = byte % 3 == Plane ? static_cast<std::int8_t>(byte / 3) : std::int8_t{-1};
    }
    return order;
}();

template <std::size_t Piece, std::size_t Plane>
NUV_TARGET("avx2")
inline __m256i spread(__m256i plane) noexcept
{
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(places<Piece, Plane>.data())));
    return _mm256_shuffle_epi8(plane, order);
}

template <std::size_t Piece>
NUV_TARGET("avx2")
inline void store_piece(std::uint8_t* out, __m256i first, __m256i second, __m256i third) noexcept
{
    const __m256i piece =
        _mm256_or_si256(_mm256_or_si256(spread<Piece, 0>(first), spread<Piece, 1>(second)),
                        spread<Piece, 2>(third));
    auto* low = reinterpret_cast<__m128i*>(out + Piece * lane);
    auto* high = reinterpret_cast<__m128i*>(out + (3 + Piece) * lane);
    _mm_storeu_si128(low, _mm256_castsi256_si128(piece));
    _mm_storeu_si128(high, _mm256_extracti128_si256(piece, 1));
}

} // namespace

NUV_TARGET("avx2")
void interleave_triples_avx2(const std::uint8_t* first, const std::uint8_t* second,
                             const std::uint8_t* third, std::uint8_t* out, std::size_t pixels)
{
    constexpr std::size_t group = 2 * lane; // pixels
    for (; pixels >= group;
         pixels -= group, first += group, second += group, third += group, out += 3 * group) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second));
        const __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(third));
        store_piece<0>(out, a, b, c);
        store_piece<1>(out, a, b, c);
        store_piece<2>(out, a, b, c);
    }
    interleave_triples_portable(first, second, third, out, pixels);
}

} // namespace nuv

#endif // NUV_X86
