#pragma once

#include "framework/base/nuv_diagnosis.h"

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

// Why a write stopped at last_stream_position.
[[nodiscard]] inline NUV_Diagnosis beyond_positions() noexcept
{
    return NUV_Diagnosis()
        .because(NUV_Cause::limit)
        .at_byte(last_stream_position)
        .while_writing()
        .says("more than 2 GiB");
}

} // namespace nuv
