#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reverses each line: the left becomes the right. Channels keep their order within a pixel, and the
// header stays as it is, its palette too. Raw samples of 8 or 16 bits, and of 1 bit in one channel;
// NUV_ERR_UNSUPPORTED for others, NUV_ERR_ARGUMENT for a missing previous engine.
class NUV_MirrorX final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

// The form for samples of 8 and 16 bits, in any number of channels.
class NUV_MirrorX8xNBits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

// The form for one unsigned bit a pixel. The unused bits behind the last pixel come out as zeros.
class NUV_MirrorX1Bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
