#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Mirrors the bits of every byte: bit 7 becomes bit 0. For coded data whose writer filled its bytes
// from the other end; it goes before the decoder.
class NUV_BitReverse final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // NUV_ERR_ARGUMENT for a null and for an engine without a header.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* source);
};

} // namespace nuv
