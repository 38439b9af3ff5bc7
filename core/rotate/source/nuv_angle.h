#pragma once

#include <cstdint>

namespace nuv {

// An angle in degrees, clockwise.
class NUV_Angle {
public:
    explicit constexpr NUV_Angle(std::int32_t degrees) noexcept : degrees_(degrees) {}

    // The same direction, in 0 to 359.
    [[nodiscard]] constexpr std::int32_t normalized() const noexcept
    {
        constexpr std::int32_t turn = 360;
        return (degrees_ % turn + turn) % turn;
    }
    [[nodiscard]] constexpr bool is_whole_turn() const noexcept { return normalized() == 0; }
    // A quarter, a half or three quarters of a turn.
    [[nodiscard]] constexpr bool is_quarter_turn() const noexcept
    {
        return !is_whole_turn() && normalized() % 90 == 0;
    }
    // True where columns become lines.
    [[nodiscard]] constexpr bool exchanges_sides() const noexcept
    {
        return normalized() % 180 != 0;
    }

private:
    std::int32_t degrees_;
};

} // namespace nuv
