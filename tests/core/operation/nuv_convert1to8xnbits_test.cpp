#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"

#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <limits>

namespace nuv {
namespace {

template <class T>
class Convert1To8xNBits : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t>;
TYPED_TEST_SUITE(Convert1To8xNBits, Samples);

// Every width to two bytes and a bit: whole bytes and what is left of the last one.
TYPED_TEST(Convert1To8xNBits, MakesASampleOfEachBitFromTheTop)
{
    using T = TypeParam;
    constexpr T one = std::numeric_limits<T>::max();
    constexpr T zero = std::numeric_limits<T>::min();
    const NUV_DataType* type =
        std::is_signed_v<T> ? NUV_DataType::s_integer : NUV_DataType::u_integer;
    for (std::uint32_t samples = 1; samples <= 17; ++samples) {
        for (const std::uint32_t channels : {1U, samples}) { // in the order of the bits either way
            const std::vector<std::uint8_t> line{0xB1, 0x2E, 0xFF};
            std::vector<std::uint8_t> bytes;
            std::vector<T> wanted;
            for (int y = 0; y < 2; ++y) {
                bytes.insert(bytes.end(), line.begin(), line.begin() + (samples + 7) / 8);
                for (std::uint32_t i = 0; i < samples; ++i)
                    wanted.push_back((line[i / 8] >> (7 - i % 8) & 1) != 0 ? one : zero);
            }
            NUV_TestChain chain;
            chain.source_bytes({.width = samples / channels,
                                .height = 2,
                                .channels = static_cast<std::uint16_t>(channels),
                                .bits = 1},
                               bytes);
            ASSERT_TRUE(chain.append<NUV_Convert1To8xNBits>(
                type, static_cast<std::uint16_t>(8 * sizeof(T)), one, zero));
            EXPECT_EQ(chain.header().data_type(), type);
            ASSERT_EQ(chain.run<T>(), wanted) << samples << " samples, " << channels << " channels";
        }
    }
}

TEST(Convert1To8xNBitsRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_creator = "NUV_Convert1To8xNBits::engine()";
    constexpr auto in_engine = "NUV_Convert1To8xNBitsEngine::initiate()";
    const NUV_DataType* u = NUV_DataType::u_integer;
    const NUV_TestImage bit{.bits = 1};
    struct Case {
        const char* what;
        NUV_TestImage image;
        const NUV_DataType* type;
        std::uint16_t bits;
        std::int32_t one, zero;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"one too large", bit, u, 8, 256, 0, NUV_ERR_ARGUMENT, in_engine},
        {"zero too small", bit, u, 16, 1, -1, NUV_ERR_ARGUMENT, in_engine},
        {"no type", bit, nullptr, 8, 1, 0, NUV_ERR_ARGUMENT, in_creator},
        {"to 32 bits", bit, u, 32, 1, 0, NUV_ERR_UNSUPPORTED, in_creator},
        {"to bits", bit, u, 1, 1, 0, NUV_ERR_UNSUPPORTED, in_creator},
        {"to reals", bit, NUV_DataType::floating, 32, 1, 0, NUV_ERR_UNSUPPORTED, in_creator},
        {"from 8 bits", {}, u, 8, 1, 0, NUV_ERR_UNSUPPORTED, in_engine},
        {"palette", {.bits = 1, .palette = true}, u, 8, 1, 0, NUV_ERR_UNSUPPORTED, in_engine},
        {"a line that grows too long",
         {.width = 0x20000000, .bits = 1},
         u,
         16,
         1,
         0,
         NUV_ERR_UNSUPPORTED,
         in_engine},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_Convert1To8xNBits>(c.type, c.bits, c.one, c.zero));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
}

} // namespace
} // namespace nuv
