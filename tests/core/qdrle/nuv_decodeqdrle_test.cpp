#include "core/qdrle/nuv_decodeqdrle.h"

#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <random>

namespace nuv {
namespace {

constexpr auto in_engine = "NUV_DecodeQDRLEEngine::initiate()";

TEST(DecodeQDRLE, GivesTheBitsOfRandomPages)
{
    std::mt19937 random(1);
    for (std::uint32_t width = 1; width <= 70; ++width) {
        const NUV_ModelImage image = random_bilevel(width, 9, random);
        NUV_TestChain chain;
        chain.source_bytes(run_description(width, 9), model_run_bytes(image), 8 * (width % 5 + 1));
        ASSERT_TRUE(chain.append<NUV_DecodeQDRLE>());
        ASSERT_TRUE(chain.header().is_raw());
        ASSERT_EQ(chain.run_bytes(), image.bytes()) << "width " << width;
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }
}

TEST(DecodeQDRLE, PassesRawImagesOn)
{
    NUV_TestChain chain;
    chain.blank_source({});
    NUV_Engine* source = chain.last();
    EXPECT_TRUE(chain.append<NUV_DecodeQDRLE>());
    EXPECT_EQ(chain.last(), source);
}

// The lines before the damage stand, whatever follows.
TEST(DecodeQDRLE, StopsAtTheLineThatIsBroken)
{
    struct Case {
        const char* what;
        std::vector<std::uint32_t> second_line;
        std::size_t odd_bytes; // behind the second line
    };
    const Case cases[] = {
        {"missing", {}, 0},
        {"cut", {1, 2}, 0},
        {"cut inside a record", {}, 4},
        {"end at the width", {1, 9, 0xFFFFFFFF, 0xFFFFFFFF}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::uint8_t> bytes;
        append_record(bytes, 0, 8);
        append_record(bytes, 0xFFFFFFFF, 0xFFFFFFFF);
        for (std::size_t i = 0; i < c.second_line.size(); i += 2)
            append_record(bytes, c.second_line[i], c.second_line[i + 1]);
        bytes.resize(bytes.size() + c.odd_bytes);
        NUV_TestChain chain;
        chain.source_bytes(run_description(9, 3), bytes, 8);
        ASSERT_TRUE(chain.append<NUV_DecodeQDRLE>());
        EXPECT_EQ(chain.run_bytes(), (std::vector<std::uint8_t>{0xFF, 0x80}));
        EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
        EXPECT_STREQ(chain.status().method, "NUV_DecodeQDRLEEngine::execute()");
    }
}

TEST(DecodeQDRLERefusal, SaysWhyAndLeavesNothingBehind)
{
    struct Case {
        const char* what;
        NUV_TestImage image;
    };
    const NUV_EncodeType* runs = NUV_EncodeType::qd_rle;
    const Case cases[] = {
        {"coded otherwise", {.bits = 1, .encode_type = NUV_EncodeType::mh}},
        {"the other byte order", {.bits = 1, .encode_type = NUV_EncodeType::qd_rle_be}},
        {"8 bits", {.bits = 8, .encode_type = runs}},
        {"two channels", {.channels = 2, .bits = 1, .encode_type = runs}},
        {"too wide", {.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs}},
        {"unknown type", {.bits = 1, .data_type = NUV_DataType::unknown, .encode_type = runs}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_DecodeQDRLE>());
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, in_engine);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_DecodeQDRLE>());
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_DecodeQDRLE::engine()");
}

TEST(DecodeQDRLERefusal, SurvivesEveryFailedAllocation)
{
    std::mt19937 random(2);
    const NUV_ModelImage image = random_bilevel(20, 3, random);
    expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
        chain.source_bytes(run_description(20, 3), model_run_bytes(image));
        chain.append<NUV_DecodeQDRLE>();
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
