#include "core/crop/nuv_crop.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "tests/support/nuv_modelimage.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

constexpr std::uint32_t far = 0xFFFFFFFF;
constexpr std::pair end{far, far}; // of a line of runs

// Small pictures turned by hand, and pictures that break off: what was not read is not made up, and
// what can be made of the rest comes out. The padding of bits is set in the source and clear in the
// result.
TEST(Geometry, GivesTheseResults)
{
    const NUV_TestImage six{.width = 2, .height = 3};
    const NUV_TestImage bits{.width = 11, .height = 2, .bits = 1};
    const NUV_TestImage nibbles{.width = 3, .height = 2, .bits = 4};
    const NUV_TestImage reals{.height = 2, .bits = 32, .data_type = NUV_DataType::floating};
    const Bytes all{1, 2, 3, 4, 5, 6};
    const auto some = [&](std::ptrdiff_t count) { return Bytes(all.begin(), all.begin() + count); };
    const auto tens = [](std::size_t count) { return Bytes(count, 10); };

    // clang-format off
    expect_result("mirror x", six, all, appending<NUV_MirrorX>(), {2, 1, 4, 3, 6, 5});
    expect_result("mirror x, cut", six, some(5), appending<NUV_MirrorX>(), {2, 1, 4, 3});
    expect_result("mirror x of bits", bits, {0xC0, 0x1F, 0x01, 0x9F}, appending<NUV_MirrorX>(), {0x00, 0x60, 0x30, 0x00});
    expect_result("mirror y, cut", six, some(4), appending<NUV_MirrorY>(), {});
    expect_result("mirror y of 4 bits", nibbles, {0x12, 0x30, 0x45, 0x60}, appending<NUV_MirrorY>(), {0x45, 0x60, 0x12, 0x30});
    expect_result("mirror y of reals", reals, {1, 2, 3, 4, 5, 6, 7, 8}, appending<NUV_MirrorY>(), {5, 6, 7, 8, 1, 2, 3, 4});
    expect_result("a quarter", six, all, appending<NUV_Rotate90>(90), {5, 3, 1, 6, 4, 2});
    expect_result("a half", six, all, appending<NUV_Rotate90>(180), {6, 5, 4, 3, 2, 1});
    expect_result("a quarter back", six, all, appending<NUV_Rotate90>(-90), {2, 4, 6, 1, 3, 5});
    expect_result("a quarter, cut", six, some(4), appending<NUV_Rotate90>(90), {});
    expect_result("bands, cut", {.width = 8, .height = 230, .bits = 1}, tens(229), appending<NUV_Rotate90>(90), {});
    expect_result("a half of bits", bits, {0xC0, 0x1F, 0x01, 0x9F}, appending<NUV_Rotate90>(180), {0x30, 0x00, 0x00, 0x60});
    expect_result("columns of bits", bits, {0xC0, 0x3F, 0x01, 0x9F}, appending<NUV_CropWidth>(7U, 4U), {0x10, 0xC0});
    expect_result("a far corner", six, all, appending<NUV_Crop>(1U, 2U, far, far), {6});
    expect_result("lines, cut", six, some(5), appending<NUV_CropHeight>(1U, 2U), {3, 4});
    expect_result("nearest, cut", {.width = 4, .height = 6}, tens(14), appending<NUV_ScaleNN>(8U, 12U), tens(48));
    expect_result("linear, cut", {.width = 4, .height = 6}, tens(14), appending<NUV_ScaleLI>(4U, 12U), tens(20));
    expect_result("mask, cut", {.width = 10, .height = 20}, tens(95), appending<NUV_ScaleI2VAR>(10U, 40U), tens(150));
    // clang-format on
    expect_result("runs, cut", run_description(6, 2), records_of({{3, 5}, end}),
                  appending<NUV_Crop>(4U, 0U, 2U, 2U), records_of({{0, 1}, end, end}));
    // The second line repeats the first up to the end of a block, and then is out of order.
    expect_result(
        "runs, again", run_description(7, 2),
        records_of({{0, 0}, {2, 2}, {4, 4}, {6, 6}, end, {0, 0}, {2, 2}, {4, 4}, {3, 5}, end}),
        appending<NUV_Rotate90>(90),
        records_of(
            {{0, 1}, end, end, {0, 1}, end, {0, 0}, end, {0, 1}, end, {0, 0}, end, {1, 1}, end}));
    NUV_ModelRuns turned; // from columns of more than 16 bits
    for (std::uint32_t x = 0; x < 70000; ++x) {
        if (x % 65536 == 3)
            turned.push_back({0, 0});
        turned.push_back(end);
    }
    expect_result("runs, wide", run_description(70000, 1),
                  records_of({{3, 3}, {65539, 65539}, end}), appending<NUV_Rotate90>(90),
                  records_of(turned));
}

// Lines that are white, black, the same as above, also on the left alone, or of any runs, many or
// few of a kind together.
TEST(Geometry, TurnsRunsHoweverManyThereAreInALine)
{
    std::mt19937 random(1);
    for (int i = 0; i < 40; ++i) {
        const auto size = [&](unsigned most) {
            return static_cast<std::uint32_t>(1 + random() % most);
        };
        NUV_ModelImage page{.width = size(40), .height = size(1800), .channels = 1, .bits = 1};
        page.encode_type = NUV_EncodeType::qd_rle;
        std::int64_t kind = 0;
        for (std::size_t pixel = 0; pixel < std::size_t{page.width} * page.height; ++pixel) {
            if (pixel % page.width == 0 && random() % 150 == 0)
                kind = size(5) - 1;
            const bool is_first = pixel < page.width;
            const bool is_any = kind == 3 || (kind == 4 && pixel % page.width > page.width * 3 / 4);
            const std::int64_t above = is_first ? 0 : page.samples[pixel - page.width];
            page.samples.push_back(is_any ? size(2) - 1 : kind >= 2 ? above : kind);
        }
        for (const bool back : {false, true}) {
            const auto turned = page.with(page.height, page.width, 1, [&](auto x, auto y, auto c) {
                return back ? page.at(page.width - 1 - y, x, c)
                            : page.at(y, page.height - 1 - x, c);
            });
            expect_result(page.text().c_str(), page.description(), page.bytes(),
                          appending<NUV_Rotate90>(back ? 270 : 90), turned.bytes());
        }
    }
}

// Lines that are made anew have nothing behind their last pixel, whatever the source has there.
TEST(Geometry, LeavesThePaddingClear)
{
    std::mt19937 random(1);
    for (std::uint32_t width = 2; width <= 300; width += 1 + width / 16) {
        for (const NUV_Append& append :
             {appending<NUV_MirrorX>(), appending<NUV_Rotate90>(90), appending<NUV_Rotate90>(180),
              appending<NUV_Rotate90>(270), appending<NUV_CropWidth>(0U, width - 1),
              appending<NUV_CropWidth>(1U, width - 1), appending<NUV_ScaleNN>(width + 1, 9U),
              appending<NUV_ScaleNN>(width - 1, 3U)}) {
            NUV_ModelImage image{width, 5, 1, 1};
            image.fill(random);
            Bytes bytes = image.bytes();
            image.pad(bytes, true);
            NUV_TestChain chain;
            chain.source_bytes(image.description(), bytes);
            ASSERT_TRUE(append(chain));
            const NUV_ModelImage result{chain.header().width(), chain.header().height(), 1, 1};
            Bytes clear = bytes = chain.run_bytes();
            result.pad(clear, false);
            ASSERT_EQ(bytes, clear) << width;
        }
    }
}

// Where pixels are only moved, a palette stays. A warning that stands is no reason to stop. By odd
// whole factors a linear reduction keeps pixels as they are.
TEST(Geometry, KeepsPaletteAndColorAndGoesOnBehindAWarning)
{
    for (const NUV_Append& append :
         {appending<NUV_MirrorX>(), appending<NUV_MirrorY>(), appending<NUV_Rotate90>(90),
          appending<NUV_Rotate90>(180), appending<NUV_Crop>(1U, 1U, 3U, 3U),
          appending<NUV_ScaleNN>(4U, 4U), appending<NUV_ScaleNN>(18U, 27U),
          appending<NUV_ScaleNN>(3U, 3U), appending<NUV_ScaleLI>(3U, 3U)}) {
        NUV_TestChain chain;
        chain.blank_source({.width = 9, .height = 9, .palette = true});
        ASSERT_TRUE(append(chain)) << chain.status().method;
        EXPECT_EQ(chain.header().palette().entries, 256U);
        EXPECT_EQ(chain.header().color_type(), NUV_ColorType::s_rgb);
        const std::size_t bytes = std::size_t{chain.header().width()} * chain.header().height();
        warn(chain.manager(), NUV_WARN_BROKEN_DATA, "test");
        EXPECT_EQ(chain.run_bytes(), Bytes(bytes, 0));
    }
}

TEST(Geometry, AppendsNothingForTheWholeImageAndWholeTurns)
{
    for (const NUV_EncodeType* encode_type : {NUV_EncodeType::raw, NUV_EncodeType::qd_rle})
        expect_nothing_appended({.width = 9, .height = 5, .bits = 1, .encode_type = encode_type},
                                {appending<NUV_Crop>(0U, 0U, 9U, 5U),
                                 appending<NUV_Crop>(0U, 0U, 10U, far), appending<NUV_Rotate90>(0),
                                 appending<NUV_Rotate90>(-720)});
}

constexpr auto bad = NUV_ERR_ARGUMENT;
constexpr auto no = NUV_ERR_UNSUPPORTED;

// 9 x 5, and what is not that.
NUV_TestImage image(std::uint16_t bits, std::uint16_t channels = 1,
                    const NUV_EncodeType* encode_type = NUV_EncodeType::raw)
{
    return {
        .width = 9, .height = 5, .channels = channels, .bits = bits, .encode_type = encode_type};
}

NUV_TestImage runs(std::uint16_t bits = 1, std::uint16_t channels = 1)
{
    return image(bits, channels, NUV_EncodeType::qd_rle);
}

TEST(Geometry, RefusesWhatItDoesNotServe)
{
    constexpr auto mirror_bytes = "NUV_MirrorX8xNBitsEngine::initiate()";
    constexpr auto mirror_bits = "NUV_MirrorX1BitEngine::initiate()";
    constexpr auto lines = "NUV_CropHeightEngine::initiate()";
    constexpr auto columns = "NUV_CropWidthEngine::initiate()";
    constexpr auto crop_runs = "NUV_CropQDRLEEngine::initiate()";
    constexpr auto turn_bits = "NUV_Rotate90_1Engine::initiate()";
    constexpr auto turn_bytes = "NUV_Rotate90_8xNEngine::initiate()";
    constexpr auto turn_runs = "NUV_Rotate90QDRLEEngine::initiate()";
    constexpr auto decode = "NUV_DecodeQDRLEEngine::initiate()";
    const auto crop = [](std::uint32_t x, std::uint32_t y, std::uint32_t w, std::uint32_t h) {
        return appending<NUV_Crop>(x, y, w, h);
    };
    const NUV_RefusalSource nothing([](NUV_TestChain&) {});
    NUV_TestImage typeless_bits = image(1);
    NUV_TestImage typeless_runs = runs();
    typeless_bits.data_type = typeless_runs.data_type = NUV_DataType::unknown;
    const NUV_TestImage floats{.bits = 32, .data_type = NUV_DataType::floating};
    const NUV_TestImage coded = image(8, 1, NUV_EncodeType::jpeg);
    const NUV_TestImage wide_runs = run_description(0x0FFFFFFF, 1);
    const NUV_TestImage hundred{.width = 5, .height = 100, .bits = 1};
    const NUV_TestImage padded{.width = 0x60000000, .height = 17, .bits = 1};
    // clang-format off
    expect_refusals({
        {"2 bits", image(2), appending<NUV_MirrorX>(), no, mirror_bytes},
        {"32 bits", image(32), appending<NUV_MirrorX>(), no, mirror_bytes},
        {"colours of bits", image(1, 3), appending<NUV_MirrorX>(), no, mirror_bits},
        {"no known type", typeless_bits, appending<NUV_MirrorX>(), no, mirror_bits},
        {"coded", coded, appending<NUV_MirrorX>(), no, "NUV_ProcessLineToLineEngine::initiate()"},
        {"coded", coded, appending<NUV_MirrorY>(), no, "NUV_ProcessPlaneToLineEngine::initiate()"},
        {"a bit", image(1), appending<NUV_MirrorX8xNBits>(), no, mirror_bytes},
        {"bytes", image(8), appending<NUV_MirrorX1Bit>(), no, mirror_bits},
        {"nothing", nothing, appending<NUV_MirrorX8xNBits>(), bad, "NUV_MirrorX8xNBits::engine()"},
        {"nothing", nothing, appending<NUV_MirrorX1Bit>(), bad, "NUV_MirrorX1Bit::engine()"},
        {"below", image(8), crop(0, 5, 1, 1), bad, lines},
        {"no lines", image(8), crop(0, 0, 1, 0), bad, lines},
        {"right", image(8), crop(9, 0, 1, 5), bad, columns},
        {"far right", image(8), crop(0xFFFFFFFF, 0, 2, 5), bad, columns},
        {"no columns", image(8), crop(0, 0, 0, 5), bad, columns},
        {"4 bits", image(4), crop(0, 1, 9, 1), no, lines},
        {"4 bits", image(4), crop(2, 0, 2, 5), no, "NUV_CropWidth8xNBitsEngine::initiate()"},
        {"coded", coded, crop(0, 1, 9, 1), no, lines},
        {"coded", coded, crop(1, 0, 1, 5), no, "NUV_ProcessLineToLineEngine::initiate()"},
        {"right", runs(), crop(9, 0, 1, 1), bad, crop_runs},
        {"below", runs(), crop(0, 5, 1, 1), bad, crop_runs},
        {"no columns", runs(), crop(0, 0, 0, 1), bad, crop_runs},
        {"no lines", runs(), crop(0, 0, 1, 0), bad, crop_runs},
        {"two channels", runs(1, 2), crop(0, 0, 1, 1), no, crop_runs},
        {"too wide", wide_runs, crop(1, 0, 1, 1), no, crop_runs},
        {"inside a byte", image(1), appending<NUV_CropWidth1BitBS>(3U, 4U), no, "NUV_CropWidth1BitBSEngine::initiate()"},
        {"on a byte", image(1), appending<NUV_CropWidth1BitIS>(8U, 1U), no, "NUV_CropWidth1BitISEngine::initiate()"},
        {"bits", image(1), appending<NUV_CropWidth8xNBits>(8U, 1U), no, "NUV_CropWidth8xNBitsEngine::initiate()"},
        {"nothing", nothing, appending<NUV_CropQDRLE>(0U, 0U, 1U, 1U), bad, "NUV_CropQDRLE::engine()"},
        {"nothing", nothing, appending<NUV_CropWidth8xNBits>(0U, 1U), bad, "NUV_CropWidth8xNBits::engine()"},
        {"nothing", nothing, appending<NUV_CropWidth1BitBS>(0U, 1U), bad, "NUV_CropWidth1BitBS::engine()"},
        {"nothing", nothing, appending<NUV_CropWidth1BitIS>(0U, 1U), bad, "NUV_CropWidth1BitIS::engine()"},
        {"45 degrees", image(1), appending<NUV_Rotate90>(45), bad, turn_bits},
        {"-1 degree", image(8), appending<NUV_Rotate90>(-1), bad, turn_bytes},
        {"91 degrees", runs(), appending<NUV_Rotate90>(91), bad, turn_runs},
        {"two channels", image(1, 2), appending<NUV_Rotate90>(90), no, turn_bits},
        {"two channels", runs(1, 2), appending<NUV_Rotate90>(90), no, turn_runs},
        {"4 bits", image(4), appending<NUV_Rotate90>(90), no, "NUV_Rotate90_8xN::engine()"},
        {"reals", floats, appending<NUV_Rotate90>(90), no, "NUV_Rotate90_8xN::engine()"},
        {"coded", coded, appending<NUV_Rotate90>(90), no, turn_bytes},
        {"coded", image(1, 1, NUV_EncodeType::mmr), appending<NUV_Rotate90>(90), no, "NUV_Rotate90::engine()"},
        {"too wide", wide_runs, appending<NUV_Rotate90>(90), no, turn_runs},
        {"too high", run_description(1, 0x0FFFFFFF), appending<NUV_Rotate90>(90), no, turn_runs},
        {"grows by its padding", padded, appending<NUV_Rotate90>(90), no, turn_bits},
        {"no band", hundred, appending<NUV_Rotate90_1>(90, 0U), bad, turn_bits},
        {"parts of bytes", hundred, appending<NUV_Rotate90_1>(90, 4U), bad, turn_bits},
        {"beyond the image", hundred, appending<NUV_Rotate90_1>(90, 101U), bad, turn_bits},
        {"no band", image(8), appending<NUV_Rotate90_8xN>(90, 0U), bad, turn_bytes},
        {"nothing", nothing, appending<NUV_Rotate90QDRLE>(0), bad, "NUV_Rotate90QDRLE::engine()"},
        {"coded otherwise", image(1, 1, NUV_EncodeType::mh), appending<NUV_DecodeQDRLE>(), no, decode},
        {"the other byte order", image(1, 1, NUV_EncodeType::qd_rle_be), appending<NUV_DecodeQDRLE>(), no, decode},
        {"8 bits", runs(8), appending<NUV_DecodeQDRLE>(), no, decode},
        {"two channels", runs(1, 2), appending<NUV_DecodeQDRLE>(), no, decode},
        {"too wide", wide_runs, appending<NUV_DecodeQDRLE>(), no, decode},
        {"no known type", typeless_runs, appending<NUV_DecodeQDRLE>(), no, decode},
    });
    // clang-format on
}

} // namespace
} // namespace nuv
