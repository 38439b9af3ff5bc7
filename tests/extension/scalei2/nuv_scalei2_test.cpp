#include "extension/scalei2/nuv_scalei2.h"

#include "core/include/nuv_interpolationtable.h"
#include "extension/scalei2utility/nuv_scalei2smallutility.h"
#include "tests/core/scale/nuv_scalecases.h"
#include "tests/support/nuv_model_scalei2.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <vector>

namespace nuv {
namespace {

constexpr float a = -0.75F;
constexpr std::uint16_t no_limit = 0;

template <class T>
class ScaleI2 : public ::testing::Test {
protected:
    // Without a limit, and with one of that many bits fewer than T has.
    static void expect_model(std::span<const NUV_ScaleCase> cases, int fewer_bits)
    {
        constexpr int most = 8 * sizeof(T);
        for (const NUV_ScaleCase& c : cases) {
            for (const int bits : {0, most - fewer_bits}) {
                const auto how = model::Arithmetic::of<T>(true, bits);
                expect_scaled_as<T, NUV_ScaleI2>(
                    c,
                    [&](const model::Picture& in) {
                        return model::i2(in, c.width, c.height, sizeof(T) == 1, how.maximum, a);
                    },
                    c.width, c.height, a, static_cast<std::uint16_t>(bits));
            }
        }
    }
};
using Samples = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(ScaleI2, Samples);

// Every mask; an axis that sticks out, on either side; odd and even sizes against each other.
TYPED_TEST(ScaleI2, EqualsTheModel)
{
    const NUV_ScaleCase cases[] = {
        {20, 20, 40, 33, 1}, {20, 30, 20, 17, 3}, {21, 20, 20, 20, 4}, {33, 40, 28, 20, 3},
        {50, 33, 34, 8, 1},  {40, 65, 9, 38, 4},  {64, 50, 29, 25, 3}, {64, 90, 8, 30, 3},
        {9, 200, 9, 8, 1},   {8, 8, 65, 9, 3},
    };
    TestFixture::expect_model(cases, 2);
}

// Below 33 percent the pixels are means of boxes, also where the picture is cut.
TYPED_TEST(ScaleI2, AveragesBoxesWhereItShrinksFar)
{
    const NUV_ScaleCase cases[] = {
        {30, 30, 9, 9, 1}, {50, 50, 10, 10, 3},  {200, 130, 17, 12, 4}, {101, 200, 8, 11, 3},
        {65, 99, 8, 8, 3}, {640, 27, 200, 8, 1}, {8, 200, 8, 40, 1},    {300, 300, 9, 9, 3},
    };
    TestFixture::expect_model(cases, 3);
}

// 1000 x 800 to 500 x 500 goes by 0.625, the ratio of the heights; of 625 columns the middle stays.
TYPED_TEST(ScaleI2, KeepsProportionsAndCutsTheRest)
{
    std::vector<TypeParam> samples;
    for (std::uint32_t y = 0; y < 80; ++y)
        for (std::uint32_t x = 0; x < 100; ++x)
            samples.push_back(x < 50 ? TypeParam{10} : TypeParam{200});
    NUV_TestChain chain;
    chain.source<TypeParam>({.width = 100, .height = 80}, samples);
    ASSERT_TRUE(chain.append<NUV_ScaleI2>(50U, 50U, a, no_limit));
    EXPECT_EQ(chain.header().width(), 50u);
    EXPECT_EQ(chain.header().height(), 50u);
    const auto got = chain.run<TypeParam>();
    ASSERT_EQ(got.size(), 2500u);
    EXPECT_NEAR(got[20], 10, 1);
    EXPECT_NEAR(got[29], 200, 1);
}

// Where only pixels are to be cut off, the others stay as they are, at any limit.
TYPED_TEST(ScaleI2, CutsWithoutScaling)
{
    const NUV_ScaleCase c{20, 14, 16, 14, 3};
    for (const std::uint16_t bits : {std::uint16_t{0}, std::uint16_t{5}}) {
        expect_scaled_as<TypeParam, NUV_ScaleI2>(
            c,
            [&](const model::Picture& in) {
                model::Picture out(16, 14, 3);
                for (std::int64_t y = 0; y < 14; ++y)
                    for (std::int64_t x = 0; x < 16; ++x)
                        for (int channel = 0; channel < 3; ++channel)
                            out.set(x, y, channel) =
                                bits == 0 ? in.at(x + 2, y, channel)
                                          : std::min<std::int64_t>(in.at(x + 2, y, channel), 31);
                return out;
            },
            16U, 14U, a, bits);
    }
    expect_scaled_as<TypeParam, NUV_ScaleI2>(
        {20, 14, 20, 14, 1},
        [](model::Picture in) {
            for (std::int64_t& sample : in.samples)
                sample = std::min<std::int64_t>(sample, 63);
            return in;
        },
        20U, 14U, a, std::uint16_t{6});
}

TYPED_TEST(ScaleI2, TheSameSizeIsNoWork)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 20, .height = 9, .bits = 8 * sizeof(TypeParam)});
    NUV_Engine* source = chain.last();
    ASSERT_TRUE(chain.append<NUV_ScaleI2>(20U, 9U, a, no_limit));
    EXPECT_EQ(chain.last(), source);
}

TEST(ScaleI2Boxes, TileTheSource)
{
    NUV_TestChain chain;
    NUV_ScaleI2Boxes boxes;
    ASSERT_TRUE(boxes.initiate(chain.manager(), 30, 9, 9.0 / 30));
    const std::uint32_t starts[] = {0, 3, 7, 10, 13, 17, 20, 23, 27, 30};
    for (std::size_t k = 0; k < 10; ++k)
        EXPECT_EQ(boxes.start(k), starts[k]) << k;
    EXPECT_EQ(boxes.most_count(), 4u);
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

TEST(ScaleI2Boxes, HoldTheirSums)
{
    for (const std::uint32_t rows : {1U, 257U, 258U, 70000U}) {
        expect_white_stays_white<std::uint8_t>(rows);
        expect_white_stays_white<std::uint16_t>(rows);
    }
}

TEST(ScaleI2Refusal, SaysWhyAndLeavesNothingBehind)
{
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::uint32_t width, height;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {"7 columns", {.width = 20, .height = 20}, 7, 20, NUV_ERR_ARGUMENT},
        {"no lines", {.width = 20, .height = 20}, 20, 0, NUV_ERR_ARGUMENT},
        {"a source of 7 columns", {.width = 7, .height = 20}, 9, 9, NUV_ERR_UNSUPPORTED},
        {"2 channels", {.width = 9, .height = 9, .channels = 2}, 8, 8, NUV_ERR_UNSUPPORTED},
        {"a palette", {.width = 9, .height = 9, .palette = true}, 8, 8, NUV_ERR_UNSUPPORTED},
        {"1 bit", {.width = 9, .height = 9, .bits = 1}, 8, 8, NUV_ERR_UNSUPPORTED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        expect_refused(chain, chain.append<NUV_ScaleI2>(c.width, c.height, a, no_limit), c.code,
                       "NUV_ScaleI2::engine()");
    }
}

template <class Creator>
void expect_part_refused(const NUV_TestImage& image, std::uint32_t width, std::uint32_t height,
                         std::uint32_t taps, double stretch, NUV_StatusCode code,
                         const char* method)
{
    SCOPED_TRACE(method);
    NUV_TestChain chain;
    chain.blank_source(image);
    NUV_CubicSplineTable table(chain.manager());
    ASSERT_TRUE(table.allocate());
    table.fill(a);
    table.stretch(stretch, stretch);
    const NUV_CubicSplineTable* kernel = &table;
    const bool appended = chain.append<Creator>(width, height, no_limit, kernel, taps);
    table.free();
    expect_refused(chain, appended, code, method);
}

TEST(ScaleI2Refusal, NamesTheEngineAndItsMask)
{
    const NUV_TestImage byte{.width = 20, .height = 20};
    const NUV_TestImage word{.width = 20, .height = 20, .bits = 16};
    expect_part_refused<NUV_ScaleI2FixedReal>(byte, 15, 15, 3, 1, NUV_ERR_ARGUMENT,
                                              "NUV_ScaleI2FixedReal::engine()");
    expect_part_refused<NUV_ScaleI2Float>(word, 15, 15, 9, 1, NUV_ERR_ARGUMENT,
                                          "NUV_ScaleI2Float::engine()");
    expect_part_refused<NUV_ScaleI2FixedReal>(word, 15, 15, 4, 1, NUV_ERR_UNSUPPORTED,
                                              "NUV_ScaleI2Engine::initiate()");
    expect_part_refused<NUV_ScaleI2FloatSmall>(byte, 15, 15, 4, 1, NUV_ERR_UNSUPPORTED,
                                               "NUV_ScaleI2Engine::initiate()");
    expect_part_refused<NUV_ScaleI2FixedReal>(byte, 15, 3, 4, 1, NUV_ERR_ARGUMENT,
                                              "NUV_ScaleI2FixedRealCore4x4Engine::initiate()");
    expect_part_refused<NUV_ScaleI2FixedReal>(byte, 15, 7, 8, 0.5, NUV_ERR_ARGUMENT,
                                              "NUV_ScaleI2FixedRealCore8x8Engine::initiate()");
    expect_part_refused<NUV_ScaleI2Float>(word, 15, 15, 5, 2, NUV_ERR_ARGUMENT,
                                          "NUV_ScaleI2FloatCore5x5Engine::initiate()");
    expect_part_refused<NUV_ScaleI2FixedRealSmall>(byte, 21, 5, 8, 0.5, NUV_ERR_ARGUMENT,
                                                   "NUV_ScaleI2FixedRealSmallEngine::initiate()");
    expect_part_refused<NUV_ScaleI2FloatSmall>(word, 5, 21, 8, 0.5, NUV_ERR_ARGUMENT,
                                               "NUV_ScaleI2FloatSmallEngine::initiate()");
    expect_part_refused<NUV_ScaleI2FloatSmall>(word, 5, 0, 8, 0.5, NUV_ERR_ARGUMENT,
                                               "NUV_ScaleI2FloatSmall::engine()");
}

TEST(ScaleI2Refusal, SurvivesEveryFailedAllocation)
{
    for (const std::uint32_t size : {13U, 8U}) {
        expect_clean_at_every_allocation([size](NUV_TestChain& chain) {
            chain.source<std::uint8_t>({.width = 27, .height = 26},
                                       std::vector<std::uint8_t>(std::size_t{27} * 26, 7));
            chain.append<NUV_ScaleI2>(size, size, a, no_limit);
            static_cast<void>(chain.run<std::uint8_t>());
        });
    }
}

} // namespace
} // namespace nuv
