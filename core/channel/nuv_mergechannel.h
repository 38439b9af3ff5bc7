#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <span>

namespace nuv {

class NUV_ColorType;

// Join images of equal size and sample type into one: a pixel has the channels of the first input,
// then those of the second, and so on. The output has the colour `color` and no palette.
// NUV_ERR_ARGUMENT when there is no engine, when one is missing or has no header, for a missing
// colour or one that cannot have so many channels, and for inputs that differ;
// NUV_ERR_UNSUPPORTED for inputs that are not raw and for more channels than an image can have.

class NUV_MergeChannel final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // A single engine is the answer itself, and keeps its colour.
    [[nodiscard]] NUV_Engine* engine(std::span<NUV_Engine* const> engines,
                                     const NUV_ColorType* color);
};

// Samples of 8 or 16 bits; NUV_ERR_UNSUPPORTED for others.
class NUV_MergeChannel8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(std::span<NUV_Engine* const> engines,
                                     const NUV_ColorType* color);
};

// Samples of one bit; NUV_ERR_UNSUPPORTED for others.
class NUV_MergeChannel1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(std::span<NUV_Engine* const> engines,
                                     const NUV_ColorType* color);
};

} // namespace nuv
