#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace nuv {

// No stream goes beyond this offset.
inline constexpr std::int32_t last_stream_position = std::numeric_limits<std::int32_t>::max();

// `target` inside a stream of `size` bytes.
[[nodiscard]] constexpr std::int32_t clamped_position(std::int64_t target,
                                                      std::int32_t size) noexcept
{
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(target, 0, std::max(size, 0)));
}

} // namespace nuv
