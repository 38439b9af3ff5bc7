#pragma once

#include "framework/base/nuv_header.h"
#include "framework/utility/nuv_sampletype.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>

namespace nuv {

// Slopes and offsets count as whole numbers up to this distance.
inline constexpr double convert_tolerance = std::numeric_limits<double>::epsilon();

[[nodiscard]] inline bool is_about(double x, double wanted) noexcept
{
    return std::abs(x - wanted) <= convert_tolerance;
}

// The one of -1, 0 and 1 that `x` is.
[[nodiscard]] inline std::optional<int> unit_of(double x) noexcept
{
    for (const int unit : {-1, 0, 1}) {
        if (is_about(x, unit))
            return unit;
    }
    return std::nullopt;
}

// in x slope + offset, and what of it has to be calculated.
struct NUV_LinearRule {
    enum class Kind { offset_only, slope_only, both };

    NUV_LinearRule(double a_slope, double an_offset) noexcept
        : slope(a_slope),
          offset(an_offset),
          kind(is_about(a_slope, 1)     ? Kind::offset_only
               : is_about(an_offset, 0) ? Kind::slope_only
                                        : Kind::both)
    {}

    double slope;
    double offset;
    Kind kind;
};

template <class T>
inline constexpr bool is_real_sample = std::is_floating_point_v<T>;

// What samples of type O are calculated in.
template <class O>
using ConvertReal = std::conditional_t<std::is_same_v<O, float>, float, double>;

// Limits `value` to O; what is not a number is 0 among integers.
template <class O, bool Rounds>
[[nodiscard]] inline O limit_sample(ConvertReal<O> value) noexcept
{
    constexpr ConvertReal<O> lowest = std::numeric_limits<O>::lowest();
    constexpr ConvertReal<O> highest = std::numeric_limits<O>::max();
    if constexpr (is_real_sample<O>) {
        value = value < lowest ? lowest : value;
        return value > highest ? highest : value;
    } else {
        value = std::isnan(value) ? 0 : value;
        value = value < lowest ? lowest : value;
        value = value > highest ? highest : value;
        if constexpr (Rounds) // a limit stays what it is when the cast cuts off the half
            value += value >= 0 ? 0.5 : -0.5;
        return static_cast<O>(static_cast<std::int64_t>(value));
    }
}

// The one conversion; all ways to convert agree with it.
template <class O, NUV_LinearRule::Kind Kind, class I>
[[nodiscard]] inline O convert_sample(I in, ConvertReal<O> slope, ConvertReal<O> offset) noexcept
{
    using Rule = NUV_LinearRule;
    const auto value = static_cast<ConvertReal<O>>(in);
    if constexpr (Kind == Rule::Kind::offset_only)
        return limit_sample<O, false>(value + offset);
    else if constexpr (Kind == Rule::Kind::slope_only)
        return limit_sample<O, true>(value * slope);
    else
        return limit_sample<O, true>(value * slope + offset);
}

// `in` is a function from an index to a sample: of a line, or of a range of numbers.
template <class O, NUV_LinearRule::Kind Kind, class In>
void convert_all_of_kind(In&& in, O* out, std::size_t count, const NUV_LinearRule& rule)
{
    const auto slope = static_cast<ConvertReal<O>>(rule.slope);
    const auto offset = static_cast<ConvertReal<O>>(rule.offset);
    for (std::size_t i = 0; i < count; ++i)
        out[i] = convert_sample<O, Kind>(in(i), slope, offset);
}

// out[i] = the conversion of in(i), i < count.
template <class O, class In>
void convert_all(In&& in, O* out, std::size_t count, const NUV_LinearRule& rule)
{
    using Kind = NUV_LinearRule::Kind;
    switch (rule.kind) {
    case Kind::offset_only:
        return convert_all_of_kind<O, Kind::offset_only>(in, out, count, rule);
    case Kind::slope_only:
        return convert_all_of_kind<O, Kind::slope_only>(in, out, count, rule);
    case Kind::both:
        return convert_all_of_kind<O, Kind::both>(in, out, count, rule);
    }
}

// A single sample.
template <class O, class I>
[[nodiscard]] O convert_one(I in, const NUV_LinearRule& rule)
{
    O out{};
    convert_all([in](std::size_t) { return in; }, &out, 1, rule);
    return out;
}

} // namespace nuv
