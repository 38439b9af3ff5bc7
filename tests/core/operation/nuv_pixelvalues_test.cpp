#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/constantcolor/nuv_constantcolor.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/operation/nuv_not.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "tests/support/nuv_modelimage.h"
#include "tests/support/nuv_pixeltables.h"

// Results that a reader can check by hand, and what the table of operations does not draw.

namespace nuv {
namespace {

const NUV_DataType* const u = NUV_DataType::u_integer;
const NUV_DataType* const s = NUV_DataType::s_integer;
const NUV_DataType* const real = NUV_DataType::floating;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class O, class I>
[[nodiscard]] std::vector<O> result(const std::vector<I>& line, const NUV_Append& append,
                                    std::uint16_t channels = 1)
{
    NUV_TestChain chain;
    const auto width = static_cast<std::uint32_t>(line.size() / channels);
    chain.source<I>({.width = width, .channels = channels}, line);
    EXPECT_TRUE(append(chain)) << chain.status().method;
    return chain.run<O>();
}

[[nodiscard]] NUV_Append converting(const NUV_DataType* type, std::uint16_t bits, double slope,
                                    double offset)
{
    return appending<NUV_ConvertDataType>(type, bits, slope, offset);
}

TEST(PixelValues, OfConversions)
{
    using Words = std::vector<std::int16_t>;
    const Bytes bytes{200, 3};
    EXPECT_EQ(result<std::uint8_t>(bytes, converting(u, 8, 1.5, 0)), (Bytes{255, 5}));
    EXPECT_EQ(result<std::int16_t>(bytes, converting(s, 16, 16, 0)), (Words{3200, 48}));
    // Halves go away from zero, or up where bits are shifted; offsets are cut off.
    const Words words{-3, -1, 1, 3};
    EXPECT_EQ(result<std::int16_t>(words, converting(s, 16, 1.5, 0)), (Words{-5, -2, 2, 5}));
    EXPECT_EQ(result<std::int16_t>(words, converting(s, 16, 0.5, 0)), (Words{-1, 0, 1, 2}));
    EXPECT_EQ(result<std::int16_t>(words, converting(s, 16, 1, 0.7)), (Words{-2, 0, 1, 3}));
    const auto numbers = result<double>(words, converting(real, 64, infinity, 1));
    EXPECT_EQ(numbers[0], std::numeric_limits<double>::lowest());
    EXPECT_EQ(numbers[3], std::numeric_limits<double>::max());
    EXPECT_TRUE(std::isnan(result<double>(words, converting(real, 64, nan, 1))[0]));
    EXPECT_TRUE(std::isnan(result<float>(words, converting(real, 32, 2, nan))[0]));
    EXPECT_EQ(result<std::uint8_t>(words, converting(u, 8, nan, 1)), Bytes(4));
    EXPECT_EQ(result<std::uint8_t>(words, converting(u, 1, nan, 1)), Bytes{0});
    EXPECT_EQ(result<std::uint8_t>(words, converting(u, 1, -1, -1)), Bytes{0xE0});
    const double hair = 1e-16; // next to a unit, and counts as one
    const auto expanding =
        appending<NUV_ConvertDataTypeFrom1bit>(s, std::uint16_t{32}, 1 - hair, 1 - hair);
    expect_result("a hair", {.width = 2, .bits = 1}, {0x40}, expanding, {1, 0, 0, 0, 2, 0, 0, 0});
}

TEST(PixelValues, OfTables)
{
    const auto entries = random_samples<std::uint8_t>(std::size_t{256} * 8, 1);
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 2, .color_type = NUV_ColorType::gray}, {0, 255});
    {
        const auto table =
            make_table(chain.manager(), 64, 1, real, entries); // whose entries are moved alone
        ASSERT_TRUE(chain.append<NUV_Lut>(table.get(), NUV_ColorType::lstar));
    } // the engine has a copy
    EXPECT_EQ(chain.header().color_type(), NUV_ColorType::lstar);
    EXPECT_EQ(chain.header().data_type(), real);
    Bytes wanted(entries.begin(), entries.begin() + 8);
    wanted.insert(wanted.end(), entries.end() - 8, entries.end());
    EXPECT_EQ(chain.run_bytes(), wanted);
}

// The first two alike, and only then one of its own.
TEST(PixelValues, OfTablesThatDifferInTheLastChannel)
{
    for (std::uint16_t channels = 2; channels <= 5; ++channels) {
        Bytes entries(std::size_t{256} * channels);
        std::fill(entries.end() - 256, entries.end(), std::uint8_t{9});
        Bytes wanted(channels);
        wanted.back() = 9;
        EXPECT_EQ(result<std::uint8_t>(Bytes(channels, 77),
                                       appending_table(8, channels, u, entries), channels),
                  wanted);
    }
}

TEST(PixelValues, OfMatrices)
{
    for (const bool fixed : {false, true}) {
        // Exactly at the top, above it, below 0, half a step, almost half a step.
        EXPECT_EQ(result<std::uint8_t>(
                      Bytes{0, 1, 254, 255},
                      appending_matrix(5, {1, 2, -1, 0.5, 0}, {0, 0, 0, 0, 0.499}, fixed)),
                  (Bytes{0, 0, 0, 0, 0, 1, 2, 0, 1, 0, 254, 255, 0, 127, 0, 255, 255, 0, 128, 0}));
        // What is no number is 0, in fixed point from the beginning.
        EXPECT_EQ(result<std::uint8_t>(Bytes{7}, appending_matrix(4, {nan, infinity, -infinity, 1},
                                                                  {0, 0, 0, nan}, fixed)),
                  (Bytes{0, 255, 0, static_cast<std::uint8_t>(fixed ? 7 : 0)}));
    }
}

TEST(PixelValues, OfInversion)
{
    const NUV_TestImage reals{.bits = 32, .data_type = real};
    const auto invert = appending<NUV_Not>();
    expect_result("whole bytes", {.width = 3, .bits = 1}, {0xA0}, invert, {0x5F});
    expect_result("reals", reals, {0, 1, 2, 3}, invert, {255, 254, 253, 252});
    constexpr std::pair end{0xFFFFFFFF, 0xFFFFFFFF};
    expect_result("a line of runs without an end is white", run_description(5, 2),
                  records_of({{0, 1}, end, {0, 1}}), invert,
                  records_of({{2, 4}, end, {0, 4}, end}));
}

TEST(PixelValues, OfConstants)
{
    const auto made = [](const NUV_TestImage& image, const std::vector<double>& color) {
        NUV_TestChain chain;
        chain.blank_source(image); // whose header it is
        chain.last(NUV_ConstantColor(chain.manager()).engine(&chain.header(), color));
        return chain.run_bytes();
    };
    EXPECT_EQ(made({.bits = 64, .data_type = real}, {-0.5}), (Bytes{0, 0, 0, 0, 0, 0, 0xE0, 0xBF}));
    EXPECT_EQ(made({.bits = 32, .data_type = s}, {-2147483648.0}), (Bytes{0, 0, 0, 0x80}));
    EXPECT_EQ(made({.width = 11, .height = 2, .bits = 1}, {1}), (Bytes{0xFF, 0xE0, 0xFF, 0xE0}));
    EXPECT_EQ(made({.width = 3, .channels = 3, .bits = 1}, {1, 0, 0}), (Bytes{0b10010010, 0}));
}

// The sources side by side, each of these bytes.
NUV_Engine* merge(NUV_TestChain& chain, const NUV_TestImage& image, const std::vector<Bytes>& bytes,
                  const NUV_ColorType* color)
{
    std::vector<NUV_Engine*> engines;
    for (const Bytes& source : bytes) {
        chain.source_bytes(image, source);
        engines.push_back(chain.last());
    }
    chain.last(NUV_MergeChannel(chain.manager()).engine(engines, color));
    return engines[0];
}

TEST(PixelValues, OfMergedChannels)
{
    NUV_TestChain colored;
    merge(colored, {.data_type = s}, {{0}, {1}, {2}}, NUV_ColorType::s_rgb);
    ASSERT_TRUE(colored.last());
    EXPECT_EQ(colored.header().data_type(), s);
    EXPECT_EQ(colored.header().color_type(), NUV_ColorType::s_rgb);
    EXPECT_EQ(colored.run_bytes(), (Bytes{0, 1, 2}));

    NUV_TestChain alone;
    const NUV_Engine* only = merge(alone, {.color_type = NUV_ColorType::gray}, {{7}}, nullptr);
    EXPECT_EQ(alone.last(), only);

    NUV_TestChain cut; // ends with its shortest input, and says nothing
    merge(cut, {.width = 2, .height = 3}, {{1, 2, 3, 4, 5, 6}, {11, 12, 13, 14}},
          NUV_ColorType::none);
    EXPECT_EQ(cut.run_bytes(), (Bytes{1, 11, 2, 12, 3, 13, 4, 14}));
    EXPECT_EQ(cut.status().code, NUV_STATUS_OK);
}

TEST(PixelValues, WithoutAPalette)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 3, .palette = true});
    ASSERT_TRUE(chain.append<NUV_SelectChannel>(0U, NUV_ColorType::gray));
    EXPECT_TRUE(chain.header().palette().is_empty());
}

TEST(PixelValues, StayWhereNothingChanges)
{
    const std::vector<double> identity{1, 0, 0, 0, 1 + 2e-16, 0, 0, -2e-16, 1};
    const std::pair<NUV_Append, bool> calls[] = {
        // and whether they change something
        {converting(nullptr, 8, 1 + 2e-16, -2e-16), false},
        {appending<NUV_ShiftData>(u, std::uint16_t{8}, 0, true), false},
        {appending<NUV_ShiftData>(u, std::uint16_t{8}, 0, false), false},
        {appending_matrix(3, identity, {}, true, NUV_ColorType::s_rgb), false},
        {appending<NUV_ColorSpace>(NUV_ColorType::s_rgb), false},
        {appending_matrix(3, identity, {}, true, NUV_ColorType::ycbcr), true},
        {appending_matrix(3, identity, {0, 0, 0}, true), true},
        {appending_matrix(3, {1, 0, 0, 0, 1, 0, 0, 0, 1 + 1e-15}, {}, true), true},
    };
    for (const auto& [append, changes] : calls) {
        NUV_TestChain chain;
        chain.blank_source({.channels = 3, .color_type = NUV_ColorType::s_rgb});
        const NUV_Engine* before = chain.last();
        EXPECT_TRUE(append(chain));
        EXPECT_EQ(chain.last() != before, changes);
    }
}

} // namespace
} // namespace nuv
