#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_manager.h"
#include "framework/engine/nuv_engine.h"

#include <cstdint>

namespace nuv {

// The largest sample of what `info` describes, where its format lets that be less than the samples'
// bits can hold, as readers deliver them; else 0.
[[nodiscard]] std::uint32_t largest_stored_sample(const NUV_FormatInfo& info) noexcept;

// Unsigned samples from 0 to `largest`, as from 0 to the largest that their 8 or 16 bits can hold:
// to the nearest, halves up. Those above `largest` count as it. Null with a status on failure.
[[nodiscard]] NUV_Engine* widen_samples(NUV_Manager& manager, NUV_Engine* previous,
                                        std::uint32_t largest);

} // namespace nuv
