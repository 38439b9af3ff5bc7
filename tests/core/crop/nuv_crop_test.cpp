#include "core/crop/nuv_crop.h"

#include "tests/support/nuv_model_crop.h"
#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <random>

namespace nuv {
namespace {

struct Rectangle {
    std::uint32_t x, y, w, h;
};

std::ostream& operator<<(std::ostream& out, const Rectangle& r)
{
    return out << r.x << "," << r.y << " " << r.w << " x " << r.h;
}

template <class Use>
void for_each_rectangle(std::uint32_t width, std::uint32_t height, Use use)
{
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t h = 1; h <= height + 1; ++h) {
            for (std::uint32_t x = 0; x < width; ++x) {
                for (std::uint32_t w = 1; w <= width + 1; ++w)
                    use(Rectangle{x, y, w, h});
            }
        }
    }
}

TEST(Crop, CutsEveryRectangle)
{
    std::mt19937 random(1);
    for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{8}, std::uint16_t{16}}) {
        for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
            NUV_ModelImage image{9, 5, channels, bits};
            for (std::size_t i = 0; i < std::size_t{9} * 5 * channels; ++i)
                image.samples.push_back(static_cast<std::uint16_t>(random() & ((1U << bits) - 1)));
            for_each_rectangle(9, 5, [&](const Rectangle& r) {
                const NUV_ModelImage wanted = model_crop(image, r.x, r.y, r.w, r.h);
                NUV_TestChain chain;
                chain.source_bytes(image.description(), image.bytes());
                ASSERT_TRUE(chain.append<NUV_Crop>(r.x, r.y, r.w, r.h));
                EXPECT_EQ(chain.header().width(), wanted.width);
                EXPECT_EQ(chain.header().height(), wanted.height);
                ASSERT_EQ(chain.run_bytes(), wanted.bytes())
                    << r << ", " << channels << " of " << bits << " bits";
            });
        }
    }
}

// Lines of several bytes, cut inside and at the ends of them.
TEST(Crop, ClearsTheBitsBehindTheLastColumn)
{
    std::mt19937 random(2);
    for (std::uint32_t width = 1; width <= 25; ++width) {
        const NUV_ModelImage image = random_bilevel(width, 2, random);
        auto bytes = image.bytes();
        for (std::size_t i = (width + 7) / 8 - 1; i < bytes.size(); i += (width + 7) / 8)
            bytes[i] = static_cast<std::uint8_t>(bytes[i] | 0xFFU >> ((width - 1) % 8 + 1));
        for_each_rectangle(width, 1, [&](const Rectangle& r) {
            if (r.x == 0 && r.w >= width)
                return; // the image itself, bytes and all
            NUV_TestChain chain;
            chain.source_bytes(image.description(), bytes);
            ASSERT_TRUE(chain.append<NUV_CropWidth>(r.x, r.w));
            ASSERT_EQ(chain.run_bytes(), model_crop(image, r.x, 0, r.w, 2).bytes())
                << width << ": " << r;
        });
    }
}

TEST(Crop, CutsRunsAsItCutsBits)
{
    std::mt19937 random(3);
    for (const std::uint32_t width : {1U, 2U, 9U, 16U, 27U}) {
        const NUV_ModelImage image = random_bilevel(width, 3, random);
        for_each_rectangle(width, 3, [&](const Rectangle& r) {
            NUV_TestChain chain;
            chain.source_bytes(run_description(width, 3), model_run_bytes(image));
            ASSERT_TRUE(chain.append<NUV_Crop>(r.x, r.y, r.w, r.h));
            ASSERT_TRUE(chain.run_bytes() == model_run_bytes(model_crop(image, r.x, r.y, r.w, r.h)))
                << width << ": " << r;
        });
    }
}

TEST(Crop, AppendsNothingForTheWholeImage)
{
    for (const NUV_EncodeType* encode_type : {NUV_EncodeType::raw, NUV_EncodeType::qd_rle}) {
        for (const std::uint32_t beyond : {0U, 1U, 0xFFFFFFF0U}) {
            NUV_TestChain chain;
            chain.blank_source({.width = 9, .height = 5, .bits = 1, .encode_type = encode_type});
            NUV_Engine* source = chain.last();
            EXPECT_TRUE(chain.append<NUV_Crop>(0U, 0U, 9 + beyond, 5 + beyond));
            EXPECT_EQ(chain.last(), source);
        }
    }
}

TEST(Crop, TakesRectanglesWhoseFarCornerPassesAllNumbers)
{
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 2, .height = 2}, {1, 2, 3, 4});
    ASSERT_TRUE(chain.append<NUV_Crop>(1U, 1U, 0xFFFFFFFFU, 0xFFFFFFFFU));
    EXPECT_EQ(chain.run_bytes(), std::vector<std::uint8_t>{4});
}

// The lines that are there come out; a warning that stands is no reason to stop.
TEST(Crop, GoesOnAsFarAsTheSource)
{
    NUV_TestChain chain;
    chain.source_bytes({.width = 2, .height = 4}, {1, 2, 3, 4, 5});
    ASSERT_TRUE(chain.append<NUV_CropHeight>(1U, 2U));
    EXPECT_EQ(chain.run_bytes(), (std::vector<std::uint8_t>{3, 4}));

    std::vector<std::uint8_t> runs;
    append_record(runs, 3, 5);
    append_record(runs, 0xFFFFFFFF, 0xFFFFFFFF);
    std::vector<std::uint8_t> wanted;
    append_record(wanted, 0, 1);
    append_record(wanted, 0xFFFFFFFF, 0xFFFFFFFF);
    append_record(wanted, 0xFFFFFFFF, 0xFFFFFFFF); // a line that is missing is white
    NUV_TestChain run_chain;
    run_chain.source_bytes(run_description(6, 2), runs);
    ASSERT_TRUE(run_chain.append<NUV_Crop>(4U, 0U, 2U, 2U));
    warn(run_chain.manager(), NUV_WARN_BROKEN_DATA, "test");
    EXPECT_EQ(run_chain.run_bytes(), wanted);
}

TEST(CropRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_height = "NUV_CropHeightEngine::initiate()";
    constexpr auto in_width = "NUV_CropWidthEngine::initiate()";
    constexpr auto in_bytes = "NUV_CropWidth8xNBitsEngine::initiate()";
    constexpr auto in_runs = "NUV_CropQDRLEEngine::initiate()";
    const NUV_EncodeType* runs = NUV_EncodeType::qd_rle;
    const NUV_TestImage raw{.width = 9, .height = 5};
    const NUV_TestImage run_image = run_description(9, 5);
    NUV_TestImage four_bits = raw;
    four_bits.bits = 4;
    NUV_TestImage run_channels = run_image;
    run_channels.channels = 2;
    NUV_TestImage coded = raw;
    coded.encode_type = NUV_EncodeType::jpeg;

    struct Case {
        const char* what;
        NUV_TestImage image;
        Rectangle r;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"below the image", raw, {0, 5, 1, 1}, NUV_ERR_ARGUMENT, in_height},
        {"no lines", raw, {0, 0, 1, 0}, NUV_ERR_ARGUMENT, in_height},
        {"right of the image", raw, {9, 0, 1, 5}, NUV_ERR_ARGUMENT, in_width},
        {"far right of the image", raw, {0xFFFFFFFF, 0, 2, 5}, NUV_ERR_ARGUMENT, in_width},
        {"no columns", raw, {0, 0, 0, 5}, NUV_ERR_ARGUMENT, in_width},
        {"runs, right", run_image, {9, 0, 1, 1}, NUV_ERR_ARGUMENT, in_runs},
        {"runs, below", run_image, {0, 5, 1, 1}, NUV_ERR_ARGUMENT, in_runs},
        {"runs, no columns", run_image, {0, 0, 0, 1}, NUV_ERR_ARGUMENT, in_runs},
        {"runs, no lines", run_image, {0, 0, 1, 0}, NUV_ERR_ARGUMENT, in_runs},
        {"lines of 4 bits", four_bits, {0, 1, 9, 1}, NUV_ERR_UNSUPPORTED, in_height},
        {"columns of 4 bits", four_bits, {2, 0, 2, 5}, NUV_ERR_UNSUPPORTED, in_bytes},
        {"runs of two channels", run_channels, {0, 0, 1, 1}, NUV_ERR_UNSUPPORTED, in_runs},
        {"coded lines", coded, {0, 1, 9, 1}, NUV_ERR_UNSUPPORTED, in_height},
        {"coded columns",
         coded,
         {1, 0, 1, 5},
         NUV_ERR_UNSUPPORTED,
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"runs too wide",
         {.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs},
         {1, 0, 1, 1},
         NUV_ERR_UNSUPPORTED,
         in_runs},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_Crop>(c.r.x, c.r.y, c.r.w, c.r.h));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
}

// Bits 3 and 8 of a line, by the form for the other.
TEST(CropRefusal, FormsOfColumnsServeTheirBitsAlone)
{
    const NUV_TestImage bilevel{.width = 20, .height = 2, .bits = 1};
    NUV_TestChain chains[3];
    for (NUV_TestChain& chain : chains)
        chain.blank_source(bilevel);
    EXPECT_FALSE(chains[0].append<NUV_CropWidth1BitBS>(3U, 4U));
    EXPECT_FALSE(chains[1].append<NUV_CropWidth1BitIS>(8U, 4U));
    EXPECT_FALSE(chains[2].append<NUV_CropWidth8xNBits>(8U, 4U));
    const char* methods[] = {"NUV_CropWidth1BitBSEngine::initiate()",
                             "NUV_CropWidth1BitISEngine::initiate()",
                             "NUV_CropWidth8xNBitsEngine::initiate()"};
    for (std::size_t i = 0; i < std::size(chains); ++i) {
        EXPECT_EQ(chains[i].status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chains[i].status().method, methods[i]);
    }
}

TEST(CropRefusal, WantsAnEngine)
{
    NUV_TestChain chains[7];
    EXPECT_FALSE(chains[0].append<NUV_Crop>(0U, 0U, 1U, 1U));
    EXPECT_FALSE(chains[1].append<NUV_CropHeight>(0U, 1U));
    EXPECT_FALSE(chains[2].append<NUV_CropWidth>(0U, 1U));
    EXPECT_FALSE(chains[3].append<NUV_CropQDRLE>(0U, 0U, 1U, 1U));
    EXPECT_FALSE(chains[4].append<NUV_CropWidth8xNBits>(0U, 1U));
    EXPECT_FALSE(chains[5].append<NUV_CropWidth1BitBS>(0U, 1U));
    EXPECT_FALSE(chains[6].append<NUV_CropWidth1BitIS>(0U, 1U));
    const char* methods[] = {"NUV_Crop::engine()",
                             "NUV_CropHeight::engine()",
                             "NUV_CropWidth::engine()",
                             "NUV_CropQDRLE::engine()",
                             "NUV_CropWidth8xNBits::engine()",
                             "NUV_CropWidth1BitBS::engine()",
                             "NUV_CropWidth1BitIS::engine()"};
    for (std::size_t i = 0; i < std::size(chains); ++i) {
        EXPECT_EQ(chains[i].status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chains[i].status().method, methods[i]);
    }
}

TEST(CropRefusal, SurvivesEveryFailedAllocation)
{
    std::mt19937 random(4);
    const NUV_ModelImage image = random_bilevel(20, 6, random);
    for (const bool as_runs : {false, true}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(as_runs ? run_description(20, 6) : image.description(),
                               as_runs ? model_run_bytes(image) : image.bytes());
            chain.append<NUV_Crop>(3U, 1U, 9U, 4U);
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
