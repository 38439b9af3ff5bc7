#include "core/qdrle/nuv_qdrlecodec.h"

#include "core/qdrle/nuv_qdrlerun.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace nuv {
namespace {

constexpr std::uint32_t stop = 0xFFFFFFFF;

class Words final : public QDRLEDecoder::DataInStream {
public:
    explicit Words(std::vector<std::uint32_t> words) : words_(std::move(words)) {}

    bool read(std::uint32_t* word) override
    {
        if (position_ >= words_.size())
            return false;
        *word = words_[position_++];
        return true;
    }

private:
    std::vector<std::uint32_t> words_;
    std::size_t position_ = 0;
};

// Every run of a line of 26 pixels, which covers one byte, neighbours, and bytes between.
TEST(QDRLEDecoder, SetsTheBitsOfARunAndNoOthers)
{
    constexpr std::uint32_t width = 26;
    for (std::uint32_t start = 0; start < width; ++start) {
        for (std::uint32_t end = start; end < width; ++end) {
            std::vector<unsigned char> wanted(4);
            for (std::uint32_t x = start; x <= end; ++x)
                wanted[x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));

            const std::vector<std::uint32_t> words{start, end, stop, stop};
            Words stream(words);
            std::vector<unsigned char> line(4, 0xA5);
            ASSERT_TRUE(QDRLEDecoder(&stream, width).decode(line.data()));
            ASSERT_EQ(line, wanted) << start << " to " << end;

            line.assign(4, 0xA5);
            ASSERT_TRUE(QDRLELineDecoder(words.data(), width).decode(line.data()));
            ASSERT_EQ(line, wanted) << start << " to " << end << ", in memory";
        }
    }
}

TEST(QDRLEDecoder, GoesOnWithTheNextLineBehindATerminator)
{
    Words stream({0, 0, stop, stop, stop, stop, 9, 9, stop, 0});
    QDRLEDecoder decoder(&stream, 10);
    std::vector<unsigned char> line(2);
    for (const auto& wanted : {std::vector<unsigned char>{0x80, 0}, {0, 0}, {0, 0x40}}) {
        ASSERT_TRUE(decoder.decode(line.data()));
        EXPECT_EQ(line, wanted);
    }
    EXPECT_FALSE(decoder.decode(line.data()));
    EXPECT_EQ(decoder.status(), QDRLEStatus::cut_short);
}

TEST(QDRLEDecoder, RefusesWhatALineCannotHoldAndStaysRefusing)
{
    struct Case {
        const char* what;
        std::vector<std::uint32_t> words;
        QDRLEStatus status; // good: the line is white
    };
    const Case cases[] = {
        {"nothing", {}, QDRLEStatus::cut_short},
        {"half a record", {3}, QDRLEStatus::cut_short},
        {"half a terminator", {stop}, QDRLEStatus::cut_short},
        {"no terminator", {3, 4}, QDRLEStatus::cut_short},
        {"end at the width", {3, 20, stop, stop}, QDRLEStatus::bad_run},
        {"end far away", {3, 0xFFFFFFFE, stop, stop}, QDRLEStatus::bad_run},
        {"start far away", {0x7FFFFFF0, 0, stop, stop}, QDRLEStatus::bad_run},
        {"inverted over bytes", {17, 3, stop, stop}, QDRLEStatus::bad_run},
        {"inverted in a byte", {5, 3, stop, stop}, QDRLEStatus::good},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Words stream(c.words);
        QDRLEDecoder decoder(&stream, 20);
        std::vector<unsigned char> line(3);
        EXPECT_EQ(decoder.decode(line.data()), c.status == QDRLEStatus::good);
        EXPECT_EQ(decoder.status(), c.status);
        if (c.status == QDRLEStatus::good) {
            EXPECT_EQ(line, std::vector<unsigned char>(3));
            continue;
        }
        EXPECT_FALSE(decoder.decode(line.data()));
        EXPECT_EQ(decoder.status(), QDRLEStatus::failed_before);
        decoder.reset();
        EXPECT_TRUE(decoder.is_good());
    }
}

TEST(QDRLEDecoder, RefusesNullsAndWidthsThatNoLineHas)
{
    Words stream({stop, stop});
    unsigned char line[1];
    QDRLEDecoder decoders[] = {{nullptr, 8}, {&stream, 0}, {&stream, 0x80000000}};
    for (QDRLEDecoder& decoder : decoders) {
        EXPECT_EQ(decoder.status(), QDRLEStatus::bad_argument);
        EXPECT_FALSE(decoder.decode(line));
        EXPECT_EQ(decoder.status(), QDRLEStatus::failed_before);
    }
    QDRLEDecoder decoder(&stream, 8);
    EXPECT_FALSE(decoder.decode(nullptr));
    EXPECT_EQ(decoder.status(), QDRLEStatus::bad_argument);
}

// A line of 5 pixels has 3 runs at most; what lies behind them must not be read.
TEST(QDRLELineDecoder, DoesNotLookForATerminatorBehindTheLongestLine)
{
    const std::vector<std::uint32_t> words{0, 0, 2, 2, 4, 4, 0, 0};
    unsigned char line[1];
    QDRLELineDecoder decoder(words.data(), 5);
    EXPECT_FALSE(decoder.decode(line));
    EXPECT_EQ(decoder.status(), QDRLEStatus::cut_short);
}

TEST(QDRLELine, CopiesItsWordsIntoOtherMemory)
{
    std::uint32_t words[6] = {};
    std::uint32_t others[6] = {};
    QDRLELine line(words);
    line.append(2, 5);
    line.append_terminator();
    QDRLELine copy(others);
    copy.assign(line);
    line.clear();
    line.append(0, 0);

    EXPECT_EQ(copy.count(), 4U);
    EXPECT_EQ(std::vector<std::uint32_t>(others, others + 6),
              (std::vector<std::uint32_t>{2, 5, stop, stop, 0, 0}));
    EXPECT_EQ(line.count(), 2U);
}

// The order of the runs, their overlaps and what lies outside change; the black pixels do not.
TEST(CanonicalRuns, CoverTheSamePixelsWithoutOverlap)
{
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        const auto width = static_cast<std::uint32_t>(1 + random() % 40);
        std::vector<NUV_QDRLERun> runs;
        std::vector<bool> wanted(width);
        for (std::size_t count = random() % 12; count > 0; --count) {
            const auto start = static_cast<std::uint32_t>(random() % (width + 3));
            const std::uint32_t end = random() % 9 == 0
                                          ? 0xFFFFFFFF
                                          : start - 1 + static_cast<std::uint32_t>(random() % 6);
            runs.push_back({start, end});
            for (std::uint64_t x = start; x <= end && x < width && start != 0xFFFFFFFF; ++x)
                wanted[x] = true;
        }
        runs.resize(make_canonical(runs, width));

        std::vector<bool> got(width);
        std::uint64_t free_from = 0;
        for (const NUV_QDRLERun& run : runs) {
            ASSERT_GE(run.start, free_from);
            ASSERT_LE(run.start, run.end);
            ASSERT_LT(run.end, width);
            free_from = std::uint64_t{run.end} + 2;
            for (std::uint32_t x = run.start; x <= run.end; ++x)
                got[x] = true;
        }
        ASSERT_EQ(got, wanted) << "round " << round;
    }
}

TEST(RunLineBytes, HoldEverySecondPixelAndStopAtWhatAStreamMayHold)
{
    EXPECT_EQ(checked_run_line_bytes(1), 16U);
    EXPECT_EQ(checked_run_line_bytes(2), 16U);
    EXPECT_EQ(checked_run_line_bytes(3), 24U);
    EXPECT_EQ(checked_run_line_bytes(0x0FFFFFFE), 0x40000000U);
    for (const std::uint32_t width : {0x0FFFFFFFU, 0x3FFFFFFFU, 0xFFFFFFFFU})
        EXPECT_FALSE(checked_run_line_bytes(width)) << width;
}

} // namespace
} // namespace nuv
