#include "core/crop/nuv_crop.h"
#include "core/operation/nuv_not.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/qdrle/nuv_qdrlebuffer.h"
#include "core/qdrle/nuv_qdrleline.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalenn.h"
#include "tests/support/nuv_modelimage.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

constexpr std::uint32_t stop = 0xFFFFFFFF;
constexpr std::pair end{stop, stop}; // of a line

// A few bytes that claim a page as wide as the form can be: what is kept follows the bytes.
TEST(HostileRuns, TakeNoTimeOrMemoryForPixelsThatAFewBytesClaim)
{
    constexpr std::uint32_t width = 0x00FFFFFF;
    NUV_ModelRuns runs;
    for (int line = 0; line < 64; ++line)
        runs.insert(runs.end(), {{0, width - 1}, end});
    NUV_TestChain chain;
    chain.source_bytes(run_description(width, 64), records_of(runs));
    ASSERT_TRUE(chain.append<NUV_Rotate90>(90));
    ASSERT_TRUE(chain.append<NUV_Crop>(0U, 0U, 64U, 2U)); // the last lines are never asked for
    EXPECT_EQ(chain.run_bytes(), records_of({{0, 63}, end, {0, 63}, end}));
}

// A line of 10 pixels, and one that is none. Lines before the damage stand where bits come out.
TEST(HostileRuns, AreAnErrorWhereALineIsBroken)
{
    constexpr auto buffer = "NUV_QDRLEBuffer::regist_runarray()";
    constexpr auto line = "NUV_QDRLELineBase::get_next_line()";
    const std::pair<NUV_Append, const char*> whole_readers[] = {
        {appending<NUV_DecodeQDRLE>(), "NUV_DecodeQDRLEEngine::execute()"},
        {appending<NUV_ScaleNN>(20U, 6U), buffer},
        {appending<NUV_ScaleNN>(20U, 3U), buffer},
        {appending<NUV_ScaleNN>(20U, 2U), buffer},
        {appending<NUV_Rotate90>(180), buffer},
    };
    const auto expect = [](NUV_ModelRuns runs, std::size_t odd_bytes, const NUV_Append& append,
                           const std::string& text) {
        runs.insert(runs.begin(), {{0, 8}, end});
        auto bytes = records_of(runs);
        bytes.resize(bytes.size() + odd_bytes);
        NUV_TestChain chain;
        chain.source_bytes(run_description(10, 3), bytes, 8);
        ASSERT_TRUE(append(chain));
        const bool is_raw = chain.header().is_raw();
        const auto got = chain.run_bytes();
        EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
        EXPECT_EQ(chain.status().method, text);
        EXPECT_TRUE(!is_raw || got == (Bytes{0xFF, 0x80}));
    };
    for (const auto& [append, text] : whole_readers) {
        for (const NUV_ModelRuns& second_line : {NUV_ModelRuns{},
                                                 {{1, 2}},
                                                 {{4, stop}},
                                                 {{11, 11}, end},
                                                 {{1, 11}, end},
                                                 {{9, 4}, end}})
            expect(second_line, 0, append, text);
        expect({}, 4, append, text);
    }
    const auto invert = appending<NUV_NotQDRLE>();
    expect({}, 4, invert, line + std::string(" - invalid src_buffer's block bytes."));
    NUV_ModelRuns endless(12, {0, 0}); // one more than the width, and the terminator
    endless.push_back(end);
    expect(endless, 0, invert, line);
}

template <class Reader>
bool make_reader(NUV_TestChain& chain)
{
    const NUV_Held<NUV_SrcBuffer> source(chain.last() ? chain.last()->src_buffer() : nullptr);
    const NUV_Header* const header = chain.last() ? chain.last()->header() : nullptr;
    return make_initiated<Reader>(chain.manager(), source.get(), header) != nullptr;
}

TEST(RunReaders, RefuseWhatHoldsNoRuns)
{
    NUV_TestImage pairs = run_description(1, 1);
    pairs.channels = 2;
    NUV_TestImage bytes = run_description(1, 1);
    bytes.bits = 8;
    const NUV_TestImage raw{.bits = 1};
    const NUV_TestImage wide = run_description(0x0FFFFFFF, 1);
    for (const NUV_TestImage& image : {pairs, bytes, raw, wide}) {
        expect_refusals({{"", image, make_reader<NUV_QDRLELine>, NUV_ERR_UNSUPPORTED,
                          "NUV_QDRLELineBase::initiate()"},
                         {"", image, make_reader<NUV_QDRLEBuffer>, NUV_ERR_UNSUPPORTED,
                          "NUV_QDRLEBufferBase::initiate()"}});
    }
}

} // namespace
} // namespace nuv
