#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Raises samples to a minimum and lowers them to a maximum. Raw images of 8, 16 and 32 bit integers
// without a palette; the header stays as it is.
class NUV_LimitPixelValue final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // In units of the sample. NUV_ERR_ARGUMENT for a minimum above the maximum and for ends that
    // the sample cannot hold. One form for each type that callers keep their limits in.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::int32_t maximum,
                                     std::int32_t minimum);
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t maximum,
                                     std::uint32_t minimum);
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::int64_t maximum,
                                     std::int64_t minimum);
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint64_t maximum,
                                     std::uint64_t minimum);
};

} // namespace nuv
