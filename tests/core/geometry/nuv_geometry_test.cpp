#include "core/crop/nuv_crop.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "tests/support/nuv_modelimage.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t stop = 0xFFFFFFFF;

Bytes records(std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> runs)
{
    Bytes bytes;
    for (const auto& [start, end] : runs)
        append_record(bytes, start, end);
    return bytes;
}

Bytes tens(std::size_t count)
{
    return Bytes(count, 10);
}

// Small pictures turned by hand, and pictures that break off: what was not read is not made up, and
// what can be made of the rest comes out. The padding of bits is set in the source and clear in the
// result.
TEST(Geometry, GivesTheseResults)
{
    const NUV_TestImage six{.width = 2, .height = 3};
    const NUV_TestImage run_image{
        .width = 6, .height = 2, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
    const NUV_TestImage eleven_bits{.width = 11, .height = 2, .bits = 1};
    struct Case {
        const char* what;
        NUV_TestImage image;
        Bytes source;
        NUV_Append append;
        Bytes wanted;
    };
    const Case cases[] = {
        {"mirror x", six, {1, 2, 3, 4, 5, 6}, appending<NUV_MirrorX>(), {2, 1, 4, 3, 6, 5}},
        {"mirror x, cut", six, {1, 2, 3, 4, 5}, appending<NUV_MirrorX>(), {2, 1, 4, 3}},
        {"mirror x of bits",
         eleven_bits,
         {0xC0, 0x1F, 0x01, 0x9F},
         appending<NUV_MirrorX>(),
         {0x00, 0x60, 0x30, 0x00}},
        {"mirror y, cut", six, {1, 2, 3, 4}, appending<NUV_MirrorY>(), {}},
        {"mirror y of 4 bits",
         {.width = 3, .height = 2, .bits = 4},
         {0x12, 0x30, 0x45, 0x60},
         appending<NUV_MirrorY>(),
         {0x45, 0x60, 0x12, 0x30}},
        {"mirror y of reals",
         {.height = 2, .bits = 32, .data_type = NUV_DataType::floating},
         {1, 2, 3, 4, 5, 6, 7, 8},
         appending<NUV_MirrorY>(),
         {5, 6, 7, 8, 1, 2, 3, 4}},
        {"a quarter", six, {1, 2, 3, 4, 5, 6}, appending<NUV_Rotate90>(90), {5, 3, 1, 6, 4, 2}},
        {"a half", six, {1, 2, 3, 4, 5, 6}, appending<NUV_Rotate90>(180), {6, 5, 4, 3, 2, 1}},
        {"a quarter back",
         six,
         {1, 2, 3, 4, 5, 6},
         appending<NUV_Rotate90>(-90),
         {2, 4, 6, 1, 3, 5}},
        {"a quarter, cut", six, {1, 2, 3, 4}, appending<NUV_Rotate90>(90), {}},
        {"a quarter over bands, cut",
         {.width = 8, .height = 230, .bits = 1},
         tens(229),
         appending<NUV_Rotate90>(90),
         {}},
        {"a half of bits",
         eleven_bits,
         {0xC0, 0x1F, 0x01, 0x9F},
         appending<NUV_Rotate90>(180),
         {0x30, 0x00, 0x00, 0x60}},
        {"columns of bits",
         eleven_bits,
         {0xC0, 0x3F, 0x01, 0x9F},
         appending<NUV_CropWidth>(7U, 4U),
         {0x10, 0xC0}},
        {"a corner beyond all numbers",
         six,
         {1, 2, 3, 4, 5, 6},
         appending<NUV_Crop>(1U, 2U, stop, stop),
         {6}},
        {"lines, cut", six, {1, 2, 3, 4, 5}, appending<NUV_CropHeight>(1U, 2U), {3, 4}},
        {"runs, cut: a line that is missing is white", run_image, records({{3, 5}, {stop, stop}}),
         appending<NUV_Crop>(4U, 0U, 2U, 2U), records({{0, 1}, {stop, stop}, {stop, stop}})},
        {"nearest, cut",
         {.width = 4, .height = 6},
         tens(14),
         appending<NUV_ScaleNN>(8U, 12U),
         tens(8 * 6)},
        {"linear, cut: line 6 needs the fourth",
         {.width = 4, .height = 6},
         tens(14),
         appending<NUV_ScaleLI>(4U, 12U),
         tens(4 * 5)},
        {"mask, cut: line 15 needs the tenth",
         {.width = 10, .height = 20},
         tens(95),
         appending<NUV_ScaleI2VAR>(10U, 40U),
         tens(150)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.source_bytes(c.image, c.source);
        ASSERT_TRUE(c.append(chain)) << chain.status().method;
        EXPECT_EQ(chain.run_bytes(), c.wanted);
        EXPECT_FALSE(chain.status().has_error());
    }
}

// Lines that are made anew have nothing behind their last pixel, whatever the source has there.
TEST(Geometry, LeavesThePaddingClear)
{
    std::mt19937 random(1);
    for (std::uint32_t width = 2; width <= 300; width += 1 + width / 16) {
        const NUV_Append operations[] = {appending<NUV_MirrorX>(),
                                         appending<NUV_Rotate90>(90),
                                         appending<NUV_Rotate90>(180),
                                         appending<NUV_Rotate90>(270),
                                         appending<NUV_CropWidth>(0U, width - 1),
                                         appending<NUV_CropWidth>(1U, width - 1),
                                         appending<NUV_ScaleNN>(width + 1, 9U),
                                         appending<NUV_ScaleNN>(width - 1, 3U)};
        for (const NUV_Append& append : operations) {
            NUV_ModelImage image{width, 5, 1, 1};
            image.fill(random);
            Bytes bytes = image.bytes();
            image.pad(bytes, true);
            NUV_TestChain chain;
            chain.source_bytes(image.description(), bytes);
            ASSERT_TRUE(append(chain));
            const NUV_ModelImage result{chain.header().width(), chain.header().height(), 1, 1};
            const Bytes got = chain.run_bytes();
            Bytes clear = got;
            result.pad(clear, false);
            ASSERT_EQ(got, clear) << width;
        }
    }
}

// A warning that stands is no reason to stop.
TEST(Geometry, GoesOnBehindAWarning)
{
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 2, .height = 2}, {1, 2, 3, 4});
    ASSERT_TRUE(chain.append<NUV_CropHeight>(1U, 1U));
    ASSERT_TRUE(chain.append<NUV_Rotate90>(90));
    ASSERT_TRUE(chain.append<NUV_MirrorX>());
    ASSERT_TRUE(chain.append<NUV_MirrorY>());
    warn(chain.manager(), NUV_WARN_BROKEN_DATA, "test");
    EXPECT_EQ(chain.run_bytes(), (Bytes{4, 3}));
}

TEST(Geometry, KeepsPaletteAndColor)
{
    for (const NUV_Append& append :
         {appending<NUV_MirrorX>(), appending<NUV_MirrorY>(), appending<NUV_Rotate90>(90),
          appending<NUV_Rotate90>(180), appending<NUV_Crop>(1U, 1U, 3U, 3U)}) {
        for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{8}}) {
            NUV_TestChain chain;
            chain.blank_source({.width = 9, .height = 7, .bits = bits, .palette = true});
            ASSERT_TRUE(append(chain));
            EXPECT_EQ(chain.header().palette().entries, 1U << bits);
            EXPECT_EQ(chain.header().color_type(), NUV_ColorType::s_rgb);
        }
    }
}

TEST(Geometry, AppendsNothingForTheWholeImageAndWholeTurns)
{
    for (const NUV_EncodeType* encode_type : {NUV_EncodeType::raw, NUV_EncodeType::qd_rle}) {
        NUV_TestChain chain;
        chain.blank_source({.width = 9, .height = 5, .bits = 1, .encode_type = encode_type});
        NUV_Engine* const source = chain.last();
        for (const std::uint32_t beyond : {0U, 1U, 0xFFFFFFF0U})
            EXPECT_TRUE(chain.append<NUV_Crop>(0U, 0U, 9 + beyond, 5 + beyond));
        for (const int angle : {0, 360, -720})
            EXPECT_TRUE(chain.append<NUV_Rotate90>(angle));
        EXPECT_EQ(chain.last(), source);
    }
}

} // namespace
} // namespace nuv
