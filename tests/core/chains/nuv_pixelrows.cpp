#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/constantcolor/nuv_constantcolor.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "core/operation/nuv_not.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "tests/core/chains/nuv_operationrows.h"
#include "tests/support/nuv_pixeltables.h"

namespace nuv {
namespace {

using Image = NUV_ModelImage;
using Color = NUV_ColorType;

// Inversion of whole bytes sets the bits behind a line, too.
bool fills_its_bytes(const Image& in)
{
    return !in.is_raw() || in.bits > 1 || in.width * in.channels % 8 == 0;
}

std::uint32_t up_to(std::mt19937& random, std::uint32_t most)
{
    return static_cast<std::uint32_t>(1 + random() % most);
}

// Of the same size and channels, with samples of a type drawn, but without samples.
Image of_other_type(const Image& in, std::mt19937& random)
{
    Image out = in.without_samples();
    out.bits = random() % 2 == 0 ? 8 : 16;
    out.is_signed = random() % 2 == 0;
    return out;
}

// Each sample by itself.
template <class Change>
Image changed(const Image& in, Image out, Change change)
{
    out.samples.resize(in.samples.size());
    std::transform(in.samples.begin(), in.samples.end(), out.samples.begin(), change);
    return out;
}

NUV_DrawnOperation reverse_channels(const Image& in, std::mt19937&)
{
    return {appending<NUV_ReverseChannel>(),
            in.with(in.width, in.height, in.channels,
                    [&](auto x, auto y, auto c) { return in.at(x, y, in.channels - 1 - c); })};
}

NUV_DrawnOperation select_channels(const Image& in, std::mt19937& random)
{
    const auto first = static_cast<std::uint32_t>(random() % in.channels);
    const std::uint32_t count = up_to(random, in.channels - first);
    Image out = in.with(in.width, in.height, count,
                        [&](auto x, auto y, auto c) { return in.at(x, y, first + c); });
    out.color_type = Color::none;
    return {appending<NUV_SelectChannel>(first, count, Color::none), out};
}

// The image, some channels of one colour, the image again; then the other way round, and a part of
// that.
NUV_DrawnOperation merge_and_select(const Image& in, std::mt19937& random)
{
    std::vector<double> color;
    for (std::uint32_t left = up_to(random, 3); left > 0; --left)
        color.push_back(static_cast<double>(random() % 2 == 0 ? in.minimum() : in.maximum()));
    const auto all = static_cast<std::uint32_t>(std::size_t{2} * in.channels + color.size());
    const auto first = static_cast<std::uint32_t>(random() % all);
    const std::uint32_t count = up_to(random, std::min(all - first, 5U));
    const auto append = [=](NUV_TestChain& chain) {
        if (!chain.last())
            return false;
        NUV_Header header(chain.manager());
        const auto branches = chain.last()->branch(2);
        if (branches.empty() || !header.copy(chain.header()))
            return false;
        header.channels(static_cast<std::uint16_t>(color.size()));
        header.color_type(Color::none);
        NUV_Engine* middle = NUV_ConstantColor(chain.manager()).engine(&header, color);
        if (!middle)
            return false;
        NUV_Engine* const engines[] = {branches[0], middle, branches[1]};
        chain.last(NUV_MergeChannel(chain.manager()).engine(engines, Color::none));
        return chain.last() && chain.append<NUV_ReverseChannel>() &&
               chain.append<NUV_SelectChannel>(first, count, Color::none);
    };
    Image out = in.with(in.width, in.height, count, [&](auto x, auto y, auto c) {
        const std::uint32_t index = all - 1 - first - c;
        if (index < in.channels)
            return in.at(x, y, index);
        if (index >= in.channels + color.size())
            return in.at(x, y, static_cast<std::uint32_t>(index - in.channels - color.size()));
        return static_cast<std::int64_t>(color[index - in.channels]);
    });
    out.color_type = Color::none;
    return {append, out};
}

NUV_DrawnOperation invert(const Image& in, std::mt19937&)
{
    return {appending<NUV_Not>(), changed(in, in.without_samples(), [&](std::int64_t sample) {
                return in.maximum() + in.minimum() - sample;
            })};
}

NUV_DrawnOperation limit(const Image& in, std::mt19937& random)
{
    const auto draw = [&] {
        return in.minimum() + static_cast<std::int64_t>(random()) % (in.maximum() + 1);
    };
    const auto [least, most] = std::minmax({draw(), draw()});
    return {appending<NUV_LimitPixelValue>(most, least),
            changed(in, in.without_samples(), [least = least, most = most](std::int64_t sample) {
                return std::clamp(sample, least, most);
            })};
}

NUV_DrawnOperation expand_bits(const Image& in, std::mt19937& random)
{
    const Image out = of_other_type(in, random);
    const auto draw = [&] {
        return static_cast<std::int32_t>(out.minimum() +
                                         static_cast<std::int64_t>(random()) % out.maximum());
    };
    const std::int32_t one = draw();
    const std::int32_t zero = draw();
    return {appending<NUV_Convert1To8xNBits>(out.description().data_type, out.bits, one, zero),
            changed(in, out, [&](std::int64_t bit) { return bit != 0 ? one : zero; })};
}

// floor(sample x 2^shift + 1/2), at the ends of the new type or modulo its range.
NUV_DrawnOperation shift(const Image& in, std::mt19937& random)
{
    const Image out = of_other_type(in, random);
    const int by = static_cast<int>(random() % 37) - 18;
    const bool limits = random() % 2 == 0;
    return {appending<NUV_ShiftData>(out.description().data_type, out.bits, by, limits),
            changed(in, out, [&](std::int64_t sample) {
                const double shifted =
                    std::floor(std::ldexp(static_cast<double>(sample), by) + 0.5);
                auto value = static_cast<std::int64_t>(shifted);
                if (limits)
                    return std::clamp(value, out.minimum(), out.maximum());
                value &= (std::int64_t{1} << out.bits) - 1;
                return value > out.maximum() ? value - (std::int64_t{1} << out.bits) : value;
            })};
}

// Rounded to the nearest, but cut off where there is only an offset. Powers of two and units stand
// in the tests of values: they go by other ways that round otherwise.
NUV_DrawnOperation convert(const Image& in, std::mt19937& random)
{
    constexpr double slopes[] = {1, 1.5, 0.3, -0.7, 1 / 257.0, 255};
    constexpr double offsets[] = {0.7, -3, 127.25, -40000};
    const double slope = slopes[random() % std::size(slopes)];
    const double offset = offsets[random() % std::size(offsets)];
    const Image out = of_other_type(in, random);
    return {appending<NUV_ConvertDataType>(out.description().data_type, out.bits, slope, offset),
            changed(in, out, [&](std::int64_t sample) {
                const double value = static_cast<double>(sample) * slope + offset;
                const double whole = slope == 1 ? std::trunc(value) : std::round(value);
                return std::clamp(static_cast<std::int64_t>(whole), out.minimum(), out.maximum());
            })};
}

NUV_DrawnOperation threshold(const Image& in, std::mt19937& random)
{
    const double slope = random() % 2 == 0 ? 1.5 : -1;
    const auto range = static_cast<std::uint64_t>(in.maximum()) + 1;
    const double least = static_cast<double>(random() % range) * slope;
    Image out = in.without_samples();
    out.bits = 1;
    out.is_signed = false;
    return {appending<NUV_ConvertDataType>(NUV_DataType::u_integer, out.bits, slope, least),
            changed(in, out, [&](std::int64_t sample) {
                return static_cast<double>(sample) * slope >= least ? 1 : 0;
            })};
}

// What follows has no model: sums of its results stand in a test of their own.

// One table for all channels, or one for each; of those some are the same.
NUV_DrawnOperation table(const Image& in, std::mt19937& random)
{
    const Image out = of_other_type(in, random);
    const std::uint16_t channels = random() % 3 == 0 ? 1 : in.channels;
    const std::size_t table_bytes = (std::size_t{1} << in.bits) * out.bits / 8;
    Bytes bytes;
    for (std::uint16_t c = 0; c < channels; ++c) {
        const auto entries = random_samples<std::uint8_t>(table_bytes, random() % 3);
        bytes.insert(bytes.end(), entries.begin(), entries.end());
    }
    return {appending_table(out.bits, channels, out.description().data_type, bytes), out};
}

// Small factors, some that no 16 bits hold, and some whose sums no 32 bits hold.
NUV_DrawnOperation matrix(const Image& in, std::mt19937& random)
{
    constexpr double largest[] = {1, 1, 20, 60000};
    const double range = largest[random() % std::size(largest)];
    const std::uint32_t rows = up_to(random, 4);
    std::vector<double> factors(std::size_t{rows} * in.channels);
    std::vector<double> offsets(rows);
    for (auto* numbers : {&factors, &offsets}) {
        for (double& number : *numbers)
            number = (static_cast<double>(random() % 65536) / 32768 - 1) * range;
    }
    Image out = in.without_samples();
    out.channels = static_cast<std::uint16_t>(rows);
    out.color_type = Color::none;
    return {appending_matrix(rows, factors, offsets, random() % 2 == 0, Color::none), out};
}

NUV_DrawnOperation grid(const Image& in, std::mt19937& random)
{
    Image out = in.without_samples();
    out.channels = static_cast<std::uint16_t>(up_to(random, 5));
    out.color_type = Color::none;
    const std::uint32_t points = 1 + up_to(random, 4);
    const auto bytes = random_samples<std::uint8_t>(
        power(points, in.channels) * out.channels * in.bits / 8, random());
    return {appending_grid(in.bits, in.channels, out.channels, points, bytes), out};
}

// The ways that need no grid of three axes.
NUV_DrawnOperation color_space(const Image& in, std::mt19937& random)
{
    const Color* const bilevel[] = {Color::gray, Color::gray_reverse, Color::lstar};
    const Color* const one[] = {Color::lstar, Color::s_rgb, Color::ycbcr, Color::gray_reverse,
                                Color::hsl,   Color::cmyk,  Color::xyz,   Color::gray};
    const Color* const three[] = {Color::gray, Color::gray_reverse, Color::s_rgb, Color::hsl};
    Image out = in.without_samples();
    out.color_type = in.bits == 1       ? bilevel[random() % std::size(bilevel)]
                     : in.channels == 1 ? one[random() % std::size(one)]
                                        : three[random() % std::size(three)];
    out.channels = static_cast<std::uint16_t>(out.color_type->channels());
    return {appending<NUV_ColorSpace>(out.color_type), out};
}

bool has_cheap_color(const Image& in)
{
    const Color* const served[] = {Color::gray, Color::gray_reverse, Color::s_rgb, Color::ycbcr,
                                   Color::hsl};
    return in.is_raw() && !in.is_signed && fills_its_bytes(in) &&
           std::find(std::begin(served), std::end(served), in.color_type) != std::end(served);
}

} // namespace

std::vector<NUV_OperationRow> pixel_rows()
{
    const auto is_raw_bits = [](const Image& in) { return in.bits == 1 && in.is_raw(); };
    const auto is_narrow = [](const Image& in) {
        return has_unsigned_levels(in) && in.channels <= 4;
    };
    return {
        {"reverse_channels", "NUV_ReverseChannel::engine()", is_raw, reverse_channels},
        {"select_channels", "", is_raw, select_channels},
        {"merge_and_select", "", is_raw, merge_and_select},
        {"invert", "NUV_Not::engine()", fills_its_bytes, invert},
        {"limit", "NUV_LimitPixelValue::engine()", has_levels, limit},
        {"expand_bits", "NUV_Convert1To8xNBits::engine()", is_raw_bits, expand_bits},
        {"shift", "", has_levels, shift},
        {"convert", "NUV_ConvertDataType::engine()", is_raw, convert},
        {"threshold", "NUV_ConvertDataType::engine()", has_levels, threshold},
        {"table", "NUV_Lut::engine()", has_levels, table},
        {"matrix", "NUV_ColorMatrix::engine()", has_unsigned_levels, matrix},
        {"grid", "NUV_DLutTetrahedron::engine()", is_narrow, grid},
        {"color_space", "NUV_ColorSpace::engine()", has_cheap_color, color_space},
    };
}

} // namespace nuv
