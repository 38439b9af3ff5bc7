#include "core/channel/source/nuv_selectrow_kernels.h"
#include "core/include/nuv_pixelvectors_avx2.h"
#include "framework/base/nuv_prefetch.h"

#if NUV_X86

#    include <array>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t lane = 16; // bytes

// Of the 16 bytes that three lanes of input give, those that come from lane `Piece`: where they
// stand in it, or -1.
template <std::size_t UnitBytes, std::size_t Piece>
constexpr auto places = [] {
    std::array<std::int8_t, lane> order{};
    for (std::size_t i = 0; i < lane; ++i) {
        const std::size_t from = i / UnitBytes * 3 * UnitBytes + i % UnitBytes;
        order[i] = from / lane == Piece ? static_cast<std::int8_t>(from % lane) : std::int8_t{-1};
    }
    return order;
}();

template <std::size_t UnitBytes, std::size_t Piece>
NUV_TARGET("avx2")
inline __m256i take(const std::uint8_t* in)
{
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(places<UnitBytes, Piece>.data())));
    return _mm256_shuffle_epi8(load_two(in + Piece * lane, in + (3 + Piece) * lane), order);
}

// A step reads six lanes, which end in the pixel behind its own: there has to be one.
template <std::size_t UnitBytes>
NUV_TARGET("avx2")
inline void select_units(const std::uint8_t* in, std::uint8_t* out, std::size_t width)
{
    constexpr std::size_t group = 2 * lane / UnitBytes; // pixels
    for (; width > group; width -= group, in += 6 * lane, out += 2 * lane) {
        prefetch_ahead(in, 6 * lane);
        prefetch_ahead(out, 2 * lane);
        const __m256i found =
            _mm256_or_si256(_mm256_or_si256(take<UnitBytes, 0>(in), take<UnitBytes, 1>(in)),
                            take<UnitBytes, 2>(in));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), found);
    }
    select_row_portable<UnitBytes>(in, out, width, 3 * UnitBytes, UnitBytes);
}

} // namespace

NUV_TARGET("avx2")
void select_row_1_of_3_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                            std::size_t, std::size_t)
{
    select_units<1>(in, out, width);
}

NUV_TARGET("avx2")
void select_row_2_of_6_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                            std::size_t, std::size_t)
{
    select_units<2>(in, out, width);
}

} // namespace nuv

#endif // NUV_X86
