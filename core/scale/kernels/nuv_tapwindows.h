#pragma once

#include "core/scale/kernels/nuv_scaletaps_kernels.h"
#include "core/scale/kernels/nuv_splitblend.h"
#include "core/scale/kernels/nuv_splitweights.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Samples of an output row that follow each other closely on the line are made together, from a
// window of it and as many windows more as a pixel has taps behind the first.
inline constexpr std::size_t most_window_samples = 32;
inline constexpr std::size_t most_window_reach = 64; // places on the line that they come from
static_assert(most_window_reach * sizeof(std::uint16_t) <= packed_taps_slack_bytes);

// Vectors of a window are lines of the cache.
inline constexpr std::size_t window_alignment = 64;

// By split weights of doubles: see nuv_splitblend.h. What is behind the samples is anything.
template <>
struct alignas(window_alignment) NUV_TapWindow<NUV_LinearTaps<double>> {
    std::uint16_t order[most_window_samples]; // of each the place of its first tap behind `begin`
    std::uint16_t high[most_window_samples];
    std::uint16_t low[most_window_samples];
    std::uint16_t doubtful[most_window_samples];
    std::uint32_t grows; // a bit of each sample
    std::uint32_t flips;
    std::uint32_t begin; // sample of the line
    std::uint32_t samples;
    bool is_wide; // some places are not among the first 32
};

// By those of nuv_splitweights.h.
template <>
struct alignas(window_alignment) NUV_TapWindow<NUV_CubicTaps<double>> {
    // Pairs of weights, of taps 0 and 1 and of 2 and 3, in the order of 32-bit sums of which the
    // first half is made of each four samples in turn, and the second half of each other four.
    struct Sums {
        std::uint32_t high[2][most_window_samples / 2];
        std::uint32_t low[2][most_window_samples / 2];
    };

    std::uint16_t order[most_window_samples];
    Sums half[2];
    std::uint32_t counts_sign[2]; // a bit of each sum
    std::int32_t doubtful;        // the most of those whose sign alone counts
    std::uint32_t begin;
    std::uint32_t samples;
    bool is_wide;
};

// How many samples of the row, from `first` on, there are in a window. Fewer channels than that.
template <class Taps>
[[nodiscard]] std::uint32_t count_window_samples(std::span<const Taps> taps, std::size_t channels,
                                                 std::size_t first) noexcept
{
    constexpr std::size_t most = most_window_samples;
    constexpr std::size_t reach = most_window_reach;
    std::size_t pixel = first / channels;
    std::size_t samples = channels - first % channels; // up to the end of the pixel
    const std::size_t begin = taps[pixel].offset;
    while (samples < most && ++pixel < taps.size()) {
        const std::size_t place = taps[pixel].offset - begin;
        if (place >= reach)
            return static_cast<std::uint32_t>(samples);
        if (place + channels > reach)
            return static_cast<std::uint32_t>(std::min(samples + reach - place, most));
        samples += channels;
    }
    return static_cast<std::uint32_t>(std::min(samples, most));
}

[[nodiscard]] inline NUV_SplitBlend split_taps(const NUV_LinearTaps<double>& taps) noexcept
{
    NUV_SplitBlend split = split_blend(taps.second);
    if (split.flips && taps.first != 1 - taps.second)
        split.doubtful = 65535; // what is exact of the second one need not be of the first
    return split;
}
[[nodiscard]] inline NUV_SplitWeights split_taps(const NUV_CubicTaps<double>& taps) noexcept
{
    return split_weights(taps.weight);
}

// Two words, the first in the lower half.
[[nodiscard]] constexpr std::uint32_t word_pair(std::int32_t first, std::int32_t second) noexcept
{
    return static_cast<std::uint16_t>(first) |
           static_cast<std::uint32_t>(static_cast<std::uint16_t>(second)) << 16;
}

inline void set_window_sample(NUV_TapWindow<NUV_LinearTaps<double>>& window, std::uint32_t i,
                              const NUV_SplitBlend& split) noexcept
{
    window.high[i] = split.high;
    window.low[i] = split.low;
    window.doubtful[i] = split.doubtful;
    window.grows |= std::uint32_t{split.grows} << i;
    window.flips |= std::uint32_t{split.flips} << i;
}
inline void set_window_sample(NUV_TapWindow<NUV_CubicTaps<double>>& window, std::uint32_t i,
                              const NUV_SplitWeights& split) noexcept
{
    const std::uint32_t half = i / 4 % 2;
    auto& sums = window.half[half];
    const std::uint32_t sum = i / 8 * 4 + i % 4;
    for (std::size_t pair = 0; pair < 2; ++pair) {
        sums.high[pair][sum] = word_pair(split.high[2 * pair], split.high[2 * pair + 1]);
        sums.low[pair][sum] = word_pair(split.low[2 * pair], split.low[2 * pair + 1]);
    }
    window.counts_sign[half] |= std::uint32_t{split.counts_sign} << sum;
    if (split.counts_sign)
        window.doubtful = std::max(window.doubtful, split.doubtful);
}

// The window of so many samples of the row. False when a weight does not fit.
template <class Taps>
[[nodiscard]] bool make_tap_window(std::span<const Taps> taps, std::size_t channels,
                                   std::size_t first, std::uint32_t samples,
                                   NUV_TapWindow<Taps>& window) noexcept
{
    std::size_t pixel = first / channels;
    std::size_t channel = first % channels;
    const std::size_t begin = taps[pixel].offset;
    window = {};
    if constexpr (requires { window.half; })
        window.doubtful = -1;
    window.begin = static_cast<std::uint32_t>(begin);
    window.samples = samples;
    auto split = split_taps(taps[pixel]);
    for (std::uint32_t i = 0; i < samples && split.fits; ++i) {
        const std::size_t place = taps[pixel].offset + channel - begin;
        window.order[i] = static_cast<std::uint16_t>(place);
        window.is_wide = window.is_wide || place >= most_window_reach / 2;
        set_window_sample(window, i, split);
        if (++channel == channels && i + 1 < samples) {
            channel = 0;
            split = split_taps(taps[++pixel]);
        }
    }
    return split.fits;
}

} // namespace nuv
