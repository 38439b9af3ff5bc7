#pragma once

#include <cstdint>

namespace nuv {

// Major, minor and patch of the interface that a module was written against.
inline constexpr std::uint32_t NUV_VERSION = 0x01040200;
inline constexpr std::uint32_t NUV_EXTENSION_VERSION = 0x01040000;

// True for a module that this framework can run.
[[nodiscard]] constexpr bool compatible_version(std::uint32_t version) noexcept
{
    constexpr std::uint32_t series = 0x0104;
    constexpr std::uint32_t first_unknown_patch = 513;
    return version >> 16 == series && (version & 0xFFFF) < first_unknown_patch;
}

} // namespace nuv
