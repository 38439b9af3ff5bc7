#pragma once

#include "tests/support/nuv_modelimage.h"

// Scaling one sample at a time, the slow and obvious way: what the engines are held against. Every
// coordinate is clamped where it is used, so there are no pads, tables or buffers to get wrong.
namespace nuv::model {

using Picture = NUV_ModelImage;

// start, start + step, ... by addition.
inline std::vector<double> positions(double start, double step, std::uint32_t count)
{
    std::vector<double> result;
    for (double p = start; count > 0; --count, p += step)
        result.push_back(p);
    return result;
}

inline double real(std::int64_t whole)
{
    return static_cast<double>(whole);
}

inline double ratio_of(std::uint32_t source, std::uint32_t destination)
{
    return real(source) / real(destination);
}

inline std::int64_t floor_index(double position)
{
    return static_cast<std::int64_t>(position);
}

inline std::int64_t to_fixed(double x)
{
    return static_cast<std::int64_t>(std::trunc((x > 0 ? x + 1.0 / 8192 : x - 1.0 / 8192) * 4096));
}

// Rounding of sums, in units of 1 / 4096 and in double.
inline std::int64_t from_fixed(const Picture& in, std::int64_t sum)
{
    if (in.is_signed && sum < 1)
        return -((2048 - sum) >> 12);
    return sum < 0 ? 0 : (sum + 2048) >> 12;
}
inline std::int64_t from_real(const Picture& in, double sum)
{
    if (sum < 0)
        return in.is_signed ? static_cast<std::int64_t>(std::trunc(sum - 0.5)) : 0;
    return static_cast<std::int64_t>(std::trunc(sum + 0.5));
}

// Inside what so many bits of the sample hold; of all of them for 0.
inline std::int64_t limited(const Picture& in, int bits, std::int64_t value)
{
    const int dropped = bits == 0 || bits >= in.bits ? 0 : in.bits - bits;
    return std::clamp(value, in.minimum() >> dropped, in.maximum() >> dropped);
}

// Does an axis the other way: a height pass is the width pass of the picture turned over.
template <class WidthPass>
Picture along_height(const Picture& in, WidthPass&& pass)
{
    const auto transposed = [](const Picture& p) {
        return p.with(p.height, p.width, p.channels,
                      [&](auto x, auto y, auto c) { return p.at(y, x, c); });
    };
    return transposed(pass(transposed(in)));
}

// Two passes in the order that all scalers keep: axis(picture, size, is_height).
template <class Axis>
Picture two_passes(const Picture& in, std::uint32_t width, std::uint32_t height, Axis&& axis)
{
    const auto across = [&](const Picture& p) { return axis(p, width, false); };
    const auto down = [&](const Picture& p) {
        return along_height(p, [&](const Picture& turned) { return axis(turned, height, true); });
    };
    return height < in.height ? across(down(in)) : down(across(in));
}

inline Picture nearest(const Picture& in, std::uint32_t width, std::uint32_t height)
{
    const double rx = ratio_of(in.width, width);
    const double ry = ratio_of(in.height, height);
    const auto xs = positions(rx * 0.5, rx, width);
    const auto ys = positions(ry * 0.5, ry, height);
    return in.with(width, height, in.channels, [&](auto x, auto y, auto c) {
        return in.at(floor_index(xs[x]), floor_index(ys[y]), c);
    });
}

// One axis of the linear and of the cubic scaler. `vertical` picks the formulas of the height
// passes, which differ from those of the width in double precision.
inline Picture linear_axis(const Picture& in, std::uint32_t width, bool fixed, bool vertical)
{
    if (width == in.width)
        return in;
    if (in.width == 1)
        return nearest(in, width, in.height);
    const double r = ratio_of(in.width, width);
    const auto xs = positions((r + 1) * 0.5, r, width);
    return in.with(width, in.height, in.channels, [&](auto x, auto y, auto c) {
        const double pos = xs[x];
        // Counted from one pixel of padding.
        std::int64_t i = std::min<std::int64_t>(floor_index(pos), in.width);
        std::int64_t f = to_fixed(pos - real(i));
        double t = pos - real(i);
        if (!vertical) {
            f = to_fixed(pos) - i * 4096;
            t = (real((in.channels - 1) * i) + pos) - real(in.channels * i);
            if (fixed ? f == 4096 : t >= 1) {
                ++i;
                f = 0;
                t = 0;
            }
        }
        const std::int64_t q0 = in.at(i - 1, y, c);
        const std::int64_t q1 = in.at(i, y, c);
        return fixed ? from_fixed(in, q0 * (4096 - f) + q1 * f)
                     : from_real(in, real(q0) * (1 - t) + real(q1) * t);
    });
}

// A limit makes a pass even of what keeps its size.
inline Picture cubic_axis(const Picture& in, std::uint32_t width, bool fixed, double a,
                          bool vertical, int bits = 0)
{
    const bool is_limited = bits != 0 && bits < in.bits;
    if (width == in.width && !is_limited)
        return in;
    if (in.width == 1 && !is_limited)
        return nearest(in, width, in.height);
    const double r = ratio_of(in.width, width);
    const auto xs = positions(r * 0.5 + 1.5, r, width);
    return in.with(width, in.height, in.channels, [&](auto x, auto y, auto c) {
        const double pos = xs[x];
        const std::int64_t i = std::min<std::int64_t>(floor_index(pos), in.width + 1);
        const double t = pos - real(i);
        const double s = 1 - t;
        const double before = a * t * (t - 1) * (t - 1);
        const double after = ((a + 2) * s * s - s - 1) * (s - 1);
        const double beyond = a * (1 - t) * t * t;
        const std::int64_t l[4] = {in.at(i - 3, y, c), in.at(i - 2, y, c), in.at(i - 1, y, c),
                                   in.at(i, y, c)};
        if (fixed) {
            const std::int64_t w[] = {to_fixed(before), to_fixed(after), to_fixed(beyond)};
            const std::int64_t centre = 4096 - (w[0] + w[1] + w[2]);
            const std::int64_t sum = l[0] * w[0] + l[1] * centre + l[2] * w[1] + l[3] * w[2];
            return limited(in, bits, from_fixed(in, sum));
        }
        const double sum = vertical ? real(l[0] - l[1]) * before + real(l[2] - l[1]) * after +
                                          real(l[3] - l[1]) * beyond + real(l[1])
                                    : real(l[0]) * before +
                                          real(l[1]) * (1 - (before + after + beyond)) +
                                          real(l[2]) * after + real(l[3]) * beyond;
        return limited(in, bits, from_real(in, sum));
    });
}

inline Picture cubic(const Picture& in, std::uint32_t width, std::uint32_t height, bool fixed,
                     double a = -1)
{
    return two_passes(in, width, height, [&](const Picture& p, std::uint32_t size, bool is_height) {
        return cubic_axis(p, size, fixed, a, is_height);
    });
}

// Fixed point but where more than 8 bits shrink. The limit holds for the pass that comes second.
inline Picture cubic_fast(const Picture& in, std::uint32_t width, std::uint32_t height, double a,
                          int bits)
{
    const bool height_first = height < in.height;
    return two_passes(in, width, height, [&](const Picture& p, std::uint32_t size, bool is_height) {
        const bool fixed = in.bits == 8 || size >= p.width;
        return cubic_axis(p, size, fixed, a, is_height, is_height == height_first ? 0 : bits);
    });
}

// Both axes at once, for shrinking.
inline Picture linear_shrink(const Picture& in, std::uint32_t width, std::uint32_t height,
                             bool fixed)
{
    const double rx = ratio_of(in.width, width);
    const double ry = ratio_of(in.height, height);
    const auto xs = positions(rx * 0.5 - 0.5, rx, width);
    const auto ys = positions(ry * 0.5 - 0.5, ry, height);
    const auto even = [](double r) {
        const auto n = static_cast<std::int64_t>(std::floor(r + 0.5));
        return n % 2 == 0 && std::abs(r - real(n)) <= std::numeric_limits<double>::epsilon();
    };
    const double kept = fixed ? std::trunc(rx * 4096) / 4096 : rx;
    const bool cells = even(kept) && even(ry);
    const auto cell = static_cast<std::int64_t>(std::floor(kept + 0.5));
    return in.with(width, height, in.channels, [&](auto x, auto y, auto ch) {
        const std::int64_t j = std::min<std::int64_t>(floor_index(ys[y]), in.height - 1);
        const std::int64_t i = cells ? cell / 2 - 1 + x * cell
                                     : std::min<std::int64_t>(floor_index(xs[x]), in.width - 1);
        const std::int64_t gx = to_fixed(xs[x]) - i * 4096;
        const std::int64_t gy = to_fixed(ys[y]) - j * 4096;
        const double tx = xs[x] - real(i);
        const double ty = ys[y] - real(j);
        const std::int64_t a = in.at(i, j, ch);
        const std::int64_t b = in.at(i + 1, j, ch);
        const std::int64_t c = in.at(i, j + 1, ch);
        const std::int64_t d = in.at(i + 1, j + 1, ch);
        if (cells) {
            const std::int64_t s = a + b + c + d;
            return !in.is_signed || s >= 1 ? (s + 2) >> 2 : (s + 1) >> 2;
        }
        if (fixed && in.channels == 1) {
            const std::int64_t t = ((d - c) - (b - a)) * gx + (c - a) * 4096;
            return from_fixed(in, a * 4096 + (b - a) * gx + ((t * gy) >> 12));
        }
        if (fixed) {
            const std::int64_t w = (gx * gy) >> 12;
            return from_fixed(in, a * (w - gx - gy + 4096) + b * (gx - w) + c * (gy - w) + d * w);
        }
        if (in.channels == 1) {
            const double t = real((d - c) - (b - a)) * tx + real(c - a);
            return from_real(in, real(a) + real(b - a) * tx + t * ty);
        }
        const double w = tx * ty;
        return from_real(in, real(a) * (w - tx - ty + 1) + real(b) * (tx - w) + real(c) * (ty - w) +
                                 real(d) * w);
    });
}

inline Picture linear(const Picture& in, std::uint32_t width, std::uint32_t height, bool fixed)
{
    if (width < in.width && height < in.height) {
        const bool odd_x = in.width % width == 0 && in.width / width % 2 == 1;
        const bool odd_y = in.height % height == 0 && in.height / height % 2 == 1;
        return odd_x && odd_y ? nearest(in, width, height)
                              : linear_shrink(in, width, height, fixed);
    }
    return two_passes(in, width, height, [&](const Picture& p, std::uint32_t size, bool is_height) {
        return linear_axis(p, size, fixed, is_height);
    });
}

inline Picture area_axis(const Picture& in, std::uint32_t width, bool fixed)
{
    if (width == in.width)
        return in;
    if (in.width == 1)
        return nearest(in, width, in.height);
    const double r = ratio_of(in.width, width);
    const auto xs = positions(0, r, width + 1);
    const std::int64_t n = in.width / width;
    const std::int64_t last = in.width - 1;
    return in.with(width, in.height, in.channels, [&](auto x, auto y, auto c) {
        const double pos = xs[x];
        const double next = xs[x + 1];
        const bool is_last = x == width - 1;
        if (width > in.width) {
            const std::int64_t i = is_last ? last : floor_index(pos);
            const double w = is_last || floor_index(next) == i ? 1.0 : (std::ceil(pos) - pos) / r;
            const std::int64_t q0 = in.at(i, y, c);
            const std::int64_t q1 = in.at(i + 1, y, c);
            return fixed ? (q0 * to_fixed(w) + q1 * (4096 - to_fixed(w)) + 2048) >> 12
                         : floor_index(real(q0) * w + (1 - w) * real(q1) + 0.5);
        }
        std::int64_t whole = 0;
        if (in.width % width == 0) {
            for (std::int64_t i = 0; i < n; ++i)
                whole += in.at(x * n + i, y, c);
            return (whole + n / 2) / n;
        }
        const std::int64_t begin =
            std::min<std::int64_t>(floor_index(pos), last - (is_last ? 1 : 0));
        std::int64_t end = is_last ? last : floor_index(next);
        if (x == width - 2)
            end = std::min(end, last - 1);
        for (std::int64_t i = begin + 1; i < end; ++i)
            whole += in.at(i, y, c);
        double sum = std::max(real(begin + 1) - pos, 0.0) * real(in.at(begin, y, c));
        sum += real(whole);
        sum += (is_last ? 1.0 : next - std::trunc(next)) * real(in.at(end, y, c));
        return std::min(floor_index(sum * (1.0 / r) + 0.5), in.maximum());
    });
}

inline Picture area(const Picture& in, std::uint32_t width, std::uint32_t height, bool fixed)
{
    return two_passes(in, width, height, [&](const Picture& p, std::uint32_t size, bool) {
        return area_axis(p, size, fixed);
    });
}

} // namespace nuv::model
