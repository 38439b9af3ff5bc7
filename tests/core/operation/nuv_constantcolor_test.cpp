#include "core/constantcolor/nuv_constantcolor.h"

#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <limits>
#include <span>

namespace nuv {
namespace {

// The chain begins with the creator, so `append` does not serve.
NUV_Engine* start(NUV_TestChain& chain, const NUV_TestImage& image, std::vector<double> color)
{
    NUV_Header header(chain.manager());
    header.width(image.width);
    header.height(image.height);
    header.channels(image.channels);
    header.bits(image.bits);
    header.data_type(image.data_type);
    header.encode_type(image.encode_type);
    chain.last(NUV_ConstantColor(chain.manager()).engine(&header, color));
    return chain.last();
}

TEST(ConstantColor, RepeatsThePixel)
{
    NUV_TestChain bytes;
    ASSERT_TRUE(start(bytes, {.width = 2, .height = 2, .channels = 3}, {1, 0, 255}));
    EXPECT_EQ(bytes.run_bytes(),
              (std::vector<std::uint8_t>{1, 0, 255, 1, 0, 255, 1, 0, 255, 1, 0, 255}));

    NUV_TestChain signed_words;
    ASSERT_TRUE(start(signed_words, {.bits = 32, .data_type = NUV_DataType::s_integer},
                      {std::numeric_limits<std::int32_t>::min()}));
    EXPECT_EQ(signed_words.run<std::int32_t>(),
              std::vector<std::int32_t>{std::numeric_limits<std::int32_t>::min()});

    NUV_TestChain reals;
    ASSERT_TRUE(start(reals, {.bits = 64, .data_type = NUV_DataType::floating}, {0.1}));
    EXPECT_EQ(reals.run<double>(), std::vector<double>{0.1});
}

TEST(ConstantColor, LeavesTheBitsBehindTheLineClear)
{
    NUV_TestChain black;
    ASSERT_TRUE(start(black, {.width = 11, .height = 2, .bits = 1}, {1}));
    EXPECT_EQ(black.run_bytes(), (std::vector<std::uint8_t>{0xFF, 0xE0, 0xFF, 0xE0}));

    NUV_TestChain striped;
    ASSERT_TRUE(start(striped, {.width = 3, .channels = 3, .bits = 1}, {1, 0, 0}));
    EXPECT_EQ(striped.run_bytes(), (std::vector<std::uint8_t>{0b10010010, 0}));
}

TEST(ConstantColorRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_creator = "NUV_ConstantColor::engine()";
    constexpr auto in_raw = "NUV_ConstantColorRaw::engine()";
    constexpr auto in_bytes = "NUV_ConstantColorRaw8xNBitsEngine::initiate()";
    constexpr auto in_bits = "NUV_ConstantColorRaw1Engine::initiate()";
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::vector<double> color;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"too few values", {.channels = 3}, {1, 2}, NUV_ERR_ARGUMENT, in_bytes},
        {"value beyond the sample", {}, {256}, NUV_ERR_ARGUMENT, in_bytes},
        {"value below the sample", {}, {-1}, NUV_ERR_ARGUMENT, in_bytes},
        {"half a value", {}, {0.5}, NUV_ERR_ARGUMENT, in_bytes},
        {"no number", {}, {std::numeric_limits<double>::quiet_NaN()}, NUV_ERR_ARGUMENT, in_bytes},
        {"no bit", {.bits = 1}, {2}, NUV_ERR_ARGUMENT, in_bits},
        {"too many bits", {.bits = 1}, {1, 1}, NUV_ERR_ARGUMENT, in_bits},
        {"4 bits", {.bits = 4}, {1}, NUV_ERR_UNSUPPORTED, in_raw},
        {"coded", {.encode_type = NUV_EncodeType::qd_rle}, {1}, NUV_ERR_UNSUPPORTED, in_creator},
        {"no lines", {.height = 0}, {1}, NUV_ERR_ARGUMENT, "NUV_GenerateEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        EXPECT_FALSE(start(chain, c.image, c.color));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
    }
    NUV_TestChain chain;
    EXPECT_FALSE(NUV_ConstantColor(chain.manager()).engine(nullptr, {}));
    EXPECT_STREQ(chain.status().method, in_creator);
}

TEST(ConstantColorRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        if (start(chain, {.width = 3, .height = 2}, {7}))
            static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
