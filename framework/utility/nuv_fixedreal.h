#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace nuv {

// `value` as an Integer, the nearest end of its range where it lies outside.
template <std::signed_integral Integer>
[[nodiscard]] constexpr Integer saturate_to(std::int64_t value) noexcept
{
    constexpr std::int64_t least = std::numeric_limits<Integer>::min();
    constexpr std::int64_t most = std::numeric_limits<Integer>::max();
    return static_cast<Integer>(std::clamp(value, least, most));
}

// A real number as an integer of `FractionBits` fractional bits.
template <std::signed_integral Integer, int FractionBits>
class NUV_FixedRealImpl {
public:
    static constexpr int fraction_bits = FractionBits;
    static constexpr Integer one = Integer{1} << FractionBits;
    static constexpr Integer half = one / 2;

    // `x` in units of 1 / one, rounded half away from zero. What does not fit 62 bits becomes the
    // largest such number; what is not a number becomes 0.
    [[nodiscard]] static constexpr std::int64_t units(double x) noexcept
    {
        constexpr double half_step = 0.5 / one;
        constexpr double limit = 4611686018427387904.0; // 2^62
        const double scaled = (x > 0 ? x + half_step : x - half_step) * one;
        if (!(scaled > -limit))
            return scaled <= -limit ? -static_cast<std::int64_t>(limit) : 0;
        return static_cast<std::int64_t>(scaled < limit ? scaled : limit);
    }

    constexpr NUV_FixedRealImpl() noexcept = default;
    explicit constexpr NUV_FixedRealImpl(double x) noexcept : units_(saturate_to<Integer>(units(x)))
    {}

    [[nodiscard]] constexpr Integer units() const noexcept { return units_; }

    // `a * b`, both in units, in units, rounded down.
    [[nodiscard]] static constexpr Integer product(Integer a, Integer b) noexcept
    {
        return static_cast<Integer>((std::int64_t{a} * b) >> FractionBits);
    }

private:
    Integer units_ = 0;
};

using NUV_FixedReal = NUV_FixedRealImpl<int, 12>;

// What an algorithm can be told to calculate with: the two differ in speed and in rounding.
template <class R>
concept RealNumber = std::same_as<R, NUV_FixedReal> || std::same_as<R, double>;

} // namespace nuv
