#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Expands an image in run form to packed bits, 1 for black. A raw image is passed on as it is; one
// that is coded otherwise is refused with NUV_ERR_UNSUPPORTED.
class NUV_DecodeQDRLE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
