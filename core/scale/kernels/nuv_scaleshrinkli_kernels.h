#pragma once

#include "core/include/nuv_scaleframe.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Kernels of the linear reduction in one pass. A pixel of the output is interpolated between two
// neighbours of an upper and two of a lower line.

// Where the upper left neighbour begins, in samples, and how far to the right of it the point lies.
template <class Weight>
struct NUV_ShrinkTaps {
    std::size_t offset;
    Weight x;
};

// `y` is how far down the point lies. `step` is from a pixel to its right neighbour, in samples: 0
// where the pixel is the last one. Weights are in units of 1 / 4096; x and y are 0 to 4096.
//
// One channel and several have formulas of their own, which round differently.
template <int Channels, IntegerSample T>
void shrink_row(const T* __restrict upper, const T* __restrict lower,
                const NUV_ShrinkTaps<std::int32_t>* __restrict taps, std::int32_t y,
                T* __restrict out, std::size_t pixels, std::size_t channels,
                std::size_t step) noexcept
{
    constexpr std::int32_t one = NUV_FixedReal::one;
    const std::size_t count = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* above = upper + taps[k].offset;
        const T* below = lower + taps[k].offset;
        const std::int32_t x = taps[k].x;
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
                const NUV_ShrinkTaps<double>* __restrict taps, double y, T* __restrict out,
                std::size_t pixels, std::size_t channels, std::size_t step) noexcept
{
    const std::size_t count = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const T* above = upper + taps[k].offset;
        const T* below = lower + taps[k].offset;
        const double x = taps[k].x;
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
// one's lie `cell` samples further on. For two pixels to a cell the loop has no gaps.
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

} // namespace nuv
