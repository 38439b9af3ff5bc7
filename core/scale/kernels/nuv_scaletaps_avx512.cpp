#include "core/scale/kernels/nuv_doubts.h"
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

NUV_AVX512 inline __m512i take_signed(const std::uint16_t* in, __m512i order, bool is_wide) noexcept
{
    return _mm512_xor_si512(take_samples(in, order, is_wide), _mm512_set1_epi16(-32768));
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

template <std::size_t Half>
NUV_AVX512 inline NUV_SplitAVX512 load_split(const CubicWindow& window) noexcept
{
    const CubicWindow::Sums& sums = window.half[Half];
    const auto counts_sign = static_cast<__mmask16>(window.counts_sign[Half]);
    const __m512i all = _mm512_set1_epi32(std::numeric_limits<std::int32_t>::max());
    return {
        _mm512_loadu_si512(sums.high[0]),
        _mm512_loadu_si512(sums.high[1]),
        _mm512_loadu_si512(sums.low[0]),
        _mm512_loadu_si512(sums.low[1]),
        _mm512_mask_blend_epi32(counts_sign, _mm512_set1_epi32(split_bits), _mm512_set1_epi32(31)),
        _mm512_mask_blend_epi32(counts_sign, all, _mm512_set1_epi32(window.doubtful))};
}

template <int Channels, bool CountsSign>
[[gnu::always_inline]] NUV_AVX512 inline __m512i combine_window(const std::uint16_t* line,
                                                                const CubicWindow& window,
                                                                std::uint32_t& doubt) noexcept
{
    const __m512i order = _mm512_loadu_si512(window.order);
    const std::uint16_t* in = line + window.begin;
    return combine_words<CountsSign>(
        take_signed(in, order, window.is_wide), take_signed(in + Channels, order, window.is_wide),
        take_signed(in + std::size_t{2} * Channels, order, window.is_wide),
        take_signed(in + std::size_t{3} * Channels, order, window.is_wide), load_split<0>(window),
        load_split<1>(window), doubt);
}

template <int Channels>
[[gnu::always_inline]] NUV_AVX512 inline __m512i make_samples(const std::uint16_t* line,
                                                              const CubicWindow& window,
                                                              std::uint32_t& doubt) noexcept
{
    if ((window.counts_sign[0] | window.counts_sign[1]) != 0)
        return combine_window<Channels, true>(line, window, doubt);
    return combine_window<Channels, false>(line, window, doubt);
}

// Takes one of the bits of a doubt; which sample of the window it is of.
template <class Taps>
[[nodiscard]] std::size_t take_doubtful(std::uint32_t& doubt) noexcept
{
    if constexpr (std::is_same_v<Taps, NUV_CubicTaps<double>>)
        return take_combined_doubt(doubt);
    const auto sample = static_cast<std::size_t>(std::countr_zero(doubt));
    doubt &= doubt - 1;
    return sample;
}

// Makes what is in doubt again; how many samples.
template <int Channels, class Taps>
std::size_t make_again(const std::uint16_t* line, const Taps* taps, const NUV_Doubts& doubts,
                       std::uint16_t* out, NUV_SampleLimits<std::uint16_t> limits) noexcept
{
    std::size_t samples = 0;
    for (std::size_t i = 0; i < doubts.count; ++i) {
        std::uint32_t doubt = doubts.bits[i];
        do {
            const std::size_t sample = doubts.begin[i] + take_doubtful<Taps>(doubt);
            const Taps& again = taps[sample / Channels];
            const std::uint16_t* in = line + again.offset + sample % Channels;
            out[sample] = round_sum(weigh_taps<double>(in, Channels, again), limits);
            ++samples;
        } while (doubt != 0);
    }
    return samples;
}

// The samples of a row from `first` on, in double precision.
template <int Channels, class Taps>
void make_rest(const std::uint16_t* line, const Taps* taps, std::size_t first, std::uint16_t* out,
               std::size_t pixels, NUV_SampleLimits<std::uint16_t> limits) noexcept
{
    const std::size_t made = first / Channels;
    out += made * Channels;
    if constexpr (Channels == 1)
        convolve_row_body<Channels, double>(line, taps + made, out, pixels - made, Channels,
                                            limits);
    else
        convolve_real_avx2<Channels, Taps>(line, {.taps = taps + made}, out, pixels - made,
                                           Channels, limits);
}

} // namespace

// A whole store writes over what the next window makes.
template <int Channels, class Taps>
NUV_AVX512 void convolve_windows_avx512(const std::uint16_t* line, const NUV_TapTable<Taps>& table,
                                        std::uint16_t* out, std::size_t pixels, std::size_t,
                                        NUV_SampleLimits<std::uint16_t> limits)
{
    const __m512i maximum = _mm512_set1_epi16(static_cast<std::int16_t>(limits.maximum));
    const NUV_TapWindow<Taps>* window = table.windows;
    const NUV_TapWindow<Taps>* const end = window + table.window_count;
    NUV_LineAhead ahead = table.ahead;
    const std::size_t share = ahead.share(table.window_count);
    std::size_t begin = 0;
    while (window != end) {
        NUV_Doubts doubts;
        const auto left = static_cast<std::size_t>(end - window);
        const NUV_TapWindow<Taps>* const stop = window + std::min(left, NUV_Doubts::most_vectors);
        for (; window != stop; ++window) {
            ahead.ask(share);
            std::uint32_t doubt = 0;
            const __m512i samples =
                _mm512_min_epu16(make_samples<Channels>(line, *window, doubt), maximum);
            if (begin + most_window_samples <= pixels * Channels) {
                _mm512_storeu_si512(out + begin, samples);
            } else {
                _mm512_mask_storeu_epi16(
                    out + begin, ~__mmask32{0} >> (most_window_samples - window->samples), samples);
            }
            doubts.note(begin, doubt);
            begin += window->samples;
        }
        if (make_again<Channels>(line, table.taps, doubts, out, limits) >
            NUV_Doubts::most_samples) {
            make_rest<Channels>(line, table.taps, begin, out, pixels, limits);
            return;
        }
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
