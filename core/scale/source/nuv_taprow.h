#pragma once

#include "core/include/nuv_alignedscratch.h"
#include "core/scale/kernels/nuv_tapwindows.h"
#include "core/scale/source/nuv_padline.h"
#include "framework/base/nuv_header.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_manager.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

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
    // Of lines as `source` tells of. `narrow` as for choose_convolve_row().
    [[nodiscard]] bool allocate(NUV_Manager& manager, const NUV_Header& source,
                                std::uint32_t destination_width, bool narrow)
    {
        const std::uint32_t channels = source.channels();
        channels_ = channels;
        pixels_ = destination_width;
        rows_ = source.height();
        form_ = choose_convolve_row<T, Taps>(manager.cpu(), channels, narrow);
        // The packed forms weigh four pixels, and the last one of a line may be the first of them.
        const std::size_t slack_bytes =
            std::size_t{3} * channels * sizeof(T) + packed_taps_slack_bytes;
        return line_.initiate(manager, source.width(), channels, slack_bytes) &&
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

    // The row of a source line.
    void convolve(const std::uint8_t* in, T* out, NUV_SampleLimits<T> limits = {}) noexcept
    {
        line_.fill(in);
        // Where a line lies behind the last one, the next one probably lies behind it.
        const auto address = reinterpret_cast<std::uintptr_t>(in);
        const std::uintptr_t behind = address + line_.image_bytes();
        const bool are_lined_up = address == std::exchange(behind_, behind);
        form_.convolve(line_.samples(),
                       {.taps = taps_.data(),
                        .packed = packed_.taps(),
                        .windows = windows_.as<NUV_TapWindow<Taps>>(),
                        .window_count = window_count_,
                        .ahead = {behind, are_lined_up ? line_.image_bytes() : 0}},
                       out, pixels_, channels_, limits);
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

    // Where windows are short, or so many that their table leaves the cache, or of so few rows that
    // it takes as long to make, double precision is as fast.
    [[nodiscard]] bool make_windows(NUV_Manager& manager)
    {
        using Window = NUV_TapWindow<Taps>;
        constexpr std::size_t least_window = most_window_samples / 4;
        constexpr std::size_t most_samples = std::size_t{1} << 18;
        constexpr std::uint32_t least_rows = 30;
        const std::span<const Taps> taps = taps_.items();
        const std::size_t samples = pixels_ * channels_;
        const bool pay = rows_ >= least_rows && samples <= most_samples;
        std::size_t count = 0;
        for (std::size_t i = 0; pay && i < samples; ++count)
            i += count_window_samples<Taps>(taps, channels_, i);
        if (count == 0 || count > samples / least_window) {
            take_doubles(manager);
            return true;
        }
        if (!windows_.allocate(manager, count, sizeof(Window)))
            return false;
        std::size_t first = 0;
        for (Window& window : std::span(windows_.as<Window>(), count)) {
            const std::uint32_t length = count_window_samples<Taps>(taps, channels_, first);
            if (!make_tap_window<Taps>(taps, channels_, first, length, window)) {
                windows_.free();
                take_doubles(manager);
                return true;
            }
            first += length;
        }
        window_count_ = count;
        return true;
    }

    std::uint32_t channels_ = 0;
    std::size_t pixels_ = 0;
    std::uint32_t rows_ = 0;
    NUV_ConvolveForm<T, Taps> form_;
    std::uintptr_t behind_ = 0; // address behind the last source line
    NUV_PaddedLine<T, Pads> line_;
    // One of the first two is filled in the end, or the first and the last one.
    NUV_Scratch<Taps> taps_;
    NUV_PackedTapTable packed_;
    NUV_AlignedScratch windows_;
    std::size_t window_count_ = 0;
};

} // namespace nuv
