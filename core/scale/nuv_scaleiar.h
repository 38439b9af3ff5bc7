#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

// Reduces by a whole factor to rounded means. Raw unsigned samples of 8 and 16 bits. Sizes are in
// pixels and must divide the source's, else NUV_ERR_ARGUMENT; an equal size gives back `previous`.

class NUV_ScaleWidthIAR final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width);
};

class NUV_ScaleHeightIAR final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height);
};

// Both axes; each rounds for itself.
class NUV_ScaleIAR final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
};

} // namespace nuv
