#include "framework/engine/nuv_bitreverse.h"
#include "framework/io/nuv_sourcedataprovider.h"
#include "tests/framework/io/nuv_storagemodel.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

// A stream of no known length.
[[nodiscard]] NUV_TestImage coded_image()
{
    return {.width = 9, .encode_type = NUV_EncodeType::unknown};
}

TEST(SourceDataProvider, GivesEveryByteOfAPipelineOnce)
{
    for (const std::size_t count : {1U, 63U, 64U, 65U, 300U}) {
        SCOPED_TRACE(count);
        NUV_TestChain chain;
        chain.source_bytes(coded_image(), counted_bytes(count));
        NUV_Held<NUV_SrcBuffer> source(chain.last()->src_buffer());
        ASSERT_TRUE(source);
        auto provider = make_initiated<NUV_SourceDataProvider>(chain.manager(), source.get());
        ASSERT_TRUE(provider);
        Bytes got;
        std::uint8_t byte = 0;
        while (provider->get_byte(&byte))
            got.push_back(byte);
        EXPECT_EQ(got, counted_bytes(count));
        EXPECT_FALSE(provider->get_byte(&byte));
    }
}

TEST(SourceDataProvider, RefusesNoSource)
{
    NUV_TestChain chain;
    NUV_SrcBuffer* none = nullptr;
    EXPECT_FALSE(make_initiated<NUV_SourceDataProvider>(chain.manager(), none));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_SourceDataProvider::initiate()");
}

TEST(BitReverse, MirrorsEveryByteAndTwiceNone)
{
    NUV_TestChain chain;
    chain.source_bytes(coded_image(), {0xB1, 0x01, 0x00, 0xFE});
    ASSERT_TRUE(chain.append<NUV_BitReverse>());
    EXPECT_EQ(chain.run_bytes(), (Bytes{0x8D, 0x80, 0x00, 0x7F}));

    const Bytes content = counted_bytes(1000);
    NUV_TestChain twice;
    twice.source_bytes(coded_image(), content);
    ASSERT_TRUE(twice.append<NUV_BitReverse>() && twice.append<NUV_BitReverse>());
    EXPECT_EQ(twice.run_bytes(), content);
}

TEST(BitReverse, RefusesNoSourceAndSurvivesEveryFailedAllocation)
{
    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_BitReverse>());
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_BitReverse::engine()");

    expect_clean_at_every_allocation([](NUV_TestChain& each) {
        each.source_bytes(coded_image(), counted_bytes(200));
        each.append<NUV_BitReverse>();
        static_cast<void>(each.run_bytes());
    });
}

} // namespace
} // namespace nuv
