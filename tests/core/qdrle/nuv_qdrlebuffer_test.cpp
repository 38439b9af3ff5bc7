#include "core/qdrle/nuv_qdrlebuffer.h"

#include "core/qdrle/nuv_qdrleline.h"
#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

namespace nuv {
namespace {

using Runs = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
constexpr std::uint32_t stop = 0xFFFFFFFF;

// A reader over given records, and one of the two classes above it.
template <class Reader>
class Read {
public:
    Read(std::uint32_t width, std::uint32_t height, const Runs& records, std::size_t odd_bytes = 0,
         std::uint32_t block_bytes = 8)
    {
        std::vector<std::uint8_t> bytes;
        for (const auto& [start, end] : records)
            append_record(bytes, start, end);
        bytes.resize(bytes.size() + odd_bytes);
        open(run_description(width, height), std::move(bytes), block_bytes);
    }
    Read(const NUV_ModelImage& image, std::uint32_t block_bytes)
    {
        open(run_description(image.width, image.height), model_run_bytes(image), block_bytes);
    }

    Reader* operator->() { return reader_.get(); }
    [[nodiscard]] const NUV_Status& status() const { return chain_.status(); }
    [[nodiscard]] NUV_Manager& manager() { return chain_.manager(); }

private:
    void open(const NUV_TestImage& image, std::vector<std::uint8_t> bytes,
              std::uint32_t block_bytes)
    {
        chain_.source_bytes(image, std::move(bytes), block_bytes);
        source_.reset(chain_.last()->src_buffer());
        reader_ = make_initiated<Reader>(chain_.manager(), source_.get(), chain_.last()->header());
    }

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
    std::mt19937 random(3);
    for (const std::uint32_t block_bytes : {8U, 24U, 4096U}) {
        const NUV_ModelImage image = random_bilevel(33, 12, random);
        Read<NUV_QDRLEBuffer> buffer(image, block_bytes);
        for (const std::uint32_t row : {7U, 0U, 11U, 7U, 3U}) {
            std::vector<std::int64_t> line(33);
            for (const auto& [start, end] : walk(*buffer.operator->(), row)) {
                for (std::uint32_t x = start; x <= end; ++x)
                    line[x] = 1;
            }
            const auto wanted = image.samples.begin() + std::ptrdiff_t{33} * row;
            EXPECT_EQ(line, std::vector<std::int64_t>(wanted, wanted + 33));
        }
        EXPECT_TRUE(buffer->line_begin(12) == buffer->line_end(12));
        EXPECT_EQ(buffer->line_begin(12).count(), 0U);
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

TEST(RunReaderRefusal, SaysWhy)
{
    struct Case {
        const char* what;
        NUV_TestImage image;
    };
    const NUV_EncodeType* runs = NUV_EncodeType::qd_rle;
    const Case cases[] = {
        {"raw", {.bits = 1}},
        {"two channels", {.channels = 2, .bits = 1, .encode_type = runs}},
        {"8 bits", {.encode_type = runs}},
        {"too wide", {.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs}},
    };
    const auto refuse = [](auto reader, const NUV_TestImage* image, NUV_StatusCode code,
                           const char* method) {
        NUV_TestChain chain;
        NUV_Held<NUV_SrcBuffer> source;
        if (image) {
            chain.blank_source(*image);
            source.reset(chain.last()->src_buffer());
        }
        auto made = make_initiated<typename decltype(reader)::type>(
            chain.manager(), source.get(), image ? chain.last()->header() : nullptr);
        EXPECT_FALSE(made);
        EXPECT_EQ(chain.status().code, code);
        EXPECT_STREQ(chain.status().method, method);
    };
    constexpr auto in_line = "NUV_QDRLELineBase::initiate()";
    constexpr auto in_buffer = "NUV_QDRLEBufferBase::initiate()";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        refuse(std::type_identity<NUV_QDRLELine>{}, &c.image, NUV_ERR_UNSUPPORTED, in_line);
        refuse(std::type_identity<NUV_QDRLEBuffer>{}, &c.image, NUV_ERR_UNSUPPORTED, in_buffer);
    }
    refuse(std::type_identity<NUV_QDRLELine>{}, nullptr, NUV_ERR_ARGUMENT, in_line);
    refuse(std::type_identity<NUV_QDRLEBuffer>{}, nullptr, NUV_ERR_ARGUMENT, in_buffer);
}

} // namespace
} // namespace nuv
