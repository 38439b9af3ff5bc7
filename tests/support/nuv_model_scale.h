#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

// Scaling one sample at a time, the slow and obvious way: what the engines are held against. Every
// coordinate is clamped where it is used, so there are no pads, tables or buffers to get wrong.
namespace nuv::model {

// Samples as wide integers, interleaved.
struct Picture {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int channels = 1;
    std::vector<std::int64_t> samples;

    Picture(std::int64_t w, std::int64_t h, int c)
        : width(w),
          height(h),
          channels(c),
          samples(static_cast<std::size_t>(w * h * c))
    {}
    template <class T>
    Picture(std::int64_t w, std::int64_t h, int c, const std::vector<T>& from)
        : width(w),
          height(h),
          channels(c),
          samples(from.begin(), from.end())
    {}

    [[nodiscard]] std::int64_t at(std::int64_t x, std::int64_t y, int c) const
    {
        x = std::clamp<std::int64_t>(x, 0, width - 1);
        y = std::clamp<std::int64_t>(y, 0, height - 1);
        return samples[static_cast<std::size_t>((y * width + x) * channels + c)];
    }
    std::int64_t& set(std::int64_t x, std::int64_t y, int c)
    {
        return samples[static_cast<std::size_t>((y * width + x) * channels + c)];
    }
    [[nodiscard]] Picture transposed() const
    {
        Picture turned(height, width, channels);
        for (std::int64_t y = 0; y < height; ++y)
            for (std::int64_t x = 0; x < width; ++x)
                for (int c = 0; c < channels; ++c)
                    turned.set(y, x, c) = at(x, y, c);
        return turned;
    }
    template <class T>
    [[nodiscard]] std::vector<T> as() const
    {
        std::vector<T> result;
        for (const std::int64_t s : samples)
            result.push_back(static_cast<T>(s));
        return result;
    }
};

// start, start + step, ... by addition.
inline std::vector<double> positions(double start, double step, std::int64_t count)
{
    std::vector<double> result;
    for (double p = start; count > 0; --count, p += step)
        result.push_back(p);
    return result;
}

inline double ratio_of(std::int64_t source, std::int64_t destination)
{
    return static_cast<double>(source) / static_cast<double>(destination);
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
inline std::int64_t from_fixed(std::int64_t sum, bool is_signed)
{
    if (!is_signed)
        return sum < 0 ? 0 : (sum + 2048) >> 12;
    if (sum == 0)
        return 0;
    return sum < 1 ? -((2048 - sum) >> 12) : (sum + 2048) >> 12;
}
inline std::int64_t from_real(double sum, bool is_signed)
{
    if (sum < 0)
        return is_signed ? static_cast<std::int64_t>(std::trunc(sum - 0.5)) : 0;
    return static_cast<std::int64_t>(std::trunc(sum + 0.5));
}

// How a kernel calculates.
struct Arithmetic {
    bool fixed = true;
    bool is_signed = false;
    std::int64_t minimum = 0;
    std::int64_t maximum = 255;

    template <class T>
    static Arithmetic of(bool use_fixed, int bits = 0)
    {
        const int all = 8 * static_cast<int>(sizeof(T));
        const int dropped = bits == 0 || bits >= all ? 0 : all - bits;
        return {use_fixed, std::is_signed_v<T>,
                std::int64_t{std::numeric_limits<T>::min()} >> dropped,
                std::int64_t{std::numeric_limits<T>::max()} >> dropped};
    }
};

// Does an axis the other way: a height pass is the width pass of the picture turned over.
template <class WidthPass>
Picture along_height(const Picture& in, WidthPass&& pass)
{
    return pass(in.transposed()).transposed();
}

// Two passes in the order that all scalers keep.
template <class WidthPass, class HeightPass>
Picture two_passes(const Picture& in, std::int64_t height, WidthPass&& width_pass,
                   HeightPass&& height_pass)
{
    return height < in.height ? width_pass(height_pass(in)) : height_pass(width_pass(in));
}

inline Picture nearest(const Picture& in, std::int64_t width, std::int64_t height)
{
    Picture out(width, height, in.channels);
    const double rx = ratio_of(in.width, width);
    const double ry = ratio_of(in.height, height);
    const auto xs = positions(rx * 0.5, rx, width);
    const auto ys = positions(ry * 0.5, ry, height);
    for (std::int64_t y = 0; y < height; ++y)
        for (std::int64_t x = 0; x < width; ++x)
            for (int c = 0; c < in.channels; ++c)
                out.set(x, y, c) = in.at(floor_index(xs[static_cast<std::size_t>(x)]),
                                         floor_index(ys[static_cast<std::size_t>(y)]), c);
    return out;
}

// One axis of the linear and of the cubic scaler. `vertical` picks the formulas of the height
// passes, which differ from those of the width in double precision.
inline Picture linear_axis(const Picture& in, std::int64_t width, const Arithmetic& how,
                           bool vertical)
{
    if (width == in.width)
        return in;
    if (in.width == 1)
        return nearest(in, width, in.height);
    Picture out(width, in.height, in.channels);
    const double r = ratio_of(in.width, width);
    const auto xs = positions((r + 1) * 0.5, r, width);
    for (std::int64_t x = 0; x < width; ++x) {
        const double pos = xs[static_cast<std::size_t>(x)];
        std::int64_t i = std::min(floor_index(pos), in.width); // counted from one pixel of padding
        std::int64_t f = to_fixed(pos - static_cast<double>(i));
        double t = pos - static_cast<double>(i);
        if (!vertical) {
            f = to_fixed(pos) - i * 4096;
            const double both = static_cast<double>((in.channels - 1) * i) + pos;
            t = both - static_cast<double>(in.channels * i);
            if (how.fixed ? f == 4096 : t >= 1) {
                ++i;
                f = 0;
                t = 0;
            }
        }
        for (std::int64_t y = 0; y < in.height; ++y) {
            for (int c = 0; c < in.channels; ++c) {
                const std::int64_t q0 = in.at(i - 1, y, c);
                const std::int64_t q1 = in.at(i, y, c);
                const auto d0 = static_cast<double>(q0);
                const auto d1 = static_cast<double>(q1);
                out.set(x, y, c) = how.fixed ? from_fixed(q0 * (4096 - f) + q1 * f, how.is_signed)
                                             : from_real(d0 * (1 - t) + d1 * t, how.is_signed);
            }
        }
    }
    return out;
}

inline Picture cubic_axis(const Picture& in, std::int64_t width, const Arithmetic& how, double a,
                          bool vertical, bool force = false)
{
    if (width == in.width && !force)
        return in;
    if (in.width == 1 && !force)
        return nearest(in, width, in.height);
    Picture out(width, in.height, in.channels);
    const double r = ratio_of(in.width, width);
    const auto xs = positions(r * 0.5 + 1.5, r, width);
    for (std::int64_t x = 0; x < width; ++x) {
        const double pos = xs[static_cast<std::size_t>(x)];
        const std::int64_t i = std::min(floor_index(pos), in.width + 1);
        const double t = pos - static_cast<double>(i);
        const double s = 1 - t;
        const double before = a * t * (t - 1) * (t - 1);
        const double after = ((a + 2) * s * s - s - 1) * (s - 1);
        const double beyond = a * (1 - t) * t * t;
        const double centre = 1 - (before + after + beyond);
        const std::int64_t fixed_centre =
            4096 - (to_fixed(before) + to_fixed(after) + to_fixed(beyond));
        for (std::int64_t y = 0; y < in.height; ++y) {
            for (int c = 0; c < in.channels; ++c) {
                const std::int64_t l[4] = {in.at(i - 3, y, c), in.at(i - 2, y, c),
                                           in.at(i - 1, y, c), in.at(i, y, c)};
                std::int64_t value = 0;
                if (how.fixed) {
                    value = from_fixed(l[0] * to_fixed(before) + l[1] * fixed_centre +
                                           l[2] * to_fixed(after) + l[3] * to_fixed(beyond),
                                       how.is_signed);
                } else if (vertical) {
                    double sum = static_cast<double>(l[0] - l[1]) * before;
                    sum += static_cast<double>(l[2] - l[1]) * after;
                    sum += static_cast<double>(l[3] - l[1]) * beyond;
                    sum += static_cast<double>(l[1]);
                    value = from_real(sum, how.is_signed);
                } else {
                    double sum = static_cast<double>(l[0]) * before;
                    sum += static_cast<double>(l[1]) * centre;
                    sum += static_cast<double>(l[2]) * after;
                    sum += static_cast<double>(l[3]) * beyond;
                    value = from_real(sum, how.is_signed);
                }
                out.set(x, y, c) = std::clamp(value, how.minimum, how.maximum);
            }
        }
    }
    return out;
}

inline Picture cubic(const Picture& in, std::int64_t width, std::int64_t height,
                     const Arithmetic& how, double a)
{
    return two_passes(
        in, height, [&](const Picture& p) { return cubic_axis(p, width, how, a, false); },
        [&](const Picture& p) {
            return along_height(
                p, [&](const Picture& turned) { return cubic_axis(turned, height, how, a, true); });
        });
}

// Both axes at once, for shrinking.
inline Picture linear_shrink(const Picture& in, std::int64_t width, std::int64_t height,
                             const Arithmetic& how)
{
    Picture out(width, height, in.channels);
    const double rx = ratio_of(in.width, width);
    const double ry = ratio_of(in.height, height);
    const auto xs = positions(rx * 0.5 - 0.5, rx, width);
    const auto ys = positions(ry * 0.5 - 0.5, ry, height);
    const auto even = [](double r) {
        const auto n = static_cast<std::int64_t>(std::floor(r + 0.5));
        return n % 2 == 0 && std::abs(r - static_cast<double>(n)) <= 2.220446049250313e-16;
    };
    const double kept = how.fixed ? std::trunc(rx * 4096) / 4096 : rx;
    const bool cells = even(kept) && even(ry);
    const auto cell = static_cast<std::int64_t>(std::floor(kept + 0.5));
    for (std::int64_t y = 0; y < height; ++y) {
        const double py = ys[static_cast<std::size_t>(y)];
        const std::int64_t j = std::min(floor_index(py), in.height - 1);
        for (std::int64_t x = 0; x < width; ++x) {
            const double px = xs[static_cast<std::size_t>(x)];
            const std::int64_t i =
                cells ? cell / 2 - 1 + x * cell : std::min(floor_index(px), in.width - 1);
            const std::int64_t gx = to_fixed(px) - i * 4096;
            const std::int64_t gy = to_fixed(py) - j * 4096;
            const double tx = px - static_cast<double>(i);
            const double ty = py - static_cast<double>(j);
            for (int ch = 0; ch < in.channels; ++ch) {
                const std::int64_t a = in.at(i, j, ch);
                const std::int64_t b = in.at(i + 1, j, ch);
                const std::int64_t c = in.at(i, j + 1, ch);
                const std::int64_t d = in.at(i + 1, j + 1, ch);
                const auto da = static_cast<double>(a);
                const auto db = static_cast<double>(b);
                const auto dc = static_cast<double>(c);
                const auto dd = static_cast<double>(d);
                std::int64_t value = 0;
                if (cells) {
                    const std::int64_t s = a + b + c + d;
                    value = !how.is_signed || s >= 1 ? (s + 2) >> 2 : (s + 1) >> 2;
                } else if (how.fixed && in.channels == 1) {
                    const std::int64_t t = ((d - c) - (b - a)) * gx + (c - a) * 4096;
                    value = from_fixed(a * 4096 + (b - a) * gx + ((t * gy) >> 12), how.is_signed);
                } else if (how.fixed) {
                    const std::int64_t w = (gx * gy) >> 12;
                    value =
                        from_fixed(a * (w - gx - gy + 4096) + b * (gx - w) + c * (gy - w) + d * w,
                                   how.is_signed);
                } else if (in.channels == 1) {
                    const double t = ((dd - dc) - (db - da)) * tx + (dc - da);
                    value = from_real(da + (db - da) * tx + t * ty, how.is_signed);
                } else {
                    const double w = tx * ty;
                    value =
                        from_real(da * (w - tx - ty + 1) + db * (tx - w) + dc * (ty - w) + dd * w,
                                  how.is_signed);
                }
                out.set(x, y, ch) = value;
            }
        }
    }
    return out;
}

inline Picture linear(const Picture& in, std::int64_t width, std::int64_t height,
                      const Arithmetic& how)
{
    if (width < in.width && height < in.height) {
        const bool odd_x = in.width % width == 0 && in.width / width % 2 == 1;
        const bool odd_y = in.height % height == 0 && in.height / height % 2 == 1;
        return odd_x && odd_y ? nearest(in, width, height) : linear_shrink(in, width, height, how);
    }
    return two_passes(
        in, height, [&](const Picture& p) { return linear_axis(p, width, how, false); },
        [&](const Picture& p) {
            return along_height(
                p, [&](const Picture& turned) { return linear_axis(turned, height, how, true); });
        });
}

inline Picture area_axis(const Picture& in, std::int64_t width, const Arithmetic& how)
{
    if (width == in.width)
        return in;
    if (in.width == 1)
        return nearest(in, width, in.height);
    Picture out(width, in.height, in.channels);
    const double r = ratio_of(in.width, width);
    const auto xs = positions(0, r, width + 1);
    const std::int64_t n = in.width / width;
    for (std::int64_t x = 0; x < width; ++x) {
        const double pos = xs[static_cast<std::size_t>(x)];
        const double next = xs[static_cast<std::size_t>(x + 1)];
        const bool is_last = x == width - 1;
        const std::int64_t begin = std::min(floor_index(pos), in.width - (is_last ? 2 : 1));
        std::int64_t end = is_last ? in.width - 1 : floor_index(next);
        if (x == width - 2)
            end = std::min(end, in.width - 2);
        for (std::int64_t y = 0; y < in.height; ++y) {
            for (int c = 0; c < in.channels; ++c) {
                std::int64_t value = 0;
                if (width > in.width) {
                    const std::int64_t i = is_last ? in.width - 1 : floor_index(pos);
                    const double w =
                        is_last || floor_index(next) == i ? 1.0 : (std::ceil(pos) - pos) / r;
                    const std::int64_t f = to_fixed(w);
                    const std::int64_t q0 = in.at(i, y, c);
                    const std::int64_t q1 = in.at(i + 1, y, c);
                    value = how.fixed ? (q0 * f + q1 * (4096 - f) + 2048) >> 12
                                      : floor_index(static_cast<double>(q0) * w +
                                                    (1 - w) * static_cast<double>(q1) + 0.5);
                } else if (in.width % width == 0) {
                    std::int64_t sum = 0;
                    for (std::int64_t i = 0; i < n; ++i)
                        sum += in.at(x * n + i, y, c);
                    value = (sum + n / 2) / n;
                } else {
                    const double first = std::max(static_cast<double>(begin + 1) - pos, 0.0);
                    const double last = is_last ? 1.0 : next - std::trunc(next);
                    std::int64_t whole = 0;
                    for (std::int64_t i = begin + 1; i < end; ++i)
                        whole += in.at(i, y, c);
                    double sum = first * static_cast<double>(in.at(begin, y, c));
                    sum += static_cast<double>(whole);
                    sum += last * static_cast<double>(in.at(end, y, c));
                    value = floor_index(sum * (1.0 / r) + 0.5);
                }
                out.set(x, y, c) = std::min(value, how.maximum);
            }
        }
    }
    return out;
}

inline Picture area(const Picture& in, std::int64_t width, std::int64_t height,
                    const Arithmetic& how)
{
    return two_passes(
        in, height, [&](const Picture& p) { return area_axis(p, width, how); },
        [&](const Picture& p) {
            return along_height(
                p, [&](const Picture& turned) { return area_axis(turned, height, how); });
        });
}

} // namespace nuv::model
