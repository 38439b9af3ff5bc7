#include "core/scale/kernels/nuv_splitblend_avx512.h"
#include "core/scale/kernels/nuv_splitweights_avx512.h"
#include "core/scale/kernels/nuv_tapwindows.h"

#if NUV_X86

namespace nuv {
namespace {

using LinearWindow = NUV_TapWindow<NUV_LinearTaps<double>>;
using CubicWindow = NUV_TapWindow<NUV_CubicTaps<double>>;

// The samples at places of a window that begins at `in`.
NUV_AVX512 inline __m512i take_samples(const std::uint16_t* in, __m512i order,
                                       bool is_wide) noexcept
{
    const __m512i first = _mm512_loadu_si512(in);
    if (!is_wide)
        return _mm512_permutexvar_epi16(order, first);
    return _mm512_permutex2var_epi16(first, order, _mm512_loadu_si512(in + 32));
}

// The samples of a window; those behind its own are anything. `doubt` becomes those that have to be
// made again.
template <int Channels>
NUV_AVX512 inline __m512i make_samples(const std::uint16_t* line, const LinearWindow& window,
                                       std::uint32_t& doubt) noexcept
{
    const __m512i order = _mm512_loadu_si512(window.order);
    const std::uint16_t* in = line + window.begin;
    return blend_words(
        take_samples(in, order, window.is_wide), take_samples(in + Channels, order, window.is_wide),
        {window.high, window.low, window.doubtful, window.grows, window.flips}, doubt);
}

NUV_AVX512 inline NUV_SplitAVX512 load_split(const CubicWindow::Sums& sums,
                                             std::int32_t doubtful) noexcept
{
    const auto counts_sign = static_cast<__mmask16>(sums.counts_sign);
    constexpr std::int32_t all = std::numeric_limits<std::int32_t>::max();
    return {
        _mm512_loadu_si512(sums.high[0]),
        _mm512_loadu_si512(sums.high[1]),
        _mm512_loadu_si512(sums.low[0]),
        _mm512_loadu_si512(sums.low[1]),
        _mm512_mask_blend_epi32(counts_sign, _mm512_set1_epi32(split_bits), _mm512_set1_epi32(31)),
        _mm512_mask_blend_epi32(counts_sign, _mm512_set1_epi32(all), _mm512_set1_epi32(doubtful))};
}

template <bool CountsSign>
NUV_AVX512 inline __m512i combine_window(const __m512i (&taps)[4], const CubicWindow& window,
                                         std::uint32_t& doubt) noexcept
{
    return combine_words<CountsSign>(taps, load_split(window.half[0], window.doubtful),
                                     load_split(window.half[1], window.doubtful), doubt);
}

template <int Channels>
NUV_AVX512 inline __m512i make_samples(const std::uint16_t* line, const CubicWindow& window,
                                       std::uint32_t& doubt) noexcept
{
    const __m512i order = _mm512_loadu_si512(window.order);
    const std::uint16_t* in = line + window.begin;
    __m512i taps[4];
    for (__m512i& tap : taps) {
        tap = _mm512_xor_si512(take_samples(in, order, window.is_wide), _mm512_set1_epi16(-32768));
        in += Channels;
    }
    if ((window.half[0].counts_sign | window.half[1].counts_sign) != 0)
        return combine_window<true>(taps, window, doubt);
    return combine_window<false>(taps, window, doubt);
}

// Takes one of the bits of a doubt; which sample of the window it is of.
[[nodiscard]] inline std::size_t take_doubtful(const LinearWindow&, std::uint32_t& doubt) noexcept
{
    const auto sample = static_cast<std::size_t>(std::countr_zero(doubt));
    doubt &= doubt - 1;
    return sample;
}
[[nodiscard]] inline std::size_t take_doubtful(const CubicWindow&, std::uint32_t& doubt) noexcept
{
    return take_combined_doubt(doubt);
}

// Makes the samples of a window again, which begin with `begin` of the row, that are in doubt.
template <int Channels, class Taps>
void make_again(const std::uint16_t* line, const Taps* taps, const NUV_TapWindow<Taps>& window,
                std::uint32_t doubt, std::size_t begin, std::uint16_t* out,
                NUV_SampleLimits<std::uint16_t> limits)
{
    while (doubt != 0) {
        const std::size_t sample = begin + take_doubtful(window, doubt);
        const Taps& again = taps[sample / Channels];
        const std::uint16_t* in = line + again.offset + sample % Channels;
        out[sample] = round_sum(weigh_taps<double>(in, Channels, again), limits);
    }
}

} // namespace

// A whole store writes over what the next window makes.
template <int Channels, class Taps>
NUV_AVX512 void convolve_windows_avx512(const std::uint16_t* line, const NUV_TapTable<Taps>& table,
                                        std::uint16_t* out, std::size_t pixels, std::size_t,
                                        NUV_SampleLimits<std::uint16_t> limits)
{
    const __m512i maximum = _mm512_set1_epi16(static_cast<std::int16_t>(limits.maximum));
    std::size_t begin = 0;
    for (const NUV_TapWindow<Taps>& window : std::span(table.windows, table.window_count)) {
        std::uint32_t doubt = 0;
        const __m512i samples =
            _mm512_min_epu16(make_samples<Channels>(line, window, doubt), maximum);
        if (begin + most_window_samples <= pixels * Channels) {
            _mm512_storeu_si512(out + begin, samples);
        } else {
            _mm512_mask_storeu_epi16(
                out + begin, ~__mmask32{0} >> (most_window_samples - window.samples), samples);
        }
        if (doubt != 0)
            make_again<Channels>(line, table.taps, window, doubt, begin, out, limits);
        begin += window.samples;
    }
}

// NOLINTBEGIN(bugprone-macro-parentheses): the name of a template takes none
#    define NUV_WINDOW_FORM(channels, taps)                                                        \
        template void convolve_windows_avx512<channels, taps<double>>(                             \
            const std::uint16_t*, const NUV_TapTable<taps<double>>&, std::uint16_t*, std::size_t,  \
            std::size_t, NUV_SampleLimits<std::uint16_t>)
// NOLINTEND(bugprone-macro-parentheses)
NUV_WINDOW_FORM(1, NUV_LinearTaps);
NUV_WINDOW_FORM(3, NUV_LinearTaps);
NUV_WINDOW_FORM(4, NUV_LinearTaps);
NUV_WINDOW_FORM(1, NUV_CubicTaps);
NUV_WINDOW_FORM(3, NUV_CubicTaps);
NUV_WINDOW_FORM(4, NUV_CubicTaps);

} // namespace nuv

#endif // NUV_X86
