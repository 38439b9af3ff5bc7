#pragma once

#include <cstddef>
#include <cstdint>

namespace nuv {

// Bits of a line of one-bit samples, numbered from the top bit of the first byte.

[[nodiscard]] constexpr unsigned bit_at(const std::uint8_t* line, std::size_t index) noexcept
{
    return (line[index >> 3] >> (7 - (index & 7))) & 1U;
}

// Sets the bit where `bit` is 1. The line was cleared before.
constexpr void add_bit(std::uint8_t* line, std::size_t index, unsigned bit) noexcept
{
    line[index >> 3] = static_cast<std::uint8_t>(line[index >> 3] | bit << (7 - (index & 7)));
}

} // namespace nuv
