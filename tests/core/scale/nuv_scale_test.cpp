#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/nuv_scaless.h"
#include "tests/support/nuv_model_scale.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

constexpr std::uint32_t stop = 0xFFFFFFFF;

Bytes records(std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> runs)
{
    Bytes bytes;
    for (const auto& [start, end] : runs)
        append_record(bytes, start, end);
    return bytes;
}

// What comes out of `append` behind that source.
Bytes scaled(const NUV_TestImage& image, const Bytes& bytes, const NUV_Append& append)
{
    NUV_TestChain chain;
    chain.source_bytes(image, bytes);
    EXPECT_TRUE(append(chain)) << chain.status().method;
    return chain.run_bytes();
}

NUV_TestImage runs_of(std::uint32_t width, std::uint32_t height)
{
    return {.width = width, .height = height, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
}

// Small results whose samples can be found with a pencil.
TEST(Scale, GivesTheseResults)
{
    const NUV_TestImage bits{.width = 9, .bits = 1};
    struct Case {
        const char* what;
        NUV_TestImage image;
        Bytes source;
        NUV_Append append;
        Bytes wanted;
    };
    const Case cases[] = {
        {"the middle of every second pixel",
         {.width = 5},
         {1, 2, 3, 4, 5},
         appending<NUV_ScaleNN>(2U, 1U),
         {2, 4}},
        {"halves between neighbours",
         {.width = 2},
         {0, 100},
         appending<NUV_ScaleLI>(4U, 1U),
         {0, 25, 75, 100}},
        {"cells of four",
         {.width = 2, .height = 2},
         {1, 2, 3, 5},
         appending<NUV_ScaleLI>(1U, 1U),
         {3}},
        {"the kernel at a half of each: -1/8, 5/8, 5/8, -1/8",
         {.width = 8},
         {0, 0, 0, 80, 80, 0, 0, 0},
         appending<NUV_ScaleCC>(4U, 1U),
         {0, 40, 40, 0}},
        {"10 + 20 + 15, 15 + 40 + 50, of 2.5 pixels each",
         {.width = 5},
         {10, 20, 30, 40, 50},
         appending<NUV_ScalePP>(2U, 1U),
         {18, 42}},
        {"bits three times, the padding clear",
         bits,
         {0xA5, 0xFF},
         appending<NUV_ScaleIRE>(3U, 2U),
         {0xE3, 0x81, 0xC7, 0xE0, 0xE3, 0x81, 0xC7, 0xE0}},
        {"bits to twelve, the padding clear",
         bits,
         {0xFF, 0xFF},
         appending<NUV_ScaleNN>(12U, 1U),
         {0xFF, 0xF0}},
        {"every third from the second on",
         {.width = 8},
         {0, 1, 2, 3, 4, 5, 6, 7},
         appending<NUV_ScaleSS>(3U, 1U, 1U, 0U),
         {1, 4, 7}},
        {"lines from the fifth on",
         {.height = 5},
         {0, 1, 2, 3, 4},
         appending<NUV_ScaleSS>(1U, 9U, 0U, 4U),
         {4}},
        {"real pixels as they are",
         {.width = 2, .bits = 32, .data_type = NUV_DataType::floating},
         {1, 2, 3, 4, 5, 6, 7, 8},
         appending<NUV_ScaleSS>(2U, 1U, 1U, 0U),
         {5, 6, 7, 8}},
        {"the first run too short, the next two come to touch", runs_of(32, 2),
         records({{3, 3}, {8, 15}, {17, 27}, {stop, stop}, {3, 3}, {stop, stop}}),
         appending<NUV_ScaleNN>(8U, 2U), records({{2, 6}, {stop, stop}, {stop, stop}})},
        {"runs that overlap or reach too far", runs_of(10, 1),
         records({{4, 10}, {0, 2}, {1, 6}, {10, 10}, {stop, stop}}),
         appending<NUV_ScaleNN>(20U, 1U), records({{0, 19}, {stop, stop}})},
    };
    for (const Case& c : cases)
        EXPECT_EQ(scaled(c.image, c.source, c.append), c.wanted) << c.what;
}

TEST(ScaleRuns, TakeBrokenDataForAnError)
{
    const Bytes whole = records({{0, 1}, {3, 4}, {stop, stop}, {2, 2}, {stop, stop}});
    std::vector<Bytes> sources{records({{5, 2}, {stop, stop}, {stop, stop}})};
    for (std::size_t length = 0; length < whole.size(); ++length)
        sources.emplace_back(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    for (const Bytes& broken : sources) {
        for (const std::uint32_t height : {4U, 2U, 1U}) { // to 1 without the first line
            NUV_TestChain chain;
            chain.source_bytes(runs_of(10, 2), broken);
            ASSERT_TRUE(chain.append<NUV_ScaleNN>(20U, height));
            static_cast<void>(chain.run_bytes());
            EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
            EXPECT_STREQ(chain.status().method, "NUV_QDRLEBuffer::regist_runarray()");
        }
    }
}

// Positions that were added up end beyond the last pixel at the first of these sizes; at the second
// one a factor of a hair above two counts as two in fixed point, not in double precision; and the
// tables of fixed point have 19 bits for the sample.
TEST(ScaleLongLines, EqualTheModelToTheirEnd)
{
    struct Case {
        std::uint32_t width, height, to_width, to_height;
        bool use_fixed;
    };
    const Case cases[] = {
        {265148, 2, 265147, 1, true}, {338816, 1, 338815, 1, true}, {1, 338816, 1, 338815, true},
        {8195, 4, 4097, 2, true},     {8195, 4, 4097, 2, false},    {524287, 1, 300, 1, true},
    };
    for (const Case& c : cases) {
        for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
            NUV_ModelImage image{c.width, c.height, channels, 8};
            if (c.width > 524287 / channels)
                continue;
            std::mt19937 random(1);
            image.fill(random);
            const auto expect = [&](const NUV_Append& append, const NUV_ModelImage& wanted) {
                const bool is_equal =
                    scaled(image.description(), image.bytes(), append) == wanted.bytes();
                EXPECT_TRUE(is_equal) << image.text() << " to " << wanted.text();
            };
            const auto w = c.to_width;
            const auto h = c.to_height;
            expect(appending<NUV_ScaleNN>(w, h), model::nearest(image, w, h));
            expect(appending<NUV_ScaleLI>(w, h, c.use_fixed),
                   model::linear(image, w, h, c.use_fixed));
            expect(appending<NUV_ScaleCC>(w, h, c.use_fixed),
                   model::cubic(image, w, h, c.use_fixed));
            expect(appending<NUV_ScalePP>(w, h, c.use_fixed),
                   model::area(image, w, h, c.use_fixed));
        }
    }
}

// The sum of offset and weight rounds up to the next pixel at the fifth one.
TEST(ScaleLinear, DoubleTableNeverMovesIntoTheNextChannel)
{
    NUV_TestChain chain;
    chain.source<std::uint16_t>({.width = 2, .channels = 3}, {1000, 20000, 60000, 7, 8, 9});
    ASSERT_TRUE(chain.append<NUV_ScaleLI>(6U, 1U));
    const auto out = chain.run<std::uint16_t>();
    ASSERT_EQ(out.size(), 18U);
    EXPECT_EQ((Words(out.begin() + 12, out.begin() + 15)), (Words{7, 8, 9}));
}

// Every kernel's weights add up to one, at both ends of the range.
TEST(Scale, KeepsFlatAreasFlatToTheLastBit)
{
    for (const auto& [from, to] : {std::pair{100U, 40U}, {201U, 2U}, {10U, 11U}, {7U, 200U}}) {
        const NUV_Append scalers[] = {
            appending<NUV_ScalePP>(to, to), appending<NUV_ScaleLI>(to, to),
            appending<NUV_ScaleCC>(to, to, -1.7), appending<NUV_ScaleCC>(to, to, true, -30.0)};
        for (const std::uint8_t value : {std::uint8_t{0}, std::uint8_t{128}, std::uint8_t{255}}) {
            for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
                const NUV_TestImage image{
                    .width = from, .height = from, .channels = 3, .bits = bits};
                const auto flat = [&](std::size_t side) {
                    return Bytes(side * side * 3 * bits / 8, value);
                };
                for (const NUV_Append& append : scalers)
                    EXPECT_EQ(scaled(image, flat(from), append), flat(to)) << from << ", " << bits;
            }
        }
    }
}

// Sums in each of the types that hold them: 256 bytes are the most for 16 bits, and sums of many
// 16-bit samples pass 32.
TEST(ScaleMeans, HoldSumsOfAnyLength)
{
    for (const std::uint32_t count : {256U, 257U, 66000U}) {
        for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
            const Bytes white(std::size_t{count} * bits / 8, 255);
            const Bytes one(bits / 8, 255);
            const auto append = appending<NUV_ScaleIAR>(1U, 1U);
            EXPECT_EQ(scaled({.width = count, .bits = bits}, white, append), one) << count;
            EXPECT_EQ(scaled({.height = count, .bits = bits}, white, append), one) << count;
        }
    }
}

// Three lines become five: 0, 0 and 1, 1, 1 and 2, 2.
TEST(ScaleArea, AsksForNoLineBeforeAResultHoldsSomeOfIt)
{
    for (const std::size_t lines : {1U, 2U}) {
        for (const bool use_fixed : {true, false})
            EXPECT_EQ(scaled({.width = 2, .height = 3}, Bytes(2 * lines, 7),
                             appending<NUV_ScaleHeightPP>(5U, use_fixed)),
                      Bytes(2 * (2 * lines - 1), 7));
    }
}

// By odd whole factors a linear reduction keeps pixels as they are, and so a palette.
TEST(ScalePalette, StaysWherePixelsAreOnlyMoved)
{
    for (const NUV_Append& append :
         {appending<NUV_ScaleNN>(4U, 4U), appending<NUV_ScaleNN>(20U, 20U),
          appending<NUV_ScaleNN>(18U, 27U), appending<NUV_ScaleNN>(3U, 3U),
          appending<NUV_ScaleLI>(3U, 3U)}) {
        NUV_TestChain chain;
        chain.blank_source({.width = 9, .height = 9, .palette = true});
        ASSERT_TRUE(append(chain)) << chain.status().method;
        EXPECT_EQ(chain.header().palette().entries, 256U);
        const std::size_t bytes = std::size_t{chain.header().width()} * chain.header().height();
        EXPECT_EQ(chain.run_bytes(), Bytes(bytes, 0));
    }
}

TEST(Scale, AppendsNothingForTheSameSize)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 5, .height = 4});
    NUV_Engine* const source = chain.last();
    for (const NUV_Append& append :
         {appending<NUV_ScaleNN>(5U, 4U), appending<NUV_ScaleLI>(5U, 4U),
          appending<NUV_ScaleCC>(5U, 4U), appending<NUV_ScalePP>(5U, 4U),
          appending<NUV_ScaleIRE>(1U, 1U), appending<NUV_ScaleIAR>(5U, 4U)}) {
        EXPECT_TRUE(append(chain));
        EXPECT_EQ(chain.last(), source);
    }
}

} // namespace
} // namespace nuv
