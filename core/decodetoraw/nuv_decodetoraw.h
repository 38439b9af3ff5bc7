#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Appends whatever decoder turns an engine's output into raw lines.
class NUV_DecodeToRaw final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `previous` itself when its output is raw already. Null after NUV_ERR_ARGUMENT for a null and
    // an engine without a header, NUV_ERR_UNSUPPORTED for an encoding that has no decoder here.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
