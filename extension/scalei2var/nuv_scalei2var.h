#pragma once

#include "core/scale/nuv_scale.h"

#include <cstdint>

namespace nuv {

class NUV_CubicSplineTable;

// Convolution with a stretched cubic kernel over 4 to 8 pixels an axis, as many as its ratio asks
// for. Raw pictures without a palette, unsigned samples of 8 or 16 bits, 1, 3 or 4 channels; source
// and result have at least 8 pixels either way; neither axis shrinks below 33 percent. Sizes are in
// pixels. The width is always scaled first.
//
// `a` is the free parameter of the kernel. `bits` limits the results to so many significant bits, 0
// to none. Without a limit the source's own size gives back `previous`.
class NUV_ScaleI2VAR final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    // With an `a` of -0.75 and no limit.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
    // By factors, without a limit.
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, double ratio_x, double ratio_y,
                                             float a);
    // NUV_ERR_ARGUMENT for sizes below 8 and ratios below 0.33, NUV_ERR_UNSUPPORTED for other
    // pictures.
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height, float a, std::uint16_t bits);

    // As NUV_Scale::ratio_to_size(), under its own name.
    [[nodiscard]] bool ratio_to_size_mine(const NUV_Header* header, double ratio_x, double ratio_y,
                                          std::uint32_t& width, std::uint32_t& height);

private:
    // The two passes, with a kernel that has its stretch.
    [[nodiscard]] NUV_Engine* scale_fixed(NUV_Engine* previous, std::uint32_t width,
                                          std::uint32_t height, std::uint16_t bits,
                                          const NUV_CubicSplineTable& table, std::uint32_t taps_x,
                                          std::uint32_t taps_y);
    [[nodiscard]] NUV_Engine* scale_float(NUV_Engine* previous, std::uint32_t width,
                                          std::uint32_t height, std::uint16_t bits,
                                          const NUV_CubicSplineTable& table, std::uint32_t taps_x,
                                          std::uint32_t taps_y);
};

// One pass each. `table` is the kernel with its stretch; it is not needed any more when the engine
// stands. NUV_ERR_ARGUMENT for a null, a size of 0 and a mask that is not of 4 to 8 taps.

// Unsigned 8 bits to the intermediate picture of signed 16 bits, 4 of them fractional.
class NUV_ScaleI2VARWidthFixedReal final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

// And from there back to unsigned 8 bits.
class NUV_ScaleI2VARHeightFixedReal final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

// Unsigned 16 bits to an intermediate picture in double precision.
class NUV_ScaleI2VARWidthFloat final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

// And from there back to unsigned 16 bits.
class NUV_ScaleI2VARHeightFloat final : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps);
};

} // namespace nuv
