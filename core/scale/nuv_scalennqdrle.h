#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Nearest neighbour on bilevel images in the run form, which is never expanded: the time follows
// the number of runs. Sizes are in pixels; an equal size gives back `previous`.
//
// Unlike on packed bits, the ends of the runs are scaled and rounded, so that runs shorter than
// half a result pixel vanish and runs that then touch become one.

class NUV_ScaleNNQDRLE final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
};

class NUV_ScaleWidthNNQDRLE final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width);
};

class NUV_ScaleHeightNNQDRLE final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height);
};

} // namespace nuv
