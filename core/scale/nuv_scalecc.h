#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Cubic convolution with four taps and the free parameter `a` of its kernel. It overshoots at
// edges, and limits what comes out. Raw integer samples of 8 and 16 bits; sizes are in pixels; an
// equal size gives back `previous`, and an axis of one pixel is repeated.

class NUV_ScaleCC final : public NUV_ScaleUsingFixedReal {
public:
    using NUV_ScaleUsingFixedReal::engine;
    using NUV_ScaleUsingFixedReal::NUV_ScaleUsingFixedReal;

    // With an `a` of -1.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, bool use_fixed_real) override;
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height, bool use_fixed_real, double a);
    // Fixed-point up to 8 bits per sample.
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height, double a);
};

class NUV_ScaleWidthCC : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real,
                                     double a);

protected:
    // The pass whatever the size is, with results limited to `bits` significant bits (0: no limit).
    // NUV_ERR_UNSUPPORTED with the text `method` for other samples.
    [[nodiscard]] NUV_Engine* append(NUV_Engine& previous, std::uint32_t width, bool use_fixed_real,
                                     double a, std::uint16_t bits, const char* method);
};

class NUV_ScaleHeightCC : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height,
                                     bool use_fixed_real, double a);

protected:
    // As in NUV_ScaleWidthCC.
    [[nodiscard]] NUV_Engine* append(NUV_Engine& previous, std::uint32_t height,
                                     bool use_fixed_real, double a, std::uint16_t bits,
                                     const char* method);
};

} // namespace nuv
