#pragma once

#include "core/scale/kernels/nuv_scalelines_kernels.h"

#include <cmath>
#include <concepts>
#include <cstdint>

namespace nuv {

// The weights of the four pixels around a position that lies `t` behind the second one, 0 <= t < 1.
// The second one takes the remainder, so that they add up to exactly one and flat areas stay flat.
template <RealNumber R>
[[nodiscard]] inline NUV_CubicWeights<ScaleWeight<R>> cubic_weights(double t, double a) noexcept
{
    const double s = 1 - t;
    const double before = a * t * (t - 1) * (t - 1);
    const double after = ((a + 2) * s * s - s - 1) * (s - 1);
    const double beyond = a * (1 - t) * t * t;
    if constexpr (std::same_as<R, double>) {
        return {{before, 1 - (before + after + beyond), after, beyond}};
    } else {
        const std::int64_t w0 = R(before).units();
        const std::int64_t w2 = R(after).units();
        const std::int64_t w3 = R(beyond).units();
        const auto w1 = saturate_to<std::int32_t>(R::one - (w0 + w2 + w3));
        return {{static_cast<std::int32_t>(w0), w1, static_cast<std::int32_t>(w2),
                 static_cast<std::int32_t>(w3)}};
    }
}

// True when the fixed-point weights of `a` fit 16 bits, and the sums of four 16-bit samples 32: no
// weight then passes 2 in magnitude. Not for what is not a number.
[[nodiscard]] inline bool has_narrow_weights(double a) noexcept
{
    return std::abs(a) <= 4;
}

} // namespace nuv
