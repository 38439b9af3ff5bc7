#include "core/include/nuv_pixelvectors_avx2.h"
#include "core/scale/kernels/nuv_scaleshrinkli_kernels.h"

#if NUV_X86

#    include <cstring>
#    include <immintrin.h>

namespace nuv {
namespace {

// Sums of eight pixels' channels, or of two pixels' four, rounded.
NUV_TARGET("avx2") inline __m256i rounded(__m256i sums) noexcept
{
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(NUV_FixedReal::half)), 12);
}

NUV_TARGET("avx2") inline __m256i entries(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

// Two numbers of 16 bits in each 32 bits.
NUV_TARGET("avx2") inline __m256i paired(__m256i first, __m256i second) noexcept
{
    return _mm256_blend_epi16(first, _mm256_slli_epi32(second, 16), 0xAA);
}

// With the points of both lines U and L in units of 1 / 4096, and t = L - U, a sum is U + t x y
// rounded down. t x y takes more than 32 bits: its 12 lowest bits and those above are multiplied
// one by one.
NUV_TARGET("avx2")
inline std::size_t shrink_gray(const std::uint8_t* upper, const std::uint8_t* lower,
                               const NUV_ShrinkTaps<std::int32_t>& taps, std::int32_t y,
                               std::uint8_t* out, std::size_t pixels) noexcept
{
    const __m256i one = _mm256_set1_epi32(NUV_FixedReal::one);
    const __m256i down = weight_pairs(y, 0);
    std::size_t k = 0;
    for (; k + 8 <= pixels; k += 8) {
        const __m256i offsets = entries(taps.offsets + k);
        const std::size_t first = taps.offsets[k];
        const std::size_t fifth = taps.offsets[k + 4];
        if (!are_near<std::uint8_t, 2>(offsets)) {
            shrink_row<1>(upper, lower, taps.behind(k), y, out + k, 8, 1, 1);
            continue;
        }
        const __m256i places = first_bytes<std::uint8_t>(offsets);
        const __m256i x = entries(taps.x + k);
        const __m256i weights = paired(_mm256_sub_epi32(one, x), x);
        const __m256i above = _mm256_madd_epi16(
            pairs_at(places, load_two(upper + first, upper + fifth), std::uint8_t{}), weights);
        const __m256i below = _mm256_madd_epi16(
            pairs_at(places, load_two(lower + first, lower + fifth), std::uint8_t{}), weights);
        const __m256i t = _mm256_sub_epi32(below, above);
        const __m256i high = _mm256_madd_epi16(_mm256_srai_epi32(t, 12), down);
        const __m256i low = _mm256_srai_epi32(
            _mm256_madd_epi16(_mm256_and_si256(t, _mm256_set1_epi32(0xFFF)), down), 12);
        const __m256i sums = rounded(_mm256_add_epi32(above, _mm256_add_epi32(high, low)));
        const __m256i words = _mm256_packs_epi32(sums, sums);
        const __m256i bytes = _mm256_packus_epi16(words, words);
        _mm_storel_epi64(
            reinterpret_cast<__m128i*>(out + k),
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1)));
    }
    return k;
}

// Pixels `First` and First + 1 of the eight that `upper_weights` and `lower_weights` are for.
template <int First, int Channels>
NUV_TARGET("avx2")
inline __m256i
    two_pixels(const std::uint8_t* upper, const std::uint8_t* lower, const std::uint32_t* offsets,
               __m256i upper_weights, __m256i lower_weights) noexcept
{
    const __m256i shuffle = pair_shuffles<Channels>().first;
    const __m256i each =
        _mm256_setr_epi32(First, First, First, First, First + 1, First + 1, First + 1, First + 1);
    const std::size_t low = offsets[First];
    const std::size_t high = offsets[First + 1];
    const __m256i above = _mm256_shuffle_epi8(load_two(upper + low, upper + high), shuffle);
    const __m256i below = _mm256_shuffle_epi8(load_two(lower + low, lower + high), shuffle);
    return rounded(_mm256_add_epi32(
        _mm256_madd_epi16(above, _mm256_permutevar8x32_epi32(upper_weights, each)),
        _mm256_madd_epi16(below, _mm256_permutevar8x32_epi32(lower_weights, each))));
}

// Pixels 0 and 2 in the lower lane, 1 and 3 in the upper one, as bytes.
template <int Channels>
NUV_TARGET("avx2")
inline void store_four(__m256i words, std::uint8_t* out) noexcept
{
    const __m256i bytes = _mm256_packus_epi16(words, words);
    const __m128i four =
        _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
    if constexpr (Channels == 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), four);
    } else {
        const __m128i packed = without_fourths(four);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), packed);
        const std::int32_t last = _mm_extract_epi32(packed, 2);
        std::memcpy(out + 8, &last, sizeof(last));
    }
}

template <int Channels>
NUV_TARGET("avx2")
inline std::size_t shrink_colors(const std::uint8_t* upper, const std::uint8_t* lower,
                                 const NUV_ShrinkTaps<std::int32_t>& taps, std::int32_t y,
                                 std::uint8_t* out, std::size_t pixels) noexcept
{
    const __m256i one = _mm256_set1_epi32(NUV_FixedReal::one);
    const __m256i down = _mm256_set1_epi32(y);
    const __m256i down_pair = weight_pairs(y, 0);
    std::size_t k = 0;
    for (; k + 8 <= pixels; k += 8) {
        const __m256i x = entries(taps.x + k);
        const __m256i w = _mm256_srai_epi32(_mm256_madd_epi16(x, down_pair), 12);
        const __m256i right = _mm256_sub_epi32(x, w);
        const __m256i rest = _mm256_sub_epi32(_mm256_sub_epi32(one, right), down);
        const __m256i above = paired(rest, right);
        const __m256i below = paired(_mm256_sub_epi32(down, w), w);
        const std::uint32_t* offsets = taps.offsets + k;
        std::uint8_t* to = out + k * Channels;
        store_four<Channels>(
            _mm256_packs_epi32(two_pixels<0, Channels>(upper, lower, offsets, above, below),
                               two_pixels<2, Channels>(upper, lower, offsets, above, below)),
            to);
        store_four<Channels>(
            _mm256_packs_epi32(two_pixels<4, Channels>(upper, lower, offsets, above, below),
                               two_pixels<6, Channels>(upper, lower, offsets, above, below)),
            to + std::size_t{4} * Channels);
    }
    return k;
}

// Means of neighbouring bytes of both lines, which `shuffle` brings together, as words.
NUV_TARGET("avx2") inline __m256i means_of_four(__m256i upper, __m256i lower) noexcept
{
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i sums =
        _mm256_add_epi16(_mm256_maddubs_epi16(upper, ones), _mm256_maddubs_epi16(lower, ones));
    return _mm256_srli_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(2)), 2);
}

NUV_TARGET("avx2")
inline std::size_t average_grays(const std::uint8_t* upper, const std::uint8_t* lower,
                                 std::uint8_t* out, std::size_t pixels) noexcept
{
    std::size_t k = 0;
    for (; k + 32 <= pixels; k += 32) {
        const __m256i low = means_of_four(entries(upper + 2 * k), entries(lower + 2 * k));
        const __m256i high =
            means_of_four(entries(upper + 2 * k + 32), entries(lower + 2 * k + 32));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k),
                            _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8));
    }
    return k;
}

// Two pixels a lane, of twelve bytes.
NUV_TARGET("avx2")
inline std::size_t average_colors(const std::uint8_t* upper, const std::uint8_t* lower,
                                  std::uint8_t* out, std::size_t pixels) noexcept
{
    const __m256i neighbors = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1));
    std::size_t k = 0;
    // A load takes four bytes more than its two pixels are.
    for (; k + 5 <= pixels; k += 4) {
        const std::uint8_t* above = upper + 6 * k;
        const std::uint8_t* below = lower + 6 * k;
        const __m256i means =
            means_of_four(_mm256_shuffle_epi8(load_two(above, above + 12), neighbors),
                          _mm256_shuffle_epi8(load_two(below, below + 12), neighbors));
        const __m256i bytes = _mm256_packus_epi16(means, means);
        // Six bytes of each lane; the second store spills into the next pixel.
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * k), _mm256_castsi256_si128(bytes));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * k + 6),
                         _mm256_extracti128_si256(bytes, 1));
    }
    return k;
}

} // namespace

template <int Channels>
NUV_TARGET("avx2")
void shrink_row_avx2(const std::uint8_t* upper, const std::uint8_t* lower,
                     const NUV_ShrinkTaps<std::int32_t>& taps, std::int32_t y, std::uint8_t* out,
                     std::size_t pixels, std::size_t)
{
    std::size_t k = 0;
    if constexpr (Channels == 1)
        k = shrink_gray(upper, lower, taps, y, out, pixels);
    else
        k = shrink_colors<Channels>(upper, lower, taps, y, out, pixels);
    shrink_row<Channels>(upper, lower, taps.behind(k), y, out + k * Channels, pixels - k, Channels,
                         Channels);
}

template <int Channels>
NUV_TARGET("avx2")
void average_four_row_avx2(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out,
                           std::size_t pixels, std::size_t, std::size_t cell)
{
    const std::size_t k = Channels == 1 ? average_grays(upper, lower, out, pixels)
                                        : average_colors(upper, lower, out, pixels);
    average_four_row<Channels>(upper + k * cell, lower + k * cell, out + k * Channels, pixels - k,
                               Channels, cell);
}

#    define NUV_SHRINK_FORM(channels)                                                              \
        template void shrink_row_avx2<channels>(const std::uint8_t*, const std::uint8_t*,          \
                                                const NUV_ShrinkTaps<std::int32_t>&, std::int32_t, \
                                                std::uint8_t*, std::size_t, std::size_t)
NUV_SHRINK_FORM(1);
NUV_SHRINK_FORM(3);
NUV_SHRINK_FORM(4);
template void average_four_row_avx2<1>(const std::uint8_t*, const std::uint8_t*, std::uint8_t*,
                                       std::size_t, std::size_t, std::size_t);
template void average_four_row_avx2<3>(const std::uint8_t*, const std::uint8_t*, std::uint8_t*,
                                       std::size_t, std::size_t, std::size_t);

} // namespace nuv

#endif // NUV_X86
