#include "extension/scalei2utility/nuv_scalei2mask.h"

#include "core/include/nuv_interpolationtable.h"
#include "extension/scalei2utility/nuv_scalei2axis.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace nuv {
namespace {

TEST(ScaleI2Mask, GrowsAsTheRatioFalls)
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

// 10 to 5 pixels: result pixel 2 lies at 4.5, in the middle of pixels 4 and 5.
TEST(ScaleI2Axis, CentresTheResultOnTheSource)
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

// Fixed-point weights are cut off below a unit; those behind the mask are none.
TEST(ScaleI2Axis, CutsWeightsOffWithoutMakingUpForIt)
{
    Kernel kernel(-0.75F);
    NUV_ScaleI2Axis<std::int16_t> fixed;
    NUV_ScaleI2Axis<double> real;
    const NUV_ScaleI2Sizes sizes{1000, 617, 0.617};
    ASSERT_TRUE(fixed.initiate(kernel.chain.manager(), kernel.table, 0.5965, sizes, 7));
    ASSERT_TRUE(real.initiate(kernel.chain.manager(), kernel.table, 0.5965, sizes, 7));
    int least = 1024;
    int most = 1024;
    for (std::size_t k = 0; k < sizes.destination; ++k) {
        int sum = 0;
        double real_sum = 0;
        for (std::size_t i = 0; i < 7; ++i) {
            EXPECT_EQ(fixed.weights(k)[i], std::trunc(real.weights(k)[i] * 1024));
            sum += fixed.weights(k)[i];
            real_sum += real.weights(k)[i];
        }
        EXPECT_NEAR(real_sum, 1, 1e-12);
        EXPECT_EQ(fixed.weights(k)[7], 0);
        EXPECT_EQ(fixed.first(k), real.first(k));
        least = std::min(least, sum);
        most = std::max(most, sum);
    }
    EXPECT_LT(least, 1024);
    EXPECT_GE(least, 1020);
    EXPECT_LE(most, 1026);
}

// Kernels far from any sensible one: every weight is defined and fits.
TEST(ScaleI2Axis, DefinesTheWeightsOfAnyKernel)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float a : {1e30F, -1e30F, infinity, std::nanf("")}) {
        SCOPED_TRACE(a);
        Kernel kernel(a);
        NUV_ScaleI2Axis<std::int16_t> axis;
        ASSERT_TRUE(
            axis.initiate(kernel.chain.manager(), kernel.table, 1.9, {40, 33, 33.0 / 40}, 5));
        EXPECT_LE(axis.most_weight(), 5 * 32768.0);
    }
}

TEST(ScaleI2Table, ReachesOverHalfAMaskOrNot)
{
    EXPECT_TRUE(table_reaches(1.0, 4));
    EXPECT_TRUE(table_reaches(0.9999, 8));
    EXPECT_FALSE(table_reaches(1.0, 8)); // 4 pixels are one entry too far
    EXPECT_FALSE(table_reaches(2.0, 4));
    EXPECT_FALSE(table_reaches(0.0, 4));
    EXPECT_FALSE(table_reaches(-1.0, 4));
    EXPECT_FALSE(table_reaches(std::nan(""), 4));
}

} // namespace
} // namespace nuv
