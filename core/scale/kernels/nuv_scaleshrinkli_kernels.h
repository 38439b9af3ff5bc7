#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace nuv {

// Kernels of the linear reduction in one pass. A pixel of the output is interpolated between two
// neighbours of an upper and two of a lower line.

// Where each upper left neighbour begins, in samples, and how far to the right of it the point
// lies.
template <class Weight>
struct NUV_ShrinkTaps {
    const std::uint32_t* offsets;
    const Weight* x;

    [[nodiscard]] NUV_ShrinkTaps behind(std::size_t pixels) const noexcept
    {
        return {offsets + pixels, x + pixels};
    }
};

// Makes `pixels` pixels of `out`, `y` being how far down the points lie.
template <IntegerSample T, class Weight>
using ShrinkRow = void (*)(const T* upper, const T* lower, const NUV_ShrinkTaps<Weight>& taps,
                           Weight y, T* out, std::size_t pixels, std::size_t channels);

// `step` is from a pixel to its right neighbour, in samples: 0 where the pixel is the last one.
// Weights are in units of 1 / 4096; x and y are 0 to 4096.
//
// One channel and several have formulas of their own, which round differently.
template <int Channels, IntegerSample T>
void shrink_row(const T* __restrict upper, const T* __restrict lower,
                const NUV_ShrinkTaps<std::int32_t>& taps, std::int32_t y, T* __restrict out,
                std::size_t pixels, std::size_t channels, std::size_t step) noexcept
{
    constexpr std::int32_t one = NUV_FixedReal::one;
    const std::size_t count = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* above = upper + taps.offsets[k];
        const T* below = lower + taps.offsets[k];
        const std::int32_t x = taps.x[k];
        if (count == 1) {
            const std::int32_t a = +above[0];
            const std::int32_t b = +above[step];
            const std::int32_t c = +below[0];
            const std::int32_t d = +below[step];
            const std::int32_t t = ((d - c) - (b - a)) * x + (c - a) * one;
            const std::int32_t sum = a * one + (b - a) * x + NUV_FixedReal::product(t, y);
            out[k] = static_cast<T>(round_fixed<T>(sum));
            continue;
        }
        const std::int32_t w = NUV_FixedReal::product(x, y);
        for (std::size_t i = 0; i < count; ++i) {
            const std::int32_t sum = above[i] * (w - x - y + one) + above[step + i] * (x - w) +
                                     below[i] * (y - w) + below[step + i] * w;
            out[k * count + i] = static_cast<T>(round_fixed<T>(sum));
        }
    }
}

// The same in double precision, where the order of the operations is part of the result.
template <int Channels, IntegerSample T>
void shrink_row(const T* __restrict upper, const T* __restrict lower,
                const NUV_ShrinkTaps<double>& taps, double y, T* __restrict out, std::size_t pixels,
                std::size_t channels, std::size_t step) noexcept
{
    const std::size_t count = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* above = upper + taps.offsets[k];
        const T* below = lower + taps.offsets[k];
        const double x = taps.x[k];
        if (count == 1) {
            const double a = above[0];
            const double b = above[step];
            const double c = below[0];
            const double d = below[step];
            out[k] = round_real<T>(a + (b - a) * x + (((d - c) - (b - a)) * x + (c - a)) * y);
            continue;
        }
        const double w = x * y;
        for (std::size_t i = 0; i < count; ++i) {
            const double sum = above[i] * (w - x - y + 1) + above[step + i] * (x - w) +
                               below[i] * (y - w) + below[step + i] * w;
            out[k * count + i] = round_real<T>(sum);
        }
    }
}

template <int Channels, IntegerSample T, class Weight>
void shrink_row_portable(const T* upper, const T* lower, const NUV_ShrinkTaps<Weight>& taps,
                         Weight y, T* out, std::size_t pixels, std::size_t channels) noexcept
{
    shrink_row<Channels>(upper, lower, taps, y, out, pixels, channels, channels);
}

// The mean of four samples, a half away from zero for what is not negative.
template <IntegerSample T>
[[nodiscard]] constexpr T mean_of_four(std::int32_t sum) noexcept
{
    if constexpr (std::is_signed_v<T>)
        return static_cast<T>((sum + (sum >= 1 ? 2 : 1)) >> 2);
    else
        return static_cast<T>((sum + 2) >> 2);
}

// Means of two neighbours of both lines; `upper` and `lower` begin at the first pixel's, the next
// one's lie `cell` samples further on.
template <IntegerSample T>
using AverageFourRow = void (*)(const T* upper, const T* lower, T* out, std::size_t pixels,
                                std::size_t channels, std::size_t cell);

template <int Channels, IntegerSample T>
void average_four_row(const T* __restrict upper, const T* __restrict lower, T* __restrict out,
                      std::size_t pixels, std::size_t channels, std::size_t cell) noexcept
{
    const std::size_t count = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* above = upper + k * cell;
        const T* below = lower + k * cell;
        for (std::size_t i = 0; i < count; ++i) {
            const std::int32_t sum = above[i] + above[count + i] + below[i] + below[count + i];
            out[k * count + i] = mean_of_four<T>(sum);
        }
    }
}

#if NUV_X86
// Of 1, 3 or 4 channels. They read 16 bytes from where each pixel's taps begin.
template <int Channels>
NUV_TARGET("avx2")
void shrink_row_avx2(const std::uint8_t* upper, const std::uint8_t* lower,
                     const NUV_ShrinkTaps<std::int32_t>& taps, std::int32_t y, std::uint8_t* out,
                     std::size_t pixels, std::size_t channels);
// Two pixels to a cell, of 1 or 3 channels.
template <int Channels>
NUV_TARGET("avx2")
void average_four_row_avx2(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out,
                           std::size_t pixels, std::size_t channels, std::size_t cell);
#endif

// Bytes from the first tap of a pixel on that the forms of ShrinkRow may read and ignore.
inline constexpr std::size_t shrink_row_reach = 16;

// The fastest forms that `cpu` can run. Called once per engine.

template <IntegerSample T, class Weight>
[[nodiscard]] ShrinkRow<T, Weight> choose_shrink_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                     std::uint32_t channels) noexcept
{
    return visit_channels(channels, [&]<int Channels>() -> ShrinkRow<T, Weight> {
#if NUV_X86
        if constexpr (std::is_same_v<T, std::uint8_t> && std::is_same_v<Weight, std::int32_t> &&
                      Channels != 0) {
            if (cpu.has_avx2)
                return shrink_row_avx2<Channels>;
        }
#endif
        return shrink_row_portable<Channels, T, Weight>;
    });
}

template <IntegerSample T>
[[nodiscard]] AverageFourRow<T> choose_average_four_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                        std::uint32_t channels,
                                                        [[maybe_unused]] std::size_t cell) noexcept
{
    return visit_channels(channels, [&]<int Channels>() -> AverageFourRow<T> {
#if NUV_X86
        if constexpr (std::is_same_v<T, std::uint8_t> && (Channels == 1 || Channels == 3)) {
            if (cpu.has_avx2 && cell == std::size_t{2} * Channels)
                return average_four_row_avx2<Channels>;
        }
#endif
        return average_four_row<Channels, T>;
    });
}

} // namespace nuv
