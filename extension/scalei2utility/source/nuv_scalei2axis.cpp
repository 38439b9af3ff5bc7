#include "extension/scalei2utility/nuv_scalei2axis.h"

#include "core/include/nuv_scaleframe.h"
#include "extension/scalei2utility/nuv_scalei2arithmetic.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace nuv {
namespace {

constexpr double steps = NUV_InterpolationTable::steps_per_pixel;

// Distances beyond the table have no weight.
double kernel(const NUV_InterpolationTable& table, double distance_in_steps) noexcept
{
    if (!(distance_in_steps < static_cast<double>(NUV_InterpolationTable::entries)))
        return 0;
    return table.at(static_cast<std::size_t>(distance_in_steps));
}

template <class Weight>
Weight as_weight(double weight) noexcept
{
    if constexpr (std::is_same_v<Weight, double>) {
        return weight;
    } else {
        constexpr double most = std::numeric_limits<Weight>::max();
        constexpr double least = std::numeric_limits<Weight>::min();
        const double units = weight * (1 << NUV_ScaleI2FixedArithmetic::weight_bits);
        if (units >= most)
            return std::numeric_limits<Weight>::max();
        if (units > least)
            return static_cast<Weight>(units);
        return units <= least ? std::numeric_limits<Weight>::min() : Weight{0};
    }
}

} // namespace

template <class Weight>
bool NUV_ScaleI2Axis<Weight>::initiate(NUV_Manager& manager, const NUV_InterpolationTable& table,
                                       double stretch, const NUV_ScaleI2Sizes& sizes,
                                       std::uint32_t taps)
{
    if (!firsts_.allocate(manager, sizes.destination) ||
        !weights_.allocate(manager, sizes.destination * stride))
        return false;

    // Positions are products, not sums, so that both halves of the result mirror each other.
    const double pixel = 1.0 / sizes.ratio;
    const double centre = (static_cast<double>(sizes.source) - 1.0) * 0.5;
    const double half = (sizes.destination & 1) != 0 ? 0.0 : 0.5;
    const std::int64_t middle = sizes.destination >> 1;
    const double scale = stretch * steps;
    const std::uint32_t left = scale_i2_taps_left(taps);

    most_weight_ = 0;
    for (std::size_t k = 0; k < sizes.destination; ++k) {
        const auto from_middle = static_cast<double>(static_cast<std::int64_t>(k) - middle);
        const double position = (from_middle + half) * pixel + centre;
        const double base = std::floor(position);
        const double t = position - base;

        double raw[stride] = {};
        double sum = 0;
        for (std::uint32_t i = 0; i < taps; ++i) {
            const double j = static_cast<double>(i) - left;
            raw[i] = kernel(table, (i <= left ? t - j : j - t) * scale);
            sum += raw[i];
        }
        if (std::abs(sum) <= same_ratio_tolerance)
            sum = 1.0;

        firsts_[k] = static_cast<std::int64_t>(base) - left;
        Weight* weights = weights_.data() + k * stride;
        const double share = 1.0 / sum;
        double magnitude = 0;
        for (std::size_t i = 0; i < stride; ++i) {
            weights[i] = as_weight<Weight>(raw[i] * share);
            magnitude += std::abs(static_cast<double>(weights[i]));
        }
        most_weight_ = std::fmax(most_weight_, magnitude);
    }
    return true;
}

template class NUV_ScaleI2Axis<std::int16_t>;
template class NUV_ScaleI2Axis<double>;

bool table_reaches(double stretch, std::uint32_t taps) noexcept
{
    const double reach = (taps >> 1) * stretch * steps;
    return stretch > 0 && reach < static_cast<double>(NUV_InterpolationTable::entries);
}

} // namespace nuv
