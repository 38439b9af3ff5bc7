#include "core/include/nuv_interpolationtable.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scalenn.h"
#include "extension/scalefast/nuv_scaleppfastby.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2utility/nuv_scalei2axis.h"
#include "extension/scalei2utility/nuv_scalei2smallutility.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "extension/scalei2varex/nuv_scaleccfastby.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "extension/scalei2varex/nuv_scalelifastby.h"
#include "tests/support/nuv_refusals.h"
#include "tests/support/nuv_testforms.h"

namespace nuv {
namespace {

using Fixed = NUV_FixedReal;

constexpr std::uint16_t unlimited = 0;

// Kernels far from any sensible one: every weight is defined and fits.
TEST(ScaleMaskAxis, DefinesTheWeightsOfAnyKernel)
{
    for (const float a : {1e30F, -1e30F, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        NUV_TestChain chain;
        NUV_CubicSplineTable kernel(chain.manager());
        ASSERT_TRUE(kernel.allocate());
        kernel.fill(a);
        NUV_ScaleI2Axis<std::int16_t> axis;
        ASSERT_TRUE(axis.initiate(chain.manager(), kernel, 1.9, {40, 33, 33.0 / 40}, 5));
        EXPECT_LE(axis.most_weight(), 5 * 32768.0) << a;
    }
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
    const std::vector<T> line(15, std::numeric_limits<T>::max());
    sums.clear();
    for (std::uint32_t i = 0; i < rows; ++i)
        sums.add(line.data());
    std::vector<T> out(3);
    sums.divide(out.data(), rows, line[0]);
    EXPECT_EQ(out, std::vector<T>(3, line[0])) << rows;
}

TEST(ScaleBoxes, HoldTheirSums)
{
    for (const std::uint32_t rows : {1U, 257U, 258U, 70000U}) {
        expect_white_stays_white<std::uint8_t>(rows);
        expect_white_stays_white<std::uint16_t>(rows);
    }
}

// Samples of 16 bits, at sizes for which lines are made in integers, and in several parts: random
// ones, white and black, of which some ratios put many on a half, and such as are close to the ends
// of the range.
TEST(FineScale, GivesTheSameWordsAtEachLevel)
{
    for (std::size_t round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        NUV_FormDraw draw(round);
        const auto size = [&](std::uint32_t from) {
            const double ratio = draw.one_of({0.5, 0.335, 2.0 / 3, 0.75, 0.6, 0.9, 1.0, 1.3});
            return std::max(8U, static_cast<std::uint32_t>(std::ceil(from * ratio)));
        };
        const NUV_TestImage image{.width = static_cast<std::uint32_t>(draw.number(80, 500)),
                                  .height = static_cast<std::uint32_t>(draw.number(512, 530)),
                                  .channels = draw.one_of<std::uint16_t>({1, 3, 4})};
        const auto width = size(image.width);
        const auto height = size(image.height);
        const auto kernel = draw.one_of({-0.75F, -0.75F, -0.5F, 0.0F, -1.9F});
        const auto bits = draw.one_of<std::uint16_t>({0, 12});
        std::vector<std::uint16_t> samples(std::size_t{image.width} * image.height *
                                           image.channels);
        const std::size_t most = draw.one_of<std::size_t>({65535, 1, 3});
        const std::size_t factor = most == 1 ? 65535 : 1;
        const bool is_striped = draw.number(0, 3) == 0;
        const bool is_high = draw.number(0, 1) == 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::size_t drawn =
                is_striped ? i / image.channels % 2 * most : draw.number(0, most);
            samples[i] =
                static_cast<std::uint16_t>(is_high ? 65535 - drawn * factor : drawn * factor);
        }
        std::vector<std::uint16_t> wanted;
        for (const NUV_TestLevel& level : test_levels) {
            if (!level.runs_here())
                continue;
            NUV_TestChain chain(level.cpu);
            chain.source(image, samples);
            ASSERT_TRUE(chain.append<NUV_ScaleI2VAR>(width, height, kernel, bits));
            const auto got = chain.run<std::uint16_t>();
            if (wanted.empty())
                wanted = got;
            ASSERT_EQ(got, wanted) << level.name;
        }
    }
}

TEST(FineScale, AppendsNothingForTheSameSizeAndNoLimit)
{
    expect_nothing_appended({.width = 20, .height = 9},
                            {appending<NUV_ScaleI2>(20U, 9U, -0.75F, unlimited),
                             appending<NUV_ScaleI2VAR>(20U, 9U),
                             appending<NUV_ScaleI2VAR>(20U, 9U, -0.75F, std::uint16_t{8}),
                             appending<NUV_ScaleI2VARExBy<Fixed>>(20U, 9U)});
}

TEST(AnyScale, InventsNothingAtTheLargestSizes)
{
    for (const std::uint32_t size : {0xFFFFFFFFU, 0xFFFFFFFEU}) {
        const NUV_TestImage high{.width = 8, .height = size};
        const NUV_TestImage small{.width = 8, .height = 20};
        // clang-format off
        const std::tuple<NUV_TestImage, std::uint32_t, std::uint32_t> cases[] = {
            {high, 8, 100}, {high, 8, size - 1}, {high, 8, size + 1}, {small, size, 20}, {small, size, 8}, {small, 8, size}};
        // clang-format on
        for (const auto& [source, w, h] : cases) {
            for (const NUV_Append& append :
                 {appending<NUV_ScaleNN>(w, h), appending<NUV_ScaleLI>(w, h, true),
                  appending<NUV_ScaleLI>(w, h, false), appending<NUV_ScaleCC>(w, h, true),
                  appending<NUV_ScaleCC>(w, h, false), appending<NUV_ScalePP>(w, h, true),
                  appending<NUV_ScalePP>(w, h, false), appending<NUV_ScaleHeightIAR>(h),
                  appending<NUV_ScaleI2>(w, h, -1.0F, unlimited), appending<NUV_ScaleI2VAR>(w, h),
                  appending<NUV_ScaleI2VARExBy<Fixed>>(w, h)})
                expect_nothing_invented(source, source.height == size ? 5 : 0, append);
        }
    }
}

constexpr auto bad = NUV_ERR_ARGUMENT;
constexpr auto no = NUV_ERR_UNSUPPORTED;
constexpr float a = -0.75F;

const NUV_TestImage gray{.width = 100, .height = 100};
const NUV_TestImage words{.width = 7, .height = 7, .bits = 16};
const NUV_TestImage bits{.width = 9, .height = 9, .bits = 1};
const NUV_TestImage pairs{.width = 9, .height = 9, .channels = 2};
const NUV_TestImage narrow{.width = 7, .height = 9};
const NUV_TestImage low{.width = 9, .height = 7};
const NUV_TestImage palette{.width = 9, .height = 9, .palette = true};
const NUV_TestImage deep{.width = 9, .height = 9, .bits = 32};
const NUV_TestImage negative{.width = 9, .height = 9, .data_type = NUV_DataType::s_integer};
const NUV_TestImage broad{.width = 9, .height = 9, .channels = 4};

TEST(FineScaleRefusal, OfTheScalers)
{
    const NUV_RefusalSource headless([](NUV_TestChain& chain) { chain.headless_source(); });
    constexpr auto each = "NUV_ScaleI2VAR::engine()";
    constexpr auto both = "NUV_ScaleI2::engine()";
    constexpr auto selected = "NUV_ScaleI2VARExBy::engine()";
    const auto by_each = appending<NUV_ScaleI2VAR, unsigned, unsigned>;
    const auto by_selection = appending<NUV_ScaleI2VARExBy<Fixed>, unsigned, unsigned>;
    const auto by_both = [](unsigned w, unsigned h) {
        return appending<NUV_ScaleI2>(w, h, a, unlimited);
    };
    // clang-format off
    expect_refusals({
        {"no width", gray, by_each(0, 50), bad, each},
        {"7 columns", gray, by_each(7, 50), bad, each},
        {"7 lines", gray, by_each(50, 7), bad, each},
        {"shrinks too far", gray, by_each(32, 50), bad, each},
        {"shrinks too far", gray, by_each(50, 32), bad, each},
        {"from 7 columns", narrow, by_each(9, 9), no, each},
        {"from 7 lines", low, by_each(9, 9), no, each},
        {"2 channels", pairs, by_each(8, 8), no, each},
        {"signed", negative, by_each(8, 8), no, each},
        {"32 bits", deep, by_each(8, 8), no, each},
        {"palette", palette, by_each(8, 8), no, each},
        {"factor", gray, appending<NUV_ScaleI2VAR>(-1.0, 1.0, a), bad, "NUV_ScaleI2VAR::ratio_to_size_mine()"},
        {"7 columns", gray, by_both(7, 20), bad, both},
        {"no lines", gray, by_both(20, 0), bad, both},
        {"from 7 columns", narrow, by_both(9, 9), no, both},
        {"2 channels", pairs, by_both(8, 8), no, both},
        {"palette", palette, by_both(8, 8), no, both},
        {"bits", bits, by_both(8, 8), no, both},
        {"no width", gray, by_selection(0, 5), bad, selected},
        {"no height", gray, by_selection(5, 0), bad, selected},
        {"2 channels", pairs, by_selection(8, 8), no, selected},
        {"bits", bits, by_selection(8, 8), no, selected},
        {"signed", negative, by_selection(8, 8), no, selected},
        {"palette", palette, by_selection(8, 8), no, selected},
        {"line too long", broad, by_selection(0x40000000, 20), no, "NUV_ScaleWidthCCEngine::initiate()"},
        {"factor", gray, appending<NUV_ScaleCCFastBy<Fixed>>(0.0, 1.0, -1.0, unlimited), bad, "NUV_Scale::ratio_to_size()"},
        {"no image", headless, appending<NUV_ScaleCCFastBy<Fixed>>(0.5, 0.5, -1.0, unlimited), bad, "NUV_ScaleCCFastBy::engine()"},
        {"no image", headless, appending<NUV_ScaleI2VARExBy<Fixed>>(0.5, 0.5, -1.0, unlimited), bad, "NUV_ScaleI2VARExBy::engine()"},
        {"no image", headless, appending<NUV_ScaleI2VAR>(0.5, 0.5, a), bad, "NUV_ScaleI2VAR::engine()"},
        {"0", gray, appending<NUV_ScaleWidthPPBy<Fixed>>(0U), bad, "NUV_ScaleWidthPPBy::engine()"},
        {"0", gray, appending<NUV_ScaleHeightPPBy<Fixed>>(0U), bad, "NUV_ScaleHeightPPBy::engine()"},
        {"0", gray, appending<NUV_ScaleWidthPPFastBy<Fixed>>(0U), bad, "NUV_ScaleWidthPPFastBy::engine()"},
        {"0", gray, appending<NUV_ScaleHeightPPFastBy<Fixed>>(0U), bad, "NUV_ScaleHeightPPFastBy::engine()"},
        {"signed", negative, appending<NUV_ScaleWidthPPBy<double>>(12U), no, "NUV_ScaleWidthPPEBy::engine()"},
        {"signed", negative, appending<NUV_ScaleHeightPPBy<double>>(12U), no, "NUV_ScaleHeightPPEBy::engine()"},
        {"signed", negative, appending<NUV_ScaleWidthPPBy<double>>(5U), no, "NUV_ScaleWidthPPRBy::engine()"},
        {"signed", negative, appending<NUV_ScaleHeightPPBy<double>>(5U), no, "NUV_ScaleHeightPPRBy::engine()"},
        {"signed", negative, appending<NUV_ScaleWidthPPFastBy<double>>(5U), no, "NUV_ScaleWidthPPFastRBy::engine()"},
        {"signed", negative, appending<NUV_ScaleHeightPPFastBy<double>>(5U), no, "NUV_ScaleHeightPPFastRBy::engine()"},
        {"0", gray, appending<NUV_ScaleWidthCCWithClampingBy<Fixed>>(0U, -1.0, unlimited), bad, "NUV_ScaleWidthCCWithClampingBy::engine()"},
        {"", bits, appending<NUV_ScaleHeightCCWithClampingBy<double>>(5U, -1., unlimited), no, "NUV_ScaleHeightCCWithClampingBy::engine()"},
        {"0", gray, appending<NUV_ScaleShrinkLIBy<Fixed>>(0U, 9U), bad, "NUV_ScaleShrinkLIBy::engine()"},
        {"bits", bits, appending<NUV_ScaleLIBy<Fixed>>(5U, 5U), no, "NUV_ScaleShrinkLIBy::engine()"},
        {"bits", bits, appending<NUV_ScaleLIBy<Fixed>>(12U, 9U), no, "NUV_ScaleWidthLIBy::engine()"},
        {"bits", bits, appending<NUV_ScaleLIBy<double>>(9U, 5U), no, "NUV_ScaleHeightLIBy::engine()"},
    });
    // clang-format on
}

// A call with a kernel of that stretch, which is gone when it returns.
template <class Creator, class... Args>
NUV_Append with_kernel(double stretch, Args... args)
{
    return [=](NUV_TestChain& chain) {
        NUV_CubicSplineTable table(chain.manager());
        if (!table.allocate())
            return false;
        table.fill(a);
        table.stretch(stretch, stretch);
        const NUV_CubicSplineTable* kernel = &table;
        const auto pointer = [&](auto value) {
            if constexpr (std::is_null_pointer_v<decltype(value)>)
                return kernel;
            else
                return value;
        };
        return chain.append<Creator>(pointer(args)...);
    };
}
constexpr std::nullptr_t kernel = nullptr; // stands for it among the arguments

TEST(FineScaleRefusal, OfAPassOrItsMask)
{
    using WidthFixed = NUV_ScaleI2VARWidthFixedReal;
    using HeightFixed = NUV_ScaleI2VARHeightFixedReal;
    using WidthFloat = NUV_ScaleI2VARWidthFloat;
    using HeightFloat = NUV_ScaleI2VARHeightFloat;
    const NUV_TestImage byte{.width = 7, .height = 7};
    const NUV_TestImage middle{
        .width = 7, .height = 7, .bits = 16, .data_type = NUV_DataType::s_integer};
    const NUV_TestImage real{
        .width = 7, .height = 7, .bits = 64, .data_type = NUV_DataType::floating};
    const NUV_TestImage wide{.width = 8, .height = 8, .channels = 4, .bits = 16};
    const NUV_CubicSplineTable* none = nullptr;
    const NUV_TestImage bytes{.width = 20, .height = 20};
    const NUV_TestImage deeper{.width = 20, .height = 20, .bits = 16};
    const auto both = [](auto creator, unsigned w, unsigned h, unsigned taps, double stretch) {
        using Creator = typename decltype(creator)::type;
        return with_kernel<Creator>(stretch, w, h, unlimited, kernel, taps);
    };
    constexpr std::type_identity<NUV_ScaleI2FixedReal> fixed;
    constexpr std::type_identity<NUV_ScaleI2Float> floating;
    constexpr std::type_identity<NUV_ScaleI2FixedRealSmall> fixed_small;
    constexpr std::type_identity<NUV_ScaleI2FloatSmall> floating_small;
    // clang-format off
    expect_refusals({
        {"null", byte, appending<WidthFixed>(9U, none, 4U), bad, "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {"0", byte, with_kernel<WidthFixed>(1, 0U, kernel, 4U), bad, "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {"3 taps", byte, with_kernel<WidthFixed>(1, 9U, kernel, 3U), bad, "NUV_ScaleI2VARWidthFixedReal::engine()"},
        {"9 taps", middle, with_kernel<HeightFixed>(1, 9U, unlimited, kernel, 9U), bad, "NUV_ScaleI2VARHeightFixedReal::engine()"},
        {"3 taps", words, with_kernel<WidthFloat>(1, 9U, kernel, 3U), bad, "NUV_ScaleI2VARWidthFloat::engine()"},
        {"0 taps", real, with_kernel<HeightFloat>(1, 9U, unlimited, kernel, 0U), bad, "NUV_ScaleI2VARHeightFloat::engine()"},
        {"words", words, with_kernel<WidthFixed>(1, 9U, kernel, 4U), no, "NUV_ScaleI2VARWidthEngine::initiate()"},
        {"bytes", byte, with_kernel<WidthFloat>(1, 9U, kernel, 4U), no, "NUV_ScaleI2VARWidthEngine::initiate()"},
        {"line too long", wide, with_kernel<WidthFloat>(1, 0x10000000U, kernel, 4U), no, "NUV_ScaleI2VARWidthEngine::initiate()"},
        {"words", words, with_kernel<HeightFixed>(1, 9U, unlimited, kernel, 4U), no, "NUV_ScaleI2VARHeightEngine::initiate()"},
        {"whole", middle, with_kernel<HeightFloat>(1, 9U, unlimited, kernel, 4U), no, "NUV_ScaleI2VARHeightFloatEngine::initiate()"},
        {"8 taps", byte, with_kernel<WidthFixed>(0.5, 9U, kernel, 8U), no, "NUV_ScaleI2VARWidthFixedReal8MaskEngine::initiate()"},
        {"8", middle, with_kernel<HeightFixed>(.5, 9U, unlimited, kernel, 8U), no, "NUV_ScaleI2VARHeightFixedReal8MaskEngine::initiate()"},
        {"7 taps", words, with_kernel<WidthFloat>(0.5, 6U, kernel, 7U), bad, "NUV_ScaleI2VARWidthFloat7MaskEngine::initiate()"},
        {"6 taps", real, with_kernel<HeightFloat>(0.5, 5U, unlimited, kernel, 6U), bad, "NUV_ScaleI2VARHeightFloat6MaskEngine::initiate()"},
        {"stretch", byte, with_kernel<WidthFixed>(2, 9U, kernel, 5U), bad, "NUV_ScaleI2VARWidthFixedReal5MaskEngine::initiate()"},
        {"stretch", real, with_kernel<HeightFloat>(0, 9U, unlimited, kernel, 4U), bad, "NUV_ScaleI2VARHeightFloat4MaskEngine::initiate()"},
        {"3 taps", bytes, both(fixed, 15, 15, 3, 1), bad, "NUV_ScaleI2FixedReal::engine()"},
        {"9 taps", deeper, both(floating, 15, 15, 9, 1), bad, "NUV_ScaleI2Float::engine()"},
        {"no lines", deeper, both(floating_small, 5, 0, 8, 0.5), bad, "NUV_ScaleI2FloatSmall::engine()"},
        {"words", deeper, both(fixed, 15, 15, 4, 1), no, "NUV_ScaleI2Engine::initiate()"},
        {"bytes", bytes, both(floating_small, 15, 15, 4, 1), no, "NUV_ScaleI2Engine::initiate()"},
        {"3 lines", bytes, both(fixed, 15, 3, 4, 1), bad, "NUV_ScaleI2FixedRealCore4x4Engine::initiate()"},
        {"7 lines", bytes, both(fixed, 15, 7, 8, 0.5), bad, "NUV_ScaleI2FixedRealCore8x8Engine::initiate()"},
        {"stretch", deeper, both(floating, 15, 15, 5, 2), bad, "NUV_ScaleI2FloatCore5x5Engine::initiate()"},
        {"grows", bytes, both(fixed_small, 21, 5, 8, 0.5), bad, "NUV_ScaleI2FixedRealSmallEngine::initiate()"},
        {"grows", deeper, both(floating_small, 5, 21, 8, 0.5), bad, "NUV_ScaleI2FloatSmallEngine::initiate()"},
    });
    // clang-format on
}

} // namespace
} // namespace nuv
