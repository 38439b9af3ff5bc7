#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Puts the channels of each pixel into the opposite order. The header stays as it is. A missing
// previous engine is NUV_ERR_ARGUMENT.
class NUV_ReverseChannel final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `previous` itself when it has one channel. NUV_ERR_UNSUPPORTED for samples that are neither
    // one bit nor whole bytes.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

// Raw samples of 8 or 16 bits; NUV_ERR_UNSUPPORTED for others.
class NUV_ReverseChannel8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

// Raw unsigned samples of one bit; NUV_ERR_UNSUPPORTED for others.
class NUV_ReverseChannel1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
