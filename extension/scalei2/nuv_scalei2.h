#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

class NUV_CubicSplineTable;

// Convolution with one magnification for both axes, the larger of the two ratios: the picture keeps
// its proportions, and what then sticks out of the result on one axis is cut off, half on either
// side. Below 33 percent result pixels are means of boxes. Pictures are those of NUV_ScaleI2VAR;
// sizes are in pixels.
class NUV_ScaleI2 final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `a` is the free parameter of the kernel; `bits` limits the results to so many significant
    // bits, 0 to none. The source's own size without a limit gives back `previous`.
    // NUV_ERR_ARGUMENT for sizes below 8, NUV_ERR_UNSUPPORTED for other pictures.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, float a, std::uint16_t bits);
};

// The same with a kernel that has its stretch, and a mask of `taps` pixels both ways; the kernel is
// not needed any more when the engine stands. NUV_ERR_ARGUMENT for a null, a size of 0 and a mask
// that is not of 4 to 8 taps. Where only pixels are to be cut off, that is what they do.

// Of 16 bits.
class NUV_ScaleI2Float final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

// Of 8 bits.
class NUV_ScaleI2FixedReal final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

// Means of boxes, for ratios up to 1. They take kernel and mask for the sake of a common shape.

// Of 16 bits.
class NUV_ScaleI2FloatSmall final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

// Of 8 bits.
class NUV_ScaleI2FixedRealSmall final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

} // namespace nuv
