#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace nuv {

// Values in file bytes, at any address.

[[nodiscard]] constexpr std::uint16_t load_be16(const std::uint8_t* from) noexcept
{
    return static_cast<std::uint16_t>(from[0] << 8 | from[1]);
}

[[nodiscard]] constexpr std::uint32_t load_be32(const std::uint8_t* from) noexcept
{
    return std::uint32_t{from[0]} << 24 | std::uint32_t{from[1]} << 16 |
           std::uint32_t{from[2]} << 8 | from[3];
}

[[nodiscard]] constexpr std::uint64_t load_be64(const std::uint8_t* from) noexcept
{
    return std::uint64_t{load_be32(from)} << 32 | load_be32(from + 4);
}

[[nodiscard]] constexpr std::uint16_t load_le16(const std::uint8_t* from) noexcept
{
    return static_cast<std::uint16_t>(from[1] << 8 | from[0]);
}

[[nodiscard]] constexpr std::uint32_t load_le32(const std::uint8_t* from) noexcept
{
    return std::uint32_t{from[3]} << 24 | std::uint32_t{from[2]} << 16 |
           std::uint32_t{from[1]} << 8 | from[0];
}

constexpr void store_be16(std::uint8_t* to, std::uint32_t value) noexcept
{
    to[0] = static_cast<std::uint8_t>(value >> 8);
    to[1] = static_cast<std::uint8_t>(value);
}

// Reverses the bytes of `count` values of `size` bytes each, in place. Other sizes than 2, 4 and 8
// are left as they are.
inline void swap_bytes(void* values, std::size_t count, std::size_t size) noexcept
{
    auto* bytes = static_cast<std::uint8_t*>(values);
    const auto swap_all = [&]<class T>(T, auto reverse) {
        for (std::size_t i = 0; i < count; ++i) {
            T value;
            std::memcpy(&value, bytes + i * sizeof(T), sizeof(T));
            value = reverse(value);
            std::memcpy(bytes + i * sizeof(T), &value, sizeof(T));
        }
    };
    if (size == 2)
        swap_all(std::uint16_t{}, [](std::uint16_t v) { return __builtin_bswap16(v); });
    else if (size == 4)
        swap_all(std::uint32_t{}, [](std::uint32_t v) { return __builtin_bswap32(v); });
    else if (size == 8)
        swap_all(std::uint64_t{}, [](std::uint64_t v) { return __builtin_bswap64(v); });
}

} // namespace nuv
