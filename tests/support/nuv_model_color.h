#pragma once

// Slow models of the pixel operations, one pixel at a time and close to their definitions, for
// comparison with the engines. They share no code with them.

#include "framework/base/nuv_tags.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

namespace nuv {

// Interpolation on a regular grid of `grid_points` points an axis. `at` gives the samples of a grid
// point.
template <class T, class At>
[[nodiscard]] std::vector<T> model_dlut(const std::vector<T>& pixel, std::size_t grid_points,
                                        At&& at)
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
    std::vector<std::int64_t> sums(at(corner).size(), 8192);
    for (std::size_t k = 0; k <= inputs; ++k) {
        const std::int64_t weight =
            (k == 0 ? 16384 : fraction[order[k - 1]]) - (k == inputs ? 0 : fraction[order[k]]);
        const std::vector<T> samples = at(corner);
        for (std::size_t j = 0; j < sums.size(); ++j)
            sums[j] += samples[j] * weight;
        if (k < inputs)
            ++corner[order[k]];
    }
    std::vector<T> result;
    result.reserve(sums.size());
    for (const std::int64_t sum : sums)
        result.push_back(
            static_cast<T>(std::min<std::int64_t>(sum / 16384, std::numeric_limits<T>::max())));
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
            result.push_back(static_cast<T>(sum < 0                ? 0
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

using ModelPixel = std::vector<double>;

[[nodiscard]] inline ModelPixel model_limit(ModelPixel pixel)
{
    for (double& v : pixel)
        v = std::clamp(v, 0.0, 1.0);
    return pixel;
}

[[nodiscard]] inline ModelPixel model_times(const ModelPixel& rows, const ModelPixel& p)
{
    ModelPixel result;
    for (std::size_t j = 0; j < 9; j += 3)
        result.push_back(rows[j] * p[0] + rows[j + 1] * p[1] + rows[j + 2] * p[2]);
    return result;
}

[[nodiscard]] inline ModelPixel model_hsl_of(const ModelPixel& p)
{
    const double top = *std::max_element(p.begin(), p.end());
    const double bottom = *std::min_element(p.begin(), p.end());
    const double d = top - bottom;
    const double lightness = (top + bottom) / 2;
    if (d <= std::numeric_limits<double>::epsilon())
        return model_limit({0, 0, lightness});
    const double sextant = p[0] == top   ? (p[1] - p[2]) / d
                           : p[1] == top ? 2 + (p[2] - p[0]) / d
                                         : 4 + (p[0] - p[1]) / d;
    const double degrees = sextant * 60 + (sextant < 0 ? 360 : 0);
    return model_limit({degrees * 0.002777777777777778,
                        d / (lightness <= 0.5 ? top + bottom : 2 - top - bottom), lightness});
}

[[nodiscard]] inline ModelPixel model_of_hsl(const ModelPixel& p)
{
    const double s = p[1];
    const double l = p[2];
    const double m2 = l < 0.5 ? l * (1 + s) : l + s - l * s;
    const double m1 = 2 * l - m2;
    ModelPixel result;
    for (const int turn : {120, 0, 240}) {
        const int a = (static_cast<int>(p[0] * 360) + turn) % 360;
        const double arm = a < 60    ? m1 + (m2 - m1) * a / 60
                           : a < 180 ? m2
                           : a < 240 ? m1 + (m2 - m1) * (240 - a) / 60
                                     : m1;
        result.push_back(s == 0 ? l : arm);
    }
    return model_limit(result);
}

// A colour of samples of `bits` bits, as parts of their range, as sRGB or XYZ.
[[nodiscard]] inline ModelPixel model_to_xyz(const NUV_ColorType* color, ModelPixel p, int bits)
{
    using Color = NUV_ColorType;
    const double maximum = std::pow(2.0, bits) - 1;
    const auto cubed = [](double t) {
        const double k1 = 1 / (3 * (0.20689655172413793 * 0.20689655172413793));
        return t > 0.20689655172413793 ? t * t * t : (t - 0.13793103448275862) / k1;
    };
    const auto of_lab = [&](double l, double a, double b) {
        const double y = (l + 16) * 0.008620689655172414;
        return ModelPixel{cubed(y + a * 0.002) * 0.9643, cubed(y), cubed(y - b * 0.005) * 0.8251};
    };
    if (color == Color::xyz)
        return p;
    if (color == Color::icc_lab)
        return of_lab(p[0] * 100, p[1] * 255 - 128, p[2] * 255 - 128);
    if (color == Color::itu_lab) {
        const double m = maximum + 1;
        return of_lab(p[0] * 100, p[1] * 170 + 170 * 0.5 * m * (-1 / maximum),
                      p[2] * 200 + 200 * 0.375 * m * (-1 / maximum));
    }
    if (color == Color::lstar)
        return of_lab(p[0] * 100, 0, 0);
    if (color == Color::adobe_rgb) {
        for (double& v : p)
            v = v > 0 ? std::pow(v, 2.2) : v;
        return model_times({0.6097, 0.2053, 0.1492, 0.3111, 0.6257, 0.0632, 0.0195, 0.0609, 0.7446},
                           p);
    }
    // The rest is seen as sRGB.
    if (color == Color::gray_reverse)
        p = {1 - p[0]};
    if (color == Color::gray || color == Color::gray_reverse)
        p = {p[0], p[0], p[0]};
    if (color == Color::cmyk)
        p = {std::min(p[0] + p[3], 1.0), std::min(p[1] + p[3], 1.0), std::min(p[2] + p[3], 1.0)};
    if (color == Color::cmy || color == Color::cmyk)
        p = {1 - p[0], 1 - p[1], 1 - p[2]};
    if (color == Color::hsl)
        p = model_of_hsl(p);
    if (color == Color::ycbcr) {
        p = model_limit({p[0] + 1.402 * (p[2] - 0.5),
                         p[0] - 0.3441 * (p[1] - 0.5) - 0.7141 * (p[2] - 0.5),
                         p[0] + 1.772 * (p[1] - 0.5)});
    }
    for (double& v : p) {
        v = std::min(1.0, v > 0.0392768 ? std::pow((v + 0.055) * 0.9478672985781991, 2.4)
                                        : v * 0.07739938080495357);
    }
    return model_limit(
        model_times({0.4361, 0.3851, 0.1431, 0.2225, 0.7169, 0.0606, 0.0139, 0.0971, 0.7141}, p));
}

[[nodiscard]] inline ModelPixel model_from_xyz(const NUV_ColorType* color, ModelPixel p, int bits)
{
    using Color = NUV_ColorType;
    const double maximum = std::pow(2.0, bits) - 1;
    const auto root = [](double t) {
        const double k1 = 1 / (3 * (0.20689655172413793 * 0.20689655172413793));
        const double k2 = 0.20689655172413793 * 0.20689655172413793 * 0.20689655172413793;
        return t > k2 ? std::pow(t, 1.0 / 3) : k1 * t + 0.13793103448275862;
    };
    if (color == Color::xyz)
        return p;
    if (color == Color::lstar)
        return {(root(p[1]) * 116 - 16) * 0.01};
    if (color == Color::icc_lab || color == Color::itu_lab) {
        const double fy = root(p[1]);
        const double l = (116 * fy - 16) * 0.01;
        const double a = 500 * (root(p[0] * 1.0370216737529814) - fy);
        const double b = 200 * (fy - root(p[2] * 1.21197430614471));
        if (color == Color::icc_lab) {
            return {l, a * 0.00392156862745098 + 0.5019607843137255,
                    b * 0.00392156862745098 + 0.5019607843137255};
        }
        const double m = maximum + 1;
        return {l, a * 0.0058823529411764705 + 0.5 * m / maximum, b * 0.005 + 0.375 * m / maximum};
    }
    if (color == Color::adobe_rgb) {
        p = model_times({1.962711, -0.610757, -0.34144, -0.97876, 1.916094, 0.033486, 0.028651,
                         -0.14072, 1.349206},
                        p);
        for (double& v : p)
            v = v > 0 ? std::pow(v, 0.45454545454545453) : v;
        return model_limit(p);
    }
    p = model_limit(model_times({3.133602571, -1.616821401, -0.490742404, -0.978650316, 1.916061004,
                                 0.033512902, 0.072076558, -0.229065545, 1.405359497},
                                p));
    for (double& v : p) {
        v = std::min(1.0,
                     v > 0.00304 ? 1.055 * std::pow(v, 0.4166666666666667) - 0.055 : 12.92 * v);
    }
    const double gray =
        std::clamp(0.298992944 * p[0] + 0.587015974 * p[1] + 0.113991082 * p[2], 0.0, 1.0);
    if (color == Color::gray)
        return {gray};
    if (color == Color::gray_reverse)
        return {1 - gray};
    if (color == Color::hsl)
        return model_hsl_of(p);
    if (color == Color::ycbcr) {
        return model_limit({gray,
                            -0.16873191 * p[0] - 0.331273123 * p[1] + 0.500005033 * p[2] + 0.5,
                            0.500005033 * p[0] - 0.418698983 * p[1] - 0.08130605 * p[2] + 0.5});
    }
    if (color == Color::s_rgb)
        return p;
    p = {1 - p[0], 1 - p[1], 1 - p[2]};
    if (color == Color::cmy)
        return p;
    const double k = *std::min_element(p.begin(), p.end());
    if (std::abs(1 - k) <= std::numeric_limits<double>::epsilon())
        return {0, 0, 0, k};
    return {p[0] - k, p[1] - k, p[2] - k, k};
}

// Parts of the range as samples, and back.
template <class T>
[[nodiscard]] std::vector<T> model_samples(const ModelPixel& pixel)
{
    const double maximum = std::numeric_limits<T>::max();
    std::vector<T> samples;
    for (const double v : pixel)
        samples.push_back(static_cast<T>(std::floor(std::clamp(v * maximum, 0.0, maximum) + 0.5)));
    return samples;
}

template <class T>
[[nodiscard]] ModelPixel model_parts(const std::vector<T>& samples)
{
    ModelPixel parts;
    for (const T sample : samples)
        parts.push_back(sample / double{std::numeric_limits<T>::max()});
    return parts;
}

// in x slope + offset as a sample of type O.
template <class O>
[[nodiscard]] O model_linear(double in, double slope, double offset)
{
    constexpr double tolerance = std::numeric_limits<double>::epsilon();
    const bool adds = std::abs(slope - 1) <= tolerance;
    const bool scales = std::abs(offset) <= tolerance;
    double value = 0;
    if constexpr (std::is_same_v<O, float>) {
        const auto x = static_cast<float>(in);
        const auto a = static_cast<float>(slope);
        const auto b = static_cast<float>(offset);
        const float product = x * a;
        value = adds ? x + b : scales ? product : product + b;
    } else {
        value = adds ? in + offset : scales ? in * slope : in * slope + offset;
    }
    if (std::isnan(value))
        return std::is_floating_point_v<O> ? static_cast<O>(value) : O{};
    if (value <= static_cast<double>(std::numeric_limits<O>::lowest()))
        return std::numeric_limits<O>::lowest();
    if (value >= static_cast<double>(std::numeric_limits<O>::max()))
        return std::numeric_limits<O>::max();
    if (std::is_floating_point_v<O>)
        return static_cast<O>(value);
    return static_cast<O>(adds ? std::trunc(value) : std::round(value));
}

} // namespace nuv
