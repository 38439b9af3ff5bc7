#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace nuv {

// Eight bytes of entropy-coded data at any address, the first one highest.
[[nodiscard]] inline std::uint64_t load_eight_bytes(const std::uint8_t* from) noexcept
{
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, from, sizeof(bytes));
    if constexpr (std::endian::native == std::endian::little)
        bytes = __builtin_bswap64(bytes);
    return bytes;
}

inline void store_eight_bytes(std::uint8_t* to, std::uint64_t bytes) noexcept
{
    if constexpr (std::endian::native == std::endian::little)
        bytes = __builtin_bswap64(bytes);
    std::memcpy(to, &bytes, sizeof(bytes));
}

// Adding 1 to each byte clears the top bit of 0xFF alone; a carry into the next byte comes from a
// 0xFF only.
[[nodiscard]] constexpr bool has_byte_ff(std::uint64_t bytes) noexcept
{
    constexpr std::uint64_t ones = 0x0101010101010101;
    return (bytes & ~(bytes + ones) & (ones << 7)) != 0;
}

// The top bit of each byte that is 0xFF.
[[nodiscard]] constexpr std::uint64_t find_bytes_ff(std::uint64_t bytes) noexcept
{
    constexpr std::uint64_t low_bits = 0x7F7F7F7F7F7F7F7F;
    const std::uint64_t others = ~bytes;
    return ~(((others & low_bits) + low_bits) | others | low_bits);
}

} // namespace nuv
