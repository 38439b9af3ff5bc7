#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "tests/core/chains/nuv_operationrows.h"
#include "tests/support/nuv_model_scale.h"

#include <cmath>

namespace nuv {
namespace {

using Image = NUV_ModelImage;
using model::Picture;

bool has_levels(const Image& in)
{
    return in.bits > 1;
}

// Its own size, a whole part or multiple of it, or any up to 70.
std::uint32_t draw_length(std::uint32_t length, std::mt19937& random)
{
    const auto factor = static_cast<std::uint32_t>(2 + random() % 4);
    switch (random() % 6) {
    case 0:
        return length;
    case 1:
        return length % factor == 0 ? length / factor : length;
    case 2:
        return length * factor <= 300 ? length * factor : length;
    default:
        return static_cast<std::uint32_t>(1 + random() % 70);
    }
}

// By what `scale` makes of the whole picture.
template <class Scale>
Image scaled(const Image& in, std::uint32_t width, std::uint32_t height, Scale scale)
{
    Image out = in.without_samples();
    out.width = width;
    out.height = height;
    out.samples = scale(Picture(in.width, in.height, in.channels, in.samples)).samples;
    return out;
}

model::Arithmetic arithmetic_of(const Image& in, bool use_fixed)
{
    return {use_fixed, in.is_signed, in.minimum(), in.maximum()};
}

// The columns that a line's scaled runs cover.
Image scaled_runs(const Image& in, std::uint32_t width, std::uint32_t height)
{
    const double r = static_cast<double>(width) / in.width;
    Image lines = in.with(width, in.height, 1, [](auto, auto, auto) { return 0; });
    const auto scaled_edge = [&](std::uint32_t x) {
        return static_cast<std::uint32_t>(std::trunc(x * r + 0.5));
    };
    for (std::uint32_t y = 0; y < in.height; ++y) {
        for (std::uint32_t start = 0; start < in.width;) {
            std::uint32_t end = start;
            while (end < in.width && in.at(end, y, 0) != 0)
                ++end;
            for (std::uint32_t x = scaled_edge(start); x < std::min(scaled_edge(end), width); ++x)
                lines.samples[std::size_t{y} * width + x] = 1;
            start = end + 1;
        }
    }
    return scaled(lines, width, height,
                  [&](const Picture& p) { return model::nearest(p, width, height); });
}

NUV_DrawnOperation nearest(const Image& in, std::mt19937& random)
{
    const std::uint32_t width = draw_length(in.width, random);
    const std::uint32_t height = draw_length(in.height, random);
    return {appending<NUV_ScaleNN>(width, height),
            in.is_raw() ? scaled(in, width, height,
                                 [&](const Picture& p) { return model::nearest(p, width, height); })
                        : scaled_runs(in, width, height)};
}

// By Creator with the arithmetic that follows from the bits, and with one that it is told; `scale`
// is what it does to a picture.
template <class Creator, class Scale>
NUV_DrawnOperation by_bits(const Image& in, std::mt19937& random, Scale scale)
{
    const std::uint32_t width = draw_length(in.width, random);
    const std::uint32_t height = draw_length(in.height, random);
    const auto how = arithmetic_of(in, in.bits == 8);
    return {appending<Creator>(width, height), scaled(in, width, height, [&](const Picture& p) {
                return scale(p, width, height, how);
            })};
}

template <class Creator, class Scale>
NUV_DrawnOperation told(const Image& in, std::mt19937& random, Scale scale)
{
    const std::uint32_t width = draw_length(in.width, random);
    const std::uint32_t height = draw_length(in.height, random);
    const bool use_fixed = random() % 2 == 0;
    const auto how = arithmetic_of(in, use_fixed);
    return {
        appending<Creator>(width, height, use_fixed),
        scaled(in, width, height, [&](const Picture& p) { return scale(p, width, height, how); })};
}

NUV_DrawnOperation linear(const Image& in, std::mt19937& random)
{
    return by_bits<NUV_ScaleLI>(in, random, model::linear);
}

NUV_DrawnOperation linear_told(const Image& in, std::mt19937& random)
{
    return told<NUV_ScaleLI>(in, random, model::linear);
}

NUV_DrawnOperation cubic(const Image& in, std::mt19937& random)
{
    return by_bits<NUV_ScaleCC>(in, random, [](auto& p, auto w, auto h, auto& how) {
        return model::cubic(p, w, h, how, -1);
    });
}

NUV_DrawnOperation cubic_of_a_kernel(const Image& in, std::mt19937& random)
{
    const double kernels[] = {-0.5, -0.75, 0.25, -12};
    const double a = kernels[random() % 4];
    const std::uint32_t width = draw_length(in.width, random);
    const std::uint32_t height = draw_length(in.height, random);
    const bool use_fixed = random() % 2 == 0;
    const auto how = arithmetic_of(in, use_fixed);
    return {appending<NUV_ScaleCC>(width, height, use_fixed, a),
            scaled(in, width, height,
                   [&](const Picture& p) { return model::cubic(p, width, height, how, a); })};
}

NUV_DrawnOperation area(const Image& in, std::mt19937& random)
{
    return by_bits<NUV_ScalePP>(in, random, model::area);
}

NUV_DrawnOperation area_told(const Image& in, std::mt19937& random)
{
    return told<NUV_ScalePP>(in, random, model::area);
}

} // namespace

std::vector<NUV_OperationRow> scale_rows()
{
    const auto is_pointed = [](const Image& in) { return in.bits > 1 || in.channels == 1; };
    const auto is_unsigned = [](const Image& in) { return in.bits > 1 && !in.is_signed; };
    const auto by_bits_text = "NUV_ScaleUsingFixedReal::engine()";
    return {
        {"nearest", "NUV_ScaleNN::engine()", is_pointed, nearest},
        {"linear", by_bits_text, has_levels, linear},
        {"linear_told", "NUV_ScaleLI::engine()", has_levels, linear_told},
        {"cubic", by_bits_text, has_levels, cubic},
        {"cubic_of_a_kernel", "NUV_ScaleCC::engine()", has_levels, cubic_of_a_kernel},
        {"area", by_bits_text, is_unsigned, area},
        {"area_told", "NUV_ScalePP::engine()", is_unsigned, area_told},
    };
}

} // namespace nuv
