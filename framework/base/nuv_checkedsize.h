#pragma once

#include <cstdint>
#include <limits>
#include <optional>

namespace nuv {

// Sizes and stream positions of images are 32-bit by contract. They are formed here in 64 bits,
// compared, and then narrowed; nobody else writes these formulas.

[[nodiscard]] constexpr std::optional<std::uint32_t> fits_32(std::uint64_t value) noexcept
{
    if (value > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

// Bytes of one line: its samples without gaps, rounded up to whole bytes. Nothing when the line has
// more bits than 32-bit arithmetic can hold.
[[nodiscard]] constexpr std::optional<std::uint32_t> checked_line_bytes(
    std::uint32_t channels, std::uint32_t bits, std::uint32_t width) noexcept
{
    const std::uint64_t pixel_bits = std::uint64_t{channels} * bits; // below 2^32: both are 16-bit
    constexpr std::uint64_t limit = std::numeric_limits<std::uint32_t>::max() - 7ULL;
    const std::uint64_t line_bits = pixel_bits * width;
    if (line_bits > limit)
        return std::nullopt;
    return static_cast<std::uint32_t>((line_bits + 7) >> 3);
}

// Bytes of one line as a file stores it, `pixel_bits` bits a pixel. Its bits may be more than
// 32-bit arithmetic can hold.
[[nodiscard]] constexpr std::optional<std::uint32_t> checked_stored_line_bytes(
    std::uint32_t pixel_bits, std::uint32_t width) noexcept
{
    return fits_32((std::uint64_t{pixel_bits} * width + 7) >> 3);
}

// `count` things of `each` bytes.
[[nodiscard]] constexpr std::optional<std::uint32_t> checked_product(std::uint32_t each,
                                                                     std::uint32_t count) noexcept
{
    return fits_32(std::uint64_t{each} * count);
}

} // namespace nuv
