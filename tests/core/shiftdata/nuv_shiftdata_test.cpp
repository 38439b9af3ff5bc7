#include "core/shiftdata/nuv_shiftdata.h"

#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace nuv {
namespace {

template <class T>
[[nodiscard]] const NUV_DataType* type_of()
{
    return std::is_signed_v<T> ? NUV_DataType::s_integer : NUV_DataType::u_integer;
}

template <class T>
constexpr std::uint16_t bits_of = 8 * sizeof(T);

// Times or divided by 2^shift, by counting: no shift of ours.
[[nodiscard]] std::int64_t model_shift(std::int64_t value, int shift)
{
    for (; shift > 0; --shift)
        value *= 2;
    if (shift == 0)
        return value;
    // floor(value / 2^n + 1/2)
    std::int64_t divisor = 1;
    for (; shift < 0; ++shift)
        divisor *= 2;
    const std::int64_t doubled = 2 * value + divisor;
    const std::int64_t quotient = doubled / (2 * divisor);
    return quotient - (doubled % (2 * divisor) < 0 ? 1 : 0);
}

template <class I>
[[nodiscard]] std::vector<I> samples_with_the_ends()
{
    auto samples = random_samples<I>(40, 5);
    for (const std::int64_t near : {std::int64_t{std::numeric_limits<I>::min()}, std::int64_t{0},
                                    std::int64_t{std::numeric_limits<I>::max()}}) {
        for (std::int64_t i = -9; i <= 9; ++i)
            samples.push_back(static_cast<I>(near + i));
    }
    return samples;
}

template <class I, class O>
void expect_all_shifts()
{
    const std::vector<I> samples = samples_with_the_ends<I>();
    const auto width = static_cast<std::uint32_t>(samples.size());
    for (int shift = -31; shift <= 31; ++shift) {
        for (const bool limit : {false, true}) {
            std::vector<O> wanted;
            for (const I sample : samples) {
                std::int64_t value = model_shift(sample, shift);
                if (limit)
                    value = std::clamp<std::int64_t>(value, std::numeric_limits<O>::min(),
                                                     std::numeric_limits<O>::max());
                wanted.push_back(static_cast<O>(value));
            }
            NUV_TestChain chain;
            chain.source<I>({.width = width}, samples);
            ASSERT_TRUE(chain.append<NUV_ShiftData>(type_of<O>(), bits_of<O>, shift, limit));
            EXPECT_EQ(chain.header().data_type(), type_of<O>());
            EXPECT_EQ(chain.header().bits(), bits_of<O>);
            ASSERT_EQ(chain.run<O>(), wanted)
                << bits_of<I> << " to " << bits_of<O> << " bits by " << shift << ", " << limit;
        }
    }
}

template <class I>
class ShiftData : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t,
                                 std::int16_t, std::int32_t>;
TYPED_TEST_SUITE(ShiftData, Samples);

TYPED_TEST(ShiftData, ShiftsToEveryTypeByEveryNumberOfBits)
{
    expect_all_shifts<TypeParam, std::uint8_t>();
    expect_all_shifts<TypeParam, std::uint16_t>();
    expect_all_shifts<TypeParam, std::uint32_t>();
    expect_all_shifts<TypeParam, std::int8_t>();
    expect_all_shifts<TypeParam, std::int16_t>();
    expect_all_shifts<TypeParam, std::int32_t>();
}

TEST(ShiftDataValues, RoundHalfUpAndStopAtTheEnds)
{
    NUV_TestChain chain;
    chain.source<std::int16_t>({.width = 5}, {-9, -8, 200, 4087, 4072});
    ASSERT_TRUE(chain.append<NUV_ShiftDataWL>(NUV_DataType::u_integer, std::uint16_t{8}, -4));
    EXPECT_EQ(chain.run<std::uint8_t>(), (std::vector<std::uint8_t>{0, 0, 13, 255, 255}));
}

// Three channels: a line is width x channels samples.
TEST(ShiftDataValues, ComeBackFromTheWiderType)
{
    const auto image = random_samples<std::uint8_t>(std::size_t{7} * 5 * 3, 1);
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 7, .height = 5, .channels = 3}, image);
    ASSERT_TRUE(chain.append<NUV_ShiftDataNL>(NUV_DataType::s_integer, std::uint16_t{16}, 4));
    ASSERT_TRUE(chain.append<NUV_ShiftDataWL>(NUV_DataType::u_integer, std::uint16_t{8}, -4));
    EXPECT_EQ(chain.run<std::uint8_t>(), image);
}

TEST(ShiftDataValues, AppendNothingWhenNothingChanges)
{
    for (const bool limit : {false, true}) {
        NUV_TestChain chain;
        chain.blank_source({});
        NUV_Engine* source = chain.last();
        EXPECT_TRUE(
            chain.append<NUV_ShiftData>(NUV_DataType::u_integer, std::uint16_t{8}, 0, limit));
        EXPECT_EQ(chain.last(), source);
    }
}

TEST(ShiftDataRefusal, SaysWhyAndLeavesNothingBehind)
{
    const NUV_DataType* u = NUV_DataType::u_integer;
    struct Case {
        const char* what;
        NUV_TestImage image;
        const NUV_DataType* type;
        std::uint16_t bits;
        int shift;
        NUV_StatusCode code;
        const char* methods[2]; // without and with limit
    };
    constexpr const char* creators[] = {"NUV_ShiftDataNL::engine()", "NUV_ShiftDataWL::engine()"};
    constexpr const char* engines[] = {"NUV_ShiftDataNLEngine::initiate()",
                                       "NUV_ShiftDataWLEngine::initiate()"};
    const Case cases[] = {
        {"32 to the left", {}, u, 8, 32, NUV_ERR_ARGUMENT, {creators[0], creators[1]}},
        {"32 to the right", {}, u, 8, -32, NUV_ERR_ARGUMENT, {creators[0], creators[1]}},
        {"no type", {}, nullptr, 8, 1, NUV_ERR_ARGUMENT, {creators[0], creators[1]}},
        {"to bits", {}, u, 1, 1, NUV_ERR_UNSUPPORTED, {creators[0], creators[1]}},
        {"from bits", {.bits = 1}, u, 8, 1, NUV_ERR_UNSUPPORTED, {creators[0], creators[1]}},
        {"to reals",
         {},
         NUV_DataType::floating,
         32,
         0,
         NUV_ERR_UNSUPPORTED,
         {creators[0], creators[1]}},
        {"palette", {.palette = true}, u, 8, 1, NUV_ERR_UNSUPPORTED, {engines[0], engines[1]}},
        {"a line that grows too long",
         {.width = 0x10000000},
         u,
         32,
         1,
         NUV_ERR_UNSUPPORTED,
         {engines[0], engines[1]}},
    };
    for (const Case& c : cases) {
        for (const bool limit : {false, true}) {
            SCOPED_TRACE(c.what);
            NUV_TestChain chain;
            chain.blank_source(c.image);
            EXPECT_FALSE(chain.append<NUV_ShiftData>(c.type, c.bits, c.shift, limit));
            EXPECT_EQ(chain.status().code, c.code);
            EXPECT_STREQ(chain.status().method, c.methods[limit]);
            EXPECT_EQ(chain.live_objects_behind_source(), 0U);
        }
    }
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_ShiftData>(u, std::uint16_t{8}, 1, false));
    EXPECT_STREQ(chain.status().method, creators[0]);
}

TEST(ShiftDataRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source<std::uint8_t>({.width = 2}, {1, 2});
        chain.append<NUV_ShiftData>(NUV_DataType::s_integer, std::uint16_t{16}, 4, true);
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
