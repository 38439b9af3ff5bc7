#include "extension/scalefast/nuv_scaleppby.h"

#include "extension/scalefast/nuv_scaleppfastby.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {
namespace {

using Fixed = NUV_FixedReal;

template <class T, class Creator, class... Args>
std::vector<T> scaled(Args... args)
{
    NUV_TestChain chain;
    chain.source<T>({.width = 30, .height = 20, .channels = 3},
                    random_samples<T>(std::size_t{30} * 20 * 3, 1));
    EXPECT_TRUE(chain.append<Creator>(args...)) << chain.status().method;
    return chain.run<T>();
}

// Enlarging, reducing and whole factors on each axis: the plain scaler with a flag is the measure.
TEST(ScaleAreaBy, FixesTheArithmeticByItsType)
{
    const std::uint32_t widths[] = {30, 47, 13, 10};
    const std::uint32_t heights[] = {20, 33, 9, 5};
    bool differs = false;
    for (const std::uint32_t width : widths) {
        for (const std::uint32_t height : heights) {
            const auto fixed = scaled<std::uint16_t, NUV_ScalePP>(width, height, true);
            const auto real = scaled<std::uint16_t, NUV_ScalePP>(width, height, false);
            differs = differs || fixed != real;
            EXPECT_EQ((scaled<std::uint16_t, NUV_ScalePPBy<Fixed>>(width, height)), fixed);
            EXPECT_EQ((scaled<std::uint16_t, NUV_ScalePPBy<double>>(width, height)), real);
            // Above 8 bits the fast one takes double precision whatever it was told.
            EXPECT_EQ((scaled<std::uint16_t, NUV_ScalePPFastBy<Fixed>>(width, height)), real);
            EXPECT_EQ((scaled<std::uint8_t, NUV_ScalePPFastBy<Fixed>>(width, height)),
                      (scaled<std::uint8_t, NUV_ScalePP>(width, height, true)));
            EXPECT_EQ((scaled<std::uint8_t, NUV_ScalePPFastBy<double>>(width, height)),
                      (scaled<std::uint8_t, NUV_ScalePP>(width, height, false)));
        }
    }
    EXPECT_TRUE(differs);
}

template <class Creator, class... Args>
void expect_refused(const NUV_TestImage& image, NUV_StatusCode code, const char* method,
                    Args... args)
{
    SCOPED_TRACE(method);
    NUV_TestChain chain;
    chain.blank_source(image);
    EXPECT_FALSE(chain.append<Creator>(args...));
    EXPECT_EQ(chain.status().code, code);
    EXPECT_STREQ(chain.status().method, method);
    EXPECT_EQ(chain.live_objects_behind_source(), 0u);
}

TEST(ScaleAreaBy, RefusesUnderItsOwnNames)
{
    const NUV_TestImage gray{.width = 9, .height = 9};
    expect_refused<NUV_ScalePPBy<Fixed>>(gray, NUV_ERR_ARGUMENT, "NUV_ScalePPBy::engine()", 0U, 1U);
    expect_refused<NUV_ScalePPFastBy<Fixed>>(gray, NUV_ERR_ARGUMENT, "NUV_ScalePPFastBy::engine()",
                                             1U, 0U);
    expect_refused<NUV_ScaleWidthPPBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                              "NUV_ScaleWidthPPBy::engine()", 0U);
    expect_refused<NUV_ScaleHeightPPBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                               "NUV_ScaleHeightPPBy::engine()", 0U);
    expect_refused<NUV_ScaleWidthPPFastBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                                  "NUV_ScaleWidthPPFastBy::engine()", 0U);
    expect_refused<NUV_ScaleHeightPPFastBy<Fixed>>(gray, NUV_ERR_ARGUMENT,
                                                   "NUV_ScaleHeightPPFastBy::engine()", 0U);

    const NUV_TestImage signed_gray{.width = 9, .height = 9, .data_type = NUV_DataType::s_integer};
    expect_refused<NUV_ScaleWidthPPBy<double>>(signed_gray, NUV_ERR_UNSUPPORTED,
                                               "NUV_ScaleWidthPPEBy::engine()", 12U);
    expect_refused<NUV_ScaleHeightPPBy<double>>(signed_gray, NUV_ERR_UNSUPPORTED,
                                                "NUV_ScaleHeightPPEBy::engine()", 12U);
    expect_refused<NUV_ScaleWidthPPBy<double>>(signed_gray, NUV_ERR_UNSUPPORTED,
                                               "NUV_ScaleWidthPPRBy::engine()", 5U);
    expect_refused<NUV_ScaleHeightPPBy<double>>(signed_gray, NUV_ERR_UNSUPPORTED,
                                                "NUV_ScaleHeightPPRBy::engine()", 5U);
    expect_refused<NUV_ScaleWidthPPFastBy<double>>(signed_gray, NUV_ERR_UNSUPPORTED,
                                                   "NUV_ScaleWidthPPFastRBy::engine()", 5U);
    expect_refused<NUV_ScaleHeightPPFastBy<double>>(signed_gray, NUV_ERR_UNSUPPORTED,
                                                    "NUV_ScaleHeightPPFastRBy::engine()", 5U);
}

} // namespace
} // namespace nuv
