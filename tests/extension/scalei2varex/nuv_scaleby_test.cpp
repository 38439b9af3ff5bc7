#include "extension/scalei2var/nuv_scalei2var.h"
#include "extension/scalei2varex/nuv_scaleccfastby.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "extension/scalei2varex/nuv_scalelifastby.h"
#include "tests/core/scale/nuv_scalecases.h"
#include "tests/support/nuv_model_scalei2.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace nuv {
namespace {

using Fixed = NUV_FixedReal;

template <class T>
class ScaleBy : public ::testing::Test {};
using Samples = ::testing::Types<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t>;
TYPED_TEST_SUITE(ScaleBy, Samples);

TYPED_TEST(ScaleBy, CubicPicksItsArithmeticByAxis)
{
    constexpr int most = 8 * sizeof(TypeParam);
    for (const NUV_ScaleCase& c : scale_cases()) {
        if (c.width == c.source_width && c.height == c.source_height)
            continue;
        for (const int bits : {0, most - 3}) {
            expect_scaled_as<TypeParam, NUV_ScaleCCFastBy<Fixed>>(
                c,
                [&](const model::Picture& in) {
                    return model::cubic_fast<TypeParam>(in, c.width, c.height, -0.75, bits);
                },
                c.width, c.height, -0.75, static_cast<std::uint16_t>(bits));
            if (::testing::Test::HasFatalFailure())
                return;
        }
    }
}

TYPED_TEST(ScaleBy, CubicTakesFactorsAndItsOwnKernel)
{
    const NUV_ScaleCase c{10, 20, 15, 10, 3};
    const auto with = [&](double a) {
        return [&c, a](const model::Picture& in) {
            return model::cubic_fast<TypeParam>(in, c.width, c.height, a, 0);
        };
    };
    expect_scaled_as<TypeParam, NUV_ScaleCCFastBy<Fixed>>(c, with(-1.0), 15U, 10U);
    expect_scaled_as<TypeParam, NUV_ScaleCCFastBy<Fixed>>(c, with(0.5), 1.5, 0.5, 0.5,
                                                          std::uint16_t{0});
}

TYPED_TEST(ScaleBy, LinearKeepsTheArithmeticItIsTold)
{
    for (const NUV_ScaleCase& c : scale_cases()) {
        const auto with = [&](bool fixed) {
            return [&c, fixed](const model::Picture& in) {
                return model::linear(in, c.width, c.height,
                                     model::Arithmetic::of<TypeParam>(fixed));
            };
        };
        expect_scaled_as<TypeParam, NUV_ScaleLIFastBy<Fixed>>(c, with(true), c.width, c.height);
        expect_scaled_as<TypeParam, NUV_ScaleLIBy<double>>(c, with(false), c.width, c.height);
        if (::testing::Test::HasFatalFailure())
            return;
    }
}

template <class Creator, class... Args>
void expect_refusal(const NUV_TestImage& image, NUV_StatusCode code, const char* method,
                    Args... args)
{
    SCOPED_TRACE(method);
    NUV_TestChain chain;
    chain.blank_source(image);
    expect_refused(chain, chain.append<Creator>(args...), code, method);
}

// Factors need an image to be factors of.
template <class Creator, class... Args>
void expect_headless_refusal(const char* method, Args... args)
{
    SCOPED_TRACE(method);
    NUV_TestChain chain;
    const NUV_Held<NUV_Engine> engine = make_object<NUV_HeadlessEngine>(chain.manager());
    chain.last(engine.get());
    EXPECT_FALSE(chain.append<Creator>(0.5, 0.5, args...));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, method);
}

TEST(ScaleByRefusal, NoImageToScaleByFactors)
{
    const std::uint16_t bits = 0;
    expect_headless_refusal<NUV_ScaleCCFastBy<Fixed>>("NUV_ScaleCCFastBy::engine()", -1.0, bits);
    expect_headless_refusal<NUV_ScaleI2VARExBy<Fixed>>("NUV_ScaleI2VARExBy::engine()", -1.0, bits);
    expect_headless_refusal<NUV_ScaleI2VAR>("NUV_ScaleI2VAR::engine()", -0.75F);
}

TEST(ScaleByRefusal, UsesTheNamesOfTheCreators)
{
    const NUV_TestImage gray{.width = 9, .height = 9};
    const NUV_TestImage bilevel{.width = 9, .height = 9, .bits = 1};
    const std::uint16_t bits = 0;
    expect_refusal<NUV_ScaleCCFastBy<Fixed>>(gray, NUV_ERR_ARGUMENT, "NUV_ScaleCCFastBy::engine()",
                                             0U, 9U);
    expect_refusal<NUV_ScaleCCFastBy<Fixed>>(gray, NUV_ERR_ARGUMENT, "NUV_Scale::ratio_to_size()",
                                             0.0, 1.0, -1.0, bits);
    expect_refusal<NUV_ScaleWidthCCWithClampingBy<Fixed>>(
        gray, NUV_ERR_ARGUMENT, "NUV_ScaleWidthCCWithClampingBy::engine()", 0U, -1.0, bits);
    expect_refusal<NUV_ScaleHeightCCWithClampingBy<Fixed>>(
        gray, NUV_ERR_ARGUMENT, "NUV_ScaleHeightCCWithClampingBy::engine()", 0U, -1.0, bits);
    expect_refusal<NUV_ScaleWidthCCWithClampingBy<double>>(
        bilevel, NUV_ERR_UNSUPPORTED, "NUV_ScaleWidthCCWithClampingBy::engine()", 5U, -1.0, bits);
    expect_refusal<NUV_ScaleHeightCCWithClampingBy<double>>(
        bilevel, NUV_ERR_UNSUPPORTED, "NUV_ScaleHeightCCWithClampingBy::engine()", 5U, -1.0, bits);
    expect_refusal<NUV_ScaleLIFastBy<Fixed>>(gray, NUV_ERR_ARGUMENT, "NUV_ScaleLIFastBy::engine()",
                                             9U, 0U);
    expect_refusal<NUV_ScaleLIBy<Fixed>>(gray, NUV_ERR_ARGUMENT, "NUV_ScaleLIBy::engine()", 0U, 9U);
    expect_refusal<NUV_ScaleShrinkLIBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                               "NUV_ScaleShrinkLIBy::engine()", 0U, 9U);
    expect_refusal<NUV_ScaleLIBy<Fixed>>(bilevel, NUV_ERR_UNSUPPORTED,
                                         "NUV_ScaleShrinkLIBy::engine()", 5U, 5U);
    expect_refusal<NUV_ScaleLIBy<Fixed>>(bilevel, NUV_ERR_UNSUPPORTED,
                                         "NUV_ScaleWidthLIBy::engine()", 12U, 9U);
    expect_refusal<NUV_ScaleLIBy<double>>(bilevel, NUV_ERR_UNSUPPORTED,
                                          "NUV_ScaleHeightLIBy::engine()", 9U, 5U);
    expect_refusal<NUV_ScaleWidthLIBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                              "NUV_ScaleWidthLIBy::engine()", 0U);
    expect_refusal<NUV_ScaleHeightLIBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                               "NUV_ScaleHeightLIBy::engine()", 0U);
}

} // namespace
} // namespace nuv
