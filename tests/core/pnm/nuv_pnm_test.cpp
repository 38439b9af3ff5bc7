#include "core/pnm/nuv_readpnm.h"
#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What comes out of an anymap, and what the manager says afterwards.
struct Outcome {
    Bytes bytes;
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string method;
};

[[nodiscard]] Outcome read(const Bytes& stored)
{
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), stored);
    chain.last(NUV_ReadPNM(chain.manager()).engine(image.storage()));
    Outcome outcome;
    outcome.bytes = chain.run_bytes();
    outcome.code = chain.status().code;
    outcome.method = chain.status().method;
    return outcome;
}

struct Picture {
    const char* file;
    const char* binary; // the same picture in a binary form, whose last bytes are the samples
    std::uint16_t channels, bits;
    const NUV_ColorType* color;
};

const Picture pictures[] = {
    {"pnm/bilevel_plain.pbm", "pnm/bilevel.pbm", 1, 1, NUV_ColorType::gray_reverse},
    {"pnm/gray_plain.pgm", "pnm/gray.pgm", 1, 8, NUV_ColorType::gray},
    {"pnm/gray_16_plain.pgm", "pnm/gray_16.pgm", 1, 16, NUV_ColorType::gray},
    {"pnm/colour_plain.ppm", "pnm/colour.ppm", 3, 8, NUV_ColorType::s_rgb},
    {"pnm/colour_16_plain.ppm", "pnm/colour_16.ppm", 3, 16, NUV_ColorType::s_rgb},
    {"pnm/bilevel.pbm", "pnm/bilevel.pbm", 1, 1, NUV_ColorType::gray_reverse},
    {"pnm/gray.pgm", "pnm/gray.pgm", 1, 8, NUV_ColorType::gray},
    {"pnm/colour.ppm", "pnm/colour.ppm", 3, 8, NUV_ColorType::s_rgb},
};

constexpr std::uint32_t picture_width = 13;
constexpr std::uint32_t picture_height = 5;

[[nodiscard]] std::size_t line_bytes(const Picture& picture)
{
    return (std::size_t{picture.channels} * picture.bits * picture_width + 7) / 8;
}

[[nodiscard]] Bytes expected_samples(const Picture& picture)
{
    const Bytes binary = test_data(picture.binary);
    const std::size_t bytes = line_bytes(picture) * picture_height;
    if (binary.size() < bytes)
        return {};
    Bytes samples(binary.end() - static_cast<std::ptrdiff_t>(bytes), binary.end());
    if (picture.bits == 16) { // the high byte comes first in a file
        for (std::size_t i = 0; i < bytes; i += 2) {
            const std::uint16_t sample = load_be16(&samples[i]);
            std::memcpy(&samples[i], &sample, sizeof(sample));
        }
    }
    return samples;
}

TEST(PNM, DecodesToTheSamplesOfTheToolsThatWroteIt)
{
    for (const Picture& picture : pictures) {
        SCOPED_TRACE(picture.file);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), test_data(picture.file));
        chain.last(NUV_ReadPNM(chain.manager()).engine(image.storage()));
        ASSERT_TRUE(chain.last());
        EXPECT_EQ(chain.header().width(), picture_width);
        EXPECT_EQ(chain.header().height(), picture_height);
        EXPECT_EQ(chain.header().channels(), picture.channels);
        EXPECT_EQ(chain.header().bits(), picture.bits);
        EXPECT_EQ(chain.header().color_type(), picture.color);
        EXPECT_EQ(chain.run_bytes(), expected_samples(picture));
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }
}

// Lines before the cut stand. A plain number that ends with the file counts, so that the last
// sample that comes may be a part of the true one.
TEST(PNM, CutAnywhereGivesTheLinesBeforeTheCut)
{
    for (const Picture& picture : pictures) {
        const Bytes stored = test_data(picture.file);
        const Bytes whole = read(stored).bytes;
        const std::size_t line = line_bytes(picture);
        const bool is_binary = stored[1] >= '4';
        const std::size_t pixels = stored.size() - whole.size(); // where they begin, if binary
        const std::size_t sample = std::max<std::size_t>(picture.bits / 8, 1);
        for (std::size_t n = 0; n < stored.size(); ++n) {
            SCOPED_TRACE(std::string(picture.file) + " cut at " + std::to_string(n));
            const Bytes cut(stored.begin(), stored.begin() + static_cast<std::ptrdiff_t>(n));
            const Outcome outcome = read(cut);
            const Bytes& got = outcome.bytes;
            ASSERT_EQ(got.size() % line, 0u);
            ASSERT_LE(got.size(), whole.size());
            if (is_binary) {
                EXPECT_EQ(got.size(), n < pixels ? 0 : (n - pixels) / line * line);
            }
            const std::size_t sure = got.size() - std::min(got.size(), is_binary ? 0 : sample);
            EXPECT_TRUE(std::equal(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(sure),
                                   whole.begin()));
            EXPECT_EQ(outcome.code,
                      got.size() < whole.size() ? NUV_ERR_BROKEN_DATA : NUV_STATUS_OK);
        }
    }
}

TEST(PNMInfo, FindsThePixelsBehindOneWhitespace)
{
    struct Case {
        const char* what;
        std::string_view stored;
        std::uint32_t width, height, maximum;
        std::uint16_t bits;
        std::int32_t pixels; // position behind the header
    };
    const Case cases[] = {
        {"a pixel that is a space", "P6\n2 2 255\n  ", 2, 2, 255, 8, 11},
        {"a pixel that is a digit", "P5 2 1 7\t12", 2, 1, 7, 8, 9},
        {"CR LF behind the last number", "P5\r\n2 1\r\n255\r\nx", 2, 1, 255, 8, 13},
        {"comments that end at LF, CR and CR LF", "P5#a\n2#b\r1 # c\r\n#\r#d\n255 x", 2, 1, 255, 8,
         25},
        {"leading zeros", "P5 002 00001 0000000000000000000000000255 x", 2, 1, 255, 8, 42},
        {"16 bits from 256 on", "P2 1 1 256 ", 1, 1, 256, 16, 11},
        {"the largest maximum", "P3 1 1 65535 ", 1, 1, 65535, 16, 13},
        {"a maximum of 1 is 8 bits", "P2 1 1 1 ", 1, 1, 1, 8, 9},
        {"no maximum", "P4 9 3 255", 9, 3, 1, 1, 7},
        {"the largest width", "P1 4294967295 1 ", 4294967295, 1, 1, 1, 16},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), bytes_of(c.stored));
        NUV_PNMInfo info(chain.manager());
        ASSERT_TRUE(info.load(image.storage())) << chain.status().method;
        EXPECT_TRUE(info.loaded());
        EXPECT_EQ(info.magic(), static_cast<std::uint32_t>(c.stored[1]));
        EXPECT_EQ(info.width(), c.width);
        EXPECT_EQ(info.height(), c.height);
        EXPECT_EQ(info.maximum(), c.maximum);
        EXPECT_EQ(info.bits(), c.bits);
        EXPECT_EQ(image.position(), c.pixels);
    }
}

TEST(PNMInfo, RefusesAndGoesBack)
{
    constexpr auto load = "NUV_PNMInfo::load()";
    constexpr auto skip = "NUV_PNMInfo::skip_whitespace()";
    constexpr auto get = "NUV_PNMInfo::get_value()";
    constexpr auto value = "NUV_PNMInfo::read_value()";

    struct Case {
        const char* what;
        std::string_view stored;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"another letter", "Q5 1 1 255 x", NUV_STATUS_OK, ""},
        {"digit 0", "P0 1 1 255 x", NUV_STATUS_OK, ""},
        {"digit 7", "P7 1 1 255 x", NUV_STATUS_OK, ""},
        {"nothing", "", NUV_ERR_BROKEN_DATA, load},
        {"one byte", "P", NUV_ERR_BROKEN_DATA, load},
        {"nothing behind the magic", "P5", NUV_ERR_BROKEN_DATA, skip},
        {"a comment without an end", "P5 #", NUV_ERR_BROKEN_DATA, skip},
        {"a comment that ends with CR and the file", "P5 #\r", NUV_ERR_BROKEN_DATA, skip},
        {"a letter for a number", "P5 x", NUV_ERR_INVALID_DATA, skip},
        {"a sign", "P5 -1 1 255 x", NUV_ERR_INVALID_DATA, skip},
        {"vertical tab is no whitespace", "P5\v1 1 255 x", NUV_ERR_INVALID_DATA, skip},
        {"a number glued to the magic", "P510 10 255 x", NUV_ERR_INVALID_DATA, get},
        {"a letter in a number", "P5 1x 1 255 x", NUV_ERR_INVALID_DATA, get},
        {"a number at the end", "P5 1 1 255", NUV_ERR_BROKEN_DATA, get},
        {"width 0", "P5 0 10 255 x", NUV_ERR_INVALID_DATA, get},
        {"height 0", "P4 10 000 x", NUV_ERR_INVALID_DATA, get},
        {"maximum 0", "P5 10 10 0 x", NUV_ERR_INVALID_DATA, get},
        {"0 before a comment", "P5 0#c\n 10 255 x", NUV_ERR_INVALID_DATA, get},
        {"22 digits", "P5 1111111111111111111111 1 255 x", NUV_ERR_INVALID_DATA, get},
        {"21 digits", "P5 111111111111111111111 1 255 x", NUV_ERR_INVALID_DATA, value},
        {"20 digits", "P5 99999999999999999999 1 255 x", NUV_ERR_INVALID_DATA, value},
        {"2^64 + 1", "P5 18446744073709551617 1 255 x", NUV_ERR_INVALID_DATA, value},
        {"2^32 + 1", "P5 4294967297 1 255 x", NUV_ERR_INVALID_DATA, value},
        {"2^32", "P5 4294967296 1 255 x", NUV_ERR_INVALID_DATA, value},
        {"a comment behind the maximum", "P6 2 2 255#c\nx", NUV_ERR_INVALID_DATA, load},
        {"a comment behind the height", "P4 2 2#c\nx", NUV_ERR_INVALID_DATA, load},
        {"more than 8 bits in P5", "P5 1 1 256 x", NUV_ERR_INVALID_DATA, load},
        {"more than 8 bits in P6", "P6 1 1 65535 x", NUV_ERR_INVALID_DATA, load},
        {"more than 16 bits in P2", "P2 1 1 65536 1", NUV_ERR_INVALID_DATA, load},
        {"more than 16 bits in P3", "P3 1 1 65536 1", NUV_ERR_INVALID_DATA, load},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), bytes_of(c.stored));
        NUV_PNMInfo info(chain.manager());
        EXPECT_FALSE(info.load(image.storage()));
        EXPECT_FALSE(info.loaded());
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(image.position(), 0);
        // Refused in silence by the probe, refused aloud by the reader.
        EXPECT_FALSE(NUV_ReadPNM(chain.manager()).engine(image.storage()));
        if (c.code == NUV_STATUS_OK) {
            EXPECT_EQ(chain.status().code, NUV_ERR_FORMAT);
            EXPECT_STREQ(chain.status().method, "NUV_ReadPNM::engine()");
        }
    }
}

TEST(PNMInfo, ALaterLoadForgetsTheEarlierOne)
{
    NUV_TestChain chain;
    NUV_PNMInfo info(chain.manager());
    const NUV_TestStored good(chain.manager(), bytes_of("P3 7 6 300 "));
    const NUV_TestStored other(chain.manager(), bytes_of("P5 2 1 9 "));
    const NUV_TestStored bad(chain.manager(), bytes_of("P5 2 1 0 "));
    ASSERT_TRUE(info.load(good.storage()));
    ASSERT_TRUE(info.load(other.storage()));
    EXPECT_EQ(info.channels(), 1);
    EXPECT_EQ(info.bits(), 8);
    EXPECT_EQ(info.color_type(), NUV_ColorType::gray);
    EXPECT_FALSE(info.load(bad.storage()));
    EXPECT_FALSE(info.loaded());
    EXPECT_FALSE(info.load(nullptr));
}

TEST(PNMInfo, WantsAnOpenStorage)
{
    NUV_TestChain chain;
    NUV_PNMInfo info(chain.manager());
    const NUV_TestStored image(chain.manager(), bytes_of("P5 1 1 255 x"));
    image.storage()->close();
    EXPECT_FALSE(info.load(image.storage()));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_FormatInfo::load()");
    chain.manager().reset();
    EXPECT_FALSE(info.load_internal(image.storage()));
    EXPECT_STREQ(chain.status().method, "NUV_PNMInfo::load()");
}

TEST(PNMPixels, PlainTextIsReadToTheLetter)
{
    constexpr auto bitmap = "NUV_ReadPBMAsciiEngine::read_value()";
    constexpr auto skip = "NUV_ReadPPMAsciiEngine::skip_whitespace()";
    constexpr auto get = "NUV_ReadPPMAsciiEngine::get_value()";
    constexpr auto value = "NUV_ReadPPMAsciiEngine::read_value()";

    struct Case {
        const char* what;
        std::string_view stored;
        Bytes wanted;
        const char* method = ""; // of the NUV_ERR_BROKEN_DATA, if there is one
    };
    const Case cases[] = {
        {"the end finishes a 1", "P1 3 1 1 0 1", {0xA0}},
        {"the end does not finish a 0", "P1 3 1 1 1 0", {}, bitmap},
        {"a whitespace does", "P1 3 1 1 1 0\n", {0xC0}},
        {"digits that touch", "P1 8 1 11111111", {}, bitmap},
        {"a 0 behind a 1 that touches", "P1 2 1 10 ", {}, bitmap},
        {"01 is a 1", "P1 2 1 01 0 ", {0x80}},
        {"000 is a 0", "P1 2 1 000 9 ", {0x40}},
        {"nine pixels are two bytes", "P1 9 1 1 0 0 0 0 0 0 0 1 ", {0x80, 0x80}},
        {"no comments between pixels", "P1 2 1 1 #\n1", {}, bitmap},
        {"the line before the fault stands", "P1 1 3 1\n0\nx", {0x80, 0x00}, bitmap},
        {"pixels behind the last are ignored", "P1 1 1 1 x", {0x80}},
        {"a cut in the second byte", "P1 9 1 1 1 1 1 1 1 1 1", {}, bitmap},
        {"no scaling to the maximum", "P2 2 1 9 7 200", {7, 200}},
        {"no whitespace at the end", "P2 2 1 255 7\t8", {7, 8}},
        {"zeros", "P2 3 1 255 0 00 000007", {0, 0, 7}},
        {"six digits but too large", "P2 1 1 255 000256", {}, value},
        {"seven digits", "P2 1 1 255 1234567 ", {}, get},
        {"a letter in a sample", "P2 1 1 255 1x ", {}, get},
        {"a comment in a sample", "P2 1 1 255 1#\n", {}, get},
        {"a comment before a sample", "P2 1 1 255 #\n1", {}, skip},
        {"a sign", "P2 1 1 255 -1", {}, skip},
        {"no sample", "P2 1 1 255 ", {}, skip},
        {"lines before the fault stand", "P2 2 3 255 1 2 3 4 5", {1, 2, 3, 4}, skip},
        {"samples of 8 bits stop at 255", "P3 1 2 255 1 2 255 4 5 256", {1, 2, 255}, value},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome outcome = read(bytes_of(c.stored));
        EXPECT_EQ(outcome.bytes, c.wanted);
        EXPECT_EQ(outcome.method, c.method);
        EXPECT_EQ(outcome.code, *c.method ? NUV_ERR_BROKEN_DATA : NUV_STATUS_OK);
    }
    const std::uint16_t seven = 7;
    EXPECT_EQ(std::memcmp(read(bytes_of("P2 1 1 300 7")).bytes.data(), &seven, sizeof(seven)), 0);
    EXPECT_EQ(read(bytes_of("P2 1 1 300 65536")).method, value);
}

// Numbers that straddle the blocks in which text is read.
TEST(PNMPixels, TextIsReadAcrossAllBlocks)
{
    std::string text = "P2 9000 2 255 ";
    Bytes wanted;
    for (std::size_t i = 0; i < 18000; ++i) {
        wanted.push_back(static_cast<std::uint8_t>(i * i >> 3));
        text += std::to_string(wanted.back()) + (i % 7 == 0 ? "\r\n" : " ");
    }
    EXPECT_EQ(read(bytes_of(text)).bytes, wanted);
    // A header so long that its comment does.
    const std::string comment = "P5 1 1 #" + std::string(10000, 'x') + "\n255\nA";
    EXPECT_EQ(read(bytes_of(comment)).bytes, Bytes{'A'});
}

// The word of a header is not enough for half a gigabyte.
TEST(PNMPixels, TakeNoMemoryForLinesThatAreNotThere)
{
    for (const char* magic : {"P1", "P2", "P3", "P4", "P5", "P6"}) {
        SCOPED_TRACE(magic);
        NUV_TestChain chain;
        const bool is_bitmap = magic[1] == '1' || magic[1] == '4';
        const NUV_TestStored image(chain.manager(),
                                   bytes_of(std::string(magic) + " 170000000 8" +
                                            (is_bitmap ? " 1 0 1 0" : " 255 1 0 1 0")));
        chain.last(NUV_ReadPNM(chain.manager()).engine(image.storage()));
        ASSERT_TRUE(chain.last());
        EXPECT_TRUE(chain.run_bytes().empty());
        EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
        EXPECT_LT(chain.manager().memory().largest(), std::size_t{1} << 16);
    }
    // A line that 32-bit sizes cannot hold.
    const Outcome outcome = read(bytes_of("P5 4294967295 1 255 x"));
    EXPECT_EQ(outcome.code, NUV_ERR_UNSUPPORTED);
    EXPECT_EQ(outcome.method, "NUV_BufferOutputEngine::initiate()");
}

TEST(PNMPixels, AreFoundAgainWhenTheStorageWasMoved)
{
    for (const char* stored : {"P1 2 1 1 1", "P2 2 1 255 4 5", "P5 2 1 255 xy"}) {
        SCOPED_TRACE(stored);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), bytes_of(stored));
        chain.last(NUV_ReadPNM(chain.manager()).engine(image.storage()));
        ASSERT_TRUE(image.storage()->to_begin());
        EXPECT_EQ(chain.run_bytes(), read(bytes_of(stored)).bytes);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }
}

template <class Creator>
void expect_refusals(const char* method, std::string_view served)
{
    for (char digit = '1'; digit <= '6'; ++digit) {
        SCOPED_TRACE(std::string(method) + ", P" + digit);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(),
                                   bytes_of(std::string("P") + digit + " 1 1 1 1"));
        NUV_PNMInfo info(chain.manager());
        ASSERT_TRUE(info.load(image.storage()));
        NUV_Engine* engine = Creator(chain.manager()).engine(image.storage(), &info);
        if (served.find(digit) != std::string_view::npos) {
            EXPECT_TRUE(engine);
            continue;
        }
        EXPECT_FALSE(engine);
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, method);
    }
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), bytes_of("P5 1 1 1 1"));
    NUV_PNMInfo info(chain.manager());
    const auto expect_argument = [&](const NUV_PNMInfo* refused) {
        chain.manager().reset();
        EXPECT_FALSE(Creator(chain.manager()).engine(image.storage(), refused));
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, method);
    };
    expect_argument(nullptr);
    expect_argument(&info); // not loaded
    ASSERT_TRUE(info.load(image.storage()));
    info.width(0);
    expect_argument(&info); // not valid any more
}

TEST(PNMRefusal, EachReaderServesItsOwnForms)
{
    expect_refusals<NUV_ReadPNM>("NUV_ReadPNM::engine()", "123456");
    expect_refusals<NUV_ReadPBMAscii>("NUV_ReadPBMAscii::engine()", "1");
    expect_refusals<NUV_ReadPPMAscii>("NUV_ReadPPMAscii::engine()", "23");
    expect_refusals<NUV_ReadPNMBinary>("NUV_ReadPNMBinary::engine()", "456");
}

TEST(PNMRefusal, PlainBitmapsWhoseDigitsTouch)
{
    const Outcome outcome = read(test_data("pnm/bilevel_touching.pbm"));
    EXPECT_TRUE(outcome.bytes.empty());
    EXPECT_EQ(outcome.code, NUV_ERR_BROKEN_DATA);
}

TEST(PNMRefusal, SurvivesEveryFailedAllocation)
{
    for (const char* stored : {"P1 2 2 1 1 1 1", "P3 1 1 255 4 5 6", "P6 1 2 255 xyzuvw"}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const NUV_TestStored image(chain.manager(), bytes_of(stored));
            chain.last(NUV_ReadPNM(chain.manager()).engine(image.storage()));
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
