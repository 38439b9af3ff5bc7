#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Area weighting: a result pixel is the mean of the stretch of the source that it covers. Raw
// unsigned samples of 8 and 16 bits; sizes are in pixels; an equal size gives back `previous`, and
// an axis of one pixel is repeated. `use_fixed_real` makes a difference to enlarging alone;
// reducing always calculates in double precision.

// What scaling one axis from `source` to `destination` pixels asks for.
enum class NUV_ScalePPRoute {
    unchanged,
    nearest, // a single source pixel
    enlarge,
    average, // by a whole factor
    reduce,
};
[[nodiscard]] NUV_ScalePPRoute scale_pp_route(std::uint32_t source,
                                              std::uint32_t destination) noexcept;

class NUV_ScalePP final : public NUV_ScaleUsingFixedReal {
public:
    using NUV_ScaleUsingFixedReal::engine;
    using NUV_ScaleUsingFixedReal::NUV_ScaleUsingFixedReal;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, bool use_fixed_real) override;
};

class NUV_ScaleWidthPP final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     bool use_fixed_real);
};

class NUV_ScaleHeightPP final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real);
};

// The forms for enlarging; NUV_ERR_ARGUMENT for a size below the source's.

class NUV_ScaleWidthPPE : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     bool use_fixed_real);

protected:
    // The same with the text `method` for what the creator refuses.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real,
                                     const char* method);
};

class NUV_ScaleHeightPPE : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real);

protected:
    // As in NUV_ScaleWidthPPE.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real, const char* method);
};

// The forms for reducing; NUV_ERR_ARGUMENT for a size above the source's. They take the flag for
// the sake of a common shape.

class NUV_ScaleWidthPPR : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     bool use_fixed_real);

protected:
    // As in NUV_ScaleWidthPPE.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t width, const char* method);
};

class NUV_ScaleHeightPPR : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real);

protected:
    // As in NUV_ScaleWidthPPE.
    [[nodiscard]] NUV_Engine* append(NUV_Engine* previous, std::uint32_t height,
                                     const char* method);
};

} // namespace nuv
