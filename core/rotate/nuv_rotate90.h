#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Turns an image clockwise by a multiple of 90 degrees; negative angles turn the other way. The
// result is exact, palette and colour stay, and a quarter turn exchanges width and height. The
// whole output is held in memory; the source goes through in bands. A multiple of 360 gives
// `previous` itself, any other angle NUV_ERR_ARGUMENT.

// Any image that one of the three below serves.
class NUV_Rotate90 final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::int32_t angle);
};

// Raw images of 8 or 16 bit integers, any number of channels.
class NUV_Rotate90_8xN final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `block` is the height of a band in lines, not 0.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::int32_t angle, std::uint32_t block);
};

// Raw images of one bit and one channel. What stands behind the last pixel of a source line is
// ignored, and zero in the output.
class NUV_Rotate90_1 final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `block` is the height of a band in lines: a multiple of 8, not 0, or the image's height.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::int32_t angle, std::uint32_t block);
};

// Images in run form. Time and memory follow the runs of the source and of the result, not the
// pixels.
class NUV_Rotate90QDRLE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::int32_t angle);
};

} // namespace nuv
