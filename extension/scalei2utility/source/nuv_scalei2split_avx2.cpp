#include "extension/scalei2utility/nuv_scalei2split.h"

#include "core/include/nuv_pixelvectors_avx2.h"
#include "framework/base/nuv_prefetch.h"

#if NUV_X86

#    include <cstring>
#    include <immintrin.h>

namespace nuv {
namespace {

#    define NUV_AVX2 NUV_TARGET("avx2")

constexpr std::size_t lanes = 8;
constexpr std::size_t words = 2 * lanes; // of a register

NUV_AVX2 inline __m256i load(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

// Samples with a sign. What is behind them is anything: weights of 0 come to it.
NUV_AVX2 inline void set_part(const std::uint16_t* in, std::size_t samples,
                              std::uint16_t* part) noexcept
{
    const __m256i sign = _mm256_set1_epi16(-32768);
    std::size_t x = 0;
    for (; x + words <= samples; x += words) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(part + x),
                            _mm256_xor_si256(load(in + x), sign));
    }
    for (; x < samples; ++x)
        part[x] = in[x] ^ 0x8000U;
}

NUV_AVX2 inline __m256i settled(__m256i high, __m256i low) noexcept
{
    const __m256i sum = _mm256_add_epi32(high, _mm256_srai_epi32(low, 14));
    const __m256i moved = _mm256_add_epi32(sum, _mm256_set1_epi32(0x10001));
    return _mm256_xor_si256(_mm256_srai_epi32(moved, 1), _mm256_set1_epi32(0x8000));
}

// The first samples of two pixels, a half each, which are four, and the same of the next tap, in
// pairs. Three channels leave the last pair to anything.
template <int Channels>
NUV_AVX2 inline __m256i tap_pairs() noexcept
{
    return _mm256_broadcastsi128_si256(
        Channels == 4 ? _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15)
                      : _mm_setr_epi8(0, 1, 6, 7, 2, 3, 8, 9, 4, 5, 10, 11, -1, -1, -1, -1));
}

// Two pixels, a half each, of which three channels leave the last sample to anything.
template <int Pairs, int Channels>
NUV_AVX2 inline __m256i two_pixels(const std::uint16_t* first, const std::uint16_t* second,
                                   const std::uint32_t* high_weights,
                                   const std::uint32_t* low_weights) noexcept
{
    const __m256i shuffle = tap_pairs<Channels>();
    const __m256i by_high = load(high_weights);
    const __m256i by_low = load(low_weights);
    __m256i high = _mm256_setzero_si256();
    __m256i low = _mm256_setzero_si256();
    const auto add = [&]<int Pair>() NUV_AVX2 {
        if constexpr (Pair < Pairs) {
            constexpr std::size_t at = std::size_t{2} * Pair * Channels;
            constexpr int spread = Pair * 0x55;
            const __m256i in = _mm256_shuffle_epi8(load_two(first + at, second + at), shuffle);
            high = _mm256_add_epi32(high,
                                    _mm256_madd_epi16(in, _mm256_shuffle_epi32(by_high, spread)));
            low =
                _mm256_add_epi32(low, _mm256_madd_epi16(in, _mm256_shuffle_epi32(by_low, spread)));
        }
    };
    add.template operator()<0>();
    add.template operator()<1>();
    add.template operator()<2>();
    add.template operator()<3>();
    return settled(high, low);
}

// A group of pixels, the first taps of which are at `firsts`, `in` being that of the first one. Of
// three channels each store spills into the next pixel.
template <int Pairs, int Channels>
NUV_AVX2 inline void filter_group(const std::uint16_t* in, const std::int64_t* firsts,
                                  const NUV_ScaleI2SplitGroup& group, std::int32_t* out) noexcept
{
    for (std::size_t k = 0; k < split_group_pixels; k += 2) {
        const __m256i two = two_pixels<Pairs, Channels>(
            in + (firsts[k] - firsts[0]) * Channels, in + (firsts[k + 1] - firsts[0]) * Channels,
            group.high + k * most_tap_pairs, group.low + k * most_tap_pairs);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(two));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + Channels),
                         _mm256_extracti128_si256(two, 1));
        out += std::size_t{2} * Channels;
    }
}

// Sums over pairs of taps of eight gray pixels, added up.
NUV_AVX2 inline __m256i sums_of_eight(const __m256i (&samples)[4],
                                      const std::uint32_t* weights) noexcept
{
    constexpr std::size_t two = 2 * most_tap_pairs;
    return _mm256_hadd_epi32(
        _mm256_hadd_epi32(_mm256_madd_epi16(samples[0], load(weights)),
                          _mm256_madd_epi16(samples[1], load(weights + two))),
        _mm256_hadd_epi32(_mm256_madd_epi16(samples[2], load(weights + 2 * two)),
                          _mm256_madd_epi16(samples[3], load(weights + 3 * two))));
}

NUV_AVX2 inline void filter_gray_group(const std::uint16_t* in, const std::int64_t* firsts,
                                       const NUV_ScaleI2SplitGroup& group,
                                       std::int32_t* out) noexcept
{
    // Every other pixel is in the upper half.
    const __m256i in_order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (std::size_t k = 0; k < split_group_pixels; k += lanes) {
        __m256i samples[lanes / 2];
        for (std::size_t i = 0; i < lanes / 2; ++i)
            samples[i] = load_two(in + (firsts[k + 2 * i] - firsts[0]),
                                  in + (firsts[k + 2 * i + 1] - firsts[0]));
        const __m256i eight = settled(sums_of_eight(samples, group.high + k * most_tap_pairs),
                                      sums_of_eight(samples, group.low + k * most_tap_pairs));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k),
                            _mm256_permutevar8x32_epi32(eight, in_order));
    }
}

} // namespace

template <int Pairs, int Channels>
NUV_AVX2 void filter_split_row_avx2(const std::uint16_t* line, const NUV_ScaleI2SplitTable& table,
                                    std::int32_t* out)
{
    const std::int64_t* firsts = table.firsts;
    std::uint16_t part[(split_part_pixels + words) * Channels];
    for (std::size_t begin = 0; begin < table.groups.size(); begin += split_part_groups) {
        const std::size_t end = std::min(begin + split_part_groups, table.groups.size());
        const auto [start, pixels] = table.part(begin, end);
        set_part(line + start * Channels, pixels * Channels, part);
        for (std::size_t i = begin; i < end; ++i) {
            const std::size_t k = table.first_pixel(i);
            prefetch_ahead(line + firsts[k] * Channels, table.spread(k) * Channels * sizeof(*line));
            const std::uint16_t* in = part + (firsts[k] - start) * Channels;
            if constexpr (Channels == 1)
                filter_gray_group(in, firsts + k, table.groups[i], out + k);
            else
                filter_group<Pairs, Channels>(in, firsts + k, table.groups[i], out + k * Channels);
        }
    }
}

// With a number of taps that the compiler does not know, or it takes more registers than there are.
NUV_AVX2 void combine_split_middles_avx2(const std::int32_t* const* lines, std::size_t taps,
                                         const NUV_ScaleI2SplitLine& weights, std::uint16_t* out,
                                         std::size_t samples, std::uint16_t maximum,
                                         std::uint32_t* doubts)
{
    constexpr std::size_t vectors = split_step_samples / lanes;
    const __m256i begin = _mm256_set1_epi32(split_line_begin + weights.doubt);
    const __m256i fraction = _mm256_set1_epi32((1 << split_line_bits) - 1);
    const __m256i in_doubt = _mm256_set1_epi32(2 * weights.doubt);
    const __m256i most = _mm256_set1_epi16(static_cast<std::int16_t>(maximum));
    for (std::size_t x = 0; x < samples; x += split_step_samples) {
        __m256i high[vectors];
        __m256i low[vectors];
        for (std::size_t j = 0; j < vectors; ++j) {
            high[j] = begin;
            low[j] = _mm256_setzero_si256();
        }
        for (std::size_t i = 0; i < taps; ++i) {
            const __m256i by_high = _mm256_set1_epi32(static_cast<std::int32_t>(weights.high[i]));
            const __m256i by_low = _mm256_set1_epi32(static_cast<std::int32_t>(weights.low[i]));
            for (std::size_t j = 0; j < vectors; ++j) {
                const __m256i in = load(lines[i] + x + j * lanes);
                high[j] = _mm256_add_epi32(high[j], _mm256_madd_epi16(in, by_high));
                low[j] = _mm256_add_epi32(low[j], _mm256_madd_epi16(in, by_low));
            }
        }
        std::uint32_t doubt = 0;
        for (std::size_t j = 0; j < vectors; ++j) {
            high[j] = _mm256_add_epi32(high[j], _mm256_srai_epi32(low[j], 16));
            const __m256i is_in_doubt =
                _mm256_cmpgt_epi32(in_doubt, _mm256_and_si256(high[j], fraction));
            doubt |=
                static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(is_in_doubt)))
                << j * lanes;
            high[j] = _mm256_srai_epi32(high[j], split_line_bits);
        }
        __m256i settled_words[2];
        for (std::size_t j = 0; j < 2; ++j) {
            const __m256i packed = _mm256_packus_epi32(high[2 * j], high[2 * j + 1]);
            settled_words[j] = _mm256_min_epu16(_mm256_permute4x64_epi64(packed, 0xD8), most);
        }
        const std::size_t count = std::min(samples - x, split_step_samples);
        *doubts++ = doubt & 0xFFFFFFFFU >> (split_step_samples - count);
        if (count == split_step_samples) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), settled_words[0]);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x + words), settled_words[1]);
        } else {
            std::memcpy(out + x, settled_words, count * sizeof(*out));
        }
    }
}

#    define NUV_ROW_FORM(pairs, channels)                                                          \
        template void filter_split_row_avx2<pairs, channels>(                                      \
            const std::uint16_t*, const NUV_ScaleI2SplitTable&, std::int32_t*)
#    define NUV_ROW_FORMS_OF(pairs)                                                                \
        NUV_ROW_FORM(pairs, 1);                                                                    \
        NUV_ROW_FORM(pairs, 3);                                                                    \
        NUV_ROW_FORM(pairs, 4)
NUV_ROW_FORMS_OF(2);
NUV_ROW_FORMS_OF(3);
NUV_ROW_FORMS_OF(4);

} // namespace nuv

#endif // NUV_X86
