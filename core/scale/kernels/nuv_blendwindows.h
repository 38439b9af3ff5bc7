#pragma once

#include "core/scale/kernels/nuv_scaletaps_kernels.h"
#include "core/scale/kernels/nuv_splitblend.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Up to 32 neighbouring samples of an output row between two pixels in double precision, by split
// weights: see nuv_splitblend.h. What is behind them is the first sample as it is.
struct NUV_BlendWindow {
    static constexpr std::size_t most_samples = 32;

    std::uint16_t order[most_samples]; // of each the place of its first sample behind `begin`
    std::uint16_t high[most_samples];
    std::uint16_t low[most_samples];
    std::uint16_t doubtful[most_samples];
    std::uint32_t grows; // a bit of each sample
    std::uint32_t flips;
    std::uint32_t begin; // sample of the line
    std::uint32_t samples;
};

// How many samples of the row, from `first` on, follow each other closely enough on the line for a
// window. Fewer channels than a window has samples.
[[nodiscard]] inline std::uint32_t blend_window_samples(
    std::span<const NUV_LinearTaps<double>> taps, std::size_t channels, std::size_t first) noexcept
{
    constexpr std::size_t most = NUV_BlendWindow::most_samples;
    std::size_t pixel = first / channels;
    std::size_t samples = channels - first % channels; // up to the end of the pixel
    const std::size_t begin = taps[pixel].offset;
    while (samples < most && ++pixel < taps.size()) {
        const std::size_t place = taps[pixel].offset - begin;
        if (place >= most)
            return static_cast<std::uint32_t>(samples);
        if (place + channels > most)
            return static_cast<std::uint32_t>(std::min(samples + most - place, most));
        samples += channels;
    }
    return static_cast<std::uint32_t>(std::min(samples, most));
}

// The window of so many samples of the row. False when a weight does not fit.
[[nodiscard]] inline bool make_blend_window(std::span<const NUV_LinearTaps<double>> taps,
                                            std::size_t channels, std::size_t first,
                                            std::uint32_t samples, NUV_BlendWindow& window) noexcept
{
    std::size_t pixel = first / channels;
    std::size_t channel = first % channels;
    const std::size_t begin = taps[pixel].offset;
    window = {};
    window.begin = static_cast<std::uint32_t>(begin);
    window.samples = samples;
    NUV_SplitBlend split = split_blend(taps[pixel].second);
    for (std::uint32_t i = 0; i < samples && split.fits; ++i) {
        window.order[i] = static_cast<std::uint16_t>(taps[pixel].offset + channel - begin);
        window.high[i] = split.high;
        window.low[i] = split.low;
        window.doubtful[i] = split.doubtful;
        window.grows |= std::uint32_t{split.grows} << i;
        window.flips |= std::uint32_t{split.flips} << i;
        if (++channel == channels && i + 1 < samples) {
            channel = 0;
            split = split_blend(taps[++pixel].second);
        }
    }
    return split.fits;
}

} // namespace nuv
