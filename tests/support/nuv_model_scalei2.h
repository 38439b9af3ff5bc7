#pragma once

#include "tests/support/nuv_model_scale.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

// The mask scalers one sample at a time: weights come from the kernel's formula where they are
// needed, and every coordinate is clamped where it is used.
namespace nuv::model {

struct Mask {
    int taps;
    double stretch;
};

inline Mask mask_of(double s)
{
    constexpr double slack = 2.220446049250313e-16;
    if (s >= 0.917 - slack)
        return {4, 1.0};
    if (s >= 0.771 - slack)
        return {5, 0.844};
    if (s >= 0.648 - slack)
        return {6, 0.7095};
    if (s >= 0.545 - slack)
        return {7, 0.5965};
    return {8, 0.5};
}

// The cubic at a whole number of 1 / 4096 pixels, in single precision as its table holds it.
inline double spline(std::int64_t distance, float a)
{
    const float x = static_cast<float>(distance % 4096) / 4096.0F;
    if (distance < 4096)
        return static_cast<double>((a + 2.0F) * x * x * x - (a + 3.0F) * x * x + 1.0F);
    if (distance < 8192)
        return static_cast<double>(a * x * x * x - 2.0F * a * x * x + a * x);
    return 0;
}

// The taps of one result pixel: source coordinates, not yet clamped, and their shares.
struct MaskTaps {
    std::vector<std::int64_t> at;
    std::vector<double> share;
};

inline MaskTaps mask_taps(std::int64_t k, std::int64_t source, std::int64_t destination, double s,
                          Mask mask, float a)
{
    const double middle = (static_cast<double>(source) - 1) * 0.5;
    const double offset = destination % 2 == 0 ? 0.5 : 0.0;
    const std::int64_t from_middle = k - destination / 2;
    const auto u = static_cast<double>(from_middle);
    const double x = (u + offset) * (1.0 / s) + middle;
    const double t = x - std::floor(x);
    MaskTaps result;
    double sum = 0;
    for (int j = -((mask.taps - 1) / 2); j <= mask.taps / 2; ++j) {
        const double distance = j <= 0 ? t - j : j - t;
        const auto steps = static_cast<std::int64_t>(distance * (mask.stretch * 4096.0));
        result.at.push_back(static_cast<std::int64_t>(std::floor(x)) + j);
        result.share.push_back(spline(steps, a));
        sum += result.share.back();
    }
    if (std::abs(sum) <= 2.220446049250313e-16)
        sum = 1;
    for (double& share : result.share)
        share *= 1.0 / sum;
    return result;
}

inline std::int64_t weight_10_bits(double share)
{
    return static_cast<std::int64_t>(std::trunc(share * 1024.0));
}

// How big one result is in its source, for the two relatives: each axis by its own ratio, or both
// by the larger one.
struct MaskScale {
    double x;
    double y;
};

// Both passes, for 8 bits in whole numbers and for 16 bits in double precision.
inline Picture mask_scaled(const Picture& in, std::int64_t width, std::int64_t height, bool fixed,
                           float a, std::int64_t maximum, MaskScale scale)
{
    const auto samples = static_cast<std::size_t>(width * in.height * in.channels);
    std::vector<std::int64_t> whole(samples);
    std::vector<double> real(samples);
    const auto index = [&](std::int64_t x, std::int64_t y, int c) {
        return static_cast<std::size_t>((y * width + x) * in.channels + c);
    };
    for (std::int64_t x = 0; x < width; ++x) {
        const MaskTaps taps = mask_taps(x, in.width, width, scale.x, mask_of(scale.x), a);
        for (std::int64_t y = 0; y < in.height; ++y) {
            for (int c = 0; c < in.channels; ++c) {
                std::int64_t sum = 0;
                double real_sum = 0;
                for (std::size_t i = 0; i < taps.at.size(); ++i) {
                    const std::int64_t sample = in.at(taps.at[i], y, c);
                    sum += sample * weight_10_bits(taps.share[i]);
                    real_sum += static_cast<double>(sample) * taps.share[i];
                }
                whole[index(x, y, c)] = (sum + 32) >> 6;
                real[index(x, y, c)] = real_sum;
            }
        }
    }
    Picture out(width, height, in.channels);
    for (std::int64_t y = 0; y < height; ++y) {
        const MaskTaps taps = mask_taps(y, in.height, height, scale.y, mask_of(scale.y), a);
        for (std::int64_t x = 0; x < width; ++x) {
            for (int c = 0; c < in.channels; ++c) {
                std::int64_t sum = 0;
                double real_sum = 0;
                for (std::size_t i = 0; i < taps.at.size(); ++i) {
                    const auto row = std::clamp<std::int64_t>(taps.at[i], 0, in.height - 1);
                    sum += whole[index(x, row, c)] * weight_10_bits(taps.share[i]);
                    real_sum += real[index(x, row, c)] * taps.share[i];
                }
                const std::int64_t value =
                    fixed ? (sum + 8192) >> 14
                          : (real_sum < 0 ? 0
                                          : static_cast<std::int64_t>(std::floor(real_sum + 0.5)));
                out.set(x, y, c) = std::clamp<std::int64_t>(value, 0, maximum);
            }
        }
    }
    return out;
}

// Each axis by its own ratio. An axis of 8 bits that keeps its size is only shifted, which its own
// mask does not change either.
inline Picture i2var(const Picture& in, std::int64_t width, std::int64_t height, bool fixed,
                     std::int64_t maximum, float a = -0.75F)
{
    return mask_scaled(in, width, height, fixed, a, maximum,
                       {ratio_of(width, in.width), ratio_of(height, in.height)});
}

// Where box k of `count` begins on an axis.
inline std::int64_t box_begin(std::int64_t k, std::int64_t source, std::int64_t count, double s)
{
    const double edge = (static_cast<double>(k) - static_cast<double>(count) * 0.5) * (1.0 / s) +
                        static_cast<double>(source) * 0.5;
    return std::clamp<std::int64_t>(static_cast<std::int64_t>(std::max(edge + 0.5, 0.0)), 0,
                                    source);
}

inline Picture box_means(const Picture& in, std::int64_t width, std::int64_t height, double s,
                         std::int64_t maximum)
{
    Picture out(width, height, in.channels);
    for (std::int64_t y = 0; y < height; ++y) {
        const std::int64_t top = box_begin(y, in.height, height, s);
        const std::int64_t bottom = box_begin(y + 1, in.height, height, s);
        for (std::int64_t x = 0; x < width; ++x) {
            const std::int64_t left = box_begin(x, in.width, width, s);
            const std::int64_t right = box_begin(x + 1, in.width, width, s);
            const std::int64_t count = (bottom - top) * (right - left);
            for (int c = 0; c < in.channels; ++c) {
                std::int64_t sum = 0;
                for (std::int64_t j = top; j < bottom; ++j)
                    for (std::int64_t i = left; i < right; ++i)
                        sum += in.at(i, j, c);
                // Boxes of more than three pixels that lie inside: none is empty.
                // NOLINTNEXTLINE(clang-analyzer-core.*)
                out.set(x, y, c) = std::min((sum + count / 2) / count, maximum);
            }
        }
    }
    return out;
}

// One ratio for both axes, the larger one.
inline Picture i2(const Picture& in, std::int64_t width, std::int64_t height, bool fixed,
                  std::int64_t maximum, float a = -0.75F)
{
    const double s = std::max(ratio_of(width, in.width), ratio_of(height, in.height));
    if (s < 0.33 - 2.220446049250313e-16)
        return box_means(in, width, height, s, maximum);
    return mask_scaled(in, width, height, fixed, a, maximum, {s, s});
}

// Cubic convolution whose axes are double precision where more than 8 bits shrink. The limit holds
// for the pass that comes second, which it makes necessary.
template <class T>
Picture cubic_fast(const Picture& in, std::int64_t width, std::int64_t height, double a, int bits)
{
    const bool deep = sizeof(T) > 1;
    const bool height_first = height < in.height;
    const bool limited = bits != 0 && bits < 8 * static_cast<int>(sizeof(T));
    const auto wide = Arithmetic::of<T>(!(deep && width < in.width), height_first ? bits : 0);
    const auto high = Arithmetic::of<T>(!(deep && height < in.height), height_first ? 0 : bits);
    return two_passes(
        in, height,
        [&](const Picture& p) {
            return cubic_axis(p, width, wide, a, false, limited && height_first);
        },
        [&](const Picture& p) {
            return along_height(p, [&](const Picture& turned) {
                return cubic_axis(turned, height, high, a, true, limited && !height_first);
            });
        });
}

} // namespace nuv::model
