#include "core/colormatrix/nuv_colormatrix.h"

#include "tests/support/nuv_model_color.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

using Reals = std::vector<double>;

// Appends Creator with a matrix of `rows` rows.
template <class Creator = NUV_ColorMatrix>
bool append(NUV_TestChain& chain, std::uint32_t rows, const Reals& factors, const Reals& offsets,
            bool fixed, const NUV_ColorType* target = nullptr)
{
    NUV_Matrix matrix(chain.manager());
    static_cast<void>(
        matrix.value(rows, static_cast<std::uint32_t>(factors.size() / rows), factors));
    return chain.append<Creator>(&matrix, offsets, target, fixed);
}

[[nodiscard]] Reals random_factors(std::size_t count, double scale, std::uint64_t seed)
{
    Reals factors;
    for (const std::int32_t number : random_samples<std::int32_t>(count, seed))
        factors.push_back(number / 2147483648.0 * scale);
    return factors;
}

template <class T>
class ColorMatrix : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(ColorMatrix, Samples);

// Small factors, some that no 16 bits hold, and some whose sums no 32 bits hold.
TYPED_TEST(ColorMatrix, MultipliesAsDefined)
{
    using T = TypeParam;
    constexpr std::uint32_t width = 83;
    for (std::uint32_t rows = 1; rows <= 4; ++rows) {
        for (std::uint16_t columns = 1; columns <= 4; ++columns) {
            for (const double scale : {1.0, 20.0, 60000.0}) {
                for (const bool fixed : {false, true}) {
                    SCOPED_TRACE(std::to_string(rows) + "x" + std::to_string(columns) +
                                 (fixed ? " fixed" : " real") + " up to " + std::to_string(scale));
                    const auto factors =
                        random_factors(std::size_t{rows} * columns, scale, rows + columns);
                    const auto offsets = random_factors(rows, 100 * std::min(scale, 20.0), 3);
                    const auto image = random_samples<T>(std::size_t{width} * 2 * columns, 9);
                    NUV_TestChain chain;
                    chain.source<T>({.width = width, .height = 2, .channels = columns}, image);
                    ASSERT_TRUE(append(chain, rows, factors, offsets, fixed));
                    EXPECT_EQ(chain.header().channels(), rows);
                    std::vector<T> wanted;
                    for (std::size_t i = 0; i < image.size(); i += columns) {
                        const auto at = image.begin() + static_cast<std::ptrdiff_t>(i);
                        const auto pixel =
                            model_matrix(std::vector<T>(at, at + columns), factors, offsets, fixed);
                        wanted.insert(wanted.end(), pixel.begin(), pixel.end());
                    }
                    ASSERT_EQ(chain.run<T>(), wanted);
                }
            }
        }
    }
}

TYPED_TEST(ColorMatrix, LimitsTheEndsAndRoundsHalvesUp)
{
    using T = TypeParam;
    constexpr T top = std::numeric_limits<T>::max();
    for (const bool fixed : {false, true}) {
        NUV_TestChain chain;
        chain.source<T>({.width = 4}, {0, 1, top - 1, top});
        // Exactly at the top, above it, below 0, half a step, almost half a step.
        ASSERT_TRUE(append(chain, 5, {1, 2, -1, 0.5, 0}, {0, 0, 0, 0, 0.499}, fixed));
        constexpr T half = top / 2;
        EXPECT_EQ(chain.run<T>(),
                  (std::vector<T>{0,       0,   0, 0,    0, 1,   2,   0, 1,        0,
                                  top - 1, top, 0, half, 0, top, top, 0, half + 1, 0}));
    }
}

TYPED_TEST(ColorMatrix, DefinesWhatIsNoNumber)
{
    using T = TypeParam;
    constexpr T top = std::numeric_limits<T>::max();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    NUV_TestChain real;
    real.source<T>({}, {7});
    ASSERT_TRUE(append(real, 4, {nan, infinity, -infinity, 0}, {0, 0, 0, nan}, false));
    EXPECT_EQ(real.run<T>(), (std::vector<T>{0, top, 0, 0}));
    NUV_TestChain fixed; // not a number is 0 from the beginning
    fixed.source<T>({}, {7});
    ASSERT_TRUE(append(fixed, 4, {nan, infinity, -infinity, 1}, {0, 0, 0, nan}, true));
    EXPECT_EQ(fixed.run<T>(), (std::vector<T>{0, top, 0, 7}));
}

TEST(ColorMatrixIdentity, AppendsNothingUnlessSomethingChanges)
{
    const Reals identity{1, 0, 0, 0, 1 + 2e-16, 0, 0, -2e-16, 1};
    struct Case {
        const char* what;
        Reals factors;
        Reals offsets;
        const NUV_ColorType* target;
        bool appends;
    };
    const Case cases[] = {
        {"nothing", identity, {}, nullptr, false},
        {"the same colour", identity, {}, NUV_ColorType::s_rgb, false},
        {"another colour", identity, {}, NUV_ColorType::ycbcr, true},
        {"offsets", identity, {0, 0, 0}, nullptr, true},
        {"a factor", {1, 0, 0, 0, 1, 0, 0, 0, 1 + 1e-15}, {}, nullptr, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source({.channels = 3, .color_type = NUV_ColorType::s_rgb});
        const NUV_Engine* source = chain.last();
        EXPECT_TRUE(append(chain, 3, c.factors, c.offsets, true, c.target));
        EXPECT_EQ(chain.last() != source, c.appends);
        EXPECT_EQ(chain.header().color_type(), c.target ? c.target : NUV_ColorType::s_rgb);
    }
}

TEST(ColorMatrixRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_creator = "NUV_ColorMatrix::engine()";
    constexpr auto in_engine = "NUV_ColorMatrix8xNbitsEngine::initiate()";
    constexpr auto in_engine_3x3 = "NUV_ColorMatrix3x3_8xNbitsEngine::initiate()";
    const Reals nine{1, 2, 3, 4, 5, 6, 7, 8, 9};
    struct Case {
        const char* what;
        NUV_TestImage image;
        Reals factors;
        Reals offsets;
        const NUV_ColorType* target;
        std::uint32_t rows;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"other columns", {}, nine, {}, nullptr, 3, NUV_ERR_ARGUMENT, in_creator},
        {"an empty matrix", {}, {}, {}, nullptr, 1, NUV_ERR_ARGUMENT, "NUV_Matrix::value()"},
        {"bilevel",
         {.bits = 1},
         {2},
         {},
         nullptr,
         1,
         NUV_ERR_UNSUPPORTED,
         "NUV_ColorMatrix8xNbits::engine()"},
        {"signed",
         {.channels = 3, .data_type = NUV_DataType::s_integer},
         nine,
         {},
         nullptr,
         3,
         NUV_ERR_UNSUPPORTED,
         "NUV_ColorMatrix3x3_8xNbits::engine()"},
        {"palette", {.palette = true}, {2}, {}, nullptr, 1, NUV_ERR_UNSUPPORTED, in_engine},
        {"coded",
         {.encode_type = NUV_EncodeType::jpeg},
         {2},
         {},
         nullptr,
         1,
         NUV_ERR_UNSUPPORTED,
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"too few offsets",
         {.channels = 3},
         nine,
         {1, 2},
         nullptr,
         3,
         NUV_ERR_ARGUMENT,
         in_engine_3x3},
        {"another colour",
         {.channels = 3},
         {1, 2, 3},
         {},
         NUV_ColorType::s_rgb,
         1,
         NUV_ERR_ARGUMENT,
         in_engine},
        {"a colour that no longer fits",
         {.channels = 3, .color_type = NUV_ColorType::s_rgb},
         {1, 2, 3},
         {},
         nullptr,
         1,
         NUV_ERR_ARGUMENT,
         in_engine},
        {"more channels than there can be",
         {},
         Reals(65536),
         {},
         nullptr,
         65536,
         NUV_ERR_ARGUMENT,
         in_engine},
        {"too long a line",
         {.width = 0x18000000},
         {1, 1, 1},
         {},
         nullptr,
         3,
         NUV_ERR_UNSUPPORTED,
         in_engine},
    };
    for (const Case& c : cases) {
        for (const bool fixed : {false, true}) {
            SCOPED_TRACE(c.what);
            NUV_TestChain chain;
            chain.blank_source(c.image);
            EXPECT_FALSE(append(chain, c.rows, c.factors, c.offsets, fixed, c.target));
            EXPECT_EQ(chain.status().code, c.code);
            EXPECT_STREQ(chain.status().method, c.method);
            EXPECT_EQ(chain.live_objects_behind_source(), 0U);
        }
    }
    NUV_TestChain chain;
    EXPECT_FALSE(append(chain, 1, {1}, {}, true));
    EXPECT_STREQ(chain.status().method, in_creator);
    NUV_TestChain narrow;
    narrow.blank_source({.channels = 3});
    EXPECT_FALSE(append<NUV_ColorMatrix3x3_8xNbits>(narrow, 1, {1, 2, 3}, {}, true));
    EXPECT_EQ(narrow.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(narrow.status().method, "NUV_ColorMatrix3x3_8xNbits::engine()");
    NUV_TestChain none;
    none.blank_source({});
    const NUV_Matrix* no_matrix = nullptr;
    EXPECT_FALSE(none.append<NUV_ColorMatrix8xNbits>(no_matrix, Reals{}, nullptr, true));
    EXPECT_STREQ(none.status().method, "NUV_ColorMatrix8xNbits::engine()");
}

TEST(ColorMatrixRefusal, SurvivesEveryFailedAllocation)
{
    for (const double factor : {1.5, 1e6}) {
        expect_clean_at_every_allocation([factor](NUV_TestChain& chain) {
            chain.source<std::uint8_t>({.width = 2}, {1, 2});
            append(chain, 2, {factor, 1}, {}, true);
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
