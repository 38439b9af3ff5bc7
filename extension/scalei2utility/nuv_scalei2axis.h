#pragma once

#include "core/include/nuv_interpolationtable.h"
#include "extension/scalei2utility/nuv_scalei2mask.h"
#include "framework/base/nuv_held.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// One axis of a scaling by a mask. The centre of the result lies on the centre of the source.
struct NUV_ScaleI2Sizes {
    std::uint32_t source;      // pixels
    std::uint32_t destination; // pixels
    double ratio;              // destination pixels per source pixel
};

// Which source pixels make a result pixel, and with what weights: of fixed-point weights, in units
// of 1 / 1024, what is below a unit is cut off, and nothing makes up for it.
//
// Weight is std::int16_t or double.
template <class Weight>
class NUV_ScaleI2Axis {
public:
    // Weights of a result pixel, those behind the mask's own being 0.
    static constexpr std::size_t stride = scale_i2_most_taps;

    // Reads `table` as kernel, stretched by `stretch`, over `taps` pixels. False after
    // NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager, const NUV_InterpolationTable& table,
                                double stretch, const NUV_ScaleI2Sizes& sizes, std::uint32_t taps);

    // The leftmost source pixel of result pixel k. It can lie before the first one, as the last one
    // can behind the end.
    [[nodiscard]] std::int64_t first(std::size_t k) const noexcept { return firsts_[k]; }
    [[nodiscard]] const std::int64_t* firsts() const noexcept { return firsts_.data(); }
    [[nodiscard]] const Weight* weights(std::size_t k) const noexcept
    {
        return weights_.data() + k * stride;
    }

    // The largest sum of the magnitudes of a result pixel's weights.
    [[nodiscard]] double most_weight() const noexcept { return most_weight_; }

private:
    NUV_Scratch<std::int64_t> firsts_;
    NUV_Scratch<Weight> weights_;
    double most_weight_ = 0;
};

extern template class NUV_ScaleI2Axis<std::int16_t>;
extern template class NUV_ScaleI2Axis<double>;

// True when the table reaches over all distances in half a mask of `taps` pixels.
[[nodiscard]] bool table_reaches(double stretch, std::uint32_t taps) noexcept;

} // namespace nuv
