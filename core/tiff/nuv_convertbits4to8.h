#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Widens samples of 4 bits to 8: indices of a palette stay what they are, others go from 0 to 255.
// NUV_ERR_ARGUMENT without an engine or its header, NUV_ERR_UNSUPPORTED for other images.
class NUV_ConvertBits4To8 final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* source);
};

} // namespace nuv
