#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/nuv_scaless.h"
#include "extension/scalefast/nuv_scaleppby.h"
#include "extension/scalefast/nuv_scaleppfastby.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "extension/scalei2varex/nuv_scaleccfastby.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "extension/scalei2varex/nuv_scalelifastby.h"
#include "tests/core/chains/nuv_operationrows.h"
#include "tests/support/nuv_model_scalei2.h"

namespace nuv {
namespace {

using Image = NUV_ModelImage;
using Fixed = NUV_FixedReal;

bool suits_masks(const Image& in)
{
    return has_unsigned_levels(in) && in.channels != 2 && in.channels != 5;
}

bool is_large_for_masks(const Image& in)
{
    return suits_masks(in) && in.width >= 8 && in.height >= 8;
}

struct Size {
    std::uint32_t width, height;
};

// Its own length, a whole part or multiple of it, or any up to 70.
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

Size draw_size(const Image& in, std::mt19937& random)
{
    const std::uint32_t width = draw_length(in.width, random);
    return {width, draw_length(in.height, random)};
}

// None, all of the sample's, or fewer.
std::uint16_t draw_limit(const Image& in, std::mt19937& random)
{
    const int bits[] = {0, in.bits, in.bits - 2, in.bits - 3};
    return static_cast<std::uint16_t>(bits[random() % 4]);
}

// The columns that the scaled runs of a line cover.
Image nearest_runs(const Image& in, std::uint32_t width, std::uint32_t height)
{
    const double r = static_cast<double>(width) / in.width;
    const auto scaled = [&](std::uint32_t x) {
        return std::min(width, static_cast<std::uint32_t>(std::trunc(x * r + 0.5)));
    };
    Image lines = in.with(width, in.height, 1, [](auto, auto, auto) { return 0; });
    for (std::uint32_t y = 0; y < in.height; ++y) {
        for (std::uint32_t start = 0; start < in.width;) {
            std::uint32_t end = start;
            while (end < in.width && in.at(end, y, 0) != 0)
                ++end;
            for (std::uint32_t x = scaled(start); x < scaled(end); ++x)
                lines.samples[std::size_t{y} * width + x] = 1;
            start = end + 1;
        }
    }
    return model::nearest(lines, width, height);
}

NUV_DrawnOperation nearest(const Image& in, std::mt19937& random)
{
    const auto [width, height] = draw_size(in, random);
    return {appending<NUV_ScaleNN>(width, height),
            in.is_raw() ? model::nearest(in, width, height) : nearest_runs(in, width, height)};
}

NUV_DrawnOperation repeat(const Image& in, std::mt19937& random)
{
    const auto x = static_cast<std::uint32_t>(1 + random() % 5);
    const auto y = static_cast<std::uint32_t>(1 + random() % 3);
    return {appending<NUV_ScaleIRE>(x, y), model::nearest(in, x * in.width, y * in.height)};
}

NUV_DrawnOperation subsample(const Image& in, std::mt19937& random)
{
    const auto step_x = static_cast<std::uint32_t>(1 + random() % 5);
    const auto step_y = static_cast<std::uint32_t>(1 + random() % 5);
    const auto x0 = static_cast<std::uint32_t>(random() % in.width);
    const auto y0 = static_cast<std::uint32_t>(random() % in.height);
    return {appending<NUV_ScaleSS>(step_x, step_y, x0, y0),
            in.with((in.width - x0 + step_x - 1) / step_x, (in.height - y0 + step_y - 1) / step_y,
                    in.channels, [&](auto x, auto y, auto c) {
                        return in.at(x0 + x * step_x, y0 + y * step_y, c);
                    })};
}

NUV_DrawnOperation means(const Image& in, std::mt19937& random)
{
    const auto part = [&](std::uint32_t size) {
        auto factor = static_cast<std::uint32_t>(1 + random() % size);
        while (size % factor != 0)
            --factor;
        return size / factor;
    };
    const std::uint32_t width = part(in.width);
    const std::uint32_t height = part(in.height);
    return {appending<NUV_ScaleIAR>(width, height), model::area(in, width, height, true)};
}

// Fixed-point numbers up to 8 bits, and as it is told.
template <class Creator, class Scale>
NUV_DrawnOperation by_bits(const Image& in, std::mt19937& random, Scale scale)
{
    const auto [width, height] = draw_size(in, random);
    return {appending<Creator>(width, height), scale(in, width, height, in.bits == 8)};
}

template <class Creator, class Scale>
NUV_DrawnOperation as_told(const Image& in, std::mt19937& random, Scale scale)
{
    const auto [width, height] = draw_size(in, random);
    const bool use_fixed = random() % 2 == 0;
    return {appending<Creator>(width, height, use_fixed), scale(in, width, height, use_fixed)};
}

// As the type says: Creator<NUV_FixedReal> and Creator<double>.
template <template <class> class Creator, class Scale>
NUV_DrawnOperation by_type(const Image& in, std::mt19937& random, Scale scale)
{
    const auto [width, height] = draw_size(in, random);
    const bool use_fixed = random() % 2 == 0;
    return {use_fixed ? appending<Creator<Fixed>>(width, height)
                      : appending<Creator<double>>(width, height),
            scale(in, width, height, use_fixed)};
}

Image cubic(const Image& in, std::uint32_t width, std::uint32_t height, bool use_fixed)
{
    return model::cubic(in, width, height, use_fixed);
}

NUV_DrawnOperation cubic_of_a_kernel(const Image& in, std::mt19937& random)
{
    const double kernels[] = {-0.5, -0.75, 0.25, -12};
    const double a = kernels[random() % 4];
    const auto [width, height] = draw_size(in, random);
    if (random() % 2 == 0)
        return {appending<NUV_ScaleCC>(width, height, a),
                model::cubic(in, width, height, in.bits == 8, a)};
    const bool use_fixed = random() % 2 == 0;
    return {appending<NUV_ScaleCC>(width, height, use_fixed, a),
            model::cubic(in, width, height, use_fixed, a)};
}

// Above 8 bits in double precision whatever the type.
Image fast_area(const Image& in, std::uint32_t width, std::uint32_t height, bool use_fixed)
{
    return model::area(in, width, height, use_fixed && in.bits == 8);
}

NUV_DrawnOperation cubic_fast(const Image& in, std::mt19937& random)
{
    const auto [width, height] = draw_size(in, random);
    const std::uint16_t bits = draw_limit(in, random);
    if (random() % 4 == 0)
        return {appending<NUV_ScaleCCFastBy<Fixed>>(width, height),
                model::cubic_fast(in, width, height, -1, 0)};
    return {appending<NUV_ScaleCCFastBy<Fixed>>(width, height, -0.75, bits),
            model::cubic_fast(in, width, height, -0.75, bits)};
}

constexpr float mask_kernels[] = {-0.75F, -0.5F, -2.0F, 0.25F};

NUV_DrawnOperation mask_each(const Image& in, std::mt19937& random)
{
    const auto length = [&](std::uint32_t size) {
        const auto least = std::max(8U, static_cast<std::uint32_t>(std::ceil(0.33 * size)));
        return static_cast<std::uint32_t>(random() % 4 == 0 ? size : least + random() % (size + 9));
    };
    const std::uint32_t width = length(in.width);
    const std::uint32_t height = length(in.height);
    const std::uint16_t bits = draw_limit(in, random);
    const float a = mask_kernels[random() % 4];
    const bool is_plain = random() % 4 == 0;
    return {is_plain ? appending<NUV_ScaleI2VAR>(width, height)
                     : appending<NUV_ScaleI2VAR>(width, height, a, bits),
            is_plain ? model::mask_each(in, width, height, 0)
                     : model::mask_each(in, width, height, bits, a)};
}

NUV_DrawnOperation mask_both(const Image& in, std::mt19937& random)
{
    const std::uint32_t width = 7 + draw_length(in.width, random);
    const std::uint32_t height = 7 + draw_length(in.height, random);
    const std::uint16_t bits = draw_limit(in, random);
    const float a = mask_kernels[random() % 4];
    return {appending<NUV_ScaleI2>(width, height, a, bits),
            model::mask_both(in, width, height, bits, a)};
}

NUV_DrawnOperation select_by_ratios(const Image& in, std::mt19937& random)
{
    const auto [width, height] = draw_size(in, random);
    const std::uint16_t bits = draw_limit(in, random);
    if (random() % 4 == 0)
        return {appending<NUV_ScaleI2VARExBy<Fixed>>(width, height),
                model::selected(in, width, height, 0)};
    const double factors[] = {model::ratio_of(width, in.width), model::ratio_of(height, in.height)};
    return {random() % 2 == 0
                ? appending<NUV_ScaleI2VARExBy<Fixed>>(width, height, -0.75, bits)
                : appending<NUV_ScaleI2VARExBy<Fixed>>(factors[0], factors[1], -0.75, bits),
            model::selected(in, width, height, bits)};
}

// The draw of Creator by one of the three above.
// NOLINTBEGIN(bugprone-macro-parentheses): the name of a template takes none
#define NUV_DRAW(how, creator, scale)                                                              \
    [](const Image& in, std::mt19937& random) { return how<creator>(in, random, scale); }
// NOLINTEND(bugprone-macro-parentheses)

} // namespace

std::vector<NUV_OperationRow> scale_rows()
{
    const auto text_by_bits = "NUV_ScaleUsingFixedReal::engine()";
    // clang-format off
    return {
        {"nearest", "NUV_ScaleNN::engine()", has_pixels, nearest},
        {"repeat", "NUV_ScaleIRE::engine()", has_raw_pixels, repeat},
        {"subsample", "NUV_ScaleSS::engine()", has_levels, subsample},
        {"means", "NUV_ScaleIAR::engine()", has_unsigned_levels, means},
        {"linear", text_by_bits, has_levels, NUV_DRAW(by_bits, NUV_ScaleLI, model::linear)},
        {"linear_told", "NUV_ScaleLI::engine()", has_levels, NUV_DRAW(as_told, NUV_ScaleLI, model::linear)},
        {"linear_by", "NUV_ScaleLIBy::engine()", has_levels, NUV_DRAW(by_type, NUV_ScaleLIBy, model::linear)},
        {"linear_fast", "NUV_ScaleLIFastBy::engine()", has_levels, NUV_DRAW(by_type, NUV_ScaleLIFastBy, model::linear)},
        {"cubic", text_by_bits, has_levels, NUV_DRAW(by_bits, NUV_ScaleCC, cubic)},
        {"cubic_of_a_kernel", "NUV_ScaleCC::engine()", has_levels, cubic_of_a_kernel},
        {"cubic_fast", "NUV_ScaleCCFastBy::engine()", has_levels, cubic_fast},
        {"area", text_by_bits, has_unsigned_levels, NUV_DRAW(by_bits, NUV_ScalePP, model::area)},
        {"area_told", "NUV_ScalePP::engine()", has_unsigned_levels, NUV_DRAW(as_told, NUV_ScalePP, model::area)},
        {"area_by", "NUV_ScalePPBy::engine()", has_unsigned_levels, NUV_DRAW(by_type, NUV_ScalePPBy, model::area)},
        {"area_fast", "NUV_ScalePPFastBy::engine()", has_unsigned_levels, NUV_DRAW(by_type, NUV_ScalePPFastBy, fast_area)},
        {"mask_each", "NUV_ScaleI2VAR::engine()", is_large_for_masks, mask_each},
        {"mask_both", "NUV_ScaleI2::engine()", is_large_for_masks, mask_both},
        {"select_by_ratios", "NUV_ScaleI2VARExBy::engine()", suits_masks, select_by_ratios},
    };
    // clang-format on
}

} // namespace nuv
