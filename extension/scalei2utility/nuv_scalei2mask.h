#pragma once

#include <cstdint>
#include <optional>

namespace nuv {

// A mask: how many source pixels make a result pixel, and how the cubic kernel is stretched over
// them. The more a picture shrinks, the more pixels, and the smaller the factor that distances are
// multiplied with.
struct NUV_ScaleI2Mask {
    std::uint32_t taps;
    double stretch;
};

inline constexpr std::uint32_t scale_i2_least_taps = 4;
inline constexpr std::uint32_t scale_i2_most_taps = 8;
[[nodiscard]] constexpr bool has_scale_i2_mask(std::uint32_t taps) noexcept
{
    return taps >= scale_i2_least_taps && taps <= scale_i2_most_taps;
}

// Pixels left of the one at or before a position.
[[nodiscard]] constexpr std::uint32_t scale_i2_taps_left(std::uint32_t taps) noexcept
{
    return (taps - 1) / 2;
}

// Below this ratio of destination to source size there is no mask.
inline constexpr double scale_i2_least_ratio = 0.33;

// True for ratios that are the same but for the last bits.
[[nodiscard]] bool is_same_ratio(double a, double b) noexcept;

// The mask for a ratio, or nothing below the least one.
[[nodiscard]] std::optional<NUV_ScaleI2Mask> scale_i2_mask(double ratio) noexcept;

} // namespace nuv
