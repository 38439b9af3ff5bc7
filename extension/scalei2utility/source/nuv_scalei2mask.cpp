#include "extension/scalei2utility/nuv_scalei2mask.h"

#include "core/include/nuv_scaleframe.h"

#include <cmath>

namespace nuv {

bool is_same_ratio(double a, double b) noexcept
{
    return std::abs(a - b) <= same_ratio_tolerance;
}

std::optional<NUV_ScaleI2Mask> scale_i2_mask(double ratio) noexcept
{
    struct Row {
        double least_ratio;
        NUV_ScaleI2Mask mask;
    };
    static constexpr Row rows[] = {
        {0.917, {4, 1.0}},
        {0.771, {5, 0.844}},
        {0.648, {6, 0.7095}},
        {0.545, {7, 0.5965}},
        {scale_i2_least_ratio, {8, 0.5}},
    };
    for (const Row& row : rows) {
        if (ratio > row.least_ratio || is_same_ratio(ratio, row.least_ratio))
            return row.mask;
    }
    return std::nullopt;
}

} // namespace nuv
