#pragma once

#include "core/scale/kernels/nuv_scaletaps_kernels.h"
#include "framework/base/nuv_held.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// A fixed-point table entry holds a sample offset above twelve fractional bits, hence so many
// samples in a line and no more.
[[nodiscard]] constexpr bool fits_packed_offsets(std::uint32_t width,
                                                 std::uint32_t channels) noexcept
{
    constexpr std::uint64_t most_samples = (1U << 19) - 1; // 31 bits less 12
    return std::uint64_t{width} * channels <= most_samples;
}

// A source line with room for `Pads` copies of its outermost pixels on either side.
template <IntegerSample T, std::size_t Pads>
class NUV_PaddedLine {
public:
    // `slack_bytes` behind the line can be read too; they are 0.
    [[nodiscard]] bool initiate(NUV_Manager& manager, std::uint32_t width, std::uint32_t channels,
                                std::size_t slack_bytes)
    {
        channels_ = channels;
        const std::size_t samples = (width + 2 * Pads) * channels;
        const std::size_t slack = slack_bytes / sizeof(T);
        if (!memory_.allocate(manager, samples + slack))
            return false;
        image_ = memory_.data() + Pads * channels;
        behind_ = image_ + std::size_t{width} * channels;
        std::memset(memory_.data() + samples, 0, slack * sizeof(T));
        return true;
    }

    // From the left pad on.
    [[nodiscard]] const T* samples() const noexcept { return memory_.data(); }

    [[nodiscard]] std::size_t image_bytes() const noexcept
    {
        return static_cast<std::size_t>(behind_ - image_) * sizeof(T);
    }

    // Takes a source line.
    void fill(const void* image) const noexcept
    {
        std::memcpy(image_, image, image_bytes());
        const std::size_t pixel_bytes = channels_ * sizeof(T);
        for (std::size_t i = 0; i < Pads; ++i) {
            std::memcpy(memory_.data() + i * channels_, image_, pixel_bytes);
            std::memcpy(behind_ + i * channels_, behind_ - channels_, pixel_bytes);
        }
    }

private:
    std::size_t channels_ = 0;
    NUV_Scratch<T> memory_;
    T* image_ = nullptr;
    T* behind_ = nullptr; // the first pixel of the right pad
};

// The table of the packed forms.
class NUV_PackedTapTable {
public:
    [[nodiscard]] bool allocate(NUV_Manager& manager, std::size_t pixels)
    {
        return offsets_.allocate(manager, pixels) && first_.allocate(manager, pixels) &&
               second_.allocate(manager, pixels);
    }

    // Entry k: four weights that fit 16 bits each.
    void set(std::size_t k, std::size_t offset,
             const std::array<std::int32_t, 4>& weights) const noexcept
    {
        offsets_[k] = static_cast<std::uint32_t>(offset);
        first_[k] = pair(weights[0], weights[1]);
        second_[k] = pair(weights[2], weights[3]);
    }

    [[nodiscard]] NUV_PackedTaps taps() const noexcept
    {
        return {offsets_.data(), first_.data(), second_.data()};
    }

private:
    [[nodiscard]] static std::int32_t pair(std::int32_t low, std::int32_t high) noexcept
    {
        return static_cast<std::int32_t>(static_cast<std::uint16_t>(low) |
                                         static_cast<std::uint32_t>(high) << 16);
    }

    NUV_Scratch<std::uint32_t> offsets_;
    NUV_Scratch<std::int32_t> first_;
    NUV_Scratch<std::int32_t> second_;
};

} // namespace nuv
