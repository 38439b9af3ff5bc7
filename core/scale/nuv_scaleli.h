#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Linear interpolation between the nearest pixels. Raw integer samples of 8 and 16 bits; sizes are
// in pixels; an equal size gives back `previous`, and an axis of one pixel is repeated.

class NUV_ScaleLI : public NUV_ScaleUsingFixedReal {
public:
    using NUV_ScaleUsingFixedReal::engine;
    using NUV_ScaleUsingFixedReal::NUV_ScaleUsingFixedReal;

    // Where both axes shrink, one pass does both; by odd whole factors it keeps pixels as they are.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, bool use_fixed_real) override;
};

class NUV_ScaleWidthLI : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     bool use_fixed_real);

protected:
    // The same with the text `method` for what the creator refuses.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real,
                                     const char* method);
};

class NUV_ScaleHeightLI : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real);

protected:
    // As in NUV_ScaleWidthLI.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real, const char* method);
};

// Both axes in one pass; neither may grow, else NUV_ERR_ARGUMENT. By even whole factors the result
// is the mean of the four pixels in the middle of each cell.
class NUV_ScaleShrinkLI : public NUV_ScaleUsingFixedReal {
public:
    using NUV_ScaleUsingFixedReal::engine;
    using NUV_ScaleUsingFixedReal::NUV_ScaleUsingFixedReal;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, bool use_fixed_real) override;

protected:
    // As in NUV_ScaleWidthLI.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, bool use_fixed_real, const char* method);
};

} // namespace nuv
