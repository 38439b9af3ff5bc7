#include "core/qdrle/nuv_qdrlecodec.h"

#include <gtest/gtest.h>

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
        QDRLELineDecoder in_memory(c.words.data(), 20);
        if (c.status == QDRLEStatus::bad_run) {
            EXPECT_FALSE(in_memory.decode(line.data()));
            EXPECT_EQ(in_memory.status(), c.status);
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
    std::vector<std::uint32_t> words{0, 0, 2, 2, 4, 4, stop, stop};
    unsigned char line[1];
    EXPECT_TRUE(QDRLELineDecoder(words.data(), 5).decode(line));
    EXPECT_EQ(line[0], 0xA8);
    words[6] = words[7] = 0;
    QDRLELineDecoder decoder(words.data(), 5);
    EXPECT_FALSE(decoder.decode(line));
    EXPECT_EQ(decoder.status(), QDRLEStatus::cut_short);
}

} // namespace
} // namespace nuv
