#pragma once

// Slow models of the pixel operations, one pixel at a time and close to their definitions, for
// comparison with the engines. They share no code with them.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

namespace nuv {

// Interpolation in a table on a regular grid of `grid_points` points an axis, the last axis
// fastest, `outputs` samples each.
template <class T>
[[nodiscard]] std::vector<T> model_dlut(const std::vector<T>& pixel, const std::vector<T>& table,
                                        std::size_t grid_points, std::size_t outputs)
{
    const std::size_t inputs = pixel.size();
    const double maximum = std::numeric_limits<T>::max();
    std::vector<std::size_t> corner(inputs);
    std::vector<std::int64_t> fraction(inputs);
    for (std::size_t c = 0; c < inputs; ++c) {
        const double t = pixel[c] * ((static_cast<double>(grid_points) - 1) / maximum);
        corner[c] = std::min(static_cast<std::size_t>(std::floor(t)), grid_points - 2);
        fraction[c] = static_cast<std::int64_t>(
            std::floor((t - static_cast<double>(corner[c])) * 16384 + 0.5));
    }
    std::vector<std::size_t> order(inputs);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return fraction[a] > fraction[b]; });
    std::vector<std::int64_t> sums(outputs, 8192);
    for (std::size_t k = 0; k <= inputs; ++k) {
        const std::int64_t weight = (k == 0 ? 16384 : fraction[order[k - 1]]) -
                                    (k == inputs ? 0 : fraction[order[k]]);
        std::size_t entry = 0;
        for (std::size_t c = 0; c < inputs; ++c)
            entry = entry * grid_points + corner[c];
        for (std::size_t j = 0; j < outputs; ++j)
            sums[j] += table.at(entry * outputs + j) * weight;
        if (k < inputs)
            ++corner[order[k]];
    }
    std::vector<T> result;
    for (const std::int64_t sum : sums)
        result.push_back(static_cast<T>(std::min<std::int64_t>(
            sum / 16384, std::numeric_limits<T>::max())));
    return result;
}

// One pixel through a matrix, row by row, in 12 fractional bits or in doubles.
template <class T>
[[nodiscard]] std::vector<T> model_matrix(const std::vector<T>& pixel,
                                          const std::vector<double>& factors,
                                          const std::vector<double>& offsets, bool fixed)
{
    constexpr std::int64_t maximum = std::numeric_limits<T>::max();
    const std::size_t columns = pixel.size();
    const auto to_fixed = [](double x) { return std::llround(x * 4096); };
    std::vector<T> result;
    for (std::size_t j = 0; j < factors.size() / columns; ++j) {
        const double offset = offsets.empty() ? 0 : offsets[j];
        if (fixed) {
            std::int64_t sum = to_fixed(offset);
            for (std::size_t k = 0; k < columns; ++k)
                sum += pixel[k] * to_fixed(factors[j * columns + k]);
            result.push_back(static_cast<T>(sum < 0                 ? 0
                                            : sum > maximum * 4096 ? maximum
                                                                   : (sum + 2048) >> 12));
            continue;
        }
        double sum = offset;
        for (std::size_t k = 0; k < columns; ++k)
            sum = sum + pixel[k] * factors[j * columns + k];
        const auto highest = static_cast<double>(maximum);
        result.push_back(static_cast<T>(sum < 0         ? 0
                                        : sum > highest ? highest
                                                        : std::trunc(sum + 0.5)));
    }
    return result;
}

} // namespace nuv
