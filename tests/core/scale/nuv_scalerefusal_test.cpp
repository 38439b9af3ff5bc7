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
#include "tests/core/scale/nuv_scalecases.h"

#include <cmath>
#include <functional>

namespace nuv {
namespace {

using Append = std::function<bool(NUV_TestChain&)>;

template <class Creator, class... Args>
Append with(Args... args)
{
    return [=](NUV_TestChain& chain) { return chain.append<Creator>(args...); };
}

TEST(ScaleRefusal, SaysWhyAndLeavesNothingBehind)
{
    const NUV_TestImage gray{.width = 10, .height = 10};
    const NUV_TestImage palette{.width = 10, .height = 10, .palette = true};
    const NUV_TestImage floating{
        .width = 10, .height = 10, .bits = 32, .data_type = NUV_DataType::floating};
    const NUV_TestImage bilevel{.width = 10, .height = 10, .bits = 1};
    const NUV_TestImage bilevel_rgb{.width = 10, .height = 10, .channels = 3, .bits = 1};
    const NUV_TestImage signed_gray{
        .width = 10, .height = 10, .data_type = NUV_DataType::s_integer};
    const NUV_TestImage runs{
        .width = 10, .height = 10, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
    const NUV_TestImage wide_runs{
        .width = 0x0FFFFFFF, .height = 10, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
    const NUV_TestImage rgb{.width = 10, .height = 10, .channels = 3};
    const NUV_TestImage coded{.width = 10, .height = 10, .encode_type = NUV_EncodeType::jpeg};
    const std::uint32_t huge = 0xFFFFFFFF;

    struct Case {
        const char* what;
        NUV_TestImage image;
        Append append;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"no width", gray, with<NUV_ScaleNN>(0U, 5U), NUV_ERR_ARGUMENT, "NUV_ScaleNN::engine()"},
        {"no height", gray, with<NUV_ScaleLI>(5U, 0U), NUV_ERR_ARGUMENT,
         "NUV_ScaleUsingFixedReal::engine()"},
        {"no size, arithmetic told", gray, with<NUV_ScaleCC>(0U, 0U, true), NUV_ERR_ARGUMENT,
         "NUV_ScaleCC::engine()"},
        {"no runs", runs, with<NUV_ScaleNNQDRLE>(0U, 1U), NUV_ERR_ARGUMENT,
         "NUV_ScaleNNQDRLE::engine()"},
        {"area of nothing", gray, with<NUV_ScalePP>(0U, 1U, true), NUV_ERR_ARGUMENT,
         "NUV_ScalePP::engine()"},
        {"factor 0", gray, with<NUV_ScaleWidthIRE>(0U), NUV_ERR_ARGUMENT,
         "NUV_ScaleWidthIRE::engine()"},
        {"factor 0 of lines", gray, with<NUV_ScaleHeightIRE>(0U), NUV_ERR_ARGUMENT,
         "NUV_ScaleHeightIRE::engine()"},
        {"step 0", gray, with<NUV_ScaleSS>(0U, 1U, 0U, 0U), NUV_ERR_ARGUMENT,
         "NUV_ScaleSSEngine::initiate()"},
        {"step 0, coded", coded, with<NUV_ScaleSS>(0U, 1U, 0U, 0U), NUV_ERR_ARGUMENT,
         "NUV_ScaleSSEngine::initiate()"},
        {"coded, subsampled", coded, with<NUV_ScaleSS>(2U, 2U, 0U, 0U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleSSEngine::initiate()"},
        {"offset outside", gray, with<NUV_ScaleSS>(2U, 2U, 0U, 10U), NUV_ERR_ARGUMENT,
         "NUV_ScaleSSEngine::initiate()"},
        {"shrink that grows", gray, with<NUV_ScaleShrinkNN>(5U, 11U), NUV_ERR_ARGUMENT,
         "NUV_ScaleShrinkNNEngine::initiate()"},
        {"linear shrink that grows", gray, with<NUV_ScaleShrinkLI>(11U, 5U, true), NUV_ERR_ARGUMENT,
         "NUV_ScaleShrinkLIEngine::initiate()"},
        {"mean over parts", gray, with<NUV_ScaleWidthIAR>(3U), NUV_ERR_ARGUMENT,
         "NUV_ScaleWidthIAREngine::initiate()"},
        {"mean over parts of lines", gray, with<NUV_ScaleHeightIAR>(20U), NUV_ERR_ARGUMENT,
         "NUV_ScaleHeightIAREngine::initiate()"},
        {"enlarging to less", gray, with<NUV_ScaleWidthPPE>(3U, true), NUV_ERR_ARGUMENT,
         "NUV_ScaleWidthPPEEngine::initiate()"},
        {"reducing to more", gray, with<NUV_ScaleHeightPPR>(13U, true), NUV_ERR_ARGUMENT,
         "NUV_ScaleHeightPPREngine::initiate()"},

        {"line too long", rgb, with<NUV_ScaleNN>(0x5FFFFFFFU, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthNNEngine::initiate()"},
        {"linear line too long", rgb, with<NUV_ScaleLI>(huge, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthLIEngine::initiate()"},
        {"cubic line too long", rgb, with<NUV_ScaleCC>(huge, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthCCEngine::initiate()"},
        {"area line too long", rgb, with<NUV_ScalePP>(huge, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthPPEEngine::initiate()"},
        {"line too long by whole factors", rgb, with<NUV_ScaleNN>(0x30000000U * 5, 10U),
         NUV_ERR_UNSUPPORTED, "NUV_ScaleWidthIRE8xNBitsEngine::initiate()"},
        {"block too long", rgb, with<NUV_ScaleHeightIRE>(huge), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightIREEngine::initiate()"},
        {"runs too long", runs, with<NUV_ScaleNN>(0x20000000U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthQDRLEEngine::initiate()"},
        {"from runs too long", wide_runs, with<NUV_ScaleNN>(5U, 12U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthQDRLEEngine::initiate()"},
        {"from runs too long, lower", wide_runs, with<NUV_ScaleNN>(5U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightNNQDRLEEngine::initiate()"},

        {"palette to linear", palette, with<NUV_ScaleLI>(4U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleShrinkLIEngine::initiate()"},
        {"palette to wider linear", palette, with<NUV_ScaleLI>(14U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthLIEngine::initiate()"},
        {"palette to cubic", palette, with<NUV_ScaleCC>(10U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightCCEngine::initiate()"},
        {"palette to area", palette, with<NUV_ScalePP>(14U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthPPEngine::initiate()"},
        {"palette to means", palette, with<NUV_ScaleIAR>(5U, 5U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightIAREngine::initiate()"},
        {"bilevel to linear", bilevel, with<NUV_ScaleLI>(14U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthLI::engine()"},
        {"bilevel to lower linear", bilevel, with<NUV_ScaleLI>(10U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightLI::engine()"},
        {"bilevel to smaller linear", bilevel, with<NUV_ScaleLI>(4U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleShrinkLI::engine()"},
        {"bilevel to cubic", bilevel, with<NUV_ScaleCC>(14U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightCC::engine()"},
        {"bilevel colours, wider", bilevel_rgb, with<NUV_ScaleNN>(14U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthNNEngine::initiate()"},
        {"bilevel colours, repeated", bilevel_rgb, with<NUV_ScaleNN>(20U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthIRE1BitEngine::initiate()"},
        {"bilevel colours, smaller", bilevel_rgb, with<NUV_ScaleNN>(4U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleShrinkNNEngine::initiate()"},
        {"floating to smaller", floating, with<NUV_ScaleNN>(4U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleShrinkNN::engine()"},
        {"floating to higher", floating, with<NUV_ScaleNN>(10U, 14U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightNNEngine::initiate()"},
        {"floating, repeated", floating, with<NUV_ScaleNN>(20U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthIRE8xNBits::engine()"},
        {"bilevel, subsampled", bilevel, with<NUV_ScaleSS>(2U, 2U, 0U, 0U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleSS::engine()"},
        {"signed area", signed_gray, with<NUV_ScalePP>(14U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthPPE::engine()"},
        {"signed smaller area", signed_gray, with<NUV_ScalePP>(10U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightPPR::engine()"},
        {"signed means", signed_gray, with<NUV_ScalePP>(5U, 10U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleWidthIAR::engine()"},
        {"raw as runs", bilevel, with<NUV_ScaleHeightNNQDRLE>(4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightNNQDRLEEngine::initiate()"},
        {"runs to cubic", runs, with<NUV_ScaleCC>(4U, 4U), NUV_ERR_UNSUPPORTED,
         "NUV_ScaleHeightCC::engine()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        expect_refused(chain, c.append(chain), c.code, c.method);
    }
}

TEST(ScaleRefusal, NothingInFront)
{
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_ScaleLI>(1U, 1U));
    EXPECT_STREQ(chain.status().method, "NUV_ScaleUsingFixedReal::engine()");
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
}

// The fixed-point tables have 19 bits for the sample.
TEST(ScaleRefusal, FixedPointLinesHaveALimit)
{
    for (const std::uint32_t width : {524287U, 524288U}) {
        const bool fits = width == 524287;
        for (const bool cubic : {true, false}) {
            const auto samples = random_samples<std::uint8_t>(width, 3);
            NUV_TestChain chain;
            chain.source<std::uint8_t>({.width = width}, samples);
            const bool appended =
                cubic ? chain.append<NUV_ScaleCC>(300U, 1U) : chain.append<NUV_ScaleLI>(300U, 1U);
            ASSERT_EQ(appended, fits);
            if (!fits) {
                EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
                EXPECT_STREQ(chain.status().method, cubic ? "NUV_ScaleWidthCCEngine::initiate()"
                                                          : "NUV_ScaleWidthLIEngine::initiate()");
                continue;
            }
            const model::Picture source(width, 1, 1, samples);
            const auto how = model::Arithmetic::of<std::uint8_t>(true);
            const auto wanted = cubic ? model::cubic(source, 300, 1, how, -1.0)
                                      : model::linear(source, 300, 1, how);
            EXPECT_EQ(chain.run<std::uint8_t>(), wanted.as<std::uint8_t>());
        }
    }
}

TEST(ScaleRefusal, SurvivesEveryFailedAllocation)
{
    const Append scalers[] = {
        with<NUV_ScaleNN>(7U, 5U), with<NUV_ScaleNN>(2U, 2U), with<NUV_ScaleNN>(6U, 6U),
        with<NUV_ScaleLI>(7U, 5U), with<NUV_ScaleLI>(2U, 2U), with<NUV_ScaleCC>(7U, 5U),
        with<NUV_ScaleCC>(2U, 2U), with<NUV_ScalePP>(7U, 5U), with<NUV_ScalePP>(2U, 2U),
        with<NUV_ScalePP>(1U, 1U),
    };
    for (const Append& append : scalers) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source<std::uint8_t>({.width = 3, .height = 3}, {1, 2, 3, 4, 5, 6, 7, 8, 9});
            append(chain);
            static_cast<void>(chain.run<std::uint8_t>());
        });
    }
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source_bytes({.width = 9, .height = 2, .bits = 1}, {0xA5, 0x80, 0x5A, 0});
        chain.append<NUV_ScaleNN>(27U, 5U);
        static_cast<void>(chain.run_bytes());
    });
}

class AnyScale final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;
    NUV_Engine* engine(NUV_Engine* previous, std::uint32_t, std::uint32_t) override
    {
        return previous;
    }
};

TEST(ScaleFactors, RoundAHairAboveOneHalf)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 100, .height = 5});
    AnyScale scale(chain.manager());
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    ASSERT_TRUE(scale.ratio_to_size(&chain.header(), 0.001, 0.5, width, height));
    EXPECT_EQ(width, 1u);
    EXPECT_EQ(height, 3u);
    ASSERT_TRUE(
        scale.ratio_to_size(&chain.header(), 0.02499999999999999, 42949672.9, width, height));
    EXPECT_EQ(width, 3u); // 2.499999999999999, which the hair lifts
    EXPECT_EQ(height, 214748365u);
}

TEST(ScaleFactors, RefusesWhatIsNoFactor)
{
    for (const double factor : {0.0, -1.0, std::nan(""), HUGE_VAL, 1e9}) {
        SCOPED_TRACE(factor);
        NUV_TestChain chain;
        chain.blank_source({.width = 100, .height = 100});
        AnyScale scale(chain.manager());
        std::uint32_t width = 7;
        std::uint32_t height = 7;
        EXPECT_FALSE(scale.ratio_to_size(&chain.header(), 1, factor, width, height));
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, "NUV_Scale::ratio_to_size()");
        EXPECT_EQ(width, 7u);
    }
}

TEST(FixedReal, RoundsHalfAwayFromZeroAndSaturates)
{
    constexpr double step = 1.0 / 4096;
    EXPECT_EQ(NUV_FixedReal(0.0).units(), 0);
    EXPECT_EQ(NUV_FixedReal(1.5 * step).units(), 2);
    EXPECT_EQ(NUV_FixedReal(-1.5 * step).units(), -2);
    EXPECT_EQ(NUV_FixedReal(-1.49 * step).units(), -1);
    EXPECT_EQ(NUV_FixedReal(1e300).units(), std::numeric_limits<int>::max());
    EXPECT_EQ(NUV_FixedReal(-HUGE_VAL).units(), std::numeric_limits<int>::min());
    EXPECT_EQ(NUV_FixedReal(std::nan("")).units(), 0);
    EXPECT_EQ(NUV_FixedReal::product(-1, 1), -1); // rounds down
    EXPECT_EQ(NUV_FixedReal::product(1 << 28, 3 << 12), 3 << 28);
}

TEST(RoundingOfSums, KeepsItsRulesAtTheSteps)
{
    EXPECT_EQ(round_fixed_unsigned(-5), 0);
    EXPECT_EQ(round_fixed_unsigned(2047), 0);
    EXPECT_EQ(round_fixed_unsigned(2048), 1);
    EXPECT_EQ(round_fixed_signed(0), 0);
    EXPECT_EQ(round_fixed_signed(-2047), 0);
    EXPECT_EQ(round_fixed_signed(-2048), -1);
    EXPECT_EQ(round_fixed_signed(-6144), -2);
    EXPECT_EQ(round_real<std::int8_t>(-0.5), -1);
    EXPECT_EQ(round_real<std::int8_t>(-129.0), -128);
    EXPECT_EQ(round_real<std::uint8_t>(-0.4), 0);
    EXPECT_EQ(round_real<std::uint8_t>(254.5), 255);
    EXPECT_EQ(round_real<std::uint16_t>(std::nan("")), 0);
    EXPECT_EQ(NUV_SampleLimits<std::uint16_t>::of_bits(12).maximum, 4095);
    EXPECT_EQ(NUV_SampleLimits<std::int8_t>::of_bits(6).minimum, -32);
    EXPECT_EQ(NUV_SampleLimits<std::int16_t>::of_bits(16).maximum, 32767);
    EXPECT_EQ(round_fixed<std::uint16_t>(5000 * 4096, NUV_SampleLimits<std::uint16_t>::of_bits(12)),
              4095);
}

TEST(CubicTable, HasTwoArmsAndThenNothing)
{
    NUV_TestChain chain;
    const auto table = make_object<NUV_CubicSplineTable>(chain.manager());
    ASSERT_TRUE(table && table->allocate());
    table->fill(-0.75F);
    EXPECT_EQ(table->at(0), 1.0F);
    EXPECT_EQ(table->at(4096), 0.0F);
    EXPECT_EQ(table->at(2048), 0.59375F);         // 1.25 / 8 - 2.25 / 4 + 1
    EXPECT_EQ(table->at(4096 + 2048), -0.09375F); // -0.75 (1/8 - 1/2 + 1/2)
    EXPECT_EQ(table->at(8192), 0.0F);
    EXPECT_EQ(table->at(16383), 0.0F);
}

} // namespace
} // namespace nuv
