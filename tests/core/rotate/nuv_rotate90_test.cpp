#include "core/rotate/nuv_rotate90.h"

#include "tests/support/nuv_model_rotate.h"
#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace nuv {
namespace {

constexpr int angles[] = {90, 180, 270};

[[nodiscard]] NUV_ModelImage random_image(std::uint32_t width, std::uint32_t height,
                                          std::uint16_t channels, std::uint16_t bits,
                                          std::mt19937& random)
{
    NUV_ModelImage image{width, height, channels, bits};
    image.samples.resize(std::size_t{width} * height * channels);
    for (std::int64_t& sample : image.samples)
        sample = static_cast<std::uint16_t>(random() & ((1U << bits) - 1));
    return image;
}

// Turns `image` by each angle, in bands of `block` lines where that is not 0.
template <class Creator, class... Block>
void expect_turned(const NUV_ModelImage& image, const std::vector<std::uint8_t>& bytes,
                   Block... block)
{
    for (const int angle : angles) {
        SCOPED_TRACE(testing::Message()
                     << image.width << " x " << image.height << ", " << image.channels << " of "
                     << image.bits << " bits, " << angle << " degrees");
        const NUV_ModelImage wanted = model_rotate(image, angle);
        NUV_TestChain chain;
        chain.source_bytes(image.description(), bytes);
        ASSERT_TRUE(chain.append<Creator>(angle, block...));
        EXPECT_EQ(chain.header().width(), wanted.width);
        EXPECT_EQ(chain.header().height(), wanted.height);
        ASSERT_TRUE(chain.run_bytes() == wanted.bytes());
        ASSERT_EQ(chain.status().code, NUV_STATUS_OK);
    }
}

TEST(Rotate90, TurnsSamplesOfWholeBytes)
{
    std::mt19937 random(1);
    constexpr std::uint32_t heights[] = {1, 2, 7, 63, 64, 65, 200, 201, 403};
    for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
        for (std::uint16_t channels = 1; channels <= 5; ++channels) {
            for (const std::uint32_t height : heights) {
                const auto width = static_cast<std::uint32_t>(1 + random() % 20);
                const auto image = random_image(width, height, channels, bits, random);
                expect_turned<NUV_Rotate90>(image, image.bytes());
            }
        }
    }
}

// All widths modulo the 128 columns of a vector step, heights about bytes and bands; padding bits
// of the source are set, those of the result must not be.
TEST(Rotate90, TurnsBits)
{
    std::mt19937 random(2);
    constexpr std::uint32_t heights[] = {1,  7,  8,  9,   15,  16,  17, 63,
                                         64, 65, 72, 127, 128, 200, 201};
    for (std::uint32_t width = 1; width <= 140; width += 1 + width / 16) {
        for (const std::uint32_t height : heights) {
            const auto image = random_image(width, height, 1, 1, random);
            auto bytes = image.bytes();
            const std::size_t line = (width + 7) / 8;
            const unsigned pad = 0xFFU >> ((width - 1) % 8 + 1);
            for (std::size_t last = line - 1; last < bytes.size(); last += line)
                bytes[last] = static_cast<std::uint8_t>(bytes[last] | pad);
            expect_turned<NUV_Rotate90>(image, bytes);
        }
    }
}

TEST(Rotate90, GivesTheSameInBandsOfAnyHeight)
{
    std::mt19937 random(3);
    // Higher than the bands that are turned at once, which then meet inside a byte.
    const auto bits = random_image(150, 149, 1, 1, random);
    for (const std::uint32_t block : {8U, 16U, 48U, 149U, 64U})
        expect_turned<NUV_Rotate90_1>(bits, bits.bytes(), block);
    const auto samples = random_image(9, 53, 3, 8, random);
    for (const std::uint32_t block : {1U, 2U, 7U, 53U, 999U})
        expect_turned<NUV_Rotate90_8xN>(samples, samples.bytes(), block);
}

TEST(Rotate90, TurnsRunsAsItTurnsBits)
{
    std::mt19937 random(4);
    for (std::uint32_t width = 1; width <= 70; ++width) {
        const auto height = static_cast<std::uint32_t>(1 + random() % 70);
        const NUV_ModelImage image = random_bilevel(width, height, random);
        for (const int angle : angles) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << angle);
            NUV_TestChain chain;
            chain.source_bytes(run_description(width, height), model_run_bytes(image));
            ASSERT_TRUE(chain.append<NUV_Rotate90>(angle));
            ASSERT_EQ(chain.header().encode_type(), NUV_EncodeType::qd_rle);
            const NUV_ModelImage wanted = model_rotate(image, angle);
            ASSERT_EQ(chain.header().width(), wanted.width);
            ASSERT_TRUE(chain.run_bytes() == model_run_bytes(wanted));
        }
    }
}

TEST(Rotate90, AddsUpOverTheChain)
{
    std::mt19937 random(5);
    const auto image = random_image(37, 70, 1, 1, random);
    const std::vector<int> chains[] = {{90, 90, 90, 90}, {90, 270}, {180, 180}, {-90, 450}};
    for (const auto& turns : chains) {
        NUV_TestChain chain;
        chain.source_bytes(image.description(), image.bytes());
        for (const int angle : turns)
            ASSERT_TRUE(chain.append<NUV_Rotate90>(angle));
        EXPECT_TRUE(chain.run_bytes() == image.bytes());
    }
}

TEST(Rotate90, AppendsNothingForWholeTurns)
{
    for (const std::uint16_t bits :
         {std::uint16_t{1}, std::uint16_t{8}, std::uint16_t{16}, std::uint16_t{32}}) {
        for (const int angle : {0, 360, -360, 720}) {
            NUV_TestChain chain;
            chain.blank_source({.bits = bits});
            NUV_Engine* source = chain.last();
            EXPECT_TRUE(chain.append<NUV_Rotate90>(angle));
            EXPECT_EQ(chain.last(), source);
        }
    }
}

TEST(Rotate90, KeepsPaletteAndColor)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 3, .height = 2, .palette = true});
    ASSERT_TRUE(chain.append<NUV_Rotate90>(90));
    EXPECT_EQ(chain.header().palette().entries, 256U);
    EXPECT_EQ(chain.header().color_type(), NUV_ColorType::s_rgb);
}

// What was not read is not made up.
TEST(Rotate90, DeliversNothingForASourceThatBreaksOff)
{
    for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{8}}) {
        for (const std::size_t lines :
             {std::size_t{0}, std::size_t{30}, std::size_t{200}, std::size_t{229}}) {
            NUV_TestChain chain;
            chain.source_bytes({.width = 8, .height = 230, .bits = bits},
                               std::vector<std::uint8_t>(lines * bits));
            ASSERT_TRUE(chain.append<NUV_Rotate90>(90));
            EXPECT_TRUE(chain.run_bytes().empty()) << bits << " bits, " << lines << " lines";
            EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
        }
    }
}

TEST(Rotate90Refusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_1 = "NUV_Rotate90_1Engine::initiate()";
    constexpr auto in_8xn = "NUV_Rotate90_8xNEngine::initiate()";
    constexpr auto in_runs = "NUV_Rotate90QDRLEEngine::initiate()";
    const NUV_EncodeType* runs = NUV_EncodeType::qd_rle;

    struct Case {
        const char* what;
        NUV_TestImage image;
        int angle;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"odd angle, bits", {.bits = 1}, 45, NUV_ERR_ARGUMENT, in_1},
        {"odd angle, bytes", {}, -1, NUV_ERR_ARGUMENT, in_8xn},
        {"odd angle, runs", {.bits = 1, .encode_type = runs}, 91, NUV_ERR_ARGUMENT, in_runs},
        {"bits of two channels", {.channels = 2, .bits = 1}, 90, NUV_ERR_UNSUPPORTED, in_1},
        {"4 bits", {.bits = 4}, 90, NUV_ERR_UNSUPPORTED, "NUV_Rotate90_8xN::engine()"},
        {"reals",
         {.bits = 32, .data_type = NUV_DataType::floating},
         90,
         NUV_ERR_UNSUPPORTED,
         "NUV_Rotate90_8xN::engine()"},
        {"coded bytes", {.encode_type = NUV_EncodeType::jpeg}, 90, NUV_ERR_UNSUPPORTED, in_8xn},
        {"coded bits",
         {.bits = 1, .encode_type = NUV_EncodeType::mmr},
         90,
         NUV_ERR_UNSUPPORTED,
         "NUV_Rotate90::engine()"},
        {"runs of two channels",
         {.channels = 2, .bits = 1, .encode_type = runs},
         90,
         NUV_ERR_UNSUPPORTED,
         in_runs},
        {"runs as long as no line may be",
         {.height = 0x0FFFFFFF, .bits = 1, .encode_type = runs},
         90,
         NUV_ERR_UNSUPPORTED,
         in_runs},
        {"runs of lines that long",
         {.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs},
         90,
         NUV_ERR_UNSUPPORTED,
         in_runs},
        {"a plane that grows by its padding",
         {.width = 0x60000000, .height = 17, .bits = 1},
         90,
         NUV_ERR_UNSUPPORTED,
         in_1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_Rotate90>(c.angle));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
}

TEST(Rotate90Refusal, WantsWholeBytesOfLinesInABand)
{
    for (const std::uint32_t block : {0U, 4U, 63U, 101U}) {
        NUV_TestChain chain;
        chain.blank_source({.width = 5, .height = 100, .bits = 1});
        EXPECT_FALSE(chain.append<NUV_Rotate90_1>(90, block)) << block;
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, "NUV_Rotate90_1Engine::initiate()");
    }
    NUV_TestChain chain;
    chain.blank_source({});
    EXPECT_FALSE(chain.append<NUV_Rotate90_8xN>(90, 0U));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_Rotate90_8xNEngine::initiate()");
}

TEST(Rotate90Refusal, WantsAnEngine)
{
    NUV_TestChain chains[4];
    EXPECT_FALSE(chains[0].append<NUV_Rotate90>(0));
    EXPECT_FALSE(chains[1].append<NUV_Rotate90_1>(0, 64U));
    EXPECT_FALSE(chains[2].append<NUV_Rotate90_8xN>(0, 64U));
    EXPECT_FALSE(chains[3].append<NUV_Rotate90QDRLE>(0));
    const char* methods[] = {"NUV_Rotate90::engine()", "NUV_Rotate90_1::engine()",
                             "NUV_Rotate90_8xN::engine()", "NUV_Rotate90QDRLE::engine()"};
    for (std::size_t i = 0; i < std::size(chains); ++i) {
        EXPECT_EQ(chains[i].status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chains[i].status().method, methods[i]);
    }
}

TEST(Rotate90Refusal, SurvivesEveryFailedAllocation)
{
    std::mt19937 random(6);
    const auto bytes = random_image(9, 70, 3, 8, random);
    const auto bits = random_image(30, 70, 1, 1, random);
    for (const int angle : angles) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(bytes.description(), bytes.bytes());
            chain.append<NUV_Rotate90>(angle);
            static_cast<void>(chain.run_bytes());
        });
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(bits.description(), bits.bytes());
            chain.append<NUV_Rotate90>(angle);
            static_cast<void>(chain.run_bytes());
        });
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(run_description(30, 70), model_run_bytes(bits));
            chain.append<NUV_Rotate90>(angle);
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
