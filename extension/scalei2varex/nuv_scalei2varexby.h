#pragma once

#include "core/scale/nuv_scale.h"
#include "framework/utility/nuv_fixedreal.h"

#include <array>
#include <cstdint>

namespace nuv {

// The scaler of the best quality: it picks for each axis what its ratio asks for. Cubic convolution
// enlarges; a mask shrinks to 33 percent; below that the area is averaged first, to twice the size
// that is wanted, or at once where both axes shrink alike. Raw pictures without a palette, unsigned
// samples of 8 or 16 bits, 1, 3 or 4 channels; sizes are in pixels.
//
// `a` is the free parameter of the kernels; `bits` limits the results to so many significant bits,
// 0 to none. Without a limit the source's own size gives back `previous`. R is what is calculated
// with where there is a choice.
template <RealNumber R>
class NUV_ScaleI2VARExBy final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    // With an `a` of -0.75 and no limit.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
    // By factors.
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, double ratio_x, double ratio_y,
                                             double a, std::uint16_t bits);
    // NUV_ERR_ARGUMENT for a null and a size of 0, NUV_ERR_UNSUPPORTED for other pictures.
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height, double a, std::uint16_t bits);

    // What the last engine() has put one behind the other: "cubic", "area, mask" and the like; ""
    // where that was nothing.
    [[nodiscard]] const char* steps() const noexcept { return steps_.data(); }

private:
    void add_step(const char* name) noexcept;
    // To a size of 8 pixels or more each way, and to a smaller one.
    [[nodiscard]] NUV_Engine* route(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                    double a, std::uint16_t bits);
    [[nodiscard]] NUV_Engine* route_tiny(NUV_Engine* previous, std::uint32_t width,
                                         std::uint32_t height, double a, std::uint16_t bits);

    std::array<char, 32> steps_{};
};

extern template class NUV_ScaleI2VARExBy<NUV_FixedReal>;
extern template class NUV_ScaleI2VARExBy<double>;

} // namespace nuv
