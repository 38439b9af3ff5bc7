#include "core/lut/nuv_lut.h"

#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace nuv {
namespace {

template <class T>
[[nodiscard]] const NUV_DataType* type_of()
{
    if (std::is_floating_point_v<T>)
        return NUV_DataType::floating;
    return std::is_signed_v<T> ? NUV_DataType::s_integer : NUV_DataType::u_integer;
}

template <class T>
[[nodiscard]] NUV_Held<NUV_LutData> table_of(NUV_Manager& manager, const std::vector<T>& entries,
                                             std::uint16_t channels = 1)
{
    NUV_Held<NUV_LutData> table = make_object<NUV_LutData>(manager);
    if (!table)
        return table;
    table->bits = 8 * sizeof(T);
    table->channels = channels;
    table->entries = static_cast<std::uint32_t>(entries.size() / channels);
    table->data_type = type_of<T>();
    std::vector<std::uint8_t> bytes(entries.size() * sizeof(T));
    std::memcpy(bytes.data(), entries.data(), bytes.size());
    if (!table->value(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
        table.reset();
    return table;
}

template <class O>
[[nodiscard]] std::vector<O> random_entries(std::size_t count, std::uint64_t seed)
{
    const auto numbers = random_samples<std::int32_t>(count, seed);
    std::vector<O> entries;
    entries.reserve(numbers.size());
    for (const std::int32_t number : numbers)
        entries.push_back(static_cast<O>(std::is_floating_point_v<O> ? number / 4 : number));
    return entries;
}

// Every sample value, in 3 channels, through one table for all and through one for each.
template <class I, class O>
void expect_entries()
{
    constexpr std::size_t range = std::size_t{1} << (8 * sizeof(I));
    constexpr std::size_t width = 37;
    constexpr std::size_t height = (range + width * 3 - 1) / (width * 3);
    std::vector<I> image(width * height * 3);
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<I>(i * 2654435761U >> 5);

    for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
        const auto entries = random_entries<O>(range * channels, 7);
        std::vector<O> wanted;
        for (std::size_t i = 0; i < image.size(); ++i) {
            const auto row =
                static_cast<std::size_t>(int{image[i]} - int{std::numeric_limits<I>::min()});
            wanted.push_back(entries[(channels == 1 ? 0 : i % 3 * range) + row]);
        }
        NUV_TestChain chain;
        chain.source<I>({.width = width, .height = height, .channels = 3}, image);
        {
            const auto table = table_of(chain.manager(), entries, channels);
            ASSERT_TRUE(chain.append<NUV_Lut>(table.get()));
        } // the engine has a copy
        EXPECT_EQ(chain.header().data_type(), type_of<O>());
        EXPECT_EQ(chain.header().bits(), 8 * sizeof(O));
        EXPECT_EQ(chain.header().color_type(), NUV_ColorType::none);
        ASSERT_EQ(chain.run<O>(), wanted) << sizeof(I) << " to " << sizeof(O);
    }
}

template <class I>
class Lut : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t>;
TYPED_TEST_SUITE(Lut, Samples);

TYPED_TEST(Lut, ReplacesEverySampleByItsEntryOfAnyType)
{
    expect_entries<TypeParam, std::uint8_t>();
    expect_entries<TypeParam, std::int8_t>();
    expect_entries<TypeParam, std::uint16_t>();
    expect_entries<TypeParam, std::int16_t>();
    expect_entries<TypeParam, std::uint32_t>();
    expect_entries<TypeParam, std::int32_t>();
    expect_entries<TypeParam, float>();
    expect_entries<TypeParam, double>();
}

TEST(LutResult, HasTheColorAndTheTypeThatItIsGiven)
{
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 2, .color_type = NUV_ColorType::gray}, {0, 255});
    auto table = table_of(chain.manager(), std::vector<std::uint32_t>(256, 0x3F800000));
    table->data_type = NUV_DataType::unknown; // 32 bits of a type that is no integer
    ASSERT_TRUE(chain.append<NUV_Lut>(table.get(), NUV_ColorType::lstar));
    EXPECT_EQ(chain.header().color_type(), NUV_ColorType::lstar);
    EXPECT_EQ(chain.header().data_type(), NUV_DataType::unknown);
    EXPECT_EQ(chain.run<float>(), (std::vector<float>{1, 1}));
}

TEST(LutRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_engine = "NUV_Lut8xNbitsEngine::initiate()";
    const NUV_ColorType* no_target = nullptr;
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::size_t entries;
        std::uint16_t channels;
        std::uint16_t bits; // in place of the table's own 8
        NUV_StatusCode code;
        const NUV_ColorType* target;
        const char* method;
    };
    const Case cases[] = {
        {"an entry too few", {}, 255, 1, 8, NUV_ERR_ARGUMENT, no_target, in_engine},
        {"twice the entries", {}, 512, 1, 8, NUV_ERR_ARGUMENT, no_target, in_engine},
        {"256 for 16 bits", {.bits = 16}, 256, 1, 8, NUV_ERR_ARGUMENT, no_target, in_engine},
        {"two tables for three",
         {.channels = 3},
         512,
         2,
         8,
         NUV_ERR_ARGUMENT,
         no_target,
         in_engine},
        {"bits changed behind", {}, 256, 1, 16, NUV_ERR_ARGUMENT, no_target, in_engine},
        {"entries of 64 bits that are integers",
         {},
         2048,
         8,
         64,
         NUV_ERR_ARGUMENT,
         no_target,
         in_engine},
        {"entries of 12 bits", {}, 256, 1, 12, NUV_ERR_ARGUMENT, no_target, in_engine},
        {"a colour of three", {}, 256, 1, 8, NUV_ERR_ARGUMENT, NUV_ColorType::s_rgb, in_engine},
        {"bilevel", {.bits = 1}, 256, 1, 8, NUV_ERR_UNSUPPORTED, no_target, in_engine},
        {"palette", {.palette = true}, 256, 1, 8, NUV_ERR_UNSUPPORTED, no_target, in_engine},
        {"samples of no type",
         {.data_type = NUV_DataType::unknown},
         256,
         1,
         8,
         NUV_ERR_UNSUPPORTED,
         no_target,
         "NUV_LutS8xNbitsEngine::initiate()"},
        {"coded",
         {.encode_type = NUV_EncodeType::qd_rle},
         256,
         1,
         8,
         NUV_ERR_UNSUPPORTED,
         no_target,
         "NUV_ProcessLineToLineEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        {
            auto table =
                table_of(chain.manager(), std::vector<std::uint8_t>(c.entries), c.channels);
            if (c.bits == 64)
                table->channels = 1; // so that the sizes agree
            table->bits = c.bits;
            EXPECT_FALSE(chain.append<NUV_Lut>(table.get(), c.target));
        }
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
}

TEST(LutRefusal, MindsTheTypeOfTheSamplesAndNulls)
{
    const auto expect_refusal = [](auto append, NUV_StatusCode code, const char* method) {
        NUV_TestChain chain;
        append(chain);
        EXPECT_EQ(chain.last(), nullptr);
        EXPECT_EQ(chain.status().code, code);
        EXPECT_STREQ(chain.status().method, method);
    };
    const auto with = []<class Creator>(const NUV_DataType* type) {
        return [type](NUV_TestChain& chain) {
            chain.blank_source({.data_type = type});
            const auto table = table_of(chain.manager(), std::vector<std::uint8_t>(256));
            chain.append<Creator>(table.get());
        };
    };
    expect_refusal(with.operator()<NUV_LutU8xNbits>(NUV_DataType::s_integer), NUV_ERR_UNSUPPORTED,
                   "NUV_LutU8xNbitsEngine::initiate()");
    expect_refusal(with.operator()<NUV_LutS8xNbits>(NUV_DataType::u_integer), NUV_ERR_UNSUPPORTED,
                   "NUV_LutS8xNbitsEngine::initiate()");

    const NUV_LutData* none = nullptr;
    const auto without_table = [&](NUV_TestChain& chain) {
        chain.blank_source({});
        chain.append<NUV_Lut>(none);
    };
    expect_refusal(without_table, NUV_ERR_ARGUMENT, "NUV_Lut8xNbitsEngine::initiate()");
    const auto without_entries = [](NUV_TestChain& chain) {
        chain.blank_source({});
        const auto table = make_object<NUV_LutData>(chain.manager());
        chain.append<NUV_Lut>(table.get());
    };
    expect_refusal(without_entries, NUV_ERR_ARGUMENT, "NUV_Lut8xNbitsEngine::initiate()");
    expect_refusal([&](NUV_TestChain& chain) { chain.append<NUV_Lut>(none); }, NUV_ERR_ARGUMENT,
                   "NUV_Lut::engine()");
    expect_refusal([&](NUV_TestChain& chain) { chain.append<NUV_LutU8xNbits>(none); },
                   NUV_ERR_ARGUMENT, "NUV_LutU8xNbits::engine()");
    expect_refusal([&](NUV_TestChain& chain) { chain.append<NUV_LutS8xNbits>(none); },
                   NUV_ERR_ARGUMENT, "NUV_LutS8xNbits::engine()");
}

TEST(LutRefusal, MindsLinesThatGrowTooLong)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 0x8000000});
    {
        const auto table = table_of(chain.manager(), std::vector<double>(256));
        EXPECT_FALSE(chain.append<NUV_Lut>(table.get()));
    }
    EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
    EXPECT_STREQ(chain.status().method, "NUV_Lut8xNbitsEngine::initiate()");
}

TEST(LutRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source<std::int8_t>({.width = 1, .channels = 3}, {1, -2, 3});
        const auto table = table_of(chain.manager(), std::vector<std::uint8_t>(768), 3);
        chain.append<NUV_Lut>(table.get());
        static_cast<void>(chain.run_bytes());
    });
}

TEST(LutData, ComparesBytesWithItsNumbers)
{
    NUV_TestChain chain;
    const auto table = make_object<NUV_LutData>(chain.manager());
    table->bits = 16;
    table->channels = 3;
    table->entries = 256;
    const std::vector<std::uint8_t> bytes(1537, 5);
    EXPECT_TRUE(table->value(bytes.data(), 1536));
    EXPECT_TRUE(table->is_valid());
    const std::uint8_t* before = table->value();
    EXPECT_FALSE(table->value(bytes.data(), 1537));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_LutData::value()");
    EXPECT_FALSE(table->value(nullptr, 1536));
    EXPECT_FALSE(table->value(bytes.data(), 0));
    EXPECT_EQ(table->value(), before);
    EXPECT_TRUE(table->value(nullptr, 0));
    EXPECT_FALSE(table->is_valid());
}

} // namespace
} // namespace nuv
