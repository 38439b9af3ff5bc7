#pragma once

#include "framework/engine/nuv_multiinputprocessengine.h"

#include <cstddef>

namespace nuv {

// Puts images one behind the other.
class NUV_AlignEngine : public NUV_MultiInputProcessEngine {
public:
    using NUV_MultiInputProcessEngine::NUV_MultiInputProcessEngine;

protected:
    // Makes the output as high as all inputs together. False when no image can be.
    [[nodiscard]] bool add_heights();

    std::size_t input_ = 0; // the one that is being read
};

} // namespace nuv
