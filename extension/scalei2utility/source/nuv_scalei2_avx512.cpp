#include "extension/scalei2utility/nuv_scalei2_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"
#    include "framework/base/nuv_prefetch.h"

namespace nuv {
namespace {

#    define NUV_AVX512 NUV_TARGET("avx512vbmi,avx512bw")

using RealTable = NUV_ScaleI2RowTable<NUV_ScaleI2FloatArithmetic>;

constexpr std::size_t lanes = scale_i2_group_pixels;
constexpr std::size_t stride = NUV_ScaleI2Axis<double>::stride;

// Source pixels that are made doubles at a time.
constexpr std::size_t part_pixels = 256;

// Samples are permuted from windows of two registers. A window that serves several taps needs less
// to be loaded, and leaves less for the pixels between the first taps of eight.
constexpr std::size_t window_pixels = 2 * lanes;
template <std::size_t TapsPerWindow>
constexpr std::int64_t spread_of_window = window_pixels - TapsPerWindow;

// How the samples of eight pixels lie in a line.
template <int Channels>
struct NUV_SampleOrder {
    // By channels: each sample's bytes among them all, in the lowest ones of a lane.
    std::int64_t bytes[Channels][lanes];
    // By eights in the order of the line: which pixel each is of, and which of them each channel's.
    std::int64_t pixels[Channels][lanes];
    std::uint8_t of_channel[Channels][Channels];
};

template <int Channels>
constexpr NUV_SampleOrder<Channels> sample_order = [] {
    NUV_SampleOrder<Channels> order{};
    for (std::size_t i = 0; i < lanes * Channels; ++i) {
        const std::size_t c = i % Channels;
        order.bytes[c][i / Channels] = static_cast<std::int64_t>(2 * i | (2 * i + 1) << 8);
        order.pixels[i / lanes][i % lanes] = static_cast<std::int64_t>(i / Channels);
        order.of_channel[i / lanes][c] |= static_cast<std::uint8_t>(1 << i % lanes);
    }
    return order;
}();

template <int Channels>
struct alignas(64) NUV_Part {
    double samples[Channels][part_pixels + window_pixels];
};

template <int Channels>
NUV_AVX512 inline void set_part(const std::uint16_t* in, std::size_t pixels,
                                NUV_Part<Channels>& part) noexcept
{
    // 2^52, in whose lowest bits a sample stands as it is.
    const __m512d above = _mm512_set1_pd(4503599627370496.0);
    constexpr __mmask64 lowest_bytes = 0x0303030303030303;
    for (std::size_t x = 0; x < pixels; x += lanes) {
        const std::size_t samples = std::min(lanes, pixels - x) * Channels;
        const auto known = static_cast<__mmask32>(0xFFFFFFFFU >> (32 - samples));
        const __m512i line = _mm512_maskz_loadu_epi16(known, in + x * Channels);
        for (std::size_t c = 0; c < Channels; ++c) {
            const __m512i order = _mm512_loadu_si512(sample_order<Channels>.bytes[c]);
            const __m512i numbers =
                _mm512_mask_permutexvar_epi8(_mm512_castpd_si512(above), lowest_bytes, order, line);
            _mm512_store_pd(part.samples[c] + x,
                            _mm512_sub_pd(_mm512_castsi512_pd(numbers), above));
        }
    }
}

// The sum so far, and a product: rounded one after the other, as in the portable form, and first
// added to 0, to which a product can be added as it is.
NUV_AVX512 inline __m512d with_product(__m512d sum, bool is_first, __m512d a, __m512d b) noexcept
{
    return is_first ? _mm512_fmadd_pd(a, b, _mm512_setzero_pd())
                    : _mm512_add_pd(sum, _mm512_mul_pd(a, b));
}

// Eight pixels of a channel, whose taps begin at `places` behind `in`, and one, two and so on
// behind these.
template <int Taps, std::size_t TapsPerWindow>
NUV_AVX512 inline __m512d filter_channel(const double* in, const __m512i (&places)[TapsPerWindow],
                                         const double* weights) noexcept
{
    __m512d sum = _mm512_setzero_pd();
    for (std::size_t i = 0; i < Taps; ++i) {
        const double* window = in + i / TapsPerWindow * TapsPerWindow;
        const __m512d samples = _mm512_permutex2var_pd(
            _mm512_loadu_pd(window), places[i % TapsPerWindow], _mm512_loadu_pd(window + lanes));
        sum = with_product(sum, i == 0, samples, _mm512_loadu_pd(weights + i * lanes));
    }
    return sum;
}

template <int Channels>
NUV_AVX512 inline void store_pixels(double* out, const __m512d (&sums)[Channels]) noexcept
{
    constexpr const NUV_SampleOrder<Channels>& order = sample_order<Channels>;
    for (std::size_t i = 0; i < Channels; ++i) {
        const __m512i pixels = _mm512_loadu_si512(order.pixels[i]);
        __m512d eight = _mm512_permutexvar_pd(pixels, sums[0]);
        for (std::size_t c = 1; c < Channels; ++c)
            eight = _mm512_mask_permutexvar_pd(eight, order.of_channel[i][c], pixels, sums[c]);
        _mm512_storeu_pd(out + i * lanes, eight);
    }
}

// Result pixels `begin` to `end` - 1, in eights, from a part of a line that begins with the first
// tap of the first one.
template <int Taps, int Channels, std::size_t TapsPerWindow>
NUV_AVX512 inline void filter_part(const std::uint16_t* line, const RealTable& table,
                                   const double* weights, double* out, std::size_t begin,
                                   std::size_t end) noexcept
{
    const std::int64_t* firsts = table.firsts;
    const std::int64_t start = firsts[begin];
    NUV_Part<Channels> part;
    set_part<Channels>(line + start * Channels,
                       static_cast<std::size_t>(firsts[end - 1] + Taps - start), part);
    for (std::size_t k = begin; k < end; k += lanes, weights += lanes * stride) {
        // Steadily, and not when the next part begins, which is read in one go.
        constexpr std::size_t cache_line = 64;
        prefetch_ahead(line + firsts[k] * Channels, Channels * cache_line);
        const __m512i offsets =
            _mm512_sub_epi64(_mm512_loadu_si512(firsts + k), _mm512_set1_epi64(firsts[k]));
        __m512i places[TapsPerWindow];
        for (std::size_t i = 0; i < TapsPerWindow; ++i)
            places[i] = _mm512_add_epi64(offsets, _mm512_set1_epi64(static_cast<long long>(i)));
        __m512d sums[Channels];
        for (std::size_t c = 0; c < Channels; ++c) {
            sums[c] = filter_channel<Taps, TapsPerWindow>(part.samples[c] + (firsts[k] - start),
                                                          places, weights);
        }
        store_pixels<Channels>(out + k * Channels, sums);
    }
}

} // namespace

template <int Taps, int Channels>
NUV_AVX512 void filter_row_avx512(const std::uint16_t* line, const RealTable& table, double* out,
                                  std::size_t begin, std::size_t end)
{
    const std::int64_t* firsts = table.firsts;
    const auto spread_of = [firsts](std::size_t k) { return firsts[k + lanes - 1] - firsts[k]; };
    // Masks of up to six taps are for ratios at which the wider spread does not come.
    constexpr std::int64_t near = spread_of_window<4>;
    constexpr std::int64_t farthest = Taps > 6 ? spread_of_window<2> : near;
    const double* weights = table.by_taps;
    std::size_t k = begin;
    while (k + lanes <= end) {
        std::size_t stop = k;
        if (spread_of(k) > farthest) {
            while (stop + lanes <= end && spread_of(stop) > farthest)
                stop += lanes;
            filter_row_avx2<Taps, Channels>(line, table, out, k, stop);
        } else {
            // As many eights as a part has all taps of.
            const std::int64_t last = firsts[k] + std::int64_t{part_pixels} - Taps;
            std::int64_t most = 0;
            while (stop + lanes <= end && spread_of(stop) <= farthest &&
                   firsts[stop + lanes - 1] <= last) {
                most = std::max(most, spread_of(stop));
                stop += lanes;
            }
            if (farthest == near || most <= near)
                filter_part<Taps, Channels, 4>(line, table, weights, out, k, stop);
            else
                filter_part<Taps, Channels, 2>(line, table, weights, out, k, stop);
        }
        weights += (stop - k) * stride;
        k = stop;
    }
    filter_row_avx2<Taps, Channels>(line, table, out, k, end);
}

template <int Taps>
NUV_AVX512 void combine_middles_avx512(const double* const* lines, const double* weights,
                                       std::uint16_t* out, std::size_t samples,
                                       std::uint16_t maximum)
{
    constexpr std::size_t step = 2 * lanes;
    if (samples < step) {
        combine_middles_avx2<Taps>(lines, weights, out, samples, maximum);
        return;
    }
    const __m512d most = _mm512_set1_pd(maximum);
    // The last ones again with some of those before, where they are no whole step.
    for (std::size_t done = 0; done < samples; done += step) {
        const std::size_t x = std::min(done, samples - step);
        __m256i settled[2];
        for (std::size_t half = 0; half < 2; ++half) {
            __m512d sum = _mm512_setzero_pd();
            for (std::size_t i = 0; i < Taps; ++i) {
                sum = with_product(sum, i == 0, _mm512_loadu_pd(lines[i] + x + half * lanes),
                                   _mm512_set1_pd(weights[i]));
            }
            const __m512d moved =
                _mm512_max_pd(_mm512_add_pd(sum, _mm512_set1_pd(0.5)), _mm512_setzero_pd());
            settled[half] = _mm512_cvttpd_epi32(_mm512_min_pd(moved, most));
        }
        const __m256i words = _mm256_packus_epi32(settled[0], settled[1]);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x),
                            _mm256_permute4x64_epi64(words, 0xD8));
    }
}

#    define NUV_ROW_FORM(taps, channels)                                                           \
        template void filter_row_avx512<taps, channels>(const std::uint16_t*, const RealTable&,    \
                                                        double*, std::size_t, std::size_t)
#    define NUV_FORMS(taps)                                                                        \
        NUV_ROW_FORM(taps, 1);                                                                     \
        NUV_ROW_FORM(taps, 3);                                                                     \
        NUV_ROW_FORM(taps, 4);                                                                     \
        template void combine_middles_avx512<taps>(const double* const*, const double*,            \
                                                   std::uint16_t*, std::size_t, std::uint16_t)
NUV_SCALE_I2_FORMS(NUV_FORMS);

} // namespace nuv

#endif // NUV_X86
