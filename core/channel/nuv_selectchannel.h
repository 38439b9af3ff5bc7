#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

class NUV_ColorType;

// Keep some channels of each pixel, which must lie side by side: `count` of them from channel
// `first` on, numbered from 0. The output has `count` channels of colour `color` and no palette.
// Raw images of one bit or whole bytes a sample. NUV_ERR_ARGUMENT for a missing previous engine or
// colour, for one that cannot have so many channels, and for channels that the image does not have,
// NUV_ERR_UNSUPPORTED for other samples.

class NUV_SelectChannel final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first, std::uint32_t count,
                                     const NUV_ColorType* color);
    // One channel.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first,
                                     const NUV_ColorType* color);
};

class NUV_Select1Channel final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first,
                                     const NUV_ColorType* color);
};

class NUV_Select1Channel8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first,
                                     const NUV_ColorType* color);
};

class NUV_Select1Channel1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first,
                                     const NUV_ColorType* color);
};

class NUV_SelectNChannel final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first, std::uint32_t count,
                                     const NUV_ColorType* color);
};

class NUV_SelectNChannel8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first, std::uint32_t count,
                                     const NUV_ColorType* color);
};

class NUV_SelectNChannel1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t first, std::uint32_t count,
                                     const NUV_ColorType* color);
};

} // namespace nuv
