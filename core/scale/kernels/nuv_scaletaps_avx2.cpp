#include "core/include/nuv_pixelvectors_avx2.h"
#include "core/scale/kernels/nuv_scaletaps_kernels.h"

#if NUV_X86

#    include <algorithm>
#    include <cstring>
#    include <immintrin.h>

namespace nuv {
namespace {

// Entries k and k + 1 of a table, each in four places.
NUV_TARGET("avx2") inline __m256i two_entries(const std::int32_t* entries) noexcept
{
    const __m128i pair = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(entries));
    return _mm256_permutevar8x32_epi32(_mm256_castsi128_si256(pair),
                                       _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1));
}

NUV_TARGET("avx2") inline __m256i entries(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

NUV_TARGET("avx2") inline __m256i rounded(__m256i sums) noexcept
{
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(NUV_FixedReal::half)), 12);
}

// The sums of output pixels k and k + 1. HasFour: they have more than two taps.
template <bool HasFour>
NUV_TARGET("avx2")
inline __m256i two_pixels(const std::uint8_t* line, const NUV_PackedTaps& taps, std::size_t k,
                          const NUV_PairShuffles& shuffles) noexcept
{
    const __m256i in = load_two(line + taps.offsets[k], line + taps.offsets[k + 1]);
    __m256i sums = _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.first),
                                     two_entries(taps.first_pairs + k));
    if constexpr (HasFour) {
        sums = _mm256_add_epi32(sums, _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.second),
                                                        two_entries(taps.second_pairs + k)));
    }
    return rounded(sums);
}

template <int Channels, bool HasFour>
NUV_TARGET("avx2")
void convolve_packed_bytes(const std::uint8_t* line, const NUV_PackedTaps& taps, std::uint8_t* out,
                           std::size_t pixels, std::uint8_t maximum) noexcept
{
    const NUV_PairShuffles shuffles = pair_shuffles<Channels>();
    const __m128i limit = _mm_set1_epi8(static_cast<char>(maximum));
    std::size_t k = 0;
    for (; k + 4 <= pixels; k += 4) {
        const __m256i words = _mm256_packs_epi32(two_pixels<HasFour>(line, taps, k, shuffles),
                                                 two_pixels<HasFour>(line, taps, k + 2, shuffles));
        const __m256i bytes = _mm256_packus_epi16(words, words);
        // The lower lane holds pixels 0 and 2, the upper one 1 and 3.
        __m128i four =
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
        four = _mm_min_epu8(four, limit);
        if constexpr (Channels == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), four);
        } else {
            four = without_fourths(four);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * k), four);
            const std::int32_t last = _mm_extract_epi32(four, 2);
            std::memcpy(out + 3 * k + 8, &last, sizeof(last));
        }
    }
    const NUV_PackedTaps rest{taps.offsets + k, taps.first_pairs + k, taps.second_pairs + k};
    convolve_packed_row_portable<Channels>(line, rest, out + k * Channels, pixels - k, maximum);
}

template <bool HasFour, class T>
NUV_TARGET("avx2")
void convolve_packed_gray(const T* line, const NUV_PackedTaps& taps, T* out, std::size_t pixels,
                          T maximum) noexcept
{
    constexpr bool is_word = sizeof(T) == 2;
    const __m256i bias = _mm256_set1_epi16(is_word ? -32768 : 0);
    const __m256i two_taps = _mm256_set1_epi8(2 * sizeof(T));
    std::size_t k = 0;
    for (; k + 8 <= pixels; k += 8) {
        const __m256i offsets = entries(taps.offsets + k);
        if (!are_near < T, HasFour ? 4 : 2 > (offsets)) {
            const NUV_PackedTaps far{taps.offsets + k, taps.first_pairs + k, taps.second_pairs + k};
            convolve_packed_row_portable<1>(line, far, out + k, 8, maximum);
            continue;
        }
        const __m256i in =
            _mm256_xor_si256(load_two(line + taps.offsets[k], line + taps.offsets[k + 4]), bias);
        const __m256i places = first_bytes<T>(offsets);
        __m256i sums = _mm256_madd_epi16(pairs_at(places, in, T{}), entries(taps.first_pairs + k));
        if constexpr (HasFour) {
            const __m256i last = pairs_at(_mm256_add_epi8(places, two_taps), in, T{});
            sums = _mm256_add_epi32(sums, _mm256_madd_epi16(last, entries(taps.second_pairs + k)));
        }
        sums = rounded(sums);
        const __m256i words = _mm256_packs_epi32(sums, sums);
        if constexpr (is_word) {
            const __m256i eight = _mm256_permute4x64_epi64(_mm256_xor_si256(words, bias), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k),
                             _mm_min_epu16(_mm256_castsi256_si128(eight),
                                           _mm_set1_epi16(static_cast<std::int16_t>(maximum))));
        } else {
            const __m256i bytes = _mm256_packus_epi16(words, words);
            const __m128i eight = _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes),
                                                     _mm256_extracti128_si256(bytes, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k),
                             _mm_min_epu8(eight, _mm_set1_epi8(static_cast<char>(maximum))));
        }
    }
    const NUV_PackedTaps rest{taps.offsets + k, taps.first_pairs + k, taps.second_pairs + k};
    convolve_packed_row_portable<1>(line, rest, out + k, pixels - k, maximum);
}

// Two neighbouring pixels of each lane as pairs of a channel; of three, the last pair is 0.
template <int Channels>
NUV_TARGET("avx2")
inline __m256i channel_pairs(__m256i words) noexcept
{
    constexpr char none = -1;
    if constexpr (Channels == 3)
        return _mm256_shuffle_epi8(
            words, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 6, 7, 2, 3, 8, 9, 4, 5, 10, 11,
                                                             none, none, none, none)));
    return _mm256_shuffle_epi8(words, _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                          0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15)));
}

// The sums of pixels k and k + 1. The weights of a pixel are one together, so that those of samples
// less 32768 are less 32768, too.
template <int Channels, bool HasFour>
NUV_TARGET("avx2")
inline __m256i
    two_pixels(const std::uint16_t* line, const NUV_PackedTaps& taps, std::size_t k) noexcept
{
    const __m256i bias = _mm256_set1_epi16(-32768);
    const std::uint16_t* low = line + taps.offsets[k];
    const std::uint16_t* high = line + taps.offsets[k + 1];
    const __m256i first = _mm256_xor_si256(load_two(low, high), bias);
    __m256i sums =
        _mm256_madd_epi16(channel_pairs<Channels>(first), two_entries(taps.first_pairs + k));
    if constexpr (HasFour) {
        const __m256i second = _mm256_xor_si256(
            load_two(low + std::size_t{2} * Channels, high + std::size_t{2} * Channels), bias);
        sums = _mm256_add_epi32(sums, _mm256_madd_epi16(channel_pairs<Channels>(second),
                                                        two_entries(taps.second_pairs + k)));
    }
    return rounded(sums);
}

template <int Channels, bool HasFour>
NUV_TARGET("avx2")
void convolve_packed_words(const std::uint16_t* line, const NUV_PackedTaps& taps,
                           std::uint16_t* out, std::size_t pixels, std::uint16_t maximum) noexcept
{
    const __m256i limit = _mm256_set1_epi16(static_cast<std::int16_t>(maximum));
    const __m256i bias = _mm256_set1_epi16(-32768);
    std::size_t k = 0;
    // The last store spills two samples of three channels into a fifth pixel, which comes next.
    for (; k + 5 <= pixels; k += 4) {
        // The lower lane holds pixels 0 and 2, the upper one 1 and 3.
        __m256i four = _mm256_packs_epi32(two_pixels<Channels, HasFour>(line, taps, k),
                                          two_pixels<Channels, HasFour>(line, taps, k + 2));
        four = _mm256_permute4x64_epi64(_mm256_xor_si256(four, bias), 0xD8);
        four = _mm256_min_epu16(four, limit);
        std::uint16_t* to = out + k * Channels;
        if constexpr (Channels == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), four);
        } else {
            four = _mm256_shuffle_epi8(
                four, _mm256_broadcastsi128_si256(
                          _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(four));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 6), _mm256_extracti128_si256(four, 1));
        }
    }
    const NUV_PackedTaps rest{taps.offsets + k, taps.first_pairs + k, taps.second_pairs + k};
    convolve_packed_row_portable<Channels>(line, rest, out + k * Channels, pixels - k, maximum);
}

// The samples of a pixel and, behind three of them, one of the next pixel.
NUV_TARGET("avx2") inline __m256d weighed(const std::uint16_t* in, double weight) noexcept
{
    return _mm256_mul_pd(four_numbers(in), _mm256_set1_pd(weight));
}

template <int Channels>
NUV_TARGET("avx2")
inline __m256d weigh(const std::uint16_t* in, const NUV_CubicTaps<double>& taps) noexcept
{
    __m256d sum = weighed(in, taps.weight[0]);
    sum = _mm256_add_pd(sum, weighed(in + Channels, taps.weight[1]));
    sum = _mm256_add_pd(sum, weighed(in + std::size_t{2} * Channels, taps.weight[2]));
    return _mm256_add_pd(sum, weighed(in + std::size_t{3} * Channels, taps.weight[3]));
}

// A weight of 0 takes nothing from what it meets, which is at worst the slack behind the line.
template <int Channels>
NUV_TARGET("avx2")
inline __m256d weigh(const std::uint16_t* in, const NUV_LinearTaps<double>& taps) noexcept
{
    return _mm256_add_pd(weighed(in, taps.first), weighed(in + Channels, taps.second));
}

} // namespace

template <int Channels, class T, class Taps>
NUV_TARGET("avx2")
void convolve_packed_avx2(const T* line, const NUV_TapTable<Taps>& table, T* out,
                          std::size_t pixels, std::size_t, NUV_SampleLimits<T> limits)
{
    constexpr bool has_four = std::is_same_v<Taps, NUV_CubicTaps<std::int32_t>>;
    if constexpr (Channels == 1)
        convolve_packed_gray<has_four>(line, table.packed, out, pixels, limits.maximum);
    else if constexpr (sizeof(T) == 1)
        convolve_packed_bytes<Channels, has_four>(line, table.packed, out, pixels, limits.maximum);
    else
        convolve_packed_words<Channels, has_four>(line, table.packed, out, pixels, limits.maximum);
}

// A vector writes four samples; the fourth of three is written over by the next pixel, and the last
// pixel is left to the portable form.
template <int Channels, class Taps>
NUV_TARGET("avx2")
void convolve_real_avx2(const std::uint16_t* line, const NUV_TapTable<Taps>& table,
                        std::uint16_t* out, std::size_t pixels, std::size_t,
                        NUV_SampleLimits<std::uint16_t> limits)
{
    const Taps* const taps = table.taps;
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d most = _mm256_set1_pd(limits.maximum);
    constexpr std::size_t part = 16;
    NUV_LineAhead ahead = table.ahead;
    const std::size_t share = ahead.share(pixels / part + 1);
    for (std::size_t k = 0; k + 1 < pixels;) {
        ahead.ask(share);
        for (const std::size_t end = std::min(k + part, pixels - 1); k < end; ++k) {
            __m256d sum = _mm256_add_pd(weigh<Channels>(line + taps[k].offset, taps[k]), half);
            sum = _mm256_min_pd(_mm256_max_pd(sum, _mm256_setzero_pd()), most);
            const __m128i numbers = _mm256_cvttpd_epi32(sum);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k * Channels),
                             _mm_packus_epi32(numbers, numbers));
        }
    }
    if (pixels != 0) {
        const std::size_t last = pixels - 1;
        convolve_row_body<Channels, double>(line, taps + last, out + last * Channels, 1, Channels,
                                            limits);
    }
}

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a template takes none
#    define NUV_PACKED_FORM(channels, taps)                                                        \
        template void convolve_packed_avx2<channels, std::uint8_t, taps<std::int32_t>>(            \
            const std::uint8_t*, const NUV_TapTable<taps<std::int32_t>>&, std::uint8_t*,           \
            std::size_t, std::size_t, NUV_SampleLimits<std::uint8_t>);                             \
        template void convolve_packed_avx2<channels, std::uint16_t, taps<std::int32_t>>(           \
            const std::uint16_t*, const NUV_TapTable<taps<std::int32_t>>&, std::uint16_t*,         \
            std::size_t, std::size_t, NUV_SampleLimits<std::uint16_t>)
#    define NUV_REAL_FORM(channels, taps)                                                          \
        template void convolve_real_avx2<channels, taps<double>>(                                  \
            const std::uint16_t*, const NUV_TapTable<taps<double>>&, std::uint16_t*, std::size_t,  \
            std::size_t, NUV_SampleLimits<std::uint16_t>)
// NOLINTEND(bugprone-macro-parentheses)
NUV_PACKED_FORM(1, NUV_CubicTaps);
NUV_PACKED_FORM(3, NUV_CubicTaps);
NUV_PACKED_FORM(4, NUV_CubicTaps);
NUV_PACKED_FORM(1, NUV_LinearTaps);
NUV_PACKED_FORM(3, NUV_LinearTaps);
NUV_PACKED_FORM(4, NUV_LinearTaps);
NUV_REAL_FORM(3, NUV_CubicTaps);
NUV_REAL_FORM(4, NUV_CubicTaps);
NUV_REAL_FORM(3, NUV_LinearTaps);
NUV_REAL_FORM(4, NUV_LinearTaps);

} // namespace nuv

#endif // NUV_X86
