#pragma once

#include "framework/base/nuv_header.h"
#include "framework/utility/nuv_fixedreal.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace nuv {

// Destination pixel k of an axis lies at source coordinate (k + 0.5) x r - 0.5, where r is source
// size / destination size. Positions advance by repeated addition of r, never by multiplication:
// the two differ in the last bit, and every scaler is to land on the same samples.
[[nodiscard]] constexpr double scale_ratio(std::uint32_t source, std::uint32_t destination) noexcept
{
    return static_cast<double>(source) / destination;
}

// Ratios are compared by this absolute tolerance.
inline constexpr double same_ratio_tolerance = 2.220446049250313e-16;

// The integer nearest to a ratio, and whether the ratio is that integer.
struct NUV_NearestRatio {
    explicit constexpr NUV_NearestRatio(double ratio) noexcept
        : value(static_cast<std::uint32_t>(ratio + one_half)),
          exact(std::max(ratio - value, value - ratio) <= same_ratio_tolerance)
    {}

    [[nodiscard]] constexpr bool is_odd() const noexcept { return (value & 1) != 0; }

    static constexpr double one_half = 0.5;

    std::uint32_t value;
    bool exact;
};

// What results of a sample type are limited to.
template <IntegerSample T>
struct NUV_SampleLimits {
    T minimum = std::numeric_limits<T>::min();
    T maximum = std::numeric_limits<T>::max();

    // Those of `bits` significant bits: 0, or no fewer than T has, is the whole range.
    [[nodiscard]] static constexpr NUV_SampleLimits of_bits(std::uint16_t bits) noexcept
    {
        NUV_SampleLimits limits;
        constexpr int all = 8 * sizeof(T);
        if (bits == 0 || bits >= all)
            return limits;
        const int dropped = all - bits;
        limits.minimum = static_cast<T>(limits.minimum >> dropped);
        limits.maximum = static_cast<T>(limits.maximum >> dropped);
        return limits;
    }
};

// What weights of a real type are stored as: fixed-point ones in units of 1 / 4096.
template <RealNumber R>
using ScaleWeight = std::conditional_t<std::same_as<R, double>, double, std::int32_t>;

// `x` as such a weight.
template <RealNumber R>
[[nodiscard]] constexpr ScaleWeight<R> scale_weight(double x) noexcept
{
    if constexpr (std::same_as<R, double>)
        return x;
    else
        return R(x).units();
}

// The weight one.
template <RealNumber R>
inline constexpr ScaleWeight<R> scale_weight_one = scale_weight<R>(1);

// How a weighted sum becomes a sample again. The sums of the first two are in units of 1 / 4096;
// the results are not yet limited.

template <std::signed_integral Sum>
[[nodiscard]] constexpr Sum round_fixed_unsigned(Sum sum) noexcept
{
    return sum < 0 ? Sum{0} : static_cast<Sum>((sum + NUV_FixedReal::half) >> 12);
}

// Away from zero at a half on both sides, but for a small difference in sums that are negative.
template <std::signed_integral Sum>
[[nodiscard]] constexpr Sum round_fixed_signed(Sum sum) noexcept
{
    const Sum upward = static_cast<Sum>((sum + NUV_FixedReal::half) >> 12);
    const Sum downward = static_cast<Sum>(-((NUV_FixedReal::half - sum) >> 12));
    return sum < 1 ? (sum == 0 ? Sum{0} : downward) : upward;
}

template <IntegerSample T, std::signed_integral Sum>
[[nodiscard]] constexpr Sum round_fixed(Sum sum) noexcept
{
    if constexpr (std::is_signed_v<T>)
        return round_fixed_signed(sum);
    else
        return round_fixed_unsigned(sum);
}

// The limits come before the cast, so that every sum is defined; what is not a number becomes the
// minimum.
template <IntegerSample T>
[[nodiscard]] constexpr T round_real(double sum, NUV_SampleLimits<T> limits = {}) noexcept
{
    const double low = limits.minimum;
    const double high = limits.maximum;
    double moved = sum + 0.5;
    if constexpr (std::is_signed_v<T>)
        moved = sum >= 0 ? moved : sum - 0.5;
    moved = moved > low ? moved : low;
    moved = moved < high ? moved : high;
    return static_cast<T>(static_cast<std::int32_t>(moved));
}

template <IntegerSample T, std::signed_integral Sum>
[[nodiscard]] constexpr T round_fixed(Sum sum, NUV_SampleLimits<T> limits) noexcept
{
    const Sum value = round_fixed<T>(sum);
    const Sum low = +limits.minimum;
    const Sum high = +limits.maximum;
    return static_cast<T>(value <= low ? low : value >= high ? high : value);
}

} // namespace nuv
