#pragma once

#include "tests/support/nuv_model_scale.h"

// The mask scalers one sample at a time: weights come from the kernel's formula where they are
// needed, and every coordinate is clamped where it is used.
namespace nuv::model {

struct Mask {
    int taps;
    double stretch;
};

inline Mask mask_of(double s)
{
    const double hair = s + std::numeric_limits<double>::epsilon();
    if (hair >= 0.917)
        return {4, 1.0};
    if (hair >= 0.771)
        return {5, 0.844};
    if (hair >= 0.648)
        return {6, 0.7095};
    return hair >= 0.545 ? Mask{7, 0.5965} : Mask{8, 0.5};
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

// The taps of each result pixel of an axis: source coordinates, not yet clamped, and their shares.
struct MaskTaps {
    std::vector<std::int64_t> at;
    std::vector<double> share;
    // In units of 1 / 1024, cut off.
    [[nodiscard]] std::int64_t weight(std::size_t i) const
    {
        return static_cast<std::int64_t>(std::trunc(share[i] * 1024.0));
    }
};

inline std::vector<MaskTaps> mask_taps(std::uint32_t source, std::uint32_t destination, double s,
                                       float a)
{
    const Mask mask = mask_of(s);
    const double offset = destination % 2 == 0 ? 0.5 : 0.0;
    std::vector<MaskTaps> axis(destination);
    for (std::int64_t k = 0; k < destination; ++k) {
        const double x =
            (real(k - destination / 2) + offset) * (1.0 / s) + (real(source) - 1) * 0.5;
        const double t = x - std::floor(x);
        MaskTaps& taps = axis[static_cast<std::size_t>(k)];
        double sum = 0;
        for (int j = -((mask.taps - 1) / 2); j <= mask.taps / 2; ++j) {
            const double distance = j <= 0 ? t - j : j - t;
            const auto steps = static_cast<std::int64_t>(distance * (mask.stretch * 4096.0));
            taps.at.push_back(static_cast<std::int64_t>(std::floor(x)) + j);
            taps.share.push_back(spline(steps, a));
            sum += taps.share.back();
        }
        if (std::abs(sum) <= std::numeric_limits<double>::epsilon())
            sum = 1;
        for (double& share : taps.share)
            share *= 1.0 / sum;
    }
    return axis;
}

// Both passes, for 8 bits in whole numbers and for 16 bits in double precision; sx and sy say how
// big one result is in its source.
inline Picture mask_scaled(const Picture& in, std::uint32_t width, std::uint32_t height, double sx,
                           double sy, float a, int bits)
{
    const auto columns = mask_taps(in.width, width, sx, a);
    const auto rows = mask_taps(in.height, height, sy, a);
    return in.with(width, height, in.channels, [&](auto x, auto y, auto c) {
        const MaskTaps& column = columns[x];
        const MaskTaps& row = rows[y];
        std::int64_t sum = 0;
        double real_sum = 0;
        for (std::size_t j = 0; j < row.at.size(); ++j) {
            std::int64_t across = 0;
            double real_across = 0;
            for (std::size_t i = 0; i < column.at.size(); ++i) {
                const std::int64_t sample = in.at(column.at[i], row.at[j], c);
                across += sample * column.weight(i);
                real_across += real(sample) * column.share[i];
            }
            sum += ((across + 32) >> 6) * row.weight(j);
            real_sum += real_across * row.share[j];
        }
        return limited(in, bits,
                       in.bits == 8 ? (sum + 8192) >> 14 : floor_index(std::floor(real_sum + 0.5)));
    });
}

// Each axis by its own ratio. An axis of 8 bits that keeps its size is only shifted, which its own
// mask does not change either.
inline Picture mask_each(const Picture& in, std::uint32_t width, std::uint32_t height, int bits,
                         float a = -0.75F)
{
    return mask_scaled(in, width, height, ratio_of(width, in.width), ratio_of(height, in.height), a,
                       bits);
}

// Where box k of `count` begins on an axis.
inline std::int64_t box_begin(std::int64_t k, std::uint32_t source, std::uint32_t count, double s)
{
    const double edge = (real(k) - real(count) * 0.5) * (1.0 / s) + real(source) * 0.5;
    return std::clamp<std::int64_t>(floor_index(std::max(edge + 0.5, 0.0)), 0, source);
}

inline Picture box_means(const Picture& in, std::uint32_t width, std::uint32_t height, double s,
                         int bits)
{
    return in.with(width, height, in.channels, [&](auto x, auto y, auto c) {
        std::int64_t sum = 0;
        std::int64_t count = 0;
        for (auto j = box_begin(y, in.height, height, s);
             j < box_begin(y + 1, in.height, height, s); ++j) {
            for (auto i = box_begin(x, in.width, width, s);
                 i < box_begin(x + 1, in.width, width, s); ++i, ++count)
                sum += in.at(i, j, c);
        }
        return limited(in, bits, (sum + count / 2) / std::max<std::int64_t>(count, 1));
    });
}

// One ratio for both axes, the larger one.
inline Picture mask_both(const Picture& in, std::uint32_t width, std::uint32_t height, int bits,
                         float a = -0.75F)
{
    const double s = std::max(ratio_of(width, in.width), ratio_of(height, in.height));
    if (s < 0.33 - std::numeric_limits<double>::epsilon())
        return box_means(in, width, height, s, bits);
    return mask_scaled(in, width, height, s, s, a, bits);
}

// The way for each pair of ratios, and those to and from fewer than 8 pixels.
inline Picture selected(const Picture& in, std::uint32_t width, std::uint32_t height, int bits)
{
    const double sx = ratio_of(width, in.width);
    const double sy = ratio_of(height, in.height);
    const bool far_x = sx < 0.33;
    const bool far_y = sy < 0.33;
    const bool is_byte = in.bits == 8;
    if (in.width < 8 || in.height < 8 || (width >= 8 && height >= 8 && sx >= 1 && sy >= 1))
        return cubic_fast(in, width, height, -0.75, bits);
    if ((width < 8 || height < 8) && !far_x && !far_y)
        return linear(mask_each(in, std::max(width, 8U), std::max(height, 8U), bits), width, height,
                      true);
    if (width < 8 || height < 8) {
        const Picture means = area(in, width, height, is_byte);
        return means.with(width, height, in.channels, [&](auto x, auto y, auto c) {
            return limited(in, bits, means.at(x, y, c));
        });
    }
    if (far_x && far_y && std::abs(sx - sy) <= std::numeric_limits<double>::epsilon())
        return mask_both(in, width, height, bits);
    const Picture twice =
        area(in, far_x ? 2 * width : in.width, far_y ? 2 * height : in.height, is_byte);
    if (sx < 1 && sy < 1)
        return mask_each(twice, width, height, bits);
    return cubic_fast(mask_each(twice, sx < 1 ? width : in.width, sy < 1 ? height : in.height, 0),
                      width, height, -0.75, bits);
}

} // namespace nuv::model
