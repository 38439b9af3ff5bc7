#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reverses the order of the lines. Any raw image. Holds the whole image, since its last line is
// wanted first. NUV_ERR_ARGUMENT for a missing previous engine.
class NUV_MirrorY final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
