#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Repeats every pixel, or every line, `factor` times. Raw images; a palette stays. A factor of 0 is
// NUV_ERR_ARGUMENT, one of 1 gives back `previous`.

// Integer samples of 8 and 16 bits, and packed ones of 1 bit with a single channel.
class NUV_ScaleWidthIRE final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t factor);
};

// The form for samples of 8 and 16 bits.
class NUV_ScaleWidthIRE8xNBits final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t factor);
};

// The form for 1 bit. It keeps a table of 256 x factor bytes.
class NUV_ScaleWidthIRE1Bit final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t factor);
};

// Any raw image. The engine holds `factor` lines of output.
class NUV_ScaleHeightIRE final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t factor);
};

// Both axes, the width first.
class NUV_ScaleIRE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t factor_x,
                                     std::uint32_t factor_y);
};

} // namespace nuv
