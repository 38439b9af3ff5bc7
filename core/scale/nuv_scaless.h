#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Keeps every step-th pixel of every step-th line. Raw images of whole-byte samples of any type; a
// palette stays.
class NUV_ScaleSS final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // In pixels. The first pixel kept is (offset_x, offset_y), which must lie in the image; the
    // result is as large as there are pixels to keep. NUV_ERR_ARGUMENT for steps of 0.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t step_x,
                                     std::uint32_t step_y, std::uint32_t offset_x,
                                     std::uint32_t offset_y);
};

} // namespace nuv
