// Every operation gives what its creator gives.

#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/colormatrix/nuv_colormatrix.h"
#include "core/colormatrix/nuv_matrix.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/crop/nuv_crop.h"
#include "core/dlut/nuv_dlut.h"
#include "core/dlut/nuv_dlutdata.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "core/lut/nuv_lut.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/operation/nuv_not.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "tests/api/nuv_apijob.h"
#include "tests/support/nuv_test.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>

namespace nuv {
namespace {

constexpr std::uint32_t width = 29;
constexpr std::uint32_t height = 23;

struct Source {
    std::uint16_t channels;
    std::uint16_t bits;
    nuv_color code;
    const NUV_ColorType* tag;
};
const Source rgb{3, 8, NUV_RGB, NUV_ColorType::s_rgb};
const Source rgb_16{3, 16, NUV_RGB, NUV_ColorType::s_rgb};
const Source gray{1, 8, NUV_GRAY, NUV_ColorType::gray};
const Source cmyk{4, 8, NUV_CMYK, NUV_ColorType::cmyk};
const Source page{1, 1, NUV_GRAY_REVERSE, NUV_ColorType::gray_reverse};

[[nodiscard]] ApiBytes samples_of(const Source& source)
{
    const std::size_t line = (std::size_t{width} * source.channels * source.bits + 7) / 8;
    return random_samples<std::uint8_t>(line * height, 5);
}

const std::vector<std::uint8_t> entries = random_samples<std::uint8_t>(768, 6);
const std::vector<std::uint8_t> grid = random_samples<std::uint8_t>(std::size_t{3} * 3 * 3 * 4, 7);
const double factors[] = {0.5, 0.25, 0, 1, -1, 0.5};
const double offsets[] = {3, 100};
const std::uint16_t backwards[] = {2, 0};
const std::uint16_t side_by_side[] = {1, 2};

bool look_up(NUV_TestChain& chain)
{
    const auto table = expand_lut(chain.manager(), &chain.header(), entries.data(), 256, 8);
    return chain.append<NUV_Lut>(table.get());
}

bool look_up_few(NUV_TestChain& chain)
{
    const auto table = expand_lut(chain.manager(), &chain.header(), entries.data(), 190, 32);
    return chain.append<NUV_Lut>(table.get());
}

bool interpolate(NUV_TestChain& chain)
{
    NUV_DLutData table(chain.manager());
    if (!table.allocate(8, 3, 4, 3))
        return false;
    std::ranges::copy(grid, table.samples<std::uint8_t>().begin());
    return chain.append<NUV_DLutTetrahedron>(&table, NUV_ColorType::cmyk);
}

bool multiply(NUV_TestChain& chain)
{
    NUV_Matrix matrix(chain.manager());
    return matrix.value(2, 3, factors) &&
           chain.append<NUV_ColorMatrix>(&matrix, std::span<const double>(offsets),
                                         NUV_ColorType::unknown, false);
}

TEST(ApiOperations, GiveWhatTheirCreatorsGive)
{
    struct Case {
        const char* what;
        Source source;
        ApiCall call;
        NUV_Append append;
    };
    const auto* const whole = NUV_DataType::u_integer;
    constexpr std::uint16_t bits[] = {1, 16, 32};
    const auto* const integer = NUV_DataType::s_integer;
    const auto* const real = NUV_DataType::floating;
    // clang-format off
    const Case cases[] = {
        {"crop", rgb, [](nuv_job* j) { return nuv_crop(j, 3, 5, 20, 99); }, appending<NUV_Crop>(3U, 5U, 20U, 99U)},
        {"quarter", rgb, [](nuv_job* j) { return nuv_rotate(j, 90); }, appending<NUV_Rotate90>(90)},
        {"back", page, [](nuv_job* j) { return nuv_rotate(j, -90); }, appending<NUV_Rotate90>(-90)},
        {"mirror", rgb, [](nuv_job* j) { return nuv_flip(j, NUV_LEFT_TO_RIGHT); }, appending<NUV_MirrorX>()},
        {"upside", rgb, [](nuv_job* j) { return nuv_flip(j, NUV_TOP_TO_BOTTOM); }, appending<NUV_MirrorY>()},
        {"nearest", page, [](nuv_job* j) { return nuv_scale(j, NUV_NEAREST, 50, 9); }, appending<NUV_ScaleNN>(50U, 9U)},
        {"linear", rgb, [](nuv_job* j) { return nuv_scale(j, NUV_LINEAR, 50, 9); }, appending<NUV_ScaleLI>(50U, 9U)},
        {"cubic", rgb, [](nuv_job* j) { return nuv_scale(j, NUV_CUBIC, 50, 9); }, appending<NUV_ScaleCC>(50U, 9U)},
        {"area", rgb, [](nuv_job* j) { return nuv_scale(j, NUV_AREA, 50, 9); }, appending<NUV_ScalePP>(50U, 9U)},
        {"fine", rgb_16, [](nuv_job* j) { return nuv_scale(j, NUV_FINE, 13, 11); }, appending<NUV_ScaleI2VARExBy<NUV_FixedReal>>(13U, 11U)},
        {"fit", rgb, [](nuv_job* j) { return nuv_fit(j, NUV_AREA, 14, 14, 0); }, appending<NUV_ScalePP>(14U, 11U)},
        {"invert", page, [](nuv_job* j) { return nuv_invert(j); }, appending<NUV_Not>()},
        {"reverse", cmyk, [](nuv_job* j) { return nuv_reverse_channels(j); }, appending<NUV_ReverseChannel>()},
        {"channels", rgb, [](nuv_job* j) { return nuv_pick_channels(j, side_by_side, 2, NUV_COLOR_OTHER); }, appending<NUV_SelectChannel>(1U, 2U, NUV_ColorType::unknown)},
        {"table", rgb, [](nuv_job* j) { return nuv_table(j, entries.data(), 256, 3, 8); }, look_up},
        {"few entries", gray, [](nuv_job* j) { return nuv_table(j, entries.data(), 190, 1, 32); }, look_up_few},
        {"grid", rgb, [](nuv_job* j) { return nuv_color_table(j, grid.data(), 3, 4, NUV_CMYK); }, interpolate},
        {"matrix", rgb, [](nuv_job* j) { return nuv_matrix(j, factors, 2, offsets, NUV_COLOR_OTHER); }, multiply},
        {"to gray", rgb, [](nuv_job* j) { return nuv_recolor(j, NUV_GRAY); }, appending<NUV_ColorSpace>(NUV_ColorType::gray)},
        {"from CMYK", cmyk, [](nuv_job* j) { return nuv_recolor(j, NUV_RGB); }, appending<NUV_ColorSpace>(NUV_ColorType::s_rgb)},
        {"to real", rgb, [](nuv_job* j) { return nuv_convert(j, NUV_REAL, 32, 0.5, -3); }, appending<NUV_ConvertDataType>(real, bits[2], 0.5, -3.0)},
        {"threshold", rgb, [](nuv_job* j) { return nuv_convert(j, NUV_UNSIGNED, 1, 1, 99); }, appending<NUV_ConvertDataType>(whole, bits[0], 1.0, 99.0)},
        {"shift", rgb, [](nuv_job* j) { return nuv_shift(j, NUV_SIGNED, 16, 9); }, appending<NUV_ShiftDataWL>(integer, bits[1], 9)},
        {"clamp", rgb, [](nuv_job* j) { return nuv_clamp(j, 20, 200); }, appending<NUV_LimitPixelValue>(std::int64_t{200}, std::int64_t{20})},
        {"bits", page, [](nuv_job* j) { return nuv_expand_bits(j, 16, 7, 300); }, appending<NUV_Convert1To8xNBits>(whole, bits[1], 300, 7)},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const ApiBytes samples = samples_of(c.source);
        const nuv_picture is =
            api_picture(width, height, c.source.channels, c.source.code, c.source.bits);
        NUV_TestChain chain;
        chain.source_bytes({.width = width,
                            .height = height,
                            .channels = c.source.channels,
                            .bits = c.source.bits,
                            .color_type = c.source.tag},
                           samples);
        ASSERT_TRUE(c.append(chain));
        nuv_picture out = is;
        const ApiBytes made = api_made(
            [&](nuv_job* job) { return nuv_open_samples(job, samples.data(), 0, &is); }, c.call,
            [&](nuv_job* job) {
                EXPECT_EQ(nuv_look(job, &out), NUV_OK);
                return nuv_as_samples(job, 0);
            });
        EXPECT_EQ(out.width, chain.header().width());
        EXPECT_EQ(out.height, chain.header().height());
        EXPECT_EQ(out.channels, chain.header().channels());
        EXPECT_EQ(out.bits, chain.header().bits());
        ApiBytes expected = chain.run_bytes();
        if (out.bits == 1) { // the writer alone settles the bits behind the last pixel
            const std::size_t line = expected.size() / out.height;
            const unsigned used = out.width * out.channels % 8;
            for (std::size_t end = line; used != 0 && end <= expected.size(); end += line)
                expected[end - 1] &= static_cast<std::uint8_t>(0xFF00U >> used);
        }
        EXPECT_EQ(made, expected);
    }
}

TEST(ApiOperations, ChannelsComeInAnyOrder)
{
    const ApiBytes samples = samples_of(rgb);
    const nuv_picture is = api_picture(width, height, 3, NUV_RGB);
    const ApiBytes made = api_made(
        [&](nuv_job* job) { return nuv_open_samples(job, samples.data(), 0, &is); },
        [](nuv_job* job) { return nuv_pick_channels(job, backwards, 2, NUV_COLOR_OTHER); });
    ASSERT_EQ(made.size(), samples.size() / 3 * 2);
    for (std::size_t i = 0; i < samples.size() / 3; ++i)
        ASSERT_TRUE(made[2 * i] == samples[3 * i + 2] && made[2 * i + 1] == samples[3 * i]);
}

TEST(ApiOperations, FitKeepsTheShape)
{
    struct Case {
        std::uint32_t width, height, box_width, box_height;
        unsigned flags;
        std::uint32_t to_width, to_height;
    };
    // clang-format off
    const Case cases[] = {
        {100, 50, 10, 10, 0, 10, 5}, {50, 100, 10, 10, 0, 5, 10}, {100, 50, 200, 200, 0, 100, 50},
        {100, 50, 200, 200, NUV_ENLARGE, 200, 100}, {100, 50, 10, 10, NUV_FILL, 10, 10},
        {100, 50, 80, 60, NUV_FILL, 80, 50}, {100, 50, 80, 60, NUV_FILL | NUV_ENLARGE, 80, 60},
        {100, 1, 10, 10, 0, 10, 1}, {7, 3, 5, 9, 0, 5, 2}, {100, 50, 100, 50, NUV_FILL, 100, 50},
    };
    // clang-format on
    const ApiBytes samples(5000, 9);
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(&c - cases));
        const nuv_picture is = api_picture(c.width, c.height, 1, NUV_GRAY);
        const ApiJob job(nuv_new(nullptr));
        nuv_open_samples(job.get(), samples.data(), 0, &is);
        nuv_fit(job.get(), NUV_FINE, c.box_width, c.box_height, c.flags);
        nuv_picture out = is;
        EXPECT_EQ(nuv_look(job.get(), &out), NUV_OK) << nuv_message(job.get());
        EXPECT_EQ(out.width, c.to_width);
        EXPECT_EQ(out.height, c.to_height);
    }
}

} // namespace
} // namespace nuv
