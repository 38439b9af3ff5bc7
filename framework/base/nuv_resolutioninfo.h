#pragma once

#include <cstdint>

namespace nuv {

// Pixels per unit, as a stored image states them. No operation computes with it.
class NUV_ResolutionInfo {
public:
    static constexpr std::uint32_t no_unit = 0;
    static constexpr std::uint32_t per_inch = 1;
    static constexpr std::uint32_t per_centimetre = 3;
    static constexpr std::uint32_t per_metre = 4;

    virtual ~NUV_ResolutionInfo() = default;

    double x = 0.0;
    double y = 0.0;
    std::uint32_t unit = per_inch;
};

} // namespace nuv
