#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

[[nodiscard]] std::size_t line_bytes(const NUV_TestImage& image)
{
    return (std::size_t{image.channels} * image.bits * image.width + 7) / 8;
}

// Lines of random bits, with ones in the unused bits too.
[[nodiscard]] Bytes random_image(const NUV_TestImage& image)
{
    return random_samples<std::uint8_t>(line_bytes(image) * image.height, image.width);
}

[[nodiscard]] bool bit(const std::uint8_t* line, std::size_t index)
{
    return (line[index / 8] & 0x80 >> index % 8) != 0;
}

// Bit by bit, whatever the samples are.
[[nodiscard]] Bytes mirrored_x(const NUV_TestImage& image, const Bytes& from)
{
    const std::size_t line = line_bytes(image);
    const std::size_t pixel_bits = std::size_t{image.channels} * image.bits;
    Bytes to(from.size());
    for (std::size_t y = 0; y < image.height; ++y) {
        for (std::size_t x = 0; x < image.width; ++x) {
            const std::size_t other = image.width - 1 - x;
            for (std::size_t b = 0; b < pixel_bits; ++b) {
                const std::size_t index = x * pixel_bits + b;
                if (bit(from.data() + y * line, other * pixel_bits + b))
                    to[y * line + index / 8] |= static_cast<std::uint8_t>(0x80 >> index % 8);
            }
        }
    }
    return to;
}

// The unused bits behind the last pixel come out as zeros, whatever they were.
TEST(MirrorX, ReversesLinesOfEveryWidthAndKeepsPixelsWhole)
{
    struct Samples {
        std::uint16_t bits, channels;
    };
    for (const Samples& s : {Samples{1, 1},
                             {8, 1},
                             {8, 2},
                             {8, 3},
                             {8, 4},
                             {8, 5},
                             {16, 1},
                             {16, 2},
                             {16, 3},
                             {16, 4},
                             {16, 5}}) {
        for (std::uint32_t width = 1; width <= 70; ++width) {
            SCOPED_TRACE(std::to_string(s.channels) + " x " + std::to_string(s.bits) +
                         " bits, width " + std::to_string(width));
            const NUV_TestImage image{
                .width = width, .height = 3, .channels = s.channels, .bits = s.bits};
            const Bytes samples = random_image(image);
            const Bytes wanted = mirrored_x(image, samples);
            {
                NUV_TestChain chain;
                chain.source_bytes(image, samples);
                ASSERT_TRUE(chain.append<NUV_MirrorX>());
                ASSERT_EQ(chain.run_bytes(), wanted);
            }
            NUV_TestChain chain;
            chain.source_bytes(image, wanted);
            ASSERT_TRUE(chain.append<NUV_MirrorX>());
            ASSERT_TRUE(chain.append<NUV_MirrorX>());
            ASSERT_EQ(chain.run_bytes(), wanted) << "twice is the identity";
        }
    }
}

TEST(MirrorX, KeepsSignedSamplesAndPalettes)
{
    NUV_TestChain is_signed;
    is_signed.source<std::int16_t>({.width = 3}, {-1, 2, -30000});
    ASSERT_TRUE(is_signed.append<NUV_MirrorX>());
    EXPECT_EQ(is_signed.header().data_type(), NUV_DataType::s_integer);
    EXPECT_EQ(is_signed.run<std::int16_t>(), (std::vector<std::int16_t>{-30000, 2, -1}));

    for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{8}}) {
        NUV_TestChain chain;
        chain.blank_source({.width = 9, .bits = bits, .palette = true});
        ASSERT_TRUE(chain.append<NUV_MirrorX>());
        EXPECT_EQ(chain.header().palette().entries, 1U << bits);
    }
}

constexpr std::uint16_t every_depth[] = {1, 4, 8, 16, 32};

TEST(MirrorY, ReversesTheOrderOfTheLines)
{
    for (const std::uint32_t height : {1U, 2U, 5U}) {
        for (const std::uint16_t bits : every_depth) {
            const NUV_TestImage image{.width = 11, .height = height, .channels = 3, .bits = bits};
            const Bytes samples = random_image(image);
            const std::size_t line = line_bytes(image);
            Bytes wanted;
            for (std::size_t y = height; y-- > 0;) {
                const auto from = samples.begin() + static_cast<std::ptrdiff_t>(y * line);
                wanted.insert(wanted.end(), from, from + static_cast<std::ptrdiff_t>(line));
            }
            NUV_TestChain chain;
            chain.source_bytes(image, samples);
            ASSERT_TRUE(chain.append<NUV_MirrorY>());
            EXPECT_EQ(chain.run_bytes(), wanted) << height << " lines, " << bits << " bits";
        }
    }
}

// The last line is missing: mirror x gives the lines before it, mirror y cannot begin.
TEST(Mirror, IsSilentWhereTheSourceBreaksOff)
{
    const NUV_TestImage image{.width = 2, .height = 3};
    NUV_TestChain in_x;
    in_x.source_bytes(image, {1, 2, 3, 4});
    ASSERT_TRUE(in_x.append<NUV_MirrorX>());
    EXPECT_EQ(in_x.run_bytes(), (Bytes{2, 1, 4, 3}));
    EXPECT_EQ(in_x.status().code, NUV_STATUS_OK);

    NUV_TestChain in_y;
    in_y.source_bytes(image, {1, 2, 3, 4});
    ASSERT_TRUE(in_y.append<NUV_MirrorY>());
    EXPECT_TRUE(in_y.run_bytes().empty());
    EXPECT_EQ(in_y.status().code, NUV_STATUS_OK);
}

struct Refusal {
    const char* what;
    NUV_TestImage image;
    NUV_StatusCode code;
    const char* method;
};

template <class Creator>
void expect_refusals(const char* in_creator, std::initializer_list<Refusal> refusals)
{
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(r.what);
        NUV_TestChain chain;
        chain.blank_source(r.image);
        EXPECT_FALSE(chain.append<Creator>());
        EXPECT_EQ(chain.status().code, r.code);
        EXPECT_STREQ(chain.status().method, r.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0u);
    }
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<Creator>()) << "behind nothing";
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, in_creator);
}

TEST(MirrorRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto bytes = "NUV_MirrorX8xNBitsEngine::initiate()";
    constexpr auto bits = "NUV_MirrorX1BitEngine::initiate()";
    constexpr auto line = "NUV_ProcessLineToLineEngine::initiate()";
    constexpr auto plane = "NUV_ProcessPlaneToLineEngine::initiate()";
    const auto coded = NUV_EncodeType::jpeg;

    expect_refusals<NUV_MirrorX>(
        "NUV_MirrorX::engine()",
        {{"2 bits", {.bits = 2}, NUV_ERR_UNSUPPORTED, bytes},
         {"4 bits", {.bits = 4}, NUV_ERR_UNSUPPORTED, bytes},
         {"32 bits", {.bits = 32}, NUV_ERR_UNSUPPORTED, bytes},
         {"three channels of one bit", {.channels = 3, .bits = 1}, NUV_ERR_UNSUPPORTED, bits},
         {"one bit of no known type",
          {.bits = 1, .data_type = NUV_DataType::unknown},
          NUV_ERR_UNSUPPORTED,
          bits},
         {"coded bytes", {.encode_type = coded}, NUV_ERR_UNSUPPORTED, line},
         {"coded bits", {.bits = 1, .encode_type = coded}, NUV_ERR_UNSUPPORTED, line}});
    expect_refusals<NUV_MirrorX8xNBits>("NUV_MirrorX8xNBits::engine()",
                                        {{"one bit", {.bits = 1}, NUV_ERR_UNSUPPORTED, bytes}});
    expect_refusals<NUV_MirrorX1Bit>("NUV_MirrorX1Bit::engine()",
                                     {{"bytes", {}, NUV_ERR_UNSUPPORTED, bits}});
    expect_refusals<NUV_MirrorY>("NUV_MirrorY::engine()",
                                 {{"coded", {.encode_type = coded}, NUV_ERR_UNSUPPORTED, plane}});
}

TEST(MirrorRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source<std::uint8_t>({.width = 2, .height = 2}, {1, 2, 3, 4});
        chain.append<NUV_MirrorX>();
        chain.append<NUV_MirrorY>();
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
