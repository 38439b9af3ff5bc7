#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "tests/core/scale/nuv_scalecases.h"

namespace nuv {
namespace {

using model::Arithmetic;
using model::Picture;

template <class T>
class ScaleAgainstModel : public ::testing::Test {};

using SampleTypes = ::testing::Types<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t>;
TYPED_TEST_SUITE(ScaleAgainstModel, SampleTypes);

TYPED_TEST(ScaleAgainstModel, NearestNeighbour)
{
    for (const NUV_ScaleCase& c : scale_cases()) {
        expect_scaled_as<TypeParam, NUV_ScaleNN>(
            c, [&](const Picture& p) { return model::nearest(p, c.width, c.height); }, c.width,
            c.height);
    }
}

TYPED_TEST(ScaleAgainstModel, Linear)
{
    for (const NUV_ScaleCase& c : scale_cases()) {
        for (const bool fixed : {true, false}) {
            const auto how = Arithmetic::of<TypeParam>(fixed);
            expect_scaled_as<TypeParam, NUV_ScaleLI>(
                c, [&](const Picture& p) { return model::linear(p, c.width, c.height, how); },
                c.width, c.height, fixed);
        }
    }
}

TYPED_TEST(ScaleAgainstModel, Cubic)
{
    for (const NUV_ScaleCase& c : scale_cases()) {
        for (const double a : {-1.0, -0.5, -12.0}) {
            for (const bool fixed : {true, false}) {
                const auto how = Arithmetic::of<TypeParam>(fixed);
                expect_scaled_as<TypeParam, NUV_ScaleCC>(
                    c, [&](const Picture& p) { return model::cubic(p, c.width, c.height, how, a); },
                    c.width, c.height, fixed, a);
            }
        }
    }
}

template <class T>
class AreaAgainstModel : public ::testing::Test {};

using UnsignedTypes = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(AreaAgainstModel, UnsignedTypes);

TYPED_TEST(AreaAgainstModel, BothAxes)
{
    for (const NUV_ScaleCase& c : scale_cases()) {
        for (const bool fixed : {true, false}) {
            const auto how = Arithmetic::of<TypeParam>(fixed);
            expect_scaled_as<TypeParam, NUV_ScalePP>(
                c, [&](const Picture& p) { return model::area(p, c.width, c.height, how); },
                c.width, c.height, fixed);
        }
    }
}

// Fixed point is what 8-bit samples take, double precision what wider ones do.
TEST(ScaleArithmetic, FollowsTheBitsUnlessTold)
{
    const NUV_ScaleCase c{37, 5, 101, 5, 3};
    const auto check = [&]<class T, class Creator>(auto kernel, bool fixed) {
        const auto how = Arithmetic::of<T>(fixed);
        expect_scaled_as<T, Creator>(
            c, [&](const Picture& p) { return kernel(p, how); }, c.width, c.height);
    };
    const auto linear = [&](const Picture& p, const Arithmetic& how) {
        return model::linear(p, c.width, c.height, how);
    };
    const auto cubic = [&](const Picture& p, const Arithmetic& how) {
        return model::cubic(p, c.width, c.height, how, -1.0);
    };
    const auto area = [&](const Picture& p, const Arithmetic& how) {
        return model::area(p, c.width, c.height, how);
    };
    check.operator()<std::uint8_t, NUV_ScaleLI>(linear, true);
    check.operator()<std::uint16_t, NUV_ScaleLI>(linear, false);
    check.operator()<std::int8_t, NUV_ScaleCC>(cubic, true);
    check.operator()<std::int16_t, NUV_ScaleCC>(cubic, false);
    check.operator()<std::uint8_t, NUV_ScalePP>(area, true);
    check.operator()<std::uint16_t, NUV_ScalePP>(area, false);
}

// A free parameter alone leaves the arithmetic to the bits.
TEST(ScaleArithmetic, CubicParameterReachesBothPasses)
{
    const NUV_ScaleCase c{9, 8, 23, 17, 3};
    const auto how = Arithmetic::of<std::uint8_t>(true);
    expect_scaled_as<std::uint8_t, NUV_ScaleCC>(
        c, [&](const Picture& p) { return model::cubic(p, c.width, c.height, how, -0.75); },
        c.width, c.height, -0.75);
}

// Positions that were added up end beyond the last pixel here.
TEST(ScaleLongLines, EndInsideTheImage)
{
    const NUV_ScaleCase linear{265148, 2, 265147, 1, 1};
    const auto fixed = Arithmetic::of<std::uint8_t>(true);
    expect_scaled_as<std::uint8_t, NUV_ScaleLI>(
        linear,
        [&](const Picture& p) { return model::linear(p, linear.width, linear.height, fixed); },
        linear.width, linear.height);
    for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
        const NUV_ScaleCase area{338816, 1, 338815, 1, channels};
        expect_scaled_as<std::uint8_t, NUV_ScalePP>(
            area, [&](const Picture& p) { return model::area(p, area.width, 1, fixed); },
            area.width, area.height);
        const NUV_ScaleCase tall{1, 338816, 1, 338815, channels};
        expect_scaled_as<std::uint8_t, NUV_ScalePP>(
            tall, [&](const Picture& p) { return model::area(p, 1, tall.height, fixed); },
            tall.width, tall.height);
    }
}

// A factor of a hair above two counts as two in fixed point, not in double precision.
TEST(ScaleLinearReduction, KeepsTheHorizontalFactorInItsOwnPrecision)
{
    for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
        const NUV_ScaleCase c{8195, 4, 4097, 2, channels};
        for (const bool is_fixed : {true, false}) {
            const auto how = Arithmetic::of<std::uint8_t>(is_fixed);
            expect_scaled_as<std::uint8_t, NUV_ScaleLI>(
                c, [&](const Picture& p) { return model::linear(p, c.width, c.height, how); },
                c.width, c.height, is_fixed);
        }
    }
}

// The sum of offset and weight rounds up to the next pixel at the fifth one.
TEST(ScaleLinear, DoubleTableNeverMovesIntoTheNextChannel)
{
    NUV_TestChain chain;
    chain.source<std::uint16_t>({.width = 2, .height = 1, .channels = 3},
                                {1000, 20000, 60000, 7, 8, 9});
    ASSERT_TRUE(chain.append<NUV_ScaleLI>(6U, 1U));
    const auto out = chain.run<std::uint16_t>();
    ASSERT_EQ(out.size(), 18u);
    EXPECT_EQ((std::vector<std::uint16_t>(out.begin() + 12, out.begin() + 15)),
              (std::vector<std::uint16_t>{7, 8, 9}));
}

// The share of each source pixel can be read off: 10 + 20 + 15, 15 + 40 + 50, of 2.5 pixels each.
TEST(ScaleArea, WeighsByTheShareCovered)
{
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 5}, {10, 20, 30, 40, 50});
    ASSERT_TRUE(chain.append<NUV_ScalePP>(2U, 1U));
    EXPECT_EQ(chain.run<std::uint8_t>(), (std::vector<std::uint8_t>{18, 42}));
}

// Every kernel's weights add up to one, at both ends of the range.
TEST(ScaleFlatAreas, StayFlatToTheLastBit)
{
    const auto flat = []<class T, class Creator>(T value, std::uint32_t from, std::uint32_t to,
                                                 auto... args) {
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
        NUV_TestChain chain;
        chain.source<T>({.width = from, .height = from, .channels = 3},
                        std::vector<T>(std::size_t{from} * from * 3, value));
        ASSERT_TRUE(chain.append<Creator>(to, to, args...));
        EXPECT_EQ(chain.template run<T>(), std::vector<T>(std::size_t{to} * to * 3, value));
    };
    for (const auto& [from, to] : {std::pair{100U, 40U}, {201U, 2U}, {10U, 11U}, {7U, 200U}}) {
        for (const int value : {0, 128, 255}) {
            const auto byte = static_cast<std::uint8_t>(value);
            const auto word = static_cast<std::uint16_t>(257 * value);
            flat.operator()<std::uint8_t, NUV_ScalePP>(byte, from, to);
            flat.operator()<std::uint16_t, NUV_ScalePP>(word, from, to);
            flat.operator()<std::uint8_t, NUV_ScaleLI>(byte, from, to);
            flat.operator()<std::uint16_t, NUV_ScaleLI>(word, from, to);
            flat.operator()<std::uint8_t, NUV_ScaleCC>(byte, from, to, -1.7);
            flat.operator()<std::uint16_t, NUV_ScaleCC>(word, from, to, -1.7);
            flat.operator()<std::uint16_t, NUV_ScaleCC>(word, from, to, true, -30.0);
        }
    }
}

// Pairs, and sums in each of the types that hold them: 256 bytes are the most for 16 bits.
TEST(ScaleMeans, EqualTheModelByEveryWholeFactor)
{
    const auto check = []<class T>(std::uint32_t factor, std::uint16_t channels) {
        const std::uint32_t width = factor < 256 ? 37 : 3;
        const NUV_ScaleCase c{width * factor, 2 * factor, width, 2, channels};
        const auto how = Arithmetic::of<T>(true);
        expect_scaled_as<T, NUV_ScaleIAR>(
            c, [&](const Picture& p) { return model::area(p, c.width, c.height, how); }, c.width,
            c.height);
    };
    for (const std::uint32_t factor : {2U, 3U, 4U, 7U, 256U, 257U}) {
        for (const std::uint16_t channels :
             {std::uint16_t{1}, std::uint16_t{3}, std::uint16_t{5}}) {
            check.operator()<std::uint8_t>(factor, channels);
            check.operator()<std::uint16_t>(factor, channels);
        }
    }
}

// Sums of many 16-bit samples pass 32 bits.
TEST(ScaleMeans, HoldSumsOfAnyLength)
{
    const std::uint32_t count = 66000;
    const std::vector<std::uint16_t> white(count, 65535);
    for (const bool wide : {true, false}) {
        NUV_TestChain chain;
        chain.source<std::uint16_t>({.width = wide ? count : 1, .height = wide ? 1 : count}, white);
        ASSERT_TRUE(chain.append<NUV_ScaleIAR>(1U, 1U));
        EXPECT_EQ(chain.run<std::uint16_t>(), (std::vector<std::uint16_t>{65535}));
    }
}

} // namespace
} // namespace nuv
