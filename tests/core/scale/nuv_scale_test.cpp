#include "core/include/nuv_interpolationtable.h"
#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalennqdrle.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/nuv_scaless.h"
#include "tests/support/nuv_model_scale.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

constexpr std::pair end{0xFFFFFFFF, 0xFFFFFFFF}; // of a line of runs

// Small results whose samples can be found with a pencil.
TEST(Scale, GivesTheseResults)
{
    const NUV_TestImage bits{.width = 9, .bits = 1};
    const NUV_TestImage reals{.width = 2, .bits = 32, .data_type = NUV_DataType::floating};
    // clang-format off
    expect_result("the middle of every second pixel", {.width = 5}, {1, 2, 3, 4, 5}, appending<NUV_ScaleNN>(2U, 1U), {2, 4});
    expect_result("halves between neighbours", {.width = 2}, {0, 100}, appending<NUV_ScaleLI>(4U, 1U), {0, 25, 75, 100});
    expect_result("cells of four", {.width = 2, .height = 2}, {1, 2, 3, 5}, appending<NUV_ScaleLI>(1U, 1U), {3});
    expect_result("kernel at a half", {.width = 8}, {0, 0, 0, 80, 80, 0, 0, 0}, appending<NUV_ScaleCC>(4U, 1U), {0, 40, 40, 0});
    expect_result("areas of 2.5 pixels", {.width = 5}, {10, 20, 30, 40, 50}, appending<NUV_ScalePP>(2U, 1U), {18, 42});
    expect_result("bits, the padding clear", bits, {0xA5, 0xFF}, appending<NUV_ScaleIRE>(3U, 1U), {0xE3, 0x81, 0xC7, 0xE0});
    expect_result("every third from the 2nd", {.width = 8}, {0, 1, 2, 3, 4, 5, 6, 7}, appending<NUV_ScaleSS>(3U, 1U, 1U, 0U), {1, 4, 7});
    expect_result("lines from the fifth on", {.height = 5}, {0, 1, 2, 3, 4}, appending<NUV_ScaleSS>(1U, 9U, 0U, 4U), {4});
    expect_result("real pixels as they are", reals, {1, 2, 3, 4, 5, 6, 7, 8}, appending<NUV_ScaleSS>(2U, 1U, 1U, 0U), {5, 6, 7, 8});
    // clang-format on
    expect_result("runs that come to touch", run_description(32, 2),
                  records_of({{3, 3}, {8, 15}, {17, 27}, end, {3, 3}, end}),
                  appending<NUV_ScaleNN>(8U, 2U), records_of({{2, 6}, end, end}));
    expect_result("runs that overlap", run_description(10, 1),
                  records_of({{4, 10}, {0, 2}, {1, 6}, {10, 10}, end}),
                  appending<NUV_ScaleNN>(20U, 1U), records_of({{0, 19}, end}));
    // Three lines become five: 0, 0 and 1, 1, 1 and 2, 2.
    for (const std::size_t lines : {1U, 2U}) {
        for (const bool use_fixed : {true, false})
            expect_result("area, cut", {.width = 2, .height = 3}, Bytes(2 * lines, 7),
                          appending<NUV_ScaleHeightPP>(5U, use_fixed), Bytes(4 * lines - 2, 7));
    }
}

// Positions that were added up end beyond the last pixel at the first of these sizes; at the second
// one a factor of a hair above two counts as two in fixed point, not in double precision; and the
// tables of fixed point have 19 bits for the sample.
TEST(ScaleLongLines, EqualTheModelToTheirEnd)
{
    struct Case {
        std::uint32_t width, height, to_width, to_height;
        bool fixed;
    };
    const Case cases[] = {
        {265148, 2, 265147, 1, true}, {338816, 1, 338815, 1, true}, {1, 338816, 1, 338815, true},
        {8195, 4, 4097, 2, true},     {8195, 4, 4097, 2, false},    {524287, 1, 300, 1, true},
    };
    for (const auto& [width, height, w, h, fixed] : cases) {
        for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
            NUV_ModelImage image{width, height, channels, 8};
            if (width > 524287 / channels)
                continue;
            std::mt19937 random(1);
            image.fill(random);
            const auto expect = [&](const NUV_Append& append, const NUV_ModelImage& wanted) {
                expect_result("", image.description(), image.bytes(), append, wanted.bytes());
            };
            expect(appending<NUV_ScaleNN>(w, h), model::nearest(image, w, h));
            expect(appending<NUV_ScaleLI>(w, h, fixed), model::linear(image, w, h, fixed));
            expect(appending<NUV_ScaleCC>(w, h, fixed), model::cubic(image, w, h, fixed));
            expect(appending<NUV_ScalePP>(w, h, fixed), model::area(image, w, h, fixed));
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
            expect_result("across", {.width = count, .bits = bits}, white, append, one);
            expect_result("down", {.height = count, .bits = bits}, white, append, one);
        }
    }
}

TEST(Scale, AppendsNothingForTheSameSize)
{
    expect_nothing_appended({.width = 5, .height = 4},
                            {appending<NUV_ScaleNN>(5U, 4U), appending<NUV_ScaleLI>(5U, 4U),
                             appending<NUV_ScaleCC>(5U, 4U), appending<NUV_ScalePP>(5U, 4U),
                             appending<NUV_ScaleIRE>(1U, 1U), appending<NUV_ScaleIAR>(5U, 4U)});
}

// A scaler of factors alone.
struct AnyScale final : NUV_Scale {
    using NUV_Scale::NUV_Scale;
    NUV_Engine* engine(NUV_Engine*, std::uint32_t, std::uint32_t) override { return nullptr; }
    NUV_Engine* engine(NUV_Engine* previous, double x, double y)
    {
        return ratio_to_size(previous->header(), x, y, width, height) ? previous : nullptr;
    }
    std::uint32_t width = 0, height = 0;
};

TEST(ScaleFactors, RoundAHairAboveOneHalf)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 100, .height = 5});
    AnyScale scale(chain.manager());
    ASSERT_TRUE(scale.engine(chain.last(), 0.001, 0.5));
    EXPECT_EQ(scale.width, 1U);
    EXPECT_EQ(scale.height, 3U);
    // 2.499999999999999, which the hair lifts.
    ASSERT_TRUE(scale.engine(chain.last(), 0.02499999999999999, 42949672.9));
    EXPECT_EQ(scale.width, 3U);
    EXPECT_EQ(scale.height, 214748365U);
}

TEST(FixedReal, SaturatesAndRoundsHalfAwayFromZero)
{
    EXPECT_EQ(NUV_FixedReal(-1.5 / 4096).units(), -2);
    EXPECT_EQ(NUV_FixedReal(1e300).units(), std::numeric_limits<int>::max());
    EXPECT_EQ(NUV_FixedReal(-HUGE_VAL).units(), std::numeric_limits<int>::min());
    EXPECT_EQ(NUV_FixedReal(std::nan("")).units(), 0);
    EXPECT_EQ(round_real<std::uint16_t>(std::nan("")), 0);
    EXPECT_EQ(round_real<std::int8_t>(-129.0), -128);
}

constexpr auto bad = NUV_ERR_ARGUMENT;
constexpr auto no = NUV_ERR_UNSUPPORTED;

const NUV_TestImage gray{.width = 10, .height = 10};
const NUV_TestImage rgb{.width = 10, .height = 10, .channels = 3};
const NUV_TestImage bits{.width = 10, .height = 10, .bits = 1};
const NUV_TestImage rgb_bits{.width = 10, .height = 10, .channels = 3, .bits = 1};
const NUV_TestImage palette{.width = 10, .height = 10, .palette = true};
const NUV_TestImage coded{.width = 10, .height = 10, .encode_type = NUV_EncodeType::jpeg};
const NUV_TestImage floats{
    .width = 10, .height = 10, .bits = 32, .data_type = NUV_DataType::floating};
const NUV_TestImage negative{.width = 10, .height = 10, .data_type = NUV_DataType::s_integer};
const NUV_TestImage runs = run_description(10, 10);
const NUV_TestImage wide_runs = run_description(0x0FFFFFFF, 10);
const NUV_TestImage long_line{.width = 524288, .height = 1};
constexpr std::uint32_t huge = 0xFFFFFFFF;

TEST(ScaleRefusal, SaysWhy)
{
    // clang-format off
    expect_refusals({
        {"0", gray, appending<NUV_ScaleNN>(0U, 5U), bad, "NUV_ScaleNN::engine()"},
        {"0", gray, appending<NUV_ScaleLI>(5U, 0U), bad, "NUV_ScaleUsingFixedReal::engine()"},
        {"0", gray, appending<NUV_ScaleCC>(0U, 0U, true), bad, "NUV_ScaleCC::engine()"},
        {"0", runs, appending<NUV_ScaleNNQDRLE>(0U, 1U), bad, "NUV_ScaleNNQDRLE::engine()"},
        {"0", gray, appending<NUV_ScalePP>(0U, 1U, true), bad, "NUV_ScalePP::engine()"},
        {"0", gray, appending<NUV_ScaleWidthIRE>(0U), bad, "NUV_ScaleWidthIRE::engine()"},
        {"0", gray, appending<NUV_ScaleHeightIRE>(0U), bad, "NUV_ScaleHeightIRE::engine()"},
        {"factor 0", gray, appending<AnyScale>(1.0, 0.0), bad, "NUV_Scale::ratio_to_size()"},
        {"factor below", gray, appending<AnyScale>(-1.0, 1.0), bad, "NUV_Scale::ratio_to_size()"},
        {"no factor", gray, appending<AnyScale>(1.0, std::nan("")), bad, "NUV_Scale::ratio_to_size()"},
        {"factor without end", gray, appending<AnyScale>(1.0, HUGE_VAL), bad, "NUV_Scale::ratio_to_size()"},
        {"factor too large", gray, appending<AnyScale>(1.0, 1e9), bad, "NUV_Scale::ratio_to_size()"},
        {"step 0, coded", coded, appending<NUV_ScaleSS>(0U, 1U, 0U, 0U), bad, "NUV_ScaleSSEngine::initiate()"},
        {"offset outside", gray, appending<NUV_ScaleSS>(2U, 2U, 0U, 10U), bad, "NUV_ScaleSSEngine::initiate()"},
        {"shrink that grows", gray, appending<NUV_ScaleShrinkNN>(5U, 11U), bad, "NUV_ScaleShrinkNNEngine::initiate()"},
        {"shrink that grows", gray, appending<NUV_ScaleShrinkLI>(11U, 5U, true), bad, "NUV_ScaleShrinkLIEngine::initiate()"},
        {"mean over parts", gray, appending<NUV_ScaleWidthIAR>(3U), bad, "NUV_ScaleWidthIAREngine::initiate()"},
        {"mean over parts", gray, appending<NUV_ScaleHeightIAR>(20U), bad, "NUV_ScaleHeightIAREngine::initiate()"},
        {"enlarging to less", gray, appending<NUV_ScaleWidthPPE>(3U, true), bad, "NUV_ScaleWidthPPEEngine::initiate()"},
        {"reducing to more", gray, appending<NUV_ScaleHeightPPR>(13U, true), bad, "NUV_ScaleHeightPPREngine::initiate()"},
        {"line", rgb, appending<NUV_ScaleNN>(0x5FFFFFFFU, 10U), no, "NUV_ScaleWidthNNEngine::initiate()"},
        {"line", rgb, appending<NUV_ScaleLI>(huge, 10U), no, "NUV_ScaleWidthLIEngine::initiate()"},
        {"line", rgb, appending<NUV_ScaleCC>(huge, 10U), no, "NUV_ScaleWidthCCEngine::initiate()"},
        {"line", rgb, appending<NUV_ScalePP>(huge, 10U), no, "NUV_ScaleWidthPPEEngine::initiate()"},
        {"line by a whole factor", rgb, appending<NUV_ScaleNN>(0x30000000U * 5, 10U), no, "NUV_ScaleWidthIRE8xNBitsEngine::initiate()"},
        {"block", rgb, appending<NUV_ScaleHeightIRE>(huge), no, "NUV_ScaleHeightIREEngine::initiate()"},
        {"runs", runs, appending<NUV_ScaleNN>(0x20000000U, 10U), no, "NUV_ScaleWidthQDRLEEngine::initiate()"},
        {"from runs", wide_runs, appending<NUV_ScaleNN>(5U, 12U), no, "NUV_ScaleWidthQDRLEEngine::initiate()"},
        {"from runs", wide_runs, appending<NUV_ScaleNN>(5U, 4U), no, "NUV_ScaleHeightNNQDRLEEngine::initiate()"},
        {"19 bits of a table", long_line, appending<NUV_ScaleCC>(300U, 1U), no, "NUV_ScaleWidthCCEngine::initiate()"},
        {"19 bits of a table", long_line, appending<NUV_ScaleLI>(300U, 1U), no, "NUV_ScaleWidthLIEngine::initiate()"},
        {"coded", coded, appending<NUV_ScaleSS>(2U, 2U, 0U, 0U), no, "NUV_ScaleSSEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleLI>(4U, 4U), no, "NUV_ScaleShrinkLIEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleLI>(14U, 10U), no, "NUV_ScaleWidthLIEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleCC>(10U, 4U), no, "NUV_ScaleHeightCCEngine::initiate()"},
        {"palette", palette, appending<NUV_ScalePP>(14U, 10U), no, "NUV_ScaleWidthPPEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleIAR>(5U, 5U), no, "NUV_ScaleHeightIAREngine::initiate()"},
        {"bits", bits, appending<NUV_ScaleLI>(14U, 10U), no, "NUV_ScaleWidthLI::engine()"},
        {"bits", bits, appending<NUV_ScaleLI>(10U, 4U), no, "NUV_ScaleHeightLI::engine()"},
        {"bits", bits, appending<NUV_ScaleLI>(4U, 4U), no, "NUV_ScaleShrinkLI::engine()"},
        {"bits", bits, appending<NUV_ScaleCC>(14U, 4U), no, "NUV_ScaleHeightCC::engine()"},
        {"bits", bits, appending<NUV_ScaleSS>(2U, 2U, 0U, 0U), no, "NUV_ScaleSS::engine()"},
        {"colours of bits", rgb_bits, appending<NUV_ScaleNN>(14U, 10U), no, "NUV_ScaleWidthNNEngine::initiate()"},
        {"colours of bits", rgb_bits, appending<NUV_ScaleNN>(20U, 10U), no, "NUV_ScaleWidthIRE1BitEngine::initiate()"},
        {"colours of bits", rgb_bits, appending<NUV_ScaleNN>(4U, 4U), no, "NUV_ScaleShrinkNNEngine::initiate()"},
        {"reals", floats, appending<NUV_ScaleNN>(4U, 4U), no, "NUV_ScaleShrinkNN::engine()"},
        {"reals", floats, appending<NUV_ScaleNN>(10U, 14U), no, "NUV_ScaleHeightNNEngine::initiate()"},
        {"reals", floats, appending<NUV_ScaleNN>(20U, 10U), no, "NUV_ScaleWidthIRE8xNBits::engine()"},
        {"signed", negative, appending<NUV_ScalePP>(14U, 10U), no, "NUV_ScaleWidthPPE::engine()"},
        {"signed", negative, appending<NUV_ScalePP>(10U, 4U), no, "NUV_ScaleHeightPPR::engine()"},
        {"signed", negative, appending<NUV_ScalePP>(5U, 10U), no, "NUV_ScaleWidthIAR::engine()"},
        {"raw as runs", bits, appending<NUV_ScaleHeightNNQDRLE>(4U), no, "NUV_ScaleHeightNNQDRLEEngine::initiate()"},
        {"runs", runs, appending<NUV_ScaleCC>(4U, 4U), no, "NUV_ScaleHeightCC::engine()"},
    });
    // clang-format on
}

} // namespace
} // namespace nuv
