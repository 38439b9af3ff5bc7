#include "core/scale/kernels/nuv_blendwindows.h"
#include "core/scale/kernels/nuv_splitblend_avx512.h"

#if NUV_X86

namespace nuv {

// A whole store writes over what the next window makes. The windows are in order, so that pixels
// that are made again are not written over by those behind them.
template <int Channels>
NUV_AVX512 void blend_row_avx512(const std::uint16_t* line,
                                 const NUV_TapTable<NUV_LinearTaps<double>>& table,
                                 std::uint16_t* out, std::size_t pixels, std::size_t,
                                 NUV_SampleLimits<std::uint16_t> limits)
{
    constexpr std::size_t most = NUV_BlendWindow::most_samples;
    std::size_t begin = 0;
    for (const NUV_BlendWindow& window : std::span(table.windows, table.window_count)) {
        const __m512i order = _mm512_loadu_si512(window.order);
        const std::uint16_t* in = line + window.begin;
        bool doubt = false;
        const __m512i samples = blend_words(
            _mm512_permutexvar_epi16(order, _mm512_loadu_si512(in)),
            _mm512_permutexvar_epi16(order, _mm512_loadu_si512(in + Channels)),
            {window.high, window.low, window.doubtful, window.grows, window.flips}, doubt);
        const std::size_t end = begin + window.samples;
        if (doubt) {
            // All pixels of which there are samples.
            const std::size_t k = begin / Channels;
            const std::size_t count = (end - 1) / Channels + 1 - k;
            const NUV_TapTable<NUV_LinearTaps<double>> again{.taps = table.taps + k};
            if constexpr (Channels == 1)
                convolve_row_portable<1, double>(line, again, out + k, count, 1, limits);
            else
                convolve_real_avx2<Channels>(line, again, out + k * Channels, count, Channels,
                                             limits);
        } else if (begin + most <= pixels * Channels) {
            _mm512_storeu_si512(out + begin, samples);
        } else {
            _mm512_mask_storeu_epi16(out + begin, ~__mmask32{0} >> (most - window.samples),
                                     samples);
        }
        begin = end;
    }
}

#    define NUV_BLEND_ROW(channels)                                                                \
        template void blend_row_avx512<channels>(                                                  \
            const std::uint16_t*, const NUV_TapTable<NUV_LinearTaps<double>>&, std::uint16_t*,     \
            std::size_t, std::size_t, NUV_SampleLimits<std::uint16_t>)
NUV_BLEND_ROW(1);
NUV_BLEND_ROW(3);
NUV_BLEND_ROW(4);

} // namespace nuv

#endif // NUV_X86
