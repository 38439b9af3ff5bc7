#pragma once

#include "framework/base/nuv_held.h"
#include "framework/base/nuv_utility.h"

#include <cstdint>
#include <span>

namespace nuv {

// A table over several channels at once: samples of the result at the points of a regular grid,
// which spans the whole range of each input channel.
class NUV_DLutData final : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

    static constexpr std::uint32_t most_inputs = 4;
    static constexpr std::uint32_t most_grid_points = 65536;

    // Memory for a table, not zeroed: 1 to 4 input channels, at least one output channel, 2 to
    // 65536 points on each axis, samples of 8 or 16 bits. NUV_ERR_ARGUMENT for other numbers and
    // for tables beyond 32-bit sizes, or NUV_ERR_MEMORY; the old table is gone either way.
    [[nodiscard]] bool allocate(std::uint16_t sample_bits, std::uint16_t input_channels,
                                std::uint16_t output_channels, std::uint32_t points_of_axis);

    [[nodiscard]] bool is_empty() const noexcept { return bytes_.size() == 0; }
    [[nodiscard]] std::uint16_t bits() const noexcept { return bits_; }
    [[nodiscard]] std::uint16_t inputs() const noexcept { return inputs_; }
    [[nodiscard]] std::uint16_t outputs() const noexcept { return outputs_; }
    [[nodiscard]] std::uint32_t grid_points() const noexcept { return grid_points_; } // of an axis

    // All points, each with a sample for every output channel, the last axis fastest. T must have
    // bits() bits.
    template <class T>
    [[nodiscard]] std::span<T> samples() const noexcept
    {
        return {reinterpret_cast<T*>(bytes_.data()), bytes_.size() / sizeof(T)};
    }

private:
    std::uint16_t bits_ = 0;
    std::uint16_t inputs_ = 0;
    std::uint16_t outputs_ = 0;
    std::uint32_t grid_points_ = 0;
    NUV_Scratch<std::uint8_t> bytes_;
};

} // namespace nuv
