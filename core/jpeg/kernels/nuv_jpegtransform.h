#pragma once

// The integer flow of both transforms, shared by their forms: that of Loeffler, Ligtenberg and
// Moschytz with constants of 13 bits and 2 more bits kept between the passes. Every output is
// written as an exact sum of constants times inputs, so the order of the additions is free and all
// forms agree bit by bit.

#include <cstdint>
#include <limits>

namespace nuv {

// Output k, k = 0..3, of the inverse is E[k] + O[k], output 7 - k is E[k] - O[k]:
// E[k] from the even inputs 0, 2, 4, 6, O[k] from the odd inputs 1, 3, 5, 7. The forward transform
// is the same matrix transposed.
inline constexpr std::int16_t jpeg_dct_even[4][4] = {
    // clang-format off
    {8192,  10703,  8192,   4433},
    {8192,   4433, -8192, -10704},
    {8192,  -4433, -8192,  10704},
    {8192, -10703,  8192,  -4433},
    // clang-format on
};
inline constexpr std::int16_t jpeg_dct_odd[4][4] = {
    // clang-format off
    {11363,   9633,   6437,   2260},
    { 9633,  -2259, -11362,  -6436},
    { 6437, -11362,   2261,   9633},
    { 2260,  -6436,   9633, -11363},
    // clang-format on
};

// The first pass drops 13 - 2 bits; the second the other 13, the 2, and 3 for the scale of T.81.
inline constexpr int jpeg_dct_first_shift = 11;
inline constexpr int jpeg_dct_second_shift = 18;

[[nodiscard]] constexpr std::int16_t saturate_to_16_bits(std::int32_t value) noexcept
{
    constexpr std::int32_t lowest = std::numeric_limits<std::int16_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int16_t>::max();
    return static_cast<std::int16_t>(value < lowest ? lowest : value > highest ? highest : value);
}

// value * factor / 2^15, to nearest with ties to even, saturated.
[[nodiscard]] constexpr std::int16_t quantise(std::int16_t value, std::uint16_t factor) noexcept
{
    // At most 32767 x 65535 + 2^14, which 32 bits hold.
    const std::int32_t product = std::int32_t{value} * std::int32_t{factor};
    return saturate_to_16_bits((product + 0x3FFF + ((product >> 15) & 1)) >> 15);
}

} // namespace nuv
