#include "core/include/nuv_pixelvectors_avx2.h"
#include "extension/scalei2utility/nuv_scalei2_kernels.h"
#include "framework/base/nuv_prefetch.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

using Table = NUV_ScaleI2RowTable<NUV_ScaleI2FixedArithmetic>;
using RealTable = NUV_ScaleI2RowTable<NUV_ScaleI2FloatArithmetic>;

constexpr std::size_t stride = NUV_ScaleI2Axis<std::int16_t>::stride;

NUV_TARGET("avx2") inline __m256i settled(__m256i sums) noexcept
{
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(32)), 6);
}

// Result pixels k and k + 2, each in four 32-bit sums, the last of which is 0 for three channels.
template <int Taps, int Channels>
NUV_TARGET("avx2")
inline __m256i two_pixels(const std::uint8_t* line, const Table& table, std::size_t k,
                          const NUV_PairShuffles& shuffles) noexcept
{
    const std::uint8_t* low = line + table.firsts[k] * Channels;
    const std::uint8_t* high = line + table.firsts[k + 2] * Channels;
    const std::int16_t* weights = table.weights + k * stride;
    // Eight weights as four pairs; each shuffle spreads one pair over the channels.
    const __m256i pairs = load_two(weights, weights + 2 * stride);
    __m256i in = load_two(low, high);
    __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.first),
                                                     _mm256_shuffle_epi32(pairs, 0x00)),
                                   _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.second),
                                                     _mm256_shuffle_epi32(pairs, 0x55)));
    if constexpr (Taps > 4) {
        constexpr std::size_t four_pixels = std::size_t{4} * Channels;
        in = load_two(low + four_pixels, high + four_pixels);
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.first),
                                                      _mm256_shuffle_epi32(pairs, 0xAA)));
        if constexpr (Taps > 6) {
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(_mm256_shuffle_epi8(in, shuffles.second),
                                                          _mm256_shuffle_epi32(pairs, 0xFF)));
        }
    }
    return settled(sum);
}

template <int Taps, int Channels>
NUV_TARGET("avx2")
inline std::size_t filter_colors(const std::uint8_t* line, const Table& table, std::int16_t* out,
                                 std::size_t k, std::size_t end) noexcept
{
    const NUV_PairShuffles shuffles = pair_shuffles<Channels>();
    const __m256i without_fourth = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
    // Four pixels at a time. Of three channels the last store spills into a fifth, which comes
    // next.
    for (; k + 5 <= end; k += 4) {
        prefetch_ahead(line + table.firsts[k] * Channels, 1);
        const __m256i four =
            _mm256_packs_epi32(two_pixels<Taps, Channels>(line, table, k, shuffles),
                               two_pixels<Taps, Channels>(line, table, k + 1, shuffles));
        std::int16_t* to = out + k * Channels;
        if constexpr (Channels == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), four);
        } else {
            const __m256i packed = _mm256_shuffle_epi8(four, without_fourth);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(packed));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 6),
                             _mm256_extracti128_si256(packed, 1));
        }
    }
    return k;
}

// Result pixels k and k + 4, each in four sums over two taps.
NUV_TARGET("avx2")
inline __m256i two_grays(const std::uint8_t* line, const Table& table, std::size_t k) noexcept
{
    const auto* low = reinterpret_cast<const __m128i*>(line + table.firsts[k]);
    const auto* high = reinterpret_cast<const __m128i*>(line + table.firsts[k + 4]);
    const std::int16_t* weights = table.weights + k * stride;
    const __m128i in = _mm_unpacklo_epi64(_mm_loadl_epi64(low), _mm_loadl_epi64(high));
    return _mm256_madd_epi16(_mm256_cvtepu8_epi16(in), load_two(weights, weights + 4 * stride));
}

NUV_TARGET("avx2")
inline std::size_t filter_grays(const std::uint8_t* line, const Table& table, std::int16_t* out,
                                std::size_t k, std::size_t end) noexcept
{
    for (; k + 8 <= end; k += 8) {
        const __m256i first =
            _mm256_hadd_epi32(two_grays(line, table, k), two_grays(line, table, k + 1));
        const __m256i second =
            _mm256_hadd_epi32(two_grays(line, table, k + 2), two_grays(line, table, k + 3));
        const __m256i sums = settled(_mm256_hadd_epi32(first, second));
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packs_epi32(sums, sums), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k), _mm256_castsi256_si128(words));
    }
    return k;
}

// A pixel a vector, in which the fourth sum of three channels is of no use: it goes where the next
// pixel comes, and the last one of the range is left.
template <int Taps, int Channels>
NUV_TARGET("avx2")
inline std::size_t filter_colors(const std::uint16_t* line, const RealTable& table, double* out,
                                 std::size_t k, std::size_t end) noexcept
{
    for (; k + 1 < end; ++k) {
        const std::uint16_t* in = line + table.firsts[k] * Channels;
        const double* weights = table.weights + k * stride;
        prefetch_ahead(in, 1);
        __m256d sum = _mm256_setzero_pd();
        for (std::size_t i = 0; i < Taps; ++i) {
            const __m256d samples = four_numbers(in + i * Channels);
            sum = _mm256_add_pd(sum, _mm256_mul_pd(samples, _mm256_broadcast_sd(weights + i)));
        }
        _mm256_storeu_pd(out + k * Channels, sum);
    }
    return k;
}

// Taps `First` to First + 3 of four pixels: part[i] has that tap of each.
struct NUV_FourTaps {
    __m256d part[4];
};

template <int First>
NUV_TARGET("avx2")
inline NUV_FourTaps four_weights(const double* weights) noexcept
{
    const __m256d a = _mm256_loadu_pd(weights + First);
    const __m256d b = _mm256_loadu_pd(weights + stride + First);
    const __m256d c = _mm256_loadu_pd(weights + 2 * stride + First);
    const __m256d d = _mm256_loadu_pd(weights + 3 * stride + First);
    const __m256d ab_even = _mm256_unpacklo_pd(a, b);
    const __m256d ab_odd = _mm256_unpackhi_pd(a, b);
    const __m256d cd_even = _mm256_unpacklo_pd(c, d);
    const __m256d cd_odd = _mm256_unpackhi_pd(c, d);
    return {{_mm256_permute2f128_pd(ab_even, cd_even, 0x20),
             _mm256_permute2f128_pd(ab_odd, cd_odd, 0x20),
             _mm256_permute2f128_pd(ab_even, cd_even, 0x31),
             _mm256_permute2f128_pd(ab_odd, cd_odd, 0x31)}};
}

// From the first four taps of two pixels each, in turns.
NUV_TARGET("avx2") inline NUV_FourTaps four_samples(__m128i ab, __m128i cd) noexcept
{
    const __m128i first_two = _mm_unpacklo_epi32(ab, cd);
    const __m128i last_two = _mm_unpackhi_epi32(ab, cd);
    return {{four_numbers(first_two), four_numbers(_mm_srli_si128(first_two, 8)),
             four_numbers(last_two), four_numbers(_mm_srli_si128(last_two, 8))}};
}

// Four pixels a vector.
template <int Taps>
NUV_TARGET("avx2")
inline std::size_t filter_grays(const std::uint16_t* line, const RealTable& table, double* out,
                                std::size_t k, std::size_t end) noexcept
{
    for (; k + 4 <= end; k += 4) {
        __m128i in[4];
        for (std::size_t i = 0; i < 4; ++i)
            in[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(line + table.firsts[k + i]));
        const double* weights = table.weights + k * stride;
        NUV_FourTaps samples =
            four_samples(_mm_unpacklo_epi16(in[0], in[1]), _mm_unpacklo_epi16(in[2], in[3]));
        NUV_FourTaps by = four_weights<0>(weights);
        __m256d sum = _mm256_setzero_pd();
        for (int i = 0; i < 4; ++i)
            sum = _mm256_add_pd(sum, _mm256_mul_pd(samples.part[i], by.part[i]));
        if constexpr (Taps > 4) {
            samples =
                four_samples(_mm_unpackhi_epi16(in[0], in[1]), _mm_unpackhi_epi16(in[2], in[3]));
            by = four_weights<4>(weights);
            for (int i = 0; i < Taps - 4; ++i)
                sum = _mm256_add_pd(sum, _mm256_mul_pd(samples.part[i], by.part[i]));
        }
        _mm256_storeu_pd(out + k, sum);
    }
    return k;
}

// 16 result samples as words.
template <int Taps>
NUV_TARGET("avx2")
inline __m256i sixteen_samples(const std::int16_t* const* lines, const __m256i* weights,
                               std::size_t x) noexcept
{
    __m256i low = _mm256_set1_epi32(1 << 13);
    __m256i high = low;
    for (int i = 0; i < Taps; i += 2) {
        const __m256i upper = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lines[i] + x));
        const __m256i lower =
            i + 1 < Taps ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lines[i + 1] + x))
                         : _mm256_setzero_si256();
        low = _mm256_add_epi32(
            low, _mm256_madd_epi16(_mm256_unpacklo_epi16(upper, lower), weights[i / 2]));
        high = _mm256_add_epi32(
            high, _mm256_madd_epi16(_mm256_unpackhi_epi16(upper, lower), weights[i / 2]));
    }
    return _mm256_packs_epi32(_mm256_srai_epi32(low, 14), _mm256_srai_epi32(high, 14));
}

} // namespace

template <int Taps, int Channels>
NUV_TARGET("avx2")
void filter_row_avx2(const std::uint8_t* line, const Table& table, std::int16_t* out,
                     std::size_t begin, std::size_t end)
{
    std::size_t k = begin;
    if constexpr (Channels == 1)
        k = filter_grays(line, table, out, k, end);
    else
        k = filter_colors<Taps, Channels>(line, table, out, k, end);
    filter_row_body<NUV_ScaleI2FixedArithmetic, Taps, Channels>(line, table, out, k, end);
}

template <int Taps, int Channels>
NUV_TARGET("avx2")
void filter_row_avx2(const std::uint16_t* line, const RealTable& table, double* out,
                     std::size_t begin, std::size_t end)
{
    std::size_t k = begin;
    if constexpr (Channels == 1)
        k = filter_grays<Taps>(line, table, out, k, end);
    else
        k = filter_colors<Taps, Channels>(line, table, out, k, end);
    filter_row_body<NUV_ScaleI2FloatArithmetic, Taps, Channels>(line, table, out, k, end);
}

template <int Taps>
NUV_TARGET("avx2")
void combine_middles_avx2(const std::int16_t* const* lines, const std::int16_t* weights,
                          std::uint8_t* out, std::size_t samples, std::uint8_t maximum)
{
    constexpr std::size_t pairs = (Taps + 1) / 2;
    __m256i by[pairs];
    for (std::size_t i = 0; i < pairs; ++i)
        by[i] = weight_pairs(weights[2 * i], 2 * i + 1 < Taps ? weights[2 * i + 1] : 0);
    const std::int16_t* in[Taps];
    std::copy_n(lines, Taps, in);
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(maximum));
    std::size_t x = 0;
    for (; x + 32 <= samples; x += 32) {
        const __m256i bytes = _mm256_packus_epi16(sixteen_samples<Taps>(in, by, x),
                                                  sixteen_samples<Taps>(in, by, x + 16));
        const __m256i ordered = _mm256_permute4x64_epi64(bytes, 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), _mm256_min_epu8(ordered, limit));
    }
    for (const std::int16_t*& line : in)
        line += x;
    combine_middles_body<NUV_ScaleI2FixedArithmetic, std::int32_t, Taps>(in, weights, out + x,
                                                                         samples - x, maximum);
}

template <int Taps>
NUV_TARGET("avx2")
void combine_middles_avx2(const double* const* lines, const double* weights, std::uint16_t* out,
                          std::size_t samples, std::uint16_t maximum)
{
    combine_middles_body<NUV_ScaleI2FloatArithmetic, double, Taps>(lines, weights, out, samples,
                                                                   maximum);
}

#    define NUV_ROW_FORM(taps, channels)                                                           \
        template void filter_row_avx2<taps, channels>(const std::uint8_t*, const Table&,           \
                                                      std::int16_t*, std::size_t, std::size_t);    \
        template void filter_row_avx2<taps, channels>(const std::uint16_t*, const RealTable&,      \
                                                      double*, std::size_t, std::size_t)
#    define NUV_FORMS(taps)                                                                        \
        NUV_ROW_FORM(taps, 1);                                                                     \
        NUV_ROW_FORM(taps, 3);                                                                     \
        NUV_ROW_FORM(taps, 4);                                                                     \
        template void combine_middles_avx2<taps>(const std::int16_t* const*, const std::int16_t*,  \
                                                 std::uint8_t*, std::size_t, std::uint8_t);        \
        template void combine_middles_avx2<taps>(const double* const*, const double*,              \
                                                 std::uint16_t*, std::size_t, std::uint16_t)
NUV_SCALE_I2_FORMS(NUV_FORMS);

} // namespace nuv

#endif // NUV_X86
