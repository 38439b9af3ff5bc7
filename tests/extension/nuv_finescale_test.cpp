#include "core/include/nuv_interpolationtable.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "core/scale/nuv_scalepp.h"
#include "extension/scalefast/nuv_scaleppfastby.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2utility/nuv_scalei2axis.h"
#include "extension/scalei2utility/nuv_scalei2mask.h"
#include "extension/scalei2utility/nuv_scalei2smallutility.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "extension/scalei2varex/nuv_scaleccfastby.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "extension/scalei2varex/nuv_scalelifastby.h"
#include "tests/support/nuv_refusals.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace nuv {
namespace {

using Fixed = NUV_FixedReal;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t unlimited = 0;

// A kernel in memory of its own.
struct Kernel {
    explicit Kernel(float a)
    {
        EXPECT_TRUE(table.allocate());
        table.fill(a);
    }

    NUV_TestChain chain;
    NUV_CubicSplineTable table{chain.manager()};
};

TEST(ScaleMask, GrowsAsTheRatioFalls)
{
    struct Case {
        double ratio;
        std::uint32_t taps;
        double stretch;
    };
    const Case cases[] = {
        {3.0, 4, 1.0},       {0.917, 4, 1.0},    {0.9169, 5, 0.844},  {0.771, 5, 0.844},
        {0.7709, 6, 0.7095}, {0.648, 6, 0.7095}, {0.6479, 7, 0.5965}, {0.545, 7, 0.5965},
        {0.5449, 8, 0.5},    {0.33, 8, 0.5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.ratio);
        const auto mask = scale_i2_mask(c.ratio);
        ASSERT_TRUE(mask.has_value());
        EXPECT_EQ(mask->taps, c.taps);
        EXPECT_EQ(mask->stretch, c.stretch);
    }
    EXPECT_TRUE(scale_i2_mask(std::nextafter(0.33, 0.0)).has_value()); // the same but for a bit
    EXPECT_FALSE(scale_i2_mask(0.3299).has_value());
}

TEST(ScaleMask, ReachesOverHalfOfItInTheTableOrNot)
{
    EXPECT_TRUE(table_reaches(1.0, 4));
    EXPECT_TRUE(table_reaches(0.9999, 8));
    EXPECT_FALSE(table_reaches(1.0, 8)); // 4 pixels are one entry too far
    for (const double stretch : {2.0, 0.0, -1.0, std::nan("")})
        EXPECT_FALSE(table_reaches(stretch, 4)) << stretch;
}

// 10 to 5 pixels: result pixel 2 lies at 4.5, in the middle of pixels 4 and 5.
TEST(ScaleMaskAxis, CentresTheResultOnTheSource)
{
    Kernel kernel(-0.75F);
    NUV_ScaleI2Axis<std::int16_t> axis;
    ASSERT_TRUE(axis.initiate(kernel.chain.manager(), kernel.table, 0.5, {10, 5, 0.5}, 8));
    EXPECT_EQ(axis.first(2), 1); // taps 1 to 8
    EXPECT_EQ(axis.first(0), -3);
    EXPECT_EQ(axis.first(4), 5);
    const std::int16_t* weights = axis.weights(2);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(weights[i], weights[7 - i]) << i;
    EXPECT_GT(weights[3], weights[2]);
    EXPECT_LT(weights[0] + weights[1], 0);
}

// Kernels far from any sensible one: every weight is defined and fits.
TEST(ScaleMaskAxis, DefinesTheWeightsOfAnyKernel)
{
    for (const float a : {1e30F, -1e30F, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        Kernel kernel(a);
        NUV_ScaleI2Axis<std::int16_t> axis;
        ASSERT_TRUE(
            axis.initiate(kernel.chain.manager(), kernel.table, 1.9, {40, 33, 33.0 / 40}, 5));
        EXPECT_LE(axis.most_weight(), 5 * 32768.0) << a;
    }
}

// One pass of one mask: a kernel whose `a` is 0 weighs the pixels around 3.5 half each.
TEST(ScaleMaskPasses, HaveTheIntermediateFormBetweenThem)
{
    Kernel kernel(0.0F);
    NUV_TestChain& chain = kernel.chain;
    chain.source<std::uint8_t>({.width = 8}, {0, 0, 0, 0, 255, 255, 255, 255});
    ASSERT_TRUE(chain.append<NUV_ScaleI2VARWidthFixedReal>(9U, &kernel.table, 4U));
    EXPECT_EQ(chain.header().bits(), 16);
    EXPECT_EQ(chain.header().data_type(), NUV_DataType::s_integer);
    const auto middle = chain.run<std::int16_t>();
    ASSERT_EQ(middle.size(), 9U);
    EXPECT_EQ(middle[0], 0);
    EXPECT_EQ(middle[4], 255 * 8);                // 127.5 with four fractional bits
    EXPECT_EQ(middle[8], (255 * 1023 + 32) >> 6); // two weights have lost half a unit each

    chain.blank_source({.width = 9, .height = 9, .bits = 16});
    ASSERT_TRUE(chain.append<NUV_ScaleI2VARWidthFloat>(9U, &kernel.table, 4U));
    EXPECT_EQ(chain.header().bits(), 64);
    EXPECT_EQ(chain.header().data_type(), NUV_DataType::floating);
}

// 100 x 80 to 50 x 50 goes by 0.625, the ratio of the heights; of 62 columns the middle stays.
TEST(ScaleBothAlike, KeepsProportionsAndCutsTheRest)
{
    Bytes samples;
    for (std::size_t i = 0; i < std::size_t{100} * 80; ++i)
        samples.push_back(i % 100 < 50 ? 10 : 200);
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 100, .height = 80}, samples);
    ASSERT_TRUE(chain.append<NUV_ScaleI2>(50U, 50U, -0.75F, unlimited));
    const Bytes got = chain.run_bytes();
    ASSERT_EQ(got.size(), 2500U);
    EXPECT_NEAR(got[20], 10, 1);
    EXPECT_NEAR(got[29], 200, 1);
}

TEST(ScaleBoxes, TileTheSource)
{
    NUV_TestChain chain;
    NUV_ScaleI2Boxes boxes;
    ASSERT_TRUE(boxes.initiate(chain.manager(), 30, 9, 9.0 / 30));
    const std::uint32_t starts[] = {0, 3, 7, 10, 13, 17, 20, 23, 27, 30};
    for (std::size_t k = 0; k < 10; ++k)
        EXPECT_EQ(boxes.start(k), starts[k]) << k;
    EXPECT_EQ(boxes.most_count(), 4U);
}

// Sums that pass 16 bits, and such that pass 32: boxes of white stay white.
template <class T>
void expect_white_stays_white(std::uint32_t rows)
{
    NUV_TestChain chain;
    NUV_ScaleI2Boxes columns;
    NUV_ScaleI2SmallUtility<T> sums;
    ASSERT_TRUE(columns.initiate(chain.manager(), 15, 3, 0.2));
    ASSERT_TRUE(sums.initiate(chain.manager(), columns, 1, rows));
    constexpr T white = std::numeric_limits<T>::max();
    const std::vector<T> line(15, white);
    sums.clear();
    for (std::uint32_t i = 0; i < rows; ++i)
        sums.add(line.data());
    std::vector<T> out(3);
    sums.divide(out.data(), rows, white);
    EXPECT_EQ(out, std::vector<T>(3, white)) << rows;
}

TEST(ScaleBoxes, HoldTheirSums)
{
    for (const std::uint32_t rows : {1U, 257U, 258U, 70000U}) {
        expect_white_stays_white<std::uint8_t>(rows);
        expect_white_stays_white<std::uint16_t>(rows);
    }
}

// One way for each pair of ratios, and those to and from fewer than 8 pixels, step by step.
TEST(ScaleByRatios, GoesTheWayOfItsRatios)
{
    const auto area = [](std::uint32_t w, std::uint32_t h) {
        return appending<NUV_ScalePP>(w, h, true);
    };
    const auto mask = [](std::uint32_t w, std::uint32_t h, std::uint16_t bits) {
        return appending<NUV_ScaleI2VAR>(w, h, -0.75F, bits);
    };
    const auto cubic = [](std::uint32_t w, std::uint32_t h) {
        return appending<NUV_ScaleCCFastBy<Fixed>>(w, h, -0.75, std::uint16_t{6});
    };
    const auto linear = [](std::uint32_t w, std::uint32_t h) {
        return appending<NUV_ScaleLIFastBy<Fixed>>(w, h);
    };
    struct Case {
        std::uint32_t source_width, source_height, width, height;
        std::vector<NUV_Append> steps;
    };
    const Case cases[] = {
        {10, 9, 17, 20, {cubic(17, 20)}},
        {20, 40, 33, 20, {mask(20, 20, 0), cubic(33, 20)}},
        {20, 70, 33, 10, {area(20, 20), mask(20, 10, 0), cubic(33, 10)}},
        {40, 20, 30, 20, {mask(30, 20, 0), cubic(30, 20)}},
        {70, 20, 11, 50, {area(22, 20), mask(11, 20, 0), cubic(11, 50)}},
        {100, 100, 33, 33, {mask(33, 33, 6)}},
        {50, 70, 25, 10, {area(50, 20), mask(25, 10, 6)}},
        {70, 50, 9, 25, {area(18, 50), mask(9, 25, 6)}},
        {80, 60, 12, 9, {appending<NUV_ScaleI2>(12U, 9U, -0.75F, std::uint16_t{6})}},
        {80, 60, 12, 10, {area(24, 20), mask(12, 10, 6)}},
        {7, 100, 20, 9, {cubic(20, 9)}},
        {60, 7, 10, 7, {cubic(10, 7)}},
        {12, 9, 20, 6, {mask(20, 8, 6), linear(20, 6)}},
        {8, 9, 4, 3, {mask(8, 8, 6), linear(4, 3)}},
        {20, 20, 5, 13, {area(5, 13), appending<NUV_LimitPixelValue>(63, 0)}},
    };
    for (const Case& c : cases) {
        const auto samples = random_samples<std::uint8_t>(
            std::size_t{c.source_width} * c.source_height * 3, c.width);
        const auto scaled = [&](const std::vector<NUV_Append>& steps) {
            NUV_TestChain chain;
            chain.source<std::uint8_t>(
                {.width = c.source_width, .height = c.source_height, .channels = 3}, samples);
            for (const NUV_Append& append : steps)
                EXPECT_TRUE(append(chain)) << chain.status().method;
            return chain.run_bytes();
        };
        const auto by_sizes =
            appending<NUV_ScaleI2VARExBy<Fixed>>(c.width, c.height, -0.75, std::uint16_t{6});
        const auto by_factors = appending<NUV_ScaleI2VARExBy<Fixed>>(
            double{1} * c.width / c.source_width, double{1} * c.height / c.source_height, -0.75,
            std::uint16_t{6});
        const Bytes wanted = scaled(c.steps);
        EXPECT_EQ(scaled({by_sizes}), wanted) << c.source_width << " to " << c.width;
        EXPECT_EQ(scaled({by_factors}), wanted) << c.source_width << " to " << c.width;
    }
}

TEST(FineScale, AppendsNothingForTheSameSizeAndNoLimit)
{
    constexpr std::uint16_t all = 8;
    NUV_TestChain chain;
    chain.blank_source({.width = 20, .height = 9});
    NUV_Engine* const source = chain.last();
    for (const NUV_Append& append :
         {appending<NUV_ScaleI2>(20U, 9U, -0.75F, unlimited), appending<NUV_ScaleI2VAR>(20U, 9U),
          appending<NUV_ScaleI2VAR>(20U, 9U, -0.75F, all),
          appending<NUV_ScaleI2VARExBy<Fixed>>(20U, 9U)}) {
        EXPECT_TRUE(append(chain));
        EXPECT_EQ(chain.last(), source);
    }
}

constexpr auto bad = NUV_ERR_ARGUMENT;
constexpr auto no = NUV_ERR_UNSUPPORTED;
constexpr float a = -0.75F;

const NUV_TestImage gray{.width = 100, .height = 100};
const NUV_TestImage words{.width = 7, .height = 7, .bits = 16};
const NUV_TestImage bits{.width = 9, .height = 9, .bits = 1};
const NUV_TestImage pairs{.width = 9, .height = 9, .channels = 2};
const NUV_TestImage narrow{.width = 7, .height = 9};
const NUV_TestImage low{.width = 9, .height = 7};
const NUV_TestImage palette{.width = 9, .height = 9, .palette = true};
const NUV_TestImage deep{.width = 9, .height = 9, .bits = 32};
const NUV_TestImage negative{.width = 9, .height = 9, .data_type = NUV_DataType::s_integer};
const NUV_TestImage broad{.width = 9, .height = 9, .channels = 4};

TEST(FineScaleRefusal, OfTheScalers)
{
    constexpr auto each = "NUV_ScaleI2VAR::engine()";
    constexpr auto both = "NUV_ScaleI2::engine()";
    constexpr auto selected = "NUV_ScaleI2VARExBy::engine()";
    const auto by_each = [](std::uint32_t w, std::uint32_t h) {
        return appending<NUV_ScaleI2VAR>(w, h);
    };
    const auto by_both = [](std::uint32_t w, std::uint32_t h) {
        return appending<NUV_ScaleI2>(w, h, a, unlimited);
    };
    const auto by_selection = [](std::uint32_t w, std::uint32_t h) {
        return appending<NUV_ScaleI2VARExBy<Fixed>>(w, h);
    };
    expect_refusals({
        {"no width", gray, by_each(0, 50), bad, each},
        {"7 columns", gray, by_each(7, 50), bad, each},
        {"7 lines", gray, by_each(50, 7), bad, each},
        {"shrinks too far", gray, by_each(32, 50), bad, each},
        {"shrinks too far", gray, by_each(50, 32), bad, each},
        {"from 7 columns", narrow, by_each(9, 9), no, each},
        {"from 7 lines", low, by_each(9, 9), no, each},
        {"2 channels", pairs, by_each(8, 8), no, each},
        {"signed", negative, by_each(8, 8), no, each},
        {"32 bits", deep, by_each(8, 8), no, each},
        {"palette", palette, by_each(8, 8), no, each},
        {"factor", gray, appending<NUV_ScaleI2VAR>(-1.0, 1.0, a), bad,
         "NUV_ScaleI2VAR::ratio_to_size_mine()"},
        {"7 columns", gray, by_both(7, 20), bad, both},
        {"no lines", gray, by_both(20, 0), bad, both},
        {"from 7 columns", narrow, by_both(9, 9), no, both},
        {"2 channels", pairs, by_both(8, 8), no, both},
        {"palette", palette, by_both(8, 8), no, both},
        {"bits", bits, by_both(8, 8), no, both},
        {"no width", gray, by_selection(0, 5), bad, selected},
        {"no height", gray, by_selection(5, 0), bad, selected},
        {"2 channels", pairs, by_selection(8, 8), no, selected},
        {"bits", bits, by_selection(8, 8), no, selected},
        {"signed", negative, by_selection(8, 8), no, selected},
        {"palette", palette, by_selection(8, 8), no, selected},
        {"line too long", broad, by_selection(0x40000000, 20), no,
         "NUV_ScaleWidthCCEngine::initiate()"},
        {"factor", gray, appending<NUV_ScaleCCFastBy<Fixed>>(0.0, 1.0, -1.0, unlimited), bad,
         "NUV_Scale::ratio_to_size()"},
    });
}

TEST(FineScaleRefusal, OfFactorsWithoutAnImage)
{
    const NUV_RefusalSource headless([](NUV_TestChain& chain) { chain.headless_source(); });
    expect_refusals({
        {"", headless, appending<NUV_ScaleCCFastBy<Fixed>>(0.5, 0.5, -1.0, unlimited), bad,
         "NUV_ScaleCCFastBy::engine()"},
        {"", headless, appending<NUV_ScaleI2VARExBy<Fixed>>(0.5, 0.5, -1.0, unlimited), bad,
         "NUV_ScaleI2VARExBy::engine()"},
        {"", headless, appending<NUV_ScaleI2VAR>(0.5, 0.5, a), bad, "NUV_ScaleI2VAR::engine()"},
    });
}

TEST(FineScaleRefusal, OfOneAxisInTheNameOfItsCreator)
{
    expect_refusals({
        {"0", gray, appending<NUV_ScaleWidthPPBy<Fixed>>(0U), bad, "NUV_ScaleWidthPPBy::engine()"},
        {"0", gray, appending<NUV_ScaleHeightPPBy<Fixed>>(0U), bad,
         "NUV_ScaleHeightPPBy::engine()"},
        {"0", gray, appending<NUV_ScaleWidthPPFastBy<Fixed>>(0U), bad,
         "NUV_ScaleWidthPPFastBy::engine()"},
        {"0", gray, appending<NUV_ScaleHeightPPFastBy<Fixed>>(0U), bad,
         "NUV_ScaleHeightPPFastBy::engine()"},
        {"signed", negative, appending<NUV_ScaleWidthPPBy<double>>(12U), no,
         "NUV_ScaleWidthPPEBy::engine()"},
        {"signed", negative, appending<NUV_ScaleHeightPPBy<double>>(12U), no,
         "NUV_ScaleHeightPPEBy::engine()"},
        {"signed", negative, appending<NUV_ScaleWidthPPBy<double>>(5U), no,
         "NUV_ScaleWidthPPRBy::engine()"},
        {"signed", negative, appending<NUV_ScaleHeightPPBy<double>>(5U), no,
         "NUV_ScaleHeightPPRBy::engine()"},
        {"signed", negative, appending<NUV_ScaleWidthPPFastBy<double>>(5U), no,
         "NUV_ScaleWidthPPFastRBy::engine()"},
        {"signed", negative, appending<NUV_ScaleHeightPPFastBy<double>>(5U), no,
         "NUV_ScaleHeightPPFastRBy::engine()"},
        {"0", gray, appending<NUV_ScaleWidthCCWithClampingBy<Fixed>>(0U, -1.0, unlimited), bad,
         "NUV_ScaleWidthCCWithClampingBy::engine()"},
        {"bits", bits, appending<NUV_ScaleHeightCCWithClampingBy<double>>(5U, -1.0, unlimited), no,
         "NUV_ScaleHeightCCWithClampingBy::engine()"},
        {"0", gray, appending<NUV_ScaleShrinkLIBy<Fixed>>(0U, 9U), bad,
         "NUV_ScaleShrinkLIBy::engine()"},
        {"bits", bits, appending<NUV_ScaleLIBy<Fixed>>(5U, 5U), no,
         "NUV_ScaleShrinkLIBy::engine()"},
        {"bits", bits, appending<NUV_ScaleLIBy<Fixed>>(12U, 9U), no,
         "NUV_ScaleWidthLIBy::engine()"},
        {"bits", bits, appending<NUV_ScaleLIBy<double>>(9U, 5U), no,
         "NUV_ScaleHeightLIBy::engine()"},
    });
}

// A call with a kernel of that stretch, which is gone when it returns.
template <class Creator, class... Args>
NUV_Append with_kernel(double stretch, Args... args)
{
    return [=](NUV_TestChain& chain) {
        NUV_CubicSplineTable table(chain.manager());
        if (!table.allocate())
            return false;
        table.fill(a);
        table.stretch(stretch, stretch);
        const NUV_CubicSplineTable* kernel = &table;
        const auto pointer = [&](auto value) {
            if constexpr (std::is_null_pointer_v<decltype(value)>)
                return kernel;
            else
                return value;
        };
        return chain.append<Creator>(pointer(args)...);
    };
}
constexpr std::nullptr_t kernel = nullptr; // stands for it among the arguments

TEST(FineScaleRefusal, OfAPassOrItsMask)
{
    using WidthFixed = NUV_ScaleI2VARWidthFixedReal;
    using HeightFixed = NUV_ScaleI2VARHeightFixedReal;
    using WidthFloat = NUV_ScaleI2VARWidthFloat;
    using HeightFloat = NUV_ScaleI2VARHeightFloat;
    const NUV_TestImage byte{.width = 7, .height = 7};
    const NUV_TestImage middle{
        .width = 7, .height = 7, .bits = 16, .data_type = NUV_DataType::s_integer};
    const NUV_TestImage real{
        .width = 7, .height = 7, .bits = 64, .data_type = NUV_DataType::floating};
    const NUV_TestImage wide{.width = 8, .height = 8, .channels = 4, .bits = 16};
    const NUV_CubicSplineTable* none = nullptr;
    expect_refusals({
        {"null", byte, appending<WidthFixed>(9U, none, 4U), bad,
         "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {"0", byte, with_kernel<WidthFixed>(1, 0U, kernel, 4U), bad,
         "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {"3 taps", byte, with_kernel<WidthFixed>(1, 9U, kernel, 3U), bad,
         "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {"9 taps", middle, with_kernel<HeightFixed>(1, 9U, unlimited, kernel, 9U), bad,
         "NUV_ScaleI2VARHeightFixedReal::engine()"},
        {"3 taps", words, with_kernel<WidthFloat>(1, 9U, kernel, 3U), bad,
         "NUV_ScaleI2VARWidthFloat::engine()"},
        {"0 taps", real, with_kernel<HeightFloat>(1, 9U, unlimited, kernel, 0U), bad,
         "NUV_ScaleI2VARHeightFloat::engine()"},
        {"words", words, with_kernel<WidthFixed>(1, 9U, kernel, 4U), no,
         "NUV_ScaleI2VARWidthEngine::initiate()"},
        {"bytes", byte, with_kernel<WidthFloat>(1, 9U, kernel, 4U), no,
         "NUV_ScaleI2VARWidthEngine::initiate()"},
        {"line too long", wide, with_kernel<WidthFloat>(1, 0x10000000U, kernel, 4U), no,
         "NUV_ScaleI2VARWidthEngine::initiate()"},
        {"words", words, with_kernel<HeightFixed>(1, 9U, unlimited, kernel, 4U), no,
         "NUV_ScaleI2VARHeightEngine::initiate()"},
        {"whole", middle, with_kernel<HeightFloat>(1, 9U, unlimited, kernel, 4U), no,
         "NUV_ScaleI2VARHeightFloatEngine::initiate()"},
        {"8 taps", byte, with_kernel<WidthFixed>(0.5, 9U, kernel, 8U), no,
         "NUV_ScaleI2VARWidthFixedReal8MaskEngine::initiate()"},
        {"8 taps", middle, with_kernel<HeightFixed>(0.5, 9U, unlimited, kernel, 8U), no,
         "NUV_ScaleI2VARHeightFixedReal8MaskEngine::initiate()"},
        {"7 taps", words, with_kernel<WidthFloat>(0.5, 6U, kernel, 7U), bad,
         "NUV_ScaleI2VARWidthFloat7MaskEngine::initiate()"},
        {"6 taps", real, with_kernel<HeightFloat>(0.5, 5U, unlimited, kernel, 6U), bad,
         "NUV_ScaleI2VARHeightFloat6MaskEngine::initiate()"},
        {"stretch", byte, with_kernel<WidthFixed>(2, 9U, kernel, 5U), bad,
         "NUV_ScaleI2VARWidthFixedReal5MaskEngine::initiate()"},
        {"stretch", real, with_kernel<HeightFloat>(0, 9U, unlimited, kernel, 4U), bad,
         "NUV_ScaleI2VARHeightFloat4MaskEngine::initiate()"},
    });

    const NUV_TestImage bytes{.width = 20, .height = 20};
    const NUV_TestImage deeper{.width = 20, .height = 20, .bits = 16};
    const auto both = [](auto creator, std::uint32_t w, std::uint32_t h, std::uint32_t taps,
                         double stretch) {
        return with_kernel<typename decltype(creator)::type>(stretch, w, h, unlimited, kernel,
                                                             taps);
    };
    constexpr std::type_identity<NUV_ScaleI2FixedReal> fixed;
    constexpr std::type_identity<NUV_ScaleI2Float> floating;
    constexpr std::type_identity<NUV_ScaleI2FixedRealSmall> fixed_small;
    constexpr std::type_identity<NUV_ScaleI2FloatSmall> floating_small;
    expect_refusals({
        {"3 taps", bytes, both(fixed, 15, 15, 3, 1), bad, "NUV_ScaleI2FixedReal::engine()"},
        {"9 taps", deeper, both(floating, 15, 15, 9, 1), bad, "NUV_ScaleI2Float::engine()"},
        {"no lines", deeper, both(floating_small, 5, 0, 8, 0.5), bad,
         "NUV_ScaleI2FloatSmall::engine()"},
        {"words", deeper, both(fixed, 15, 15, 4, 1), no, "NUV_ScaleI2Engine::initiate()"},
        {"bytes", bytes, both(floating_small, 15, 15, 4, 1), no, "NUV_ScaleI2Engine::initiate()"},
        {"3 lines", bytes, both(fixed, 15, 3, 4, 1), bad,
         "NUV_ScaleI2FixedRealCore4x4Engine::initiate()"},
        {"7 lines", bytes, both(fixed, 15, 7, 8, 0.5), bad,
         "NUV_ScaleI2FixedRealCore8x8Engine::initiate()"},
        {"stretch", deeper, both(floating, 15, 15, 5, 2), bad,
         "NUV_ScaleI2FloatCore5x5Engine::initiate()"},
        {"grows", bytes, both(fixed_small, 21, 5, 8, 0.5), bad,
         "NUV_ScaleI2FixedRealSmallEngine::initiate()"},
        {"grows", deeper, both(floating_small, 5, 21, 8, 0.5), bad,
         "NUV_ScaleI2FloatSmallEngine::initiate()"},
    });
}

} // namespace
} // namespace nuv
