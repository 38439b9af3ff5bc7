#pragma once

#include "core/scale/kernels/nuv_tapwindows.h"
#include "core/scale/source/nuv_padline.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_manager.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace nuv {

[[nodiscard]] constexpr std::array<std::int32_t, 4> weights_of(
    const NUV_CubicTaps<std::int32_t>& taps) noexcept
{
    return {taps.weight[0], taps.weight[1], taps.weight[2], taps.weight[3]};
}
[[nodiscard]] constexpr std::array<std::int32_t, 4> weights_of(
    const NUV_LinearTaps<std::int32_t>& taps) noexcept
{
    return {taps.first, taps.second, 0, 0};
}

// The work of a width engine whose output pixels are weighted sums: the work line with `Pads`
// pixels on either side, the table, and the form of the kernel.
template <IntegerSample T, class Taps, std::size_t Pads>
class NUV_TapRow {
public:
    // `narrow` as for choose_convolve_row().
    [[nodiscard]] bool allocate(NUV_Manager& manager, std::uint32_t width, std::uint32_t channels,
                                std::uint32_t destination_width, bool narrow)
    {
        channels_ = channels;
        pixels_ = destination_width;
        form_ = choose_convolve_row<T, Taps>(manager.cpu(), channels, narrow);
        // The packed forms weigh four pixels, and the last one of a line may be the first of them.
        const std::size_t slack_bytes =
            std::size_t{3} * channels * sizeof(T) + packed_taps_slack_bytes;
        return line_.initiate(manager, width, channels, slack_bytes) &&
               taps_.allocate(manager, destination_width);
    }

    // To be filled behind allocate(), offsets counted from the left pad; then finish_table().
    [[nodiscard]] std::span<Taps> table() const noexcept { return taps_.items(); }

    [[nodiscard]] bool finish_table(NUV_Manager& manager)
    {
        if (!form_.is_packed)
            return true;
        if constexpr (has_real_weights<Taps>)
            return make_windows(manager);
        else
            return make_packed(manager);
    }

    // Where the source line is to be read to.
    [[nodiscard]] std::uint8_t* image_bytes() const noexcept { return line_.image_bytes(); }

    void convolve(T* out, NUV_SampleLimits<T> limits = {}) const noexcept
    {
        line_.fill_pads();
        form_.convolve(line_.samples(),
                       {taps_.data(), packed_.taps(), windows_.data(), windows_.size()}, out,
                       pixels_, channels_, limits);
    }

private:
    // No form that needs more than the table.
    void take_doubles(const NUV_Manager& manager) noexcept
    {
        constexpr bool is_narrow = false;
        form_ = choose_convolve_row<T, Taps>(manager.cpu(), channels_, is_narrow);
    }

    [[nodiscard]] bool make_packed(NUV_Manager& manager)
    {
        if (!packed_.allocate(manager, pixels_))
            return false;
        for (std::size_t k = 0; k < pixels_; ++k)
            packed_.set(k, taps_[k].offset, weights_of(taps_[k]));
        taps_.free();
        return true;
    }

    // Where windows are short, or so many that their table leaves the cache, double precision is as
    // fast.
    [[nodiscard]] bool make_windows(NUV_Manager& manager)
    {
        constexpr std::size_t least_window = most_window_samples / 4;
        constexpr std::size_t most_samples = std::size_t{1} << 18;
        const std::size_t samples = pixels_ * channels_;
        std::size_t count = 0;
        for (std::size_t i = 0; samples <= most_samples && i < samples; ++count)
            i += count_window_samples<Taps>(taps_.items(), channels_, i);
        if (count == 0 || count > samples / least_window) {
            take_doubles(manager);
            return true;
        }
        if (!windows_.allocate(manager, count))
            return false;
        std::size_t first = 0;
        for (NUV_TapWindow<Taps>& window : windows_.items()) {
            const std::uint32_t length =
                count_window_samples<Taps>(taps_.items(), channels_, first);
            if (!make_tap_window<Taps>(taps_.items(), channels_, first, length, window)) {
                windows_.free();
                take_doubles(manager);
                return true;
            }
            first += length;
        }
        return true;
    }

    std::uint32_t channels_ = 0;
    std::size_t pixels_ = 0;
    NUV_ConvolveForm<T, Taps> form_;
    NUV_PaddedLine<T, Pads> line_;
    // One of the first two is filled in the end, or the first and the last one.
    NUV_Scratch<Taps> taps_;
    NUV_PackedTapTable packed_;
    NUV_Scratch<NUV_TapWindow<Taps>> windows_;
};

} // namespace nuv
