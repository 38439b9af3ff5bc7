#pragma once

#include "extension/scalei2utility/nuv_scalei2_kernels.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// The horizontal pass of a mask scaler, a line at a time.
template <class A>
class NUV_ScaleI2RowFilter {
public:
    // False after NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager, const NUV_InterpolationTable& table,
                                double stretch, const NUV_ScaleI2Sizes& sizes, std::uint32_t taps,
                                std::uint32_t channels)
    {
        if (!axis_.initiate(manager, table, stretch, sizes, taps))
            return false;
        const auto form = choose_filter_row<A>(manager.cpu(), taps, channels, axis_.most_weight());
        filter_ = form.filter;
        taps_ = taps;
        channels_ = channels;
        source_width_ = sizes.source;
        destination_width_ = sizes.destination;
        find_inner_pixels(form.reach);
        return !form.takes_weights_by_taps || set_by_taps(manager);
    }

    // `line` has as many pixels as the source, `out` as many as the destination.
    void filter(const typename A::Sample* line, typename A::Middle* out) const
    {
        filter_ends(line, out, 0, begin_);
        filter_(line, {axis_.firsts(), axis_.weights(0), by_taps_.data()}, out, begin_, end_);
        filter_ends(line, out, end_, destination_width_);
    }

    [[nodiscard]] const NUV_ScaleI2Axis<typename A::Weight>& axis() const noexcept { return axis_; }
    [[nodiscard]] std::uint32_t taps() const noexcept { return taps_; }
    [[nodiscard]] std::uint32_t channels() const noexcept { return channels_; }
    [[nodiscard]] std::uint32_t source_width() const noexcept { return source_width_; }
    [[nodiscard]] std::uint32_t destination_width() const noexcept { return destination_width_; }

private:
    // Those for which a form that reads `reach` samples stays inside the line.
    void find_inner_pixels(std::uint32_t reach)
    {
        const std::int64_t samples = std::int64_t{source_width_} * channels_;
        const auto leaves_line = [&](std::size_t k) {
            return axis_.first(k) * channels_ + reach > samples;
        };
        begin_ = 0;
        end_ = destination_width_;
        while (begin_ < end_ && axis_.first(begin_) < 0)
            ++begin_;
        while (end_ > begin_ && leaves_line(end_ - 1))
            --end_;
    }

    [[nodiscard]] bool set_by_taps(NUV_Manager& manager)
    {
        constexpr std::size_t group = scale_i2_group_pixels;
        const std::size_t pixels = (end_ - begin_) / group * group;
        if (!by_taps_.allocate(manager, pixels * NUV_ScaleI2Axis<typename A::Weight>::stride))
            return false;
        set_weights_by_taps(axis_.weights(begin_), pixels, by_taps_.data());
        return true;
    }

    void filter_ends(const typename A::Sample* line, typename A::Middle* out, std::size_t begin,
                     std::size_t end) const
    {
        for (std::size_t k = begin; k < end; ++k) {
            filter_end_pixel<A>(line, axis_.first(k), axis_.weights(k), out + k * channels_, taps_,
                                channels_, source_width_);
        }
    }

    NUV_ScaleI2Axis<typename A::Weight> axis_;
    NUV_Scratch<typename A::Weight> by_taps_;
    FilterRow<A> filter_ = nullptr;
    std::uint32_t taps_ = 0;
    std::uint32_t channels_ = 0;
    std::uint32_t source_width_ = 0;      // pixels
    std::uint32_t destination_width_ = 0; // pixels
    std::size_t begin_ = 0;               // result pixels that the form makes, the others being
    std::size_t end_ = 0;                 // made with clamped taps
};

// The vertical pass: which intermediate lines make a line of the result, and how.
template <class A>
class NUV_ScaleI2LineFilter {
public:
    // `bits` limits the results to so many significant bits, 0 to none. False after NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager, const NUV_InterpolationTable& table,
                                double stretch, const NUV_ScaleI2Sizes& sizes, std::uint32_t taps,
                                std::size_t samples_per_line, std::uint16_t bits)
    {
        if (!axis_.initiate(manager, table, stretch, sizes, taps))
            return false;
        combine_ = choose_combine_middles<A>(manager.cpu(), taps, axis_.most_weight());
        taps_ = taps;
        samples_per_line_ = samples_per_line;
        maximum_ = NUV_SampleLimits<typename A::Sample>::of_bits(bits).maximum;
        return true;
    }

    // The topmost intermediate line for line k of the result; it can lie above the picture.
    [[nodiscard]] std::int64_t first(std::size_t k) const noexcept { return axis_.first(k); }

    // Line k of the result, from as many lines as the mask has taps.
    void combine(std::size_t k, const typename A::Middle* const* lines,
                 typename A::Sample* out) const
    {
        combine_(lines, axis_.weights(k), out, samples_per_line_, maximum_);
    }

    [[nodiscard]] const NUV_ScaleI2Axis<typename A::Weight>& axis() const noexcept { return axis_; }
    [[nodiscard]] std::uint32_t taps() const noexcept { return taps_; }
    [[nodiscard]] std::size_t samples_per_line() const noexcept { return samples_per_line_; }
    [[nodiscard]] typename A::Sample maximum() const noexcept { return maximum_; }

private:
    NUV_ScaleI2Axis<typename A::Weight> axis_;
    CombineMiddles<A> combine_ = nullptr;
    std::uint32_t taps_ = 0;
    std::size_t samples_per_line_ = 0; // width x channels
    typename A::Sample maximum_ = 0;
};

} // namespace nuv
