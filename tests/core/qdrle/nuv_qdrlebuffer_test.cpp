#include "core/qdrle/nuv_qdrlebuffer.h"

#include "core/qdrle/nuv_qdrleline.h"
#include "tests/support/nuv_modelimage.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

using Runs = NUV_ModelRuns;
constexpr std::uint32_t stop = 0xFFFFFFFF;

// A reader over given records, and one of the two classes above it.
template <class Reader>
class Read {
public:
    Read(std::uint32_t width, std::uint32_t height, const Runs& records, std::size_t odd_bytes = 0,
         std::uint32_t block_bytes = 8)
    {
        auto bytes = records_of(records);
        bytes.resize(bytes.size() + odd_bytes);
        chain_.source_bytes(run_description(width, height), std::move(bytes), block_bytes);
        source_.reset(chain_.last()->src_buffer());
        reader_ = make_initiated<Reader>(chain_.manager(), source_.get(), chain_.last()->header());
    }

    Reader* operator->() { return reader_.get(); }
    [[nodiscard]] const NUV_Status& status() const { return chain_.status(); }

private:
    NUV_TestChain chain_;
    NUV_Held<NUV_SrcBuffer> source_;
    NUV_Held<Reader> reader_; // goes before the source
};

[[nodiscard]] Runs walk(NUV_QDRLEBuffer& buffer, std::uint32_t row)
{
    Runs runs;
    const auto end = buffer.line_end(row);
    for (auto at = buffer.line_begin(row); !(at == end); ++at)
        runs.emplace_back(at->start, at->end);
    return runs;
}

TEST(QDRLEBuffer, GivesLinesInAnyOrder)
{
    const Runs lines[] = {{{0, 0}, {2, 9}}, {}, {{4, 4}, {6, 6}, {8, 8}}, {{1, 7}}};
    Runs records;
    for (const Runs& line : lines) {
        records.insert(records.end(), line.begin(), line.end());
        records.emplace_back(stop, stop);
    }
    for (const std::uint32_t block_bytes : {8U, 24U, 4096U}) {
        Read<NUV_QDRLEBuffer> buffer(10, 4, records, 0, block_bytes);
        for (const std::uint32_t row : {2U, 0U, 3U, 2U, 1U})
            EXPECT_EQ(walk(*buffer.operator->(), row), lines[row]);
        EXPECT_TRUE(buffer->line_begin(4) == buffer->line_end(4));
        EXPECT_EQ(buffer->line_begin(4).count(), 0U);
    }
}

// A column equal to the width is one too far, but no damage.
TEST(QDRLEBuffer, CutsRunsAtTheWidthAndPutsThemInOrder)
{
    Read<NUV_QDRLEBuffer> buffer(
        10, 2, {{6, 10}, {10, 10}, {0, 1}, {2, 3}, {stop, stop}, {10, 10}, {stop, 0}});
    EXPECT_EQ(walk(*buffer.operator->(), 0), (Runs{{0, 3}, {6, 9}}));
    EXPECT_EQ(walk(*buffer.operator->(), 1), Runs{});
    EXPECT_TRUE(buffer->load());
    EXPECT_EQ(buffer.status().code, NUV_STATUS_OK);
}

TEST(QDRLEBuffer, KeepsTheLinesBeforeTheDamage)
{
    struct Case {
        const char* what;
        Runs second_line;
        std::size_t odd_bytes;
    };
    const Case cases[] = {
        {"missing", {}, 0},
        {"cut", {{4, 5}}, 0},
        {"a word that looks like a terminator", {{4, stop}}, 0},
        {"odd", {}, 4},
        {"start behind the width", {{11, 11}, {stop, stop}}, 0},
        {"end behind the width", {{1, 11}, {stop, stop}}, 0},
        {"inverted", {{5, 4}, {stop, stop}}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Runs records{{2, 2}, {stop, stop}};
        records.insert(records.end(), c.second_line.begin(), c.second_line.end());
        Read<NUV_QDRLEBuffer> buffer(10, 2, records, c.odd_bytes);
        EXPECT_FALSE(buffer->load());
        EXPECT_EQ(buffer.status().code, NUV_ERR_BROKEN_DATA);
        EXPECT_STREQ(buffer.status().method, "NUV_QDRLEBuffer::regist_runarray()");
        EXPECT_EQ(walk(*buffer.operator->(), 0), (Runs{{2, 2}}));
        EXPECT_EQ(walk(*buffer.operator->(), 1), Runs{});
        EXPECT_FALSE(buffer->load()) << "a second try";
    }
}

TEST(QDRLERunCursor, OwnsItsLineFromTheFirstRunThatIsAdded)
{
    Read<NUV_QDRLEBuffer> buffer(10, 1, {{2, 3}, {stop, stop}});
    NUV_QDRLERunCursor cursor = buffer->line_begin(0);
    ASSERT_TRUE(cursor.add(5, 6));
    NUV_QDRLERunCursor copy = cursor;
    ASSERT_TRUE(cursor.add(8, 8));
    NUV_QDRLERunCursor moved = std::move(cursor);

    EXPECT_EQ(buffer->line_begin(0).count(), 1U);
    EXPECT_EQ(copy.count(), 2U);
    EXPECT_EQ((++copy)->end, 6U);
    EXPECT_EQ(moved.count(), 3U);
    ++moved;
    EXPECT_EQ(*++moved, (NUV_QDRLERun{8, 8}));
    EXPECT_TRUE((++moved).at_end());
    moved = copy;
    EXPECT_EQ(moved->start, 5U);
    EXPECT_FALSE(moved == copy) << "the same runs, but another line";
}

TEST(QDRLELineReader, ReadsLinesAcrossBlocksUntilTheDataEnd)
{
    // Blocks of a line of 5 pixels hold 4 records.
    Read<NUV_QDRLELine> line(
        5, 9, {{0, 0}, {stop, stop}, {4, 9}, {2, 2}, {0, 1}, {stop, stop}, {stop, stop}, {1, 1}});
    const Runs wanted[] = {{{0, 0}}, {{0, 2}, {4, 4}}, {}};
    for (const Runs& runs : wanted) {
        ASSERT_TRUE(line->get_next_line());
        Runs got;
        std::uint32_t start = 0;
        std::uint32_t end = 0;
        while (line->line().next(&start, &end))
            got.emplace_back(start, end);
        EXPECT_EQ(got, runs);
    }
    EXPECT_FALSE(line->get_next_line());
    EXPECT_TRUE(line->line().items().empty()) << "half a line is none";
    EXPECT_EQ(line.status().code, NUV_STATUS_OK);
}

TEST(QDRLELineReader, RefusesOddBlocksAndLinesWithoutEnd)
{
    Read<NUV_QDRLELine> odd(5, 9, {{0, 0}}, 3);
    EXPECT_FALSE(odd->get_next_line());
    EXPECT_EQ(odd.status().code, NUV_ERR_BROKEN_DATA);
    EXPECT_STREQ(odd.status().method,
                 "NUV_QDRLELineBase::get_next_line() - invalid src_buffer's block bytes.");

    Runs most(6, {0, 0}); // width + 1
    most.push_back({stop, stop});
    Read<NUV_QDRLELine> just_right(5, 9, most);
    EXPECT_TRUE(just_right->get_next_line());
    most.insert(most.begin(), {0, 0});
    Read<NUV_QDRLELine> endless(5, 9, most);
    EXPECT_FALSE(endless->get_next_line());
    EXPECT_EQ(endless.status().code, NUV_ERR_BROKEN_DATA);
    EXPECT_STREQ(endless.status().method, "NUV_QDRLELineBase::get_next_line()");
}

// The answer to a reader over that image, or over none.
template <class Reader>
void expect_reader_refused(const NUV_TestImage* image, NUV_StatusCode code, const char* text)
{
    NUV_TestChain chain;
    NUV_Held<NUV_SrcBuffer> source;
    if (image) {
        chain.blank_source(*image);
        source.reset(chain.last()->src_buffer());
    }
    EXPECT_FALSE(make_initiated<Reader>(chain.manager(), source.get(),
                                        image ? chain.last()->header() : nullptr));
    EXPECT_EQ(chain.status().code, code);
    EXPECT_STREQ(chain.status().method, text);
}

TEST(RunReaderRefusal, SaysWhy)
{
    NUV_TestImage pairs = run_description(1, 1);
    pairs.channels = 2;
    NUV_TestImage bytes = run_description(1, 1);
    bytes.bits = 8;
    const NUV_TestImage raw{.bits = 1};
    const NUV_TestImage wide = run_description(0x0FFFFFFF, 1);
    const NUV_TestImage* const images[] = {&pairs, &bytes, &raw, &wide, nullptr};
    for (const NUV_TestImage* image : images) {
        const auto code = image ? NUV_ERR_UNSUPPORTED : NUV_ERR_ARGUMENT;
        expect_reader_refused<NUV_QDRLELine>(image, code, "NUV_QDRLELineBase::initiate()");
        expect_reader_refused<NUV_QDRLEBuffer>(image, code, "NUV_QDRLEBufferBase::initiate()");
    }
}

} // namespace
} // namespace nuv
