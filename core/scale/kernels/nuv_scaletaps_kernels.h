#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace nuv {

// Kernels of the width passes: each output pixel is a weighted sum of neighbouring pixels of a work
// line, which is the source line with copies of its outermost pixels on both sides.

// One output pixel of a cubic: the sample where its four pixels begin, and their weights, which in
// fixed point are in units of 1 / 4096.
template <class Weight>
struct NUV_CubicTaps {
    std::size_t offset;
    Weight weight[4];
};

// One output pixel between two: the sample where they begin, and their weights. Where that of the
// second one is 0 it is not looked at: it may lie outside the line.
template <class Weight>
struct NUV_LinearTaps {
    std::size_t offset;
    Weight first;
    Weight second;
};

// A table laid out for vector loads. Weights fit 16 bits; each entry holds two of them, that of the
// earlier pixel in the lower half.
struct NUV_PackedTaps {
    const std::uint32_t* offsets = nullptr;
    const std::int32_t* first_pairs = nullptr;  // of pixels 0 and 1
    const std::int32_t* second_pairs = nullptr; // of pixels 2 and 3
};

// Bytes behind the last pixel of a work line that the forms by packed taps and by windows may read
// and ignore.
inline constexpr std::size_t packed_taps_slack_bytes = 128;

// Samples of an output row that are made together: see nuv_tapwindows.h. Integers have none.
template <class Taps>
struct NUV_TapWindow {};

// The line that a row is probably made of next, whose memory a loop may ask for in parts meanwhile.
// It need not be there.
struct NUV_LineAhead {
    std::uintptr_t address = 0;
    std::size_t bytes = 0;

    // How many bytes are to be asked for in each of so many parts.
    [[nodiscard]] std::size_t share(std::size_t parts) const noexcept
    {
        return bytes != 0 ? bytes / parts + 1 : 0;
    }
    // Asks for the next part, as far as the second cache.
    void ask(std::size_t part) noexcept
    {
        constexpr std::size_t piece = 64;
        constexpr int second_cache = 2;
        for (std::size_t i = 0; i < part; i += piece) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): an address that need not be in any object
            __builtin_prefetch(reinterpret_cast<const void*>(address + i), 0, second_cache);
        }
        address += part;
    }
};

// A table in the layout that the form at hand reads; see NUV_ConvolveForm.
template <class Taps>
struct NUV_TapTable {
    const Taps* taps = nullptr;
    NUV_PackedTaps packed{};
    const NUV_TapWindow<Taps>* windows = nullptr; // of doubles, beside `taps`
    std::size_t window_count = 0;
    NUV_LineAhead ahead{};
};

// Makes `pixels` output pixels. The limits hold for the rounded result; between two pixels nothing
// leaves the range. Every form gives the same bytes. Those in double precision may read a sample
// behind the pixels of an entry, the packed ones four pixels for each entry, and those by windows
// most_window_reach samples from the first one of a window and of each of its taps.
template <IntegerSample T, class Taps>
using ConvolveRow = void (*)(const T* line, const NUV_TapTable<Taps>& table, T* out,
                             std::size_t pixels, std::size_t channels, NUV_SampleLimits<T> limits);

// The weighted sum before it is rounded. Double precision adds in the order of the pixels.
template <class Sum, IntegerSample T, class Weight>
[[nodiscard]] inline Sum weigh_taps(const T* in, std::size_t step,
                                    const NUV_CubicTaps<Weight>& taps) noexcept
{
    return in[0] * static_cast<Sum>(taps.weight[0]) + in[step] * static_cast<Sum>(taps.weight[1]) +
           in[2 * step] * static_cast<Sum>(taps.weight[2]) +
           in[3 * step] * static_cast<Sum>(taps.weight[3]);
}

// Its second pixel is looked at where it has a weight.
template <class Sum, IntegerSample T, class Weight>
[[nodiscard]] inline Sum weigh_taps(const T* in, std::size_t step,
                                    const NUV_LinearTaps<Weight>& taps) noexcept
{
    return in[0] * taps.first + in[taps.second != 0 ? step : 0] * taps.second;
}

template <IntegerSample T>
[[nodiscard]] inline T round_sum(double sum, NUV_SampleLimits<T> limits) noexcept
{
    return round_real<T>(sum, limits);
}
template <IntegerSample T, std::signed_integral Sum>
[[nodiscard]] inline T round_sum(Sum sum, NUV_SampleLimits<T> limits) noexcept
{
    return round_fixed<T>(sum, limits);
}

// `channels` counts when Channels is 0. Sum must hold the sums.
template <int Channels, class Sum, IntegerSample T, class Weight>
void convolve_row_body(const T* __restrict line, const NUV_CubicTaps<Weight>* __restrict taps,
                       T* __restrict out, std::size_t pixels, std::size_t channels,
                       NUV_SampleLimits<T> limits) noexcept
{
    const std::size_t step = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* in = line + taps[k].offset;
        for (std::size_t c = 0; c < step; ++c)
            out[k * step + c] = round_sum<T>(weigh_taps<Sum>(in + c, step, taps[k]), limits);
    }
}

template <int Channels, class Sum, IntegerSample T, class Weight>
void convolve_row_body(const T* __restrict line, const NUV_LinearTaps<Weight>* __restrict taps,
                       T* __restrict out, std::size_t pixels, std::size_t channels,
                       NUV_SampleLimits<T>) noexcept
{
    const std::size_t step = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* in = line + taps[k].offset;
        const Weight first = taps[k].first;
        const Weight second = taps[k].second;
        const std::size_t right = second != 0 ? step : 0;
        for (std::size_t c = 0; c < step; ++c) {
            const Weight sum = in[c] * first + in[c + right] * second;
            out[k * step + c] = round_sum<T>(sum, NUV_SampleLimits<T>{});
        }
    }
}

template <int Channels, class Sum, IntegerSample T, class Taps>
void convolve_row_portable(const T* line, const NUV_TapTable<Taps>& table, T* out,
                           std::size_t pixels, std::size_t channels,
                           NUV_SampleLimits<T> limits) noexcept
{
    convolve_row_body<Channels, Sum>(line, table.taps, out, pixels, channels, limits);
}

// The pixels that a packed form leaves.
template <int Channels, IntegerSample T>
void convolve_packed_row_portable(const T* __restrict line, const NUV_PackedTaps& taps,
                                  T* __restrict out, std::size_t pixels, T maximum) noexcept
{
    const auto low = [](std::int32_t pair) {
        return std::int32_t{static_cast<std::int16_t>(pair)};
    };
    constexpr std::size_t step = Channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const std::int32_t first = taps.first_pairs[k];
        const std::int32_t second = taps.second_pairs[k];
        for (std::size_t c = 0; c < Channels; ++c) {
            const T* in = line + taps.offsets[k] + c;
            const std::int32_t sum = in[0] * low(first) + in[step] * (first >> 16) +
                                     in[2 * step] * low(second) + in[3 * step] * (second >> 16);
            out[k * Channels + c] = round_fixed<T>(sum, {.minimum = 0, .maximum = maximum});
        }
    }
}

#if NUV_X86
// Samples of 8 or 16 bits and a packed table, of 1, 3 or 4 channels.
template <int Channels, class T, class Taps>
NUV_TARGET("avx2")
void convolve_packed_avx2(const T* line, const NUV_TapTable<Taps>& table, T* out,
                          std::size_t pixels, std::size_t channels, NUV_SampleLimits<T> limits);
// 16-bit samples in double precision, of 3 or 4 channels.
template <int Channels, class Taps>
NUV_TARGET("avx2")
void convolve_real_avx2(const std::uint16_t* line, const NUV_TapTable<Taps>& table,
                        std::uint16_t* out, std::size_t pixels, std::size_t channels,
                        NUV_SampleLimits<std::uint16_t> limits);
// The same of 1, 3 or 4 channels in integers, by the windows of the table, where these tell how a
// sum rounds, and else in doubles.
template <int Channels, class Taps>
NUV_TARGET("avx512vbmi,avx512bw,avx512vnni")
void convolve_windows_avx512(const std::uint16_t* line, const NUV_TapTable<Taps>& table,
                             std::uint16_t* out, std::size_t pixels, std::size_t channels,
                             NUV_SampleLimits<std::uint16_t> limits);
#endif

// A form, and which layout of the table it reads: of doubles, a packed one has windows.
template <IntegerSample T, class Taps>
struct NUV_ConvolveForm {
    ConvolveRow<T, Taps> convolve = nullptr;
    bool is_packed = false;
};

// True when weights of Taps are doubles.
template <class Taps>
inline constexpr bool has_real_weights =
    std::is_same_v<Taps, NUV_CubicTaps<double>> || std::is_same_v<Taps, NUV_LinearTaps<double>>;

// The fastest form that `cpu` can run. `narrow`: a packed table can hold offsets and weights, split
// ones of doubles, and sums of fixed-point weights fit 32 bits. Called once per engine.
template <IntegerSample T, class Taps>
[[nodiscard]] NUV_ConvolveForm<T, Taps> choose_convolve_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                            std::uint32_t channels,
                                                            [[maybe_unused]] bool narrow) noexcept
{
    constexpr bool is_linear = std::is_same_v<Taps, NUV_LinearTaps<std::int32_t>>;
    return visit_channels(channels, [&]<int Channels>() -> NUV_ConvolveForm<T, Taps> {
#if NUV_X86
        if constexpr (std::is_unsigned_v<T> && !has_real_weights<Taps> && Channels != 0) {
            if (cpu.has_avx2 && narrow)
                return {convolve_packed_avx2<Channels, T, Taps>, true};
        }
        if constexpr (std::is_same_v<T, std::uint16_t> && has_real_weights<Taps> && Channels != 0) {
            if (cpu.has_avx512vbmi && narrow)
                return {convolve_windows_avx512<Channels, Taps>, true};
        }
        if constexpr (std::is_same_v<T, std::uint16_t> && has_real_weights<Taps> && Channels > 1) {
            if (cpu.has_avx2)
                return {convolve_real_avx2<Channels, Taps>};
        }
#endif
        if constexpr (has_real_weights<Taps>)
            return {convolve_row_portable<Channels, double, T, Taps>};
        else if (narrow || is_linear)
            return {convolve_row_portable<Channels, std::int32_t, T, Taps>};
        else
            return {convolve_row_portable<Channels, std::int64_t, T, Taps>};
    });
}

} // namespace nuv
