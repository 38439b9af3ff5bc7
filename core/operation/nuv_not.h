#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Inverts an image: every bit of every sample, the padding bits of a line too. Any raw image, and
// images in run form. The header stays as it is.
class NUV_Not final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

// Exchanges black and white of an image in run form. A line that cannot be read counts as white.
class NUV_NotQDRLE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
