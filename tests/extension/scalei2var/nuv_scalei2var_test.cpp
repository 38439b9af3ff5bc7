#include "extension/scalei2var/nuv_scalei2var.h"

#include "core/include/nuv_interpolationtable.h"
#include "tests/core/scale/nuv_scalecases.h"
#include "tests/support/nuv_model_scalei2.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace nuv {
namespace {

constexpr std::uint16_t no_limit = 0;

// Ratios of every mask on both axes, edges within reach of all taps, and the ends of the vectors.
std::vector<NUV_ScaleCase> mask_cases()
{
    const std::uint32_t sizes[] = {8, 9, 11, 13, 17, 24, 40, 65};
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (const std::uint32_t source : sizes)
        for (const std::uint32_t destination : sizes)
            if (destination >= 0.33 * source)
                pairs.emplace_back(source, destination);
    std::vector<NUV_ScaleCase> cases;
    const std::uint16_t channels[] = {1, 3, 4};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        for (const std::size_t shift : {std::size_t{0}, std::size_t{11}, std::size_t{29}}) {
            const auto& x = pairs[i];
            const auto& y = pairs[(i + shift) % pairs.size()];
            if (x != y || x.first != x.second)
                cases.push_back({x.first, y.first, x.second, y.second, channels[(i + shift) % 3]});
        }
    }
    return cases;
}

template <class T>
class ScaleI2VAR : public ::testing::Test {
protected:
    static constexpr bool is_fixed = sizeof(T) == 1;
};
using Samples = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(ScaleI2VAR, Samples);

TYPED_TEST(ScaleI2VAR, EqualsTheModel)
{
    constexpr std::uint16_t most = 8 * sizeof(TypeParam);
    for (const NUV_ScaleCase& c : mask_cases()) {
        for (const int bits : {0, most - 2}) {
            const auto how = model::Arithmetic::of<TypeParam>(true, bits);
            const auto wanted = [&](const model::Picture& in) {
                return model::i2var(in, c.width, c.height, TestFixture::is_fixed, how.maximum);
            };
            expect_scaled_as<TypeParam, NUV_ScaleI2VAR>(c, wanted, c.width, c.height, -0.75F,
                                                        static_cast<std::uint16_t>(bits));
            if (::testing::Test::HasFatalFailure())
                return;
        }
    }
}

TYPED_TEST(ScaleI2VAR, TakesOtherKernelsAndFactors)
{
    const NUV_ScaleCase c{31, 23, 19, 23, 3};
    const auto how = model::Arithmetic::of<TypeParam>(true);
    for (const float a : {-0.5F, -2.0F, 0.25F}) {
        expect_scaled_as<TypeParam, NUV_ScaleI2VAR>(
            c,
            [&](const model::Picture& in) {
                return model::i2var(in, 19, 23, TestFixture::is_fixed, how.maximum, a);
            },
            0.6, 1.0, a);
    }
    expect_scaled_as<TypeParam, NUV_ScaleI2VAR>(
        c,
        [&](const model::Picture& in) {
            return model::i2var(in, 19, 23, TestFixture::is_fixed, how.maximum);
        },
        19U, 23U);
}

// A limit makes a picture pass through, whatever its size: what lies above becomes the maximum.
TYPED_TEST(ScaleI2VAR, LimitsAtTheSameSize)
{
    const NUV_ScaleCase c{12, 9, 12, 9, 1};
    constexpr std::uint16_t bits = 8 * sizeof(TypeParam) - 2;
    expect_scaled_as<TypeParam, NUV_ScaleI2VAR>(
        c,
        [&](model::Picture in) {
            for (std::int64_t& sample : in.samples)
                sample = std::min<std::int64_t>(sample, (1 << bits) - 1);
            return in;
        },
        12U, 9U, -0.75F, bits);
}

TYPED_TEST(ScaleI2VAR, TheSameSizeIsNoWork)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 8, .height = 8, .bits = 8 * sizeof(TypeParam)});
    NUV_Engine* source = chain.last();
    ASSERT_TRUE(chain.append<NUV_ScaleI2VAR>(8U, 8U));
    EXPECT_EQ(chain.last(), source);
    constexpr std::uint16_t all = 8 * sizeof(TypeParam);
    ASSERT_TRUE(chain.append<NUV_ScaleI2VAR>(8U, 8U, -0.75F, all));
    EXPECT_EQ(chain.last(), source);
}

TYPED_TEST(ScaleI2VAR, KeepsWhatElseTheHeaderSays)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 20,
                        .height = 30,
                        .channels = 3,
                        .bits = 8 * sizeof(TypeParam),
                        .color_type = NUV_ColorType::s_rgb});
    ASSERT_TRUE(chain.append<NUV_ScaleI2VAR>(10U, 33U));
    EXPECT_EQ(chain.header().bits(), 8 * sizeof(TypeParam));
    EXPECT_EQ(chain.header().data_type(), NUV_DataType::u_integer);
    EXPECT_EQ(chain.header().channels(), 3);
    EXPECT_EQ(chain.header().color_type(), NUV_ColorType::s_rgb);
}

// One pass of one mask, by hand: a kernel whose `a` is 0 weighs the pixels around 3.5 half each.
TEST(ScaleI2VARPasses, HaveTheIntermediateFormBetweenThem)
{
    NUV_TestChain chain;
    std::vector<std::uint8_t> line = {0, 0, 0, 0, 255, 255, 255, 255};
    chain.source<std::uint8_t>({.width = 8, .height = 1}, line);
    NUV_CubicSplineTable table(chain.manager());
    ASSERT_TRUE(table.allocate());
    table.fill(0.0F);
    ASSERT_TRUE(chain.append<NUV_ScaleI2VARWidthFixedReal>(9U, &table, 4U));
    EXPECT_EQ(chain.header().bits(), 16);
    EXPECT_EQ(chain.header().data_type(), NUV_DataType::s_integer);
    const auto middle = chain.run<std::int16_t>();
    ASSERT_EQ(middle.size(), 9u);
    EXPECT_EQ(middle[0], 0);
    EXPECT_EQ(middle[4], 255 * 8);                // 127.5 with four fractional bits
    EXPECT_EQ(middle[8], (255 * 1023 + 32) >> 6); // two weights have lost half a unit each
}

TEST(ScaleI2VARPasses, AreFloatingFor16Bits)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 9, .height = 9, .bits = 16});
    NUV_CubicSplineTable table(chain.manager());
    ASSERT_TRUE(table.allocate());
    table.fill(-0.75F);
    ASSERT_TRUE(chain.append<NUV_ScaleI2VARWidthFloat>(9U, &table, 4U));
    EXPECT_EQ(chain.header().bits(), 64);
    EXPECT_EQ(chain.header().data_type(), NUV_DataType::floating);
    EXPECT_FALSE(chain.append<NUV_ScaleI2VARHeightFixedReal>(9U, no_limit, &table, 4U));
    EXPECT_STREQ(chain.status().method, "NUV_ScaleI2VARHeightEngine::initiate()");
    EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
}

TEST(ScaleI2VARRefusal, SaysWhyAndLeavesNothingBehind)
{
    const NUV_TestImage gray{.width = 100, .height = 100};
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::uint32_t width, height;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {"no width", gray, 0, 50, NUV_ERR_ARGUMENT},
        {"7 columns", gray, 7, 50, NUV_ERR_ARGUMENT},
        {"7 lines", gray, 50, 7, NUV_ERR_ARGUMENT},
        {"a shrink too far", gray, 32, 50, NUV_ERR_ARGUMENT},
        {"a shrink too far down", gray, 50, 32, NUV_ERR_ARGUMENT},
        {"a source of 7 columns", {.width = 7, .height = 9}, 9, 9, NUV_ERR_UNSUPPORTED},
        {"a source of 7 lines", {.width = 9, .height = 7}, 9, 9, NUV_ERR_UNSUPPORTED},
        {"2 channels", {.width = 9, .height = 9, .channels = 2}, 8, 8, NUV_ERR_UNSUPPORTED},
        {"signed",
         {.width = 9, .height = 9, .data_type = NUV_DataType::s_integer},
         8,
         8,
         NUV_ERR_UNSUPPORTED},
        {"32 bits", {.width = 9, .height = 9, .bits = 32}, 8, 8, NUV_ERR_UNSUPPORTED},
        {"a palette", {.width = 9, .height = 9, .palette = true}, 8, 8, NUV_ERR_UNSUPPORTED},
        {"runs",
         {.width = 9, .height = 9, .bits = 1, .encode_type = NUV_EncodeType::qd_rle},
         8,
         8,
         NUV_ERR_UNSUPPORTED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        expect_refused(chain, chain.append<NUV_ScaleI2VAR>(c.width, c.height), c.code,
                       "NUV_ScaleI2VAR::engine()");
    }
    NUV_TestChain chain;
    chain.blank_source({.width = 100, .height = 100});
    EXPECT_TRUE(chain.append<NUV_ScaleI2VAR>(33U, 33U));
    EXPECT_FALSE(chain.append<NUV_ScaleI2VAR>(-1.0, 1.0, -0.75F));
    EXPECT_STREQ(chain.status().method, "NUV_ScaleI2VAR::ratio_to_size_mine()");
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
}

enum class Pass { width_fixed, height_fixed, width_float, height_float };

bool append_pass(NUV_TestChain& chain, Pass pass, std::uint32_t size,
                 const NUV_CubicSplineTable* table, std::uint32_t taps)
{
    switch (pass) {
    case Pass::width_fixed:
        return chain.append<NUV_ScaleI2VARWidthFixedReal>(size, table, taps);
    case Pass::height_fixed:
        return chain.append<NUV_ScaleI2VARHeightFixedReal>(size, no_limit, table, taps);
    case Pass::width_float:
        return chain.append<NUV_ScaleI2VARWidthFloat>(size, table, taps);
    case Pass::height_float:
        break;
    }
    return chain.append<NUV_ScaleI2VARHeightFloat>(size, no_limit, table, taps);
}

TEST(ScaleI2VARRefusal, NamesThePassAndItsMask)
{
    const NUV_TestImage byte{.width = 7, .height = 7};
    const NUV_TestImage word{.width = 7, .height = 7, .bits = 16};
    const NUV_TestImage middle{
        .width = 7, .height = 7, .bits = 16, .data_type = NUV_DataType::s_integer};
    const NUV_TestImage real{
        .width = 7, .height = 7, .bits = 64, .data_type = NUV_DataType::floating};
    const NUV_TestImage broad{.width = 8, .height = 8, .channels = 4, .bits = 16};
    struct Case {
        Pass pass;
        NUV_StatusCode code;
        NUV_TestImage image;
        std::uint32_t size, taps;
        double stretch;
        const char* method;
    };
    const Case cases[] = {
        {Pass::width_fixed, NUV_ERR_ARGUMENT, byte, 0, 4, 1,
         "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {Pass::width_fixed, NUV_ERR_ARGUMENT, byte, 9, 3, 1,
         "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {Pass::height_fixed, NUV_ERR_ARGUMENT, middle, 9, 9, 1,
         "NUV_ScaleI2VARHeightFixedReal::engine()"},
        {Pass::width_float, NUV_ERR_ARGUMENT, word, 9, 3, 1, "NUV_ScaleI2VARWidthFloat::engine()"},
        {Pass::height_float, NUV_ERR_ARGUMENT, real, 9, 0, 1,
         "NUV_ScaleI2VARHeightFloat::engine()"},
        {Pass::width_fixed, NUV_ERR_UNSUPPORTED, word, 9, 4, 1,
         "NUV_ScaleI2VARWidthEngine::initiate()"},
        {Pass::width_float, NUV_ERR_UNSUPPORTED, byte, 9, 4, 1,
         "NUV_ScaleI2VARWidthEngine::initiate()"},
        {Pass::width_float, NUV_ERR_UNSUPPORTED, broad, 0x10000000, 4, 1,
         "NUV_ScaleI2VARWidthEngine::initiate()"},
        {Pass::height_fixed, NUV_ERR_UNSUPPORTED, word, 9, 4, 1,
         "NUV_ScaleI2VARHeightEngine::initiate()"},
        {Pass::height_float, NUV_ERR_UNSUPPORTED, middle, 9, 4, 1,
         "NUV_ScaleI2VARHeightFloatEngine::initiate()"},
        {Pass::width_fixed, NUV_ERR_UNSUPPORTED, byte, 9, 8, 0.5,
         "NUV_ScaleI2VARWidthFixedReal8MaskEngine::initiate()"},
        {Pass::height_fixed, NUV_ERR_UNSUPPORTED, middle, 9, 8, 0.5,
         "NUV_ScaleI2VARHeightFixedReal8MaskEngine::initiate()"},
        {Pass::width_float, NUV_ERR_ARGUMENT, word, 6, 7, 0.5,
         "NUV_ScaleI2VARWidthFloat7MaskEngine::initiate()"},
        {Pass::height_float, NUV_ERR_ARGUMENT, real, 5, 6, 0.5,
         "NUV_ScaleI2VARHeightFloat6MaskEngine::initiate()"},
        {Pass::width_fixed, NUV_ERR_ARGUMENT, byte, 9, 5, 2,
         "NUV_ScaleI2VARWidthFixedReal5MaskEngine::initiate()"},
        {Pass::height_float, NUV_ERR_ARGUMENT, real, 9, 4, 0,
         "NUV_ScaleI2VARHeightFloat4MaskEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        NUV_CubicSplineTable table(chain.manager());
        {
            ASSERT_TRUE(table.allocate());
            table.fill(-0.75F);
            table.stretch(c.stretch, c.stretch);
            EXPECT_FALSE(append_pass(chain, c.pass, c.size, &table, c.taps));
            table.free();
        }
        expect_refused(chain, false, c.code, c.method);
    }
    NUV_TestChain chain;
    chain.blank_source(byte);
    EXPECT_FALSE(append_pass(chain, Pass::width_fixed, 9, nullptr, 4));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
}

TEST(ScaleI2VARRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source<std::uint8_t>({.width = 9, .height = 9}, std::vector<std::uint8_t>(81, 7));
        chain.append<NUV_ScaleI2VAR>(8U, 17U);
        static_cast<void>(chain.run<std::uint8_t>());
    });
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source<std::uint16_t>({.width = 9, .height = 9}, std::vector<std::uint16_t>(81, 7));
        chain.append<NUV_ScaleI2VAR>(8U, 9U);
        static_cast<void>(chain.run<std::uint16_t>());
    });
}

// Lines that the source does not have end the result, and nothing else.
TEST(ScaleI2VARStream, EndsWithItsSource)
{
    NUV_TestChain chain;
    chain.source_bytes({.width = 10, .height = 20}, std::vector<std::uint8_t>(95, 9));
    ASSERT_TRUE(chain.append<NUV_ScaleI2VAR>(10U, 40U));
    const auto got = chain.run<std::uint8_t>();
    EXPECT_EQ(chain.status().code, 0);
    EXPECT_EQ(got.size(),
              150u); // line 15 of the result needs line 9 of the source, of which half came
    EXPECT_TRUE(std::all_of(got.begin(), got.end(), [](std::uint8_t s) { return s == 9; }));
}

} // namespace
} // namespace nuv
