#include "extension/scalei2varex/nuv_scalei2varexby.h"

#include "tests/core/scale/nuv_scalecases.h"
#include "tests/support/nuv_model_scalei2.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace nuv {
namespace {

using Fixed = NUV_FixedReal;
using model::Picture;

// The steps of a way to a result, for samples of type T.
template <class T>
struct Steps {
    std::int64_t width, height;
    int bits;

    [[nodiscard]] std::int64_t maximum(int limit) const
    {
        return model::Arithmetic::of<T>(true, limit).maximum;
    }
    [[nodiscard]] Picture area(const Picture& in, std::int64_t w, std::int64_t h) const
    {
        return model::area(in, w, h, model::Arithmetic::of<T>(sizeof(T) == 1));
    }
    [[nodiscard]] Picture mask(const Picture& in, std::int64_t w, std::int64_t h, int limit) const
    {
        return model::i2var(in, w, h, sizeof(T) == 1, maximum(limit));
    }
    [[nodiscard]] Picture cubic(const Picture& in) const
    {
        return model::cubic_fast<T>(in, width, height, -0.75, bits);
    }
    [[nodiscard]] Picture linear(const Picture& in) const
    {
        return model::linear(in, width, height, model::Arithmetic::of<T>(true));
    }
    [[nodiscard]] Picture both(const Picture& in) const
    {
        return model::i2(in, width, height, sizeof(T) == 1, maximum(bits));
    }
    [[nodiscard]] Picture limited(Picture in) const
    {
        for (std::int64_t& sample : in.samples)
            sample = std::min(sample, maximum(bits));
        return in;
    }
};

template <class T>
class ScaleI2VAREx : public ::testing::Test {};
using Samples = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(ScaleI2VAREx, Samples);

// One way for each pair of ratios, and those to and from fewer than 8 pixels.
TYPED_TEST(ScaleI2VAREx, GoesTheWayOfItsRatios)
{
    using Way = std::function<Picture(const Steps<TypeParam>&, const Picture&)>;
    using S = const Steps<TypeParam>&;
    using P = const Picture&;
    struct Row {
        const char* what;
        NUV_ScaleCase sizes;
        Way way;
    };
    const Row rows[] = {
        {"both grow", {10, 9, 17, 20, 3}, [](S s, P in) { return s.cubic(in); }},
        {"wider, lower",
         {20, 40, 33, 20, 3},
         [](S s, P in) { return s.cubic(s.mask(in, 20, 20, 0)); }},
        {"as wide, lower",
         {20, 40, 20, 23, 1},
         [](S s, P in) { return s.cubic(s.mask(in, 20, 23, 0)); }},
        {"wider, far lower",
         {20, 70, 33, 10, 3},
         [](S s, P in) { return s.cubic(s.mask(s.area(in, 20, 20), 20, 10, 0)); }},
        {"narrower, higher",
         {40, 20, 30, 21, 4},
         [](S s, P in) { return s.cubic(s.mask(in, 30, 20, 0)); }},
        {"narrower, as high",
         {40, 20, 30, 20, 3},
         [](S s, P in) { return s.cubic(s.mask(in, 30, 20, 0)); }},
        {"far narrower, higher",
         {70, 20, 11, 50, 1},
         [](S s, P in) { return s.cubic(s.mask(s.area(in, 22, 20), 11, 20, 0)); }},
        {"both shrink", {50, 40, 25, 33, 3}, [](S s, P in) { return s.mask(in, 25, 33, s.bits); }},
        {"far lower",
         {50, 70, 25, 10, 3},
         [](S s, P in) { return s.mask(s.area(in, 50, 20), 25, 10, s.bits); }},
        {"far narrower",
         {70, 50, 9, 25, 4},
         [](S s, P in) { return s.mask(s.area(in, 18, 50), 9, 25, s.bits); }},
        {"both far, alike", {80, 60, 12, 9, 3}, [](S s, P in) { return s.both(in); }},
        {"both far, not alike",
         {80, 60, 12, 10, 3},
         [](S s, P in) { return s.mask(s.area(in, 24, 20), 12, 10, s.bits); }},
        {"33 percent is not far",
         {100, 100, 33, 33, 1},
         [](S s, P in) { return s.mask(in, 33, 33, s.bits); }},

        {"from 7 columns", {7, 100, 20, 9, 3}, [](S s, P in) { return s.cubic(in); }},
        {"from 7 lines", {60, 7, 10, 7, 1}, [](S s, P in) { return s.cubic(in); }},
        {"from one pixel", {1, 1, 3, 2, 3}, [](S s, P in) { return s.cubic(in); }},
        {"to 5 columns",
         {12, 20, 5, 13, 3},
         [](S s, P in) { return s.linear(s.mask(in, 8, 13, s.bits)); }},
        {"to 6 lines",
         {12, 9, 20, 6, 4},
         [](S s, P in) { return s.linear(s.mask(in, 20, 8, s.bits)); }},
        {"to 4 by 3",
         {8, 9, 4, 3, 3},
         [](S s, P in) { return s.linear(s.mask(in, 8, 8, s.bits)); }},
        {"to 5 columns, far",
         {20, 20, 5, 13, 3},
         [](S s, P in) { return s.limited(s.area(in, 5, 13)); }},
        {"to 6 lines, higher not",
         {50, 40, 60, 6, 1},
         [](S s, P in) { return s.limited(s.area(in, 60, 6)); }},
    };
    constexpr int most = 8 * sizeof(TypeParam);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        for (const int bits : {0, most - 2}) {
            const Steps<TypeParam> steps{row.sizes.width, row.sizes.height, bits};
            expect_scaled_as<TypeParam, NUV_ScaleI2VARExBy<Fixed>>(
                row.sizes, [&](const Picture& in) { return row.way(steps, in); }, row.sizes.width,
                row.sizes.height, -0.75, static_cast<std::uint16_t>(bits));
        }
        const Steps<TypeParam> steps{row.sizes.width, row.sizes.height, 0};
        expect_scaled_as<TypeParam, NUV_ScaleI2VARExBy<Fixed>>(
            row.sizes, [&](const Picture& in) { return row.way(steps, in); }, row.sizes.width,
            row.sizes.height);
        expect_scaled_as<TypeParam, NUV_ScaleI2VARExBy<Fixed>>(
            row.sizes, [&](const Picture& in) { return row.way(steps, in); },
            model::ratio_of(row.sizes.width, row.sizes.source_width),
            model::ratio_of(row.sizes.height, row.sizes.source_height), -0.75, std::uint16_t{0});
    }
}

TYPED_TEST(ScaleI2VAREx, KeepsTheKindOfThePicture)
{
    const std::uint32_t sizes[] = {9, 40, 50, 100, 130, 6};
    for (const std::uint32_t width : sizes) {
        for (const std::uint32_t height : sizes) {
            NUV_TestChain chain;
            chain.blank_source({.width = 100,
                                .height = 100,
                                .channels = 3,
                                .bits = 8 * sizeof(TypeParam),
                                .color_type = NUV_ColorType::s_rgb});
            ASSERT_TRUE(chain.append<NUV_ScaleI2VARExBy<Fixed>>(width, height));
            EXPECT_EQ(chain.header().width(), width);
            EXPECT_EQ(chain.header().height(), height);
            EXPECT_EQ(chain.header().bits(), 8 * sizeof(TypeParam));
            EXPECT_EQ(chain.header().data_type(), NUV_DataType::u_integer);
            EXPECT_EQ(chain.header().color_type(), NUV_ColorType::s_rgb);
        }
    }
}

TYPED_TEST(ScaleI2VAREx, LimitsEvenWhereNothingIsScaled)
{
    constexpr int bits = 8 * sizeof(TypeParam) - 2;
    const Steps<TypeParam> steps{12, 9, bits};
    const NUV_ScaleCase c{12, 9, 12, 9, 3};
    expect_scaled_as<TypeParam, NUV_ScaleI2VARExBy<double>>(
        c, [&](const Picture& in) { return steps.limited(in); }, 12U, 9U, -0.75,
        std::uint16_t{bits});

    NUV_TestChain chain;
    chain.blank_source({.width = 12, .height = 9, .bits = 8 * sizeof(TypeParam)});
    NUV_Engine* source = chain.last();
    ASSERT_TRUE(chain.append<NUV_ScaleI2VARExBy<Fixed>>(12U, 9U));
    EXPECT_EQ(chain.last(), source);
}

TEST(ScaleI2VARExRefusal, SaysWhyAndLeavesNothingBehind)
{
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::uint32_t width, height;
        NUV_StatusCode code;
        const char* method;
    };
    constexpr auto own = "NUV_ScaleI2VARExBy::engine()";
    const Case cases[] = {
        {"no width", {.width = 9, .height = 9}, 0, 5, NUV_ERR_ARGUMENT, own},
        {"no height", {.width = 9, .height = 9}, 5, 0, NUV_ERR_ARGUMENT, own},
        {"2 channels", {.width = 9, .height = 9, .channels = 2}, 8, 8, NUV_ERR_UNSUPPORTED, own},
        {"1 bit", {.width = 9, .height = 9, .bits = 1}, 8, 8, NUV_ERR_UNSUPPORTED, own},
        {"signed",
         {.width = 9, .height = 9, .data_type = NUV_DataType::s_integer},
         8,
         8,
         NUV_ERR_UNSUPPORTED,
         own},
        {"a palette", {.width = 9, .height = 9, .palette = true}, 8, 8, NUV_ERR_UNSUPPORTED, own},
        {"a line too long",
         {.width = 9, .height = 9, .channels = 4},
         0x40000000,
         20,
         NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthCCEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        expect_refused(chain, chain.append<NUV_ScaleI2VARExBy<Fixed>>(c.width, c.height), c.code,
                       c.method);
    }
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_ScaleI2VARExBy<Fixed>>(1U, 1U));
    EXPECT_STREQ(chain.status().method, own);
}

TEST(ScaleI2VARExRefusal, SurvivesEveryFailedAllocation)
{
    const std::pair<std::uint32_t, std::uint32_t> sizes[] = {{30, 8}, {8, 9}, {6, 4}, {8, 12}};
    for (const auto& [width, height] : sizes) {
        expect_clean_at_every_allocation([w = width, h = height](NUV_TestChain& chain) {
            chain.source<std::uint8_t>({.width = 27, .height = 26},
                                       std::vector<std::uint8_t>(std::size_t{27} * 26, 7));
            chain.append<NUV_ScaleI2VARExBy<Fixed>>(w, h);
            static_cast<void>(chain.run<std::uint8_t>());
        });
    }
}

} // namespace
} // namespace nuv
