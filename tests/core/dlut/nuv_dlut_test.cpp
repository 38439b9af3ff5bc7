#include "core/dlut/nuv_dlut.h"

#include "tests/support/nuv_model_color.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

template <class T>
void allocate_copy(NUV_DLutData& table, std::uint16_t inputs, std::uint16_t outputs,
                   std::uint32_t grid_points, const std::vector<T>& samples)
{
    ASSERT_TRUE(table.allocate(8 * sizeof(T), inputs, outputs, grid_points));
    ASSERT_EQ(table.samples<T>().size(), samples.size());
    std::copy(samples.begin(), samples.end(), table.samples<T>().begin());
}

[[nodiscard]] std::size_t power(std::size_t base, std::size_t exponent)
{
    return exponent == 0 ? 1 : base * power(base, exponent - 1);
}

template <class T>
class DLut : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(DLut, Samples);

// Random tables, and pixels that are random, on the diagonal, on grid points, or at the ends.
TYPED_TEST(DLut, InterpolatesAsDefined)
{
    using T = TypeParam;
    constexpr std::uint32_t width = 131;
    constexpr std::uint32_t height = 3;
    for (std::uint16_t inputs = 1; inputs <= 4; ++inputs) {
        for (std::uint16_t outputs = 1; outputs <= 5; ++outputs) {
            for (const std::uint32_t points : {2U, 5U, 9U}) {
                SCOPED_TRACE(std::to_string(inputs) + " to " + std::to_string(outputs) + " by " +
                             std::to_string(points));
                const auto samples =
                    random_samples<T>(power(points, inputs) * outputs, inputs + points);
                auto image = random_samples<T>(std::size_t{width} * height * inputs, outputs);
                constexpr T ends[] = {0, std::numeric_limits<T>::max()};
                for (std::size_t i = 0; i < std::size_t{32} * inputs; ++i)
                    image[i] = ends[random_samples<std::uint8_t>(1, i)[0] & 1];
                for (std::size_t i = std::size_t{32} * inputs; i < std::size_t{50} * inputs; ++i)
                    image[i] = image[i / inputs * inputs];

                NUV_TestChain chain;
                chain.source<T>({.width = width, .height = height, .channels = inputs}, image);
                {
                    NUV_DLutData table(chain.manager());
                    allocate_copy(table, inputs, outputs, points, samples);
                    ASSERT_TRUE(chain.append<NUV_DLutTetrahedron>(&table, NUV_ColorType::none));
                }
                std::vector<T> wanted;
                for (std::size_t i = 0; i < image.size(); i += inputs) {
                    const auto at = image.begin() + static_cast<std::ptrdiff_t>(i);
                    const auto entry = [&](const std::vector<std::size_t>& corner) {
                        std::size_t start = 0; // the last axis is the fastest
                        for (const std::size_t index : corner)
                            start = start * points + index;
                        const auto first =
                            samples.begin() + static_cast<std::ptrdiff_t>(start * outputs);
                        return std::vector<T>(first, first + outputs);
                    };
                    const auto pixel = model_dlut(std::vector<T>(at, at + inputs), points, entry);
                    wanted.insert(wanted.end(), pixel.begin(), pixel.end());
                }
                EXPECT_EQ(chain.header().channels(), outputs);
                EXPECT_EQ(chain.header().bits(), 8 * sizeof(T));
                ASSERT_EQ(chain.run<T>(), wanted);
            }
        }
    }
}

// A table of the grid points themselves changes nothing but by rounding, and nothing at the ends.
TYPED_TEST(DLut, OfTheIdentityIsTheIdentity)
{
    using T = TypeParam;
    constexpr std::uint32_t points = 33;
    constexpr std::uint32_t maximum = std::numeric_limits<T>::max();
    for (const auto channels : std::initializer_list<std::uint16_t>{1, 3, 4}) {
        std::vector<T> samples(power(points, channels) * channels);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::size_t steps = power(points, channels - 1U - i % channels);
            const auto coordinate = i / channels / steps % points;
            samples[i] = static_cast<T>((coordinate * maximum + 16) / 32);
        }
        auto image = random_samples<T>(99 * channels, 4);
        for (std::size_t c = 0; c < channels; ++c) {
            image[c] = 0;
            image[channels + c] = static_cast<T>(maximum);
        }
        NUV_TestChain chain;
        chain.source<T>({.width = 99, .channels = channels}, image);
        {
            NUV_DLutData table(chain.manager());
            allocate_copy(table, channels, channels, points, samples);
            ASSERT_TRUE(chain.append<NUV_DLutTetrahedron>(&table, NUV_ColorType::none));
        }
        const auto got = chain.run<T>();
        ASSERT_EQ(got.size(), image.size());
        for (std::size_t i = 0; i < image.size(); ++i)
            EXPECT_NEAR(got[i], image[i], i < std::size_t{2} * channels ? 0 : 1);
    }
}

TEST(DLutData, RefusesSizesThatItCannotHold)
{
    struct Case {
        std::uint16_t bits, inputs, outputs;
        std::uint32_t points;
    };
    const Case cases[] = {{1, 3, 3, 33},  {32, 3, 3, 33},   {8, 0, 3, 33},    {8, 5, 3, 33},
                          {8, 3, 0, 33},  {8, 3, 3, 1},     {8, 1, 3, 65537}, {8, 3, 3, 1500},
                          {8, 4, 1, 256}, {16, 2, 1, 65536}};
    for (const Case& c : cases) {
        NUV_TestChain chain;
        NUV_DLutData table(chain.manager());
        EXPECT_FALSE(table.allocate(c.bits, c.inputs, c.outputs, c.points));
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, "NUV_DLutData::allocate()");
        EXPECT_TRUE(table.is_empty());
    }
}

TEST(DLutRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_creator = "NUV_DLutTetrahedron::engine()";
    constexpr auto in_engine = "NUV_DLutTetrahedronEngine::initiate()";
    const NUV_ColorType* none = NUV_ColorType::none;
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::uint16_t bits, inputs, outputs; // bits 0: an empty table
        const NUV_ColorType* target;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"bilevel", {.bits = 1}, 8, 1, 1, none, NUV_ERR_UNSUPPORTED, in_creator},
        {"signed",
         {.data_type = NUV_DataType::s_integer},
         8,
         1,
         1,
         none,
         NUV_ERR_UNSUPPORTED,
         in_creator},
        {"palette", {.palette = true}, 8, 1, 1, none, NUV_ERR_UNSUPPORTED, in_engine},
        {"coded",
         {.encode_type = NUV_EncodeType::jpeg},
         8,
         1,
         1,
         none,
         NUV_ERR_UNSUPPORTED,
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"other bits", {}, 16, 1, 1, none, NUV_ERR_ARGUMENT, in_engine},
        {"other channels", {}, 8, 3, 1, none, NUV_ERR_ARGUMENT, in_engine},
        {"empty", {}, 0, 1, 1, none, NUV_ERR_ARGUMENT, in_engine},
        {"no colour", {}, 8, 1, 1, nullptr, NUV_ERR_ARGUMENT, in_engine},
        {"another colour", {}, 8, 1, 1, NUV_ColorType::s_rgb, NUV_ERR_ARGUMENT, in_engine},
        {"too long a line",
         {.width = 0x18000000},
         8,
         1,
         3,
         NUV_ColorType::s_rgb,
         NUV_ERR_UNSUPPORTED,
         in_engine},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        {
            NUV_DLutData table(chain.manager());
            ASSERT_TRUE(c.bits == 0 || table.allocate(c.bits, c.inputs, c.outputs, 2));
            EXPECT_FALSE(chain.append<NUV_DLutTetrahedron>(&table, c.target));
        }
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    const NUV_DLutData* no_table = nullptr;
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_DLutTetrahedron>(no_table, none));
    EXPECT_STREQ(chain.status().method, in_creator);
    NUV_TestChain with_source;
    with_source.blank_source({});
    EXPECT_FALSE(with_source.append<NUV_DLutTetrahedron>(no_table, none));
    EXPECT_EQ(with_source.status().code, NUV_ERR_ARGUMENT);
}

TEST(DLutRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source<std::uint8_t>({.width = 2}, {1, 2});
        NUV_DLutData table(chain.manager());
        if (table.allocate(8, 1, 3, 2))
            std::fill(table.samples<std::uint8_t>().begin(), table.samples<std::uint8_t>().end(),
                      std::uint8_t{1});
        chain.append<NUV_DLutTetrahedron>(&table, NUV_ColorType::s_rgb);
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
