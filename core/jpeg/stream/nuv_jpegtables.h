#pragma once

#include <array>
#include <cstdint>

namespace nuv {

// T.81, figure A.6: index in zig-zag order to index in natural order. What ends past coefficient
// 63, one run or two and the end of a block, can reach 143; such an index is kept inside the block.
inline constexpr std::array<std::uint8_t, 144> jpeg_zigzag{
    // clang-format off
     0,  1,  8, 16,  9,  2,  3, 10, 17, 24, 32, 25, 18, 11,  4,  5,
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13,  6,  7, 14, 21, 28,
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
    63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63,
    63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63,
    63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63,
    63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63,
    63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63,
    // clang-format on
};

// Index in natural order to index in zig-zag order.
inline constexpr std::array<std::uint8_t, 64> jpeg_zigzag_position = [] {
    std::array<std::uint8_t, 64> position{};
    for (std::uint8_t i = 0; i < 64; ++i)
        position[jpeg_zigzag[i]] = i;
    return position;
}();

} // namespace nuv
