#include "core/include/nuv_pixelvectors_avx2.h"
#include "core/scale/kernels/nuv_scaletaps_kernels.h"

#if NUV_X86

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

// Output pixels k and k + 1.
NUV_TARGET("avx2")
inline __m256i two_pixels(const std::uint8_t* line, const NUV_PackedTaps& taps, std::size_t k,
                          const NUV_PairShuffles& shuffles) noexcept
{
    const __m256i in = load_two(line + taps.offsets[k], line + taps.offsets[k + 1]);
    const __m256i first = _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.first),
                                            two_entries(taps.first_pairs + k));
    const __m256i second = _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.second),
                                             two_entries(taps.second_pairs + k));
    return rounded(_mm256_add_epi32(first, second));
}

template <int Channels>
NUV_TARGET("avx2")
void convolve_packed(const std::uint8_t* line, const NUV_PackedTaps& taps, std::uint8_t* out,
                     std::size_t pixels, std::uint8_t maximum) noexcept
{
    const NUV_PairShuffles shuffles = pair_shuffles<Channels>();
    const __m128i limit = _mm_set1_epi8(static_cast<char>(maximum));
    std::size_t k = 0;
    for (; k + 4 <= pixels; k += 4) {
        const __m256i words = _mm256_packs_epi32(two_pixels(line, taps, k, shuffles),
                                                 two_pixels(line, taps, k + 2, shuffles));
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

template <>
NUV_TARGET("avx2")
void convolve_packed<1>(const std::uint8_t* line, const NUV_PackedTaps& taps, std::uint8_t* out,
                        std::size_t pixels, std::uint8_t maximum) noexcept
{
    constexpr char none = -1;
    const __m256i first_two = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, none, 1, none, 4, none, 5, none, 8, none, 9, none, 12, none, 13, none));
    const __m256i last_two = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(2, none, 3, none, 6, none, 7, none, 10, none, 11, none, 14, none, 15, none));
    const __m128i limit = _mm_set1_epi8(static_cast<char>(maximum));
    std::size_t k = 0;
    for (; k + 8 <= pixels; k += 8) {
        // Four neighbours of one byte each are one 32-bit word.
        const __m256i in = _mm256_i32gather_epi32(reinterpret_cast<const int*>(line),
                                                  entries(taps.offsets + k), 1);
        const __m256i first =
            _mm256_madd_epi16(_mm256_shuffle_epi8(in, first_two), entries(taps.first_pairs + k));
        const __m256i second =
            _mm256_madd_epi16(_mm256_shuffle_epi8(in, last_two), entries(taps.second_pairs + k));
        const __m256i sums = rounded(_mm256_add_epi32(first, second));
        const __m256i words = _mm256_packs_epi32(sums, sums);
        const __m256i bytes = _mm256_packus_epi16(words, words);
        const __m128i eight =
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k), _mm_min_epu8(eight, limit));
    }
    const NUV_PackedTaps rest{taps.offsets + k, taps.first_pairs + k, taps.second_pairs + k};
    convolve_packed_row_portable<1>(line, rest, out + k, pixels - k, maximum);
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

template <int Channels, class Taps>
NUV_TARGET("avx2")
void convolve_packed_avx2(const std::uint8_t* line, const NUV_TapTable<Taps>& table,
                          std::uint8_t* out, std::size_t pixels, std::size_t,
                          NUV_SampleLimits<std::uint8_t> limits)
{
    convolve_packed<Channels>(line, table.packed, out, pixels, limits.maximum);
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
    for (std::size_t k = 0; k + 1 < pixels; ++k) {
        __m256d sum = _mm256_add_pd(weigh<Channels>(line + taps[k].offset, taps[k]), half);
        sum = _mm256_min_pd(_mm256_max_pd(sum, _mm256_setzero_pd()), most);
        const __m128i numbers = _mm256_cvttpd_epi32(sum);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k * Channels),
                         _mm_packus_epi32(numbers, numbers));
    }
    if (pixels != 0) {
        const std::size_t last = pixels - 1;
        convolve_row_body<Channels, double>(line, taps + last, out + last * Channels, 1, Channels,
                                            limits);
    }
}

#    define NUV_PACKED_FORM(channels, taps)                                                        \
        template void convolve_packed_avx2<channels, taps<std::int32_t>>(                          \
            const std::uint8_t*, const NUV_TapTable<taps<std::int32_t>>&, std::uint8_t*,           \
            std::size_t, std::size_t, NUV_SampleLimits<std::uint8_t>)
#    define NUV_REAL_FORM(channels, taps)                                                          \
        template void convolve_real_avx2<channels, taps<double>>(                                  \
            const std::uint16_t*, const NUV_TapTable<taps<double>>&, std::uint16_t*, std::size_t,  \
            std::size_t, NUV_SampleLimits<std::uint16_t>)
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
