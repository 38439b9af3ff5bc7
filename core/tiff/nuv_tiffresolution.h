#pragma once

#include "framework/base/nuv_resolutioninfo.h"

#include <cstdint>
#include <limits>

namespace nuv {

// What XResolution, YResolution and the number of ResolutionUnit mean (TIFF 6.0, section 8). A
// resolution without a denominator is the largest number there is.
template <class Rational>
[[nodiscard]] NUV_ResolutionInfo tiff_resolution(const Rational& x, const Rational& y,
                                                 std::uint32_t unit) noexcept
{
    constexpr std::uint32_t inch = 2;
    constexpr std::uint32_t centimetre = 3;

    const auto number = [](const Rational& rational) {
        return rational.denominator == 0
                   ? std::numeric_limits<double>::max()
                   : static_cast<double>(rational.numerator) / rational.denominator;
    };
    NUV_ResolutionInfo info;
    info.x = number(x);
    info.y = number(y);
    info.unit = unit == inch         ? NUV_ResolutionInfo::per_inch
                : unit == centimetre ? NUV_ResolutionInfo::per_centimetre
                                     : NUV_ResolutionInfo::no_unit;
    return info;
}

} // namespace nuv
