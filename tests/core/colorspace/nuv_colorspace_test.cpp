#include "core/colorspace/nuv_colorspace.h"

#include "core/colorspace/source/nuv_colorspaceconverter.h"
#include "tests/support/nuv_model_color.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <map>

namespace nuv {
namespace {

using Color = NUV_ColorType;

const NUV_ColorType* const colors[] = {
    Color::gray, Color::gray_reverse, Color::lstar,   Color::s_rgb, Color::adobe_rgb, Color::ycbcr,
    Color::hsl,  Color::icc_lab,      Color::itu_lab, Color::xyz,   Color::cmy,       Color::cmyk};

template <class T>
using Pixels = std::vector<std::vector<T>>;

// Pixels of one line through the conversion.
template <class T>
[[nodiscard]] Pixels<T> convert(const NUV_ColorType* source, const NUV_ColorType* target,
                                const Pixels<T>& pixels)
{
    std::vector<T> line;
    for (const auto& pixel : pixels)
        line.insert(line.end(), pixel.begin(), pixel.end());
    NUV_TestChain chain;
    chain.source<T>({.width = static_cast<std::uint32_t>(pixels.size()),
                     .channels = static_cast<std::uint16_t>(source->channels()),
                     .color_type = source},
                    line);
    if (!chain.append<NUV_ColorSpace>(target))
        return {};
    EXPECT_EQ(chain.header().color_type(), target);
    EXPECT_EQ(chain.header().channels(), target->channels());
    EXPECT_EQ(chain.header().bits(), 8 * sizeof(T));
    const auto samples = chain.run<T>();
    const std::size_t channels = target->channels();
    Pixels<T> result;
    for (std::size_t i = 0; i + channels <= samples.size(); i += channels) {
        const auto at = samples.begin() + static_cast<std::ptrdiff_t>(i);
        result.emplace_back(at, at + static_cast<std::ptrdiff_t>(channels));
    }
    return result;
}

// All corners of the cube, grays, and random colours.
template <class T>
[[nodiscard]] Pixels<T> some_pixels(std::size_t channels, std::size_t random_count)
{
    constexpr T top = std::numeric_limits<T>::max();
    Pixels<T> pixels;
    for (std::size_t corner = 0; corner < std::size_t{1} << channels; ++corner) {
        std::vector<T> pixel;
        for (std::size_t c = 0; c < channels; ++c)
            pixel.push_back((corner >> c & 1) != 0 ? top : T{0});
        pixels.push_back(pixel);
    }
    for (std::uint32_t level = 1; level < 16; ++level)
        pixels.emplace_back(channels, static_cast<T>(top / 16 * level));
    const auto random = random_samples<T>(channels * random_count, 77);
    for (std::size_t i = 0; i < random_count; ++i) {
        const auto at = random.begin() + static_cast<std::ptrdiff_t>(i * channels);
        pixels.emplace_back(at, at + static_cast<std::ptrdiff_t>(channels));
    }
    return pixels;
}

// Which modes a pair of colours takes, seen from outside.
[[nodiscard]] bool is_gray(const NUV_ColorType* color)
{
    return color == Color::gray || color == Color::gray_reverse;
}

template <class T>
[[nodiscard]] std::vector<T> model_by_grid(const NUV_ColorType* source, const NUV_ColorType* target,
                                           const std::vector<T>& pixel)
{
    constexpr int bits = 8 * sizeof(T);
    const bool to_cmyk = source == Color::s_rgb && target == Color::cmyk;
    const bool from_cmyk = source == Color::cmyk && target == Color::s_rgb;
    return model_dlut(pixel, 33, [&](const std::vector<std::size_t>& corner) {
        ModelPixel p;
        for (const std::size_t index : corner)
            p.push_back(static_cast<double>(index) / 32);
        if (!to_cmyk && !from_cmyk) {
            return model_samples<T>(model_from_xyz(target, model_to_xyz(source, p, bits), bits));
        }
        // The two that are computed in samples.
        constexpr int top = std::numeric_limits<T>::max();
        const auto s = model_samples<T>(p);
        std::vector<T> result;
        if (from_cmyk) {
            for (std::size_t c = 0; c < 3; ++c)
                result.push_back(static_cast<T>(top - std::min(s[c] + s[3], top)));
            return result;
        }
        const int k = top - *std::max_element(s.begin(), s.end());
        for (std::size_t c = 0; c < 3; ++c)
            result.push_back(static_cast<T>(k == top ? 0 : top - s[c] - k));
        result.push_back(static_cast<T>(k));
        return result;
    });
}

// The samples that a conversion is to give, from its definition.
template <class T>
[[nodiscard]] std::vector<T> model_convert(const NUV_ColorType* source, const NUV_ColorType* target,
                                           const std::vector<T>& pixel)
{
    constexpr T half = std::numeric_limits<T>::max() / 2 + 1;
    const bool fixed = sizeof(T) == 1;
    const auto inverted = [](std::vector<T> p) {
        for (T& sample : p)
            sample = static_cast<T>(~sample);
        return p;
    };
    const ModelPixel to_gray{0.298992944, 0.587015974, 0.113991082};
    const bool from_srgb = source == Color::s_rgb;

    if (source == target)
        return pixel;
    if (target == Color::hsl) {
        const auto srgb = model_convert(source, Color::s_rgb, pixel);
        return model_samples<T>(model_hsl_of(model_parts(srgb)));
    }
    if (source == Color::hsl) {
        const auto srgb = model_samples<T>(model_of_hsl(model_parts(pixel)));
        return model_convert(Color::s_rgb, target, srgb);
    }
    if (target == Color::gray_reverse && (from_srgb || source == Color::ycbcr))
        return inverted(model_convert(source, Color::gray, pixel));
    if (source == Color::gray_reverse && (target == Color::s_rgb || target == Color::ycbcr))
        return model_convert(Color::gray, target, inverted(pixel));
    if ((is_gray(source) && is_gray(target)) || (from_srgb && target == Color::cmy) ||
        (source == Color::cmy && target == Color::s_rgb))
        return inverted(pixel);
    if (from_srgb && target == Color::gray)
        return model_matrix(pixel, to_gray, {}, fixed);
    if (from_srgb && target == Color::ycbcr) {
        return model_matrix(pixel,
                            {0.298992944, 0.587015974, 0.113991082, -0.16873191, -0.331273123,
                             0.500005033, 0.500005033, -0.418698983, -0.08130605},
                            {0, half, half}, fixed);
    }
    if (source == Color::gray && target == Color::s_rgb)
        return {pixel[0], pixel[0], pixel[0]};
    if (source == Color::gray && target == Color::ycbcr)
        return {pixel[0], half, half};
    if (source == Color::ycbcr && target == Color::gray)
        return {pixel[0]};
    if (source == Color::ycbcr && target == Color::s_rgb) {
        return model_matrix(pixel, {1, 0, 1.402, 1, -0.3441, -0.7141, 1, 1.772, 0},
                            {-1.402 * half, (0.3441 + 0.7141) * half, -1.772 * half}, fixed);
    }
    constexpr int bits = 8 * sizeof(T);
    if (source->channels() == 1 && target->channels() == 1) {
        return model_samples<T>(
            model_from_xyz(target, model_to_xyz(source, model_parts(pixel), bits), bits));
    }
    return model_by_grid(source, target, pixel);
}

// How far interpolation goes from the functions themselves, in levels of 8 bits.
void expect_near_functions(const NUV_ColorType* source, const NUV_ColorType* target,
                           const Pixels<std::uint8_t>& pixels, const Pixels<std::uint8_t>& got)
{
    double sum = 0;
    double most = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const auto wanted = model_samples<std::uint8_t>(
            model_from_xyz(target, model_to_xyz(source, model_parts(pixels[i]), 8), 8));
        for (std::size_t c = 0; c < wanted.size(); ++c) {
            const double error = std::abs(got[i][c] - wanted[c]);
            sum += error;
            most = std::max(most, error);
        }
    }
    EXPECT_LT(sum / static_cast<double>(pixels.size() * target->channels()), 0.5);
    // Lab and XYZ reach far beyond what the others can show, and break off at its edge.
    const bool is_wide =
        source == Color::icc_lab || source == Color::itu_lab || source == Color::xyz;
    EXPECT_LE(most, is_wide ? 40 : 10);
}

template <class T>
class ColorSpace : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(ColorSpace, Samples);

TYPED_TEST(ColorSpace, ConvertsEveryPairAsDefined)
{
    using T = TypeParam;
    for (const NUV_ColorType* source : colors) {
        const auto pixels = some_pixels<T>(source->channels(), sizeof(T) == 1 ? 500 : 50);
        for (const NUV_ColorType* target : colors) {
            if (source == target)
                continue;
            SCOPED_TRACE(std::string(source->key()) + " to " + target->key());
            Pixels<T> wanted;
            for (const auto& pixel : pixels)
                wanted.push_back(model_convert(source, target, pixel));
            const auto got = convert(source, target, pixels);
            ASSERT_EQ(got, wanted);
            const bool is_direct = source == Color::ycbcr && is_gray(target); // luma, not gray
            if constexpr (sizeof(T) == 1) {
                if (source != Color::hsl && target != Color::hsl && !is_direct)
                    expect_near_functions(source, target, pixels, got);
            }
        }
    }
}

TYPED_TEST(ColorSpace, KeepsGraysAndPrimaries)
{
    using T = TypeParam;
    constexpr T top = std::numeric_limits<T>::max();
    constexpr T half = top / 2 + 1;
    Pixels<T> grays;
    Pixels<T> grays_of_ycbcr;
    for (std::uint32_t level = 0; level < 256; ++level) {
        const auto v = static_cast<T>(top / 255 * level);
        grays.push_back({v, v, v});
        grays_of_ycbcr.push_back({v, half, half});
    }
    EXPECT_EQ(convert(Color::s_rgb, Color::ycbcr, grays), grays_of_ycbcr);
    EXPECT_EQ(convert(Color::ycbcr, Color::s_rgb, grays_of_ycbcr), grays);

    const Pixels<T> corners = some_pixels<T>(3, 0);
    const auto back =
        convert(Color::ycbcr, Color::s_rgb, convert(Color::s_rgb, Color::ycbcr, corners));
    for (std::size_t i = 0; i < corners.size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(back[i][c], corners[i][c], top * 0.005) << i;
    }

    const Pixels<T> rgb{{0, 0, 0}, {top, top, top}, {top, 0, 0}, {0, top, 0}, {0, 0, top}};
    const Pixels<T> cmyk{
        {0, 0, 0, top}, {0, 0, 0, 0}, {0, top, top, 0}, {top, 0, top, 0}, {top, top, 0, 0}};
    EXPECT_EQ(convert(Color::s_rgb, Color::cmyk, rgb), cmyk);
    EXPECT_EQ(convert(Color::cmyk, Color::s_rgb, cmyk), rgb);
}

// sRGB primaries and white on D50, as published (Bradford adaptation): XYZ and Lab.
TEST(ColorSpaceReference, AgreesWithPublishedColors)
{
    const Pixels<std::uint16_t> primaries{
        {65535, 0, 0}, {0, 65535, 0}, {0, 0, 65535}, {65535, 65535, 65535}};
    const double xyz[4][3] = {{0.43607, 0.22249, 0.01392},
                              {0.38515, 0.71687, 0.09708},
                              {0.14307, 0.06061, 0.71410},
                              {0.96429, 1.0, 0.82510}};
    const double lab[4][3] = {
        {54.29, 80.81, 69.89}, {87.82, -79.27, 80.99}, {29.57, 68.30, -112.03}, {100, 0, 0}};
    const auto got_xyz = convert(Color::s_rgb, Color::xyz, primaries);
    const auto got_lab = convert(Color::s_rgb, Color::icc_lab, primaries);
    ASSERT_EQ(got_xyz.size(), 4U);
    ASSERT_EQ(got_lab.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_NEAR(got_xyz[i][c] / 65535.0, xyz[i][c], 2e-4);
            const double value =
                got_lab[i][c] / 65535.0 * (c == 0 ? 100 : 255) - (c == 0 ? 0 : 128);
            EXPECT_NEAR(value, lab[i][c], 0.1);
        }
    }
}

TEST(ColorSpaceBilevel, InvertsOrRelabels)
{
    const NUV_ColorType* const grays[] = {Color::gray, Color::gray_reverse, Color::lstar};
    for (const NUV_ColorType* source : grays) {
        for (const NUV_ColorType* target : grays) {
            NUV_TestChain chain;
            chain.source_bytes({.width = 16, .height = 2, .bits = 1, .color_type = source},
                               {0x0F, 0x81, 0xFF, 0x00});
            const NUV_Engine* before = chain.last();
            ASSERT_TRUE(chain.append<NUV_ColorSpace>(target));
            EXPECT_EQ(chain.last() == before, source == target);
            EXPECT_EQ(chain.header().color_type(), target);
            EXPECT_EQ(chain.header().bits(), 1);
            const bool inverts = (source == Color::gray_reverse) != (target == Color::gray_reverse);
            EXPECT_EQ(chain.run_bytes(), inverts
                                             ? (std::vector<std::uint8_t>{0xF0, 0x7E, 0x00, 0xFF})
                                             : (std::vector<std::uint8_t>{0x0F, 0x81, 0xFF, 0x00}));
        }
    }
}

TEST(ColorSpaceSame, AppendsNothing)
{
    for (const NUV_ColorType* color : {Color::unknown, Color::none, Color::cmyk}) {
        NUV_TestChain chain;
        chain.blank_source({.channels = 4, .color_type = color});
        const NUV_Engine* before = chain.last();
        EXPECT_TRUE(chain.append<NUV_ColorSpace>(color));
        EXPECT_EQ(chain.last(), before);
    }
}

TEST(ColorSpaceRefusal, SaysWhyAndLeavesNothingBehind)
{
    struct Case {
        const char* what;
        NUV_TestImage image;
        const NUV_ColorType* target;
        NUV_StatusCode code;
    };
    const NUV_ColorType* gray = Color::gray;
    const Case cases[] = {
        {"no colour", {.color_type = gray}, nullptr, NUV_ERR_ARGUMENT},
        {"from none", {}, gray, NUV_ERR_UNSUPPORTED},
        {"from unknown", {.color_type = Color::unknown}, gray, NUV_ERR_UNSUPPORTED},
        {"to none", {.color_type = gray}, Color::none, NUV_ERR_UNSUPPORTED},
        {"to unknown", {.color_type = gray}, Color::unknown, NUV_ERR_UNSUPPORTED},
        {"four bits", {.bits = 4, .color_type = gray}, Color::lstar, NUV_ERR_UNSUPPORTED},
        {"32 bits", {.bits = 32, .color_type = gray}, Color::lstar, NUV_ERR_UNSUPPORTED},
        {"bilevel to three", {.bits = 1, .color_type = gray}, Color::s_rgb, NUV_ERR_UNSUPPORTED},
        {"bilevel of three",
         {.channels = 3, .bits = 1, .color_type = Color::s_rgb},
         gray,
         NUV_ERR_UNSUPPORTED},
        {"signed",
         {.data_type = NUV_DataType::s_integer, .color_type = gray},
         Color::s_rgb,
         NUV_ERR_UNSUPPORTED},
        {"runs",
         {.bits = 1, .encode_type = NUV_EncodeType::qd_rle, .color_type = gray},
         Color::gray_reverse,
         NUV_ERR_UNSUPPORTED},
        {"palette", {.palette = true}, gray, NUV_ERR_UNSUPPORTED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_ColorSpace>(c.target));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, "NUV_ColorSpace::engine()");
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_ColorSpace>(gray));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    NUV_TestChain converter;
    converter.blank_source({.color_type = gray});
    const NUV_CsUtility* no_plan = nullptr;
    EXPECT_FALSE(converter.append<NUV_ColorSpaceConverter>(gray, no_plan));
    EXPECT_STREQ(converter.status().method, "NUV_ColorSpaceConverter::engine()");
}

TEST(ColorSpaceRefusal, OfPointsSaysWhy)
{
    struct Case {
        NUV_TestImage image;
        const NUV_ColorType* target;
        NUV_StatusCode code;
        const char* method;
    };
    constexpr auto in_creator = "NUV_ColorSpaceConverterPtoP::engine()";
    constexpr auto in_engine = "NUV_ColorSpaceConverterPtoPEngine::initiate()";
    const Case cases[] = {
        {{}, nullptr, NUV_ERR_ARGUMENT, in_creator},
        {{.bits = 1}, Color::hsl, NUV_ERR_UNSUPPORTED, in_creator},
        {{.channels = 3, .color_type = Color::xyz}, Color::hsl, NUV_ERR_UNSUPPORTED, in_engine},
        {{.channels = 3, .data_type = NUV_DataType::s_integer, .color_type = Color::s_rgb},
         Color::hsl,
         NUV_ERR_UNSUPPORTED,
         in_engine},
    };
    for (const Case& c : cases) {
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_ColorSpaceConverterPtoP>(c.target));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    NUV_TestChain same;
    same.blank_source({.channels = 3, .color_type = Color::hsl});
    EXPECT_TRUE(same.append<NUV_ColorSpaceConverterPtoP>(Color::hsl));
}

TEST(ColorSpaceRefusal, SurvivesEveryFailedAllocation)
{
    struct Case {
        const NUV_ColorType* source;
        const NUV_ColorType* target;
        std::uint16_t bits;
    };
    // One of each mode.
    const Case cases[] = {
        {Color::gray, Color::lstar, 8},         {Color::s_rgb, Color::ycbcr, 16},
        {Color::gray, Color::xyz, 8},           {Color::s_rgb, Color::gray_reverse, 8},
        {Color::gray_reverse, Color::s_rgb, 8}, {Color::gray, Color::gray_reverse, 1},
        {Color::s_rgb, Color::hsl, 8},          {Color::gray, Color::lstar, 1},
        {Color::hsl, Color::gray, 8},           {Color::gray, Color::hsl, 8}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.source->key()) + " to " + c.target->key());
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.blank_source({.width = 2,
                                .channels = static_cast<std::uint16_t>(c.source->channels()),
                                .bits = c.bits,
                                .color_type = c.source});
            chain.append<NUV_ColorSpace>(c.target);
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
