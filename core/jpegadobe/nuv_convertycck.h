#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// From the inverted YCCK of a file to YCbCr: the luma less what black covers, the chroma turned
// back. An approximation, not a conversion of colours. Raw 8-bit unsigned images of four channels
// without a palette; NUV_ERR_UNSUPPORTED for others, NUV_ERR_ARGUMENT without a previous engine.
class NUV_ConvertYCCKToYCbCr final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
