#include "core/limitpixelvalue/nuv_limitpixelvalue.h"

#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <limits>

namespace nuv {
namespace {

template <class T>
class LimitPixelValue : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t,
                                 std::int16_t, std::int32_t>;
TYPED_TEST_SUITE(LimitPixelValue, Samples);

TYPED_TEST(LimitPixelValue, HoldsSamplesBetweenTheEnds)
{
    using T = TypeParam;
    constexpr T bottom = std::numeric_limits<T>::min();
    constexpr T top = std::numeric_limits<T>::max();
    NUV_TestChain chain;
    chain.source<T>({.width = 1, .height = 2, .channels = 3}, {bottom, 9, 10, 50, 51, top});
    ASSERT_TRUE(chain.append<NUV_LimitPixelValue>(50, 10));
    EXPECT_EQ(chain.run<T>(), (std::vector<T>{10, 10, 10, 50, 50, 50}));
}

TYPED_TEST(LimitPixelValue, ChangesNothingOverTheWholeRange)
{
    using T = TypeParam;
    using Wide = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
    const std::vector<T> ends{std::numeric_limits<T>::min(), 0, 1, std::numeric_limits<T>::max()};
    NUV_TestChain chain;
    chain.source<T>({.width = 4}, ends);
    ASSERT_TRUE(chain.append<NUV_LimitPixelValue>(Wide{ends[3]}, Wide{ends[0]}));
    EXPECT_EQ(chain.run<T>(), ends);
}

TEST(LimitPixelValueRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_creator = "NUV_LimitPixelValue::engine()";
    constexpr auto in_engine = "NUV_LimitPixelValueEngine::initiate()";
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::int64_t maximum, minimum;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"ends swapped", {}, 4, 5, NUV_ERR_ARGUMENT, in_engine},
        {"maximum beyond the sample", {}, 256, 0, NUV_ERR_ARGUMENT, in_engine},
        {"minimum beyond the sample", {}, 4, -1, NUV_ERR_ARGUMENT, in_engine},
        {"palette", {.palette = true}, 9, 0, NUV_ERR_UNSUPPORTED, in_engine},
        {"bits", {.bits = 1}, 1, 0, NUV_ERR_UNSUPPORTED, in_creator},
        {"reals",
         {.bits = 32, .data_type = NUV_DataType::floating},
         1,
         0,
         NUV_ERR_UNSUPPORTED,
         in_creator},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_LimitPixelValue>(c.maximum, c.minimum));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    // Larger than any signed number: beyond the sample too.
    NUV_TestChain chain;
    chain.blank_source({});
    EXPECT_FALSE(chain.append<NUV_LimitPixelValue>(0xFFFFFFFFFFFFFFFFULL, std::uint64_t{0}));
    EXPECT_STREQ(chain.status().method, in_engine);
    NUV_TestChain empty;
    EXPECT_FALSE(empty.append<NUV_LimitPixelValue>(1, 0));
    EXPECT_STREQ(empty.status().method, in_creator);
}

} // namespace
} // namespace nuv
