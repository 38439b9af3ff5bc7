#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Nearest neighbour: every result is a copy of a source pixel. Raw images of 8 and 16-bit integers
// and of 1 bit with one channel, and bilevel images in the run form, which stay in it. A palette
// stays. Sizes are in pixels; an equal size gives back `previous`.

class NUV_ScaleNN final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
};

class NUV_ScaleWidthNN final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width);
};

class NUV_ScaleHeightNN final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height);
};

// Both axes in one pass; neither may grow, else NUV_ERR_ARGUMENT.
class NUV_ScaleShrinkNN final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
};

} // namespace nuv
