#include "core/operation/nuv_not.h"

#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <random>

namespace nuv {
namespace {

TEST(Not, ComplementsEveryBitOfALine)
{
    for (const std::uint16_t bits :
         {std::uint16_t{1}, std::uint16_t{8}, std::uint16_t{16}, std::uint16_t{64}}) {
        std::mt19937 random(bits);
        NUV_TestImage image{.width = 13, .height = 3, .channels = 3, .bits = bits};
        if (bits == 64)
            image.data_type = NUV_DataType::floating;
        std::vector<std::uint8_t> bytes((std::size_t{13} * 3 * bits + 7) / 8 * 3);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        std::vector<std::uint8_t> wanted(bytes);
        for (std::uint8_t& byte : wanted)
            byte = static_cast<std::uint8_t>(255 - byte);

        NUV_TestChain chain;
        chain.source_bytes(image, bytes);
        ASSERT_TRUE(chain.append<NUV_Not>());
        EXPECT_EQ(chain.run_bytes(), wanted) << bits << " bits";
    }
}

TEST(Not, ExchangesRunsAndGaps)
{
    std::mt19937 random(1);
    for (std::uint32_t width = 1; width <= 70; ++width) {
        NUV_ModelImage image = random_bilevel(width, 9, random);
        for (std::uint32_t x = 0; x < width; ++x) { // one line white, one black
            image.samples[x] = 0;
            image.samples[width + x] = 1;
        }
        NUV_ModelImage wanted = image;
        for (std::int64_t& sample : wanted.samples)
            sample = 1 - sample;

        NUV_TestChain chain;
        chain.source_bytes(run_description(width, 9), model_run_bytes(image));
        ASSERT_TRUE(chain.append<NUV_Not>());
        EXPECT_EQ(chain.header().encode_type(), NUV_EncodeType::qd_rle);
        ASSERT_EQ(chain.run_bytes(), model_run_bytes(wanted)) << "width " << width;
    }
}

TEST(Not, TakesAMissingLineOfRunsForWhite)
{
    std::vector<std::uint8_t> bytes;
    append_record(bytes, 0, 1);
    append_record(bytes, 0xFFFFFFFF, 0xFFFFFFFF);
    append_record(bytes, 0, 1); // and no end
    std::vector<std::uint8_t> wanted;
    append_record(wanted, 2, 4);
    append_record(wanted, 0xFFFFFFFF, 0xFFFFFFFF);
    append_record(wanted, 0, 4);
    append_record(wanted, 0xFFFFFFFF, 0xFFFFFFFF);
    NUV_TestChain chain;
    chain.source_bytes(run_description(5, 2), bytes);
    ASSERT_TRUE(chain.append<NUV_Not>());
    EXPECT_EQ(chain.run_bytes(), wanted);
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
}

TEST(NotRefusal, SaysWhyAndLeavesNothingBehind)
{
    const NUV_EncodeType* runs = NUV_EncodeType::qd_rle;
    struct Case {
        const char* what;
        NUV_TestImage image;
        const char* method;
    };
    const Case cases[] = {
        {"coded",
         {.bits = 1, .encode_type = NUV_EncodeType::mh},
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"runs of two channels",
         {.channels = 2, .bits = 1, .encode_type = runs},
         "NUV_NotQDRLEEngine::initiate()"},
        {"runs too wide",
         {.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs},
         "NUV_NotQDRLEEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_Not>());
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    NUV_TestChain raw;
    EXPECT_FALSE(raw.append<NUV_Not>());
    EXPECT_STREQ(raw.status().method, "NUV_Not::engine()");
    NUV_TestChain run_chain;
    EXPECT_FALSE(run_chain.append<NUV_NotQDRLE>());
    EXPECT_STREQ(run_chain.status().method, "NUV_NotQDRLE::engine()");
}

TEST(NotRefusal, SurvivesEveryFailedAllocation)
{
    std::mt19937 random(2);
    const NUV_ModelImage image = random_bilevel(20, 3, random);
    for (const bool as_runs : {false, true}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(as_runs ? run_description(20, 3) : image.description(),
                               as_runs ? model_run_bytes(image) : image.bytes());
            chain.append<NUV_Not>();
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
