#pragma once

#include <cstdint>

namespace nuv {

// Where the places of an image go in one that is turned by 90 degrees or back. A change of colour
// has the place of the first pixel that it is for; turned the other way round, of the pixel behind.
struct NUV_Turn {
    std::uint32_t width = 0; // of the image before; both below 2^28, see checked_run_line_bytes()
    std::uint32_t height = 0;
    bool is_clockwise = false;

    // The output line in which a change between columns is first seen. The lines that come out
    // before a column have come from its left for a clockwise turn, from its right otherwise.
    [[nodiscard]] constexpr std::uint32_t line_of(std::uint32_t column) const noexcept
    {
        return is_clockwise ? column : width - column;
    }
    // The place in output lines of a change between rows.
    [[nodiscard]] constexpr std::uint32_t place_of(std::uint32_t row) const noexcept
    {
        return is_clockwise ? height - row : row;
    }
};

} // namespace nuv
