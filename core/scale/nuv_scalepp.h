#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Area weighting: a result pixel is the mean of the stretch of the source that it covers. Raw
// unsigned samples of 8 and 16 bits; sizes are in pixels; an equal size gives back `previous`, and
// an axis of one pixel is repeated. `use_fixed_real` makes a difference to enlarging alone;
// reducing always calculates in double precision.

// Base of the creators that scale one axis by whatever its two sizes ask for: a single source pixel
// is repeated, a whole factor makes means, and the rest is enlarged or reduced.
class NUV_ScalePPAxis : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

protected:
    // What enlarge() or reduce() gives, where that is what is asked for. `method` is the text of
    // what accepts() refuses.
    template <class Enlarge, class Reduce>
    [[nodiscard]] NUV_Engine* route(NUV_Engine* previous, Axis axis, std::uint32_t size,
                                    const char* method, Enlarge&& enlarge, Reduce&& reduce)
    {
        if (!accepts(previous, size, method))
            return nullptr;
        const NUV_Header& header = *previous->header();
        const std::uint32_t source = axis == Axis::width ? header.width() : header.height();
        if (size == source)
            return previous;
        if (source == 1)
            return repeat(previous, axis, size);
        if (source < size)
            return enlarge();
        return source % size == 0 ? average(previous, axis, size) : reduce();
    }

private:
    [[nodiscard]] NUV_Engine* repeat(NUV_Engine* previous, Axis axis, std::uint32_t size);
    [[nodiscard]] NUV_Engine* average(NUV_Engine* previous, Axis axis, std::uint32_t size);
};

class NUV_ScalePP final : public NUV_ScaleUsingFixedReal {
public:
    using NUV_ScaleUsingFixedReal::engine;
    using NUV_ScaleUsingFixedReal::NUV_ScaleUsingFixedReal;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, bool use_fixed_real) override;
};

class NUV_ScaleWidthPP final : public NUV_ScalePPAxis {
public:
    using NUV_ScalePPAxis::NUV_ScalePPAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     bool use_fixed_real);
};

class NUV_ScaleHeightPP final : public NUV_ScalePPAxis {
public:
    using NUV_ScalePPAxis::NUV_ScalePPAxis;

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
