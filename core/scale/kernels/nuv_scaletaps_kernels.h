#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

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

// The weighted sum before it is rounded. Double precision adds in the order of the pixels.
template <class Sum, IntegerSample T, class Weight>
[[nodiscard]] inline Sum weigh_taps(const T* in, std::size_t step,
                                    const NUV_CubicTaps<Weight>& taps) noexcept
{
    return in[0] * static_cast<Sum>(taps.weight[0]) + in[step] * static_cast<Sum>(taps.weight[1]) +
           in[2 * step] * static_cast<Sum>(taps.weight[2]) +
           in[3 * step] * static_cast<Sum>(taps.weight[3]);
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
void convolve_cubic_row(const T* __restrict line, const NUV_CubicTaps<Weight>* __restrict taps,
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

// One output pixel between two: the sample where they begin, and their weights. Where that of the
// second one is 0 it is not looked at: it may lie outside the line.
template <class Weight>
struct NUV_LinearTaps {
    std::size_t offset;
    Weight first;
    Weight second;
};

template <int Channels, IntegerSample T, class Weight>
void convolve_linear_row(const T* __restrict line, const NUV_LinearTaps<Weight>* __restrict taps,
                         T* __restrict out, std::size_t pixels, std::size_t channels) noexcept
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

// The same table laid out for vector loads. Weights fit 16 bits; each entry holds two of them, that
// of the earlier pixel in the lower half.
struct NUV_PackedTaps {
    const std::uint32_t* offsets;
    const std::int32_t* first_pairs;  // of pixels 0 and 1
    const std::int32_t* second_pairs; // of pixels 2 and 3
};

// Bytes behind the last pixel of a work line that the packed forms may read and ignore.
inline constexpr std::size_t packed_taps_slack_bytes = 16;

// 8-bit unsigned samples; results above `maximum` become `maximum`. Gives the bytes of
// convolve_cubic_row.
using ConvolvePackedRow = void (*)(const std::uint8_t* line, const NUV_PackedTaps& taps,
                                   std::uint8_t* out, std::size_t pixels, std::uint8_t maximum);

template <int Channels>
void convolve_packed_row_portable(const std::uint8_t* __restrict line, const NUV_PackedTaps& taps,
                                  std::uint8_t* __restrict out, std::size_t pixels,
                                  std::uint8_t maximum) noexcept
{
    const auto low = [](std::int32_t pair) {
        return std::int32_t{static_cast<std::int16_t>(pair)};
    };
    constexpr std::size_t step = Channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        const std::int32_t first = taps.first_pairs[k];
        const std::int32_t second = taps.second_pairs[k];
        for (std::size_t c = 0; c < Channels; ++c) {
            const std::uint8_t* in = line + taps.offsets[k] + c;
            const std::int32_t sum = in[0] * low(first) + in[step] * (first >> 16) +
                                     in[2 * step] * low(second) + in[3 * step] * (second >> 16);
            out[k * Channels + c] =
                round_fixed<std::uint8_t>(sum, {.minimum = 0, .maximum = maximum});
        }
    }
}

#if NUV_X86
void convolve_packed_1_avx2(const std::uint8_t* line, const NUV_PackedTaps& taps, std::uint8_t* out,
                            std::size_t pixels, std::uint8_t maximum);
void convolve_packed_3_avx2(const std::uint8_t* line, const NUV_PackedTaps& taps, std::uint8_t* out,
                            std::size_t pixels, std::uint8_t maximum);
void convolve_packed_4_avx2(const std::uint8_t* line, const NUV_PackedTaps& taps, std::uint8_t* out,
                            std::size_t pixels, std::uint8_t maximum);
#endif

// Forms in double precision for 16-bit unsigned samples, which give the bytes of convolve_cubic_row
// and convolve_linear_row. They may read a sample behind the pixels of an entry.
template <class Taps>
using ConvolveRealRow = void (*)(const std::uint16_t* line, const Taps* taps, std::uint16_t* out,
                                 std::size_t pixels, std::uint16_t maximum);

#if NUV_X86
void convolve_real_3_avx2(const std::uint16_t* line, const NUV_CubicTaps<double>* taps,
                          std::uint16_t* out, std::size_t pixels, std::uint16_t maximum);
void convolve_real_4_avx2(const std::uint16_t* line, const NUV_CubicTaps<double>* taps,
                          std::uint16_t* out, std::size_t pixels, std::uint16_t maximum);
void convolve_real_3_avx2(const std::uint16_t* line, const NUV_LinearTaps<double>* taps,
                          std::uint16_t* out, std::size_t pixels, std::uint16_t maximum);
void convolve_real_4_avx2(const std::uint16_t* line, const NUV_LinearTaps<double>* taps,
                          std::uint16_t* out, std::size_t pixels, std::uint16_t maximum);
#endif

// The form for `channels` on `cpu`, or null where the portable row is to be used.
template <class Taps>
[[nodiscard]] ConvolveRealRow<Taps> choose_convolve_real(
    [[maybe_unused]] const NUV_Cpu& cpu, [[maybe_unused]] std::uint32_t channels) noexcept
{
#if NUV_X86
    if (cpu.has_avx2 && channels == 3)
        return convolve_real_3_avx2;
    if (cpu.has_avx2 && channels == 4)
        return convolve_real_4_avx2;
#endif
    return nullptr;
}

// The packed form for `channels` on `cpu`, or null where the plain table is to be used.
[[nodiscard]] inline ConvolvePackedRow choose_convolve_packed(
    [[maybe_unused]] const NUV_Cpu& cpu, [[maybe_unused]] std::uint32_t channels) noexcept
{
#if NUV_X86
    if (cpu.has_avx2) {
        switch (channels) {
        case 1:
            return convolve_packed_1_avx2;
        case 3:
            return convolve_packed_3_avx2;
        case 4:
            return convolve_packed_4_avx2;
        default:
            break;
        }
    }
#endif
    return nullptr;
}

} // namespace nuv
