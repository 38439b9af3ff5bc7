#include "core/include/nuv_interpolationtable.h"
#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scale.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace nuv {
namespace {

class AnyScale final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;
    NUV_Engine* engine(NUV_Engine* previous, std::uint32_t, std::uint32_t) override
    {
        return previous;
    }
};

TEST(ScaleFactors, RoundAHairAboveOneHalf)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 100, .height = 5});
    AnyScale scale(chain.manager());
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    ASSERT_TRUE(scale.ratio_to_size(&chain.header(), 0.001, 0.5, width, height));
    EXPECT_EQ(width, 1U);
    EXPECT_EQ(height, 3U);
    // 2.499999999999999, which the hair lifts.
    const double below_half = 0.02499999999999999;
    ASSERT_TRUE(scale.ratio_to_size(&chain.header(), below_half, 42949672.9, width, height));
    EXPECT_EQ(width, 3U);
    EXPECT_EQ(height, 214748365U);
}

TEST(ScaleFactors, RefusesWhatIsNoFactor)
{
    for (const double factor : {0.0, -1.0, std::nan(""), HUGE_VAL, 1e9}) {
        SCOPED_TRACE(factor);
        NUV_TestChain chain;
        chain.blank_source({.width = 100, .height = 100});
        AnyScale scale(chain.manager());
        std::uint32_t width = 7;
        std::uint32_t height = 7;
        EXPECT_FALSE(scale.ratio_to_size(&chain.header(), 1, factor, width, height));
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, "NUV_Scale::ratio_to_size()");
        EXPECT_EQ(width, 7U);
    }
}

TEST(FixedReal, RoundsHalfAwayFromZeroAndSaturates)
{
    constexpr double step = 1.0 / 4096;
    EXPECT_EQ(NUV_FixedReal(1.5 * step).units(), 2);
    EXPECT_EQ(NUV_FixedReal(-1.5 * step).units(), -2);
    EXPECT_EQ(NUV_FixedReal(-1.49 * step).units(), -1);
    EXPECT_EQ(NUV_FixedReal(1e300).units(), std::numeric_limits<int>::max());
    EXPECT_EQ(NUV_FixedReal(-HUGE_VAL).units(), std::numeric_limits<int>::min());
    EXPECT_EQ(NUV_FixedReal(std::nan("")).units(), 0);
    EXPECT_EQ(NUV_FixedReal::product(-1, 1), -1); // rounds down
    EXPECT_EQ(NUV_FixedReal::product(1 << 28, 3 << 12), 3 << 28);
}

TEST(RoundingOfSums, KeepsItsRulesAtTheSteps)
{
    EXPECT_EQ(round_fixed_unsigned(-5), 0);
    EXPECT_EQ(round_fixed_unsigned(2047), 0);
    EXPECT_EQ(round_fixed_unsigned(2048), 1);
    EXPECT_EQ(round_fixed_signed(0), 0);
    EXPECT_EQ(round_fixed_signed(-2047), 0);
    EXPECT_EQ(round_fixed_signed(-2048), -1);
    EXPECT_EQ(round_fixed_signed(-6144), -2);
    EXPECT_EQ(round_real<std::int8_t>(-0.5), -1);
    EXPECT_EQ(round_real<std::int8_t>(-129.0), -128);
    EXPECT_EQ(round_real<std::uint8_t>(-0.4), 0);
    EXPECT_EQ(round_real<std::uint8_t>(254.5), 255);
    EXPECT_EQ(round_real<std::uint16_t>(std::nan("")), 0);
    EXPECT_EQ(NUV_SampleLimits<std::uint16_t>::of_bits(12).maximum, 4095);
    EXPECT_EQ(NUV_SampleLimits<std::int8_t>::of_bits(6).minimum, -32);
    EXPECT_EQ(NUV_SampleLimits<std::int16_t>::of_bits(16).maximum, 32767);
}

TEST(CubicTable, HasTwoArmsAndThenNothing)
{
    NUV_TestChain chain;
    const auto table = make_object<NUV_CubicSplineTable>(chain.manager());
    ASSERT_TRUE(table && table->allocate());
    table->fill(-0.75F);
    EXPECT_EQ(table->at(0), 1.0F);
    EXPECT_EQ(table->at(4096), 0.0F);
    EXPECT_EQ(table->at(2048), 0.59375F);         // 1.25 / 8 - 2.25 / 4 + 1
    EXPECT_EQ(table->at(4096 + 2048), -0.09375F); // -0.75 (1/8 - 1/2 + 1/2)
    EXPECT_EQ(table->at(8192), 0.0F);
    EXPECT_EQ(table->at(16383), 0.0F);
}

} // namespace
} // namespace nuv
