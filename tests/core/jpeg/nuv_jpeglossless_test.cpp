// Lossless streams made by hand, and what the encoder makes of pictures.

#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegdecodetest.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <random>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Code = NUV_JPEGCode;
using Picture = JPEGLosslessPicture;
using Table = NUV_JPEGLosslessTable;

constexpr std::int32_t whole = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

enum class Content { noise, flat, smooth, extremes };

// Extremes have differences of 32767 and 32768, whose coded bits are nearly all ones.
Picture make_picture(std::uint32_t width, std::uint32_t height, std::uint32_t channels,
                     std::uint32_t precision, Content content)
{
    Picture picture{width, height, channels, precision, {}};
    const std::uint32_t largest = (1U << precision) - 1U;
    std::mt19937 random(width * 31 + height);
    for (std::uint32_t i = 0; i < width * height * channels; ++i) {
        const std::uint32_t x = i / channels % width;
        const std::uint32_t y = i / channels / width;
        auto sample = static_cast<std::uint32_t>(random());
        if (content == Content::flat)
            sample = (largest + 1) / 2;
        else if (content == Content::smooth)
            sample = largest / 3 + x + y + (sample & 3U);
        else if (content == Content::extremes)
            sample = (largest / 2 + 1) + (x + 1) * (largest / 2) + y % 2;
        picture.samples.push_back(static_cast<std::uint16_t>(sample & largest));
    }
    return picture;
}

// As the lines of an image, less the bits below the point transform.
Bytes lines_of(const Picture& picture, std::uint32_t point_transform = 0)
{
    Bytes bytes;
    for (const std::uint32_t sample : picture.samples) {
        const auto kept = static_cast<std::uint16_t>(sample >> point_transform << point_transform);
        bytes.resize(bytes.size() + (picture.precision > 8 ? 2 : 1));
        std::memcpy(&bytes[bytes.size() - (picture.precision > 8 ? 2 : 1)], &kept,
                    picture.precision > 8 ? 2 : 1);
    }
    return bytes;
}

TEST(JPEGLosslessDecoder, GivesExactSamplesForEveryPredictorPrecisionAndForm)
{
    std::mt19937 random(1);
    for (std::uint32_t round = 0; round < 840; ++round) {
        const std::uint32_t precisions[] = {2, 8, 9, 12, 16};
        const std::uint32_t channels[] = {1, 3, 4};
        const Picture picture = make_picture(
            static_cast<std::uint32_t>(1 + random() % (round % 9 == 0 ? 150 : 20)), 9,
            channels[round % 3], precisions[round % 5], static_cast<Content>(random() % 4));
        const JPEGLosslessSettings settings = {
            .predictor = static_cast<int>(1 + round % 7),
            .point_transform = static_cast<std::uint32_t>(random() % 2),
            .restart_rows = static_cast<std::uint32_t>(random() % 4),
            .has_scan_each = random() % 3 == 0,
            .has_table_each = random() % 3 == 0};
        SCOPED_TRACE(round);
        const Bytes stream = craft_lossless(picture, settings);
        for (const NUV_TestLevel& level : jpeg_levels()) {
            const JPEGDecoded decoded =
                decode_stream(stream, round % 2 == 0 ? whole : 3, as_it_is, level.cpu);
            ASSERT_TRUE(decoded.is_clean()) << level.name;
            ASSERT_EQ(decoded.picture.samples, lines_of(picture, settings.point_transform))
                << level.name;
        }
    }
}

// A lost interval is rows of 0x80 bytes, and the rows behind it are as they were. Without another
// interval nothing more comes.
TEST(JPEGLosslessDecoder, FillsLostRowsAndGoesOnAtTheNextInterval)
{
    const auto picture = make_picture(19, 13, 1, 16, Content::noise);
    const Bytes stream = craft_lossless(picture, {.predictor = 4, .restart_rows = 2});
    std::vector<Bytes::difference_type> places;
    for (std::size_t i = 0; i + 1 < stream.size(); ++i) {
        if (stream[i] == 0xFF && (stream[i + 1] & 0xF8U) == 0xD0)
            places.push_back(static_cast<Bytes::difference_type>(i));
    }
    Bytes lost = stream; // rows 2 and 3, with their marker
    lost.erase(lost.begin() + places[0], lost.begin() + places[1]);
    Bytes broken = stream; // the same rows, of which there is nothing but the marker
    broken.erase(broken.begin() + places[0] + 2, broken.begin() + places[1]);
    Bytes nonsense = stream; // codes that mean nothing in the midst of them
    std::fill(nonsense.begin() + places[0] + 2, nonsense.begin() + places[1], std::uint8_t{0xFE});
    Bytes last = stream; // the last row
    last.erase(last.begin() + places.back() + 4, last.end() - 2);
    for (const Bytes* damaged : {&lost, &broken, &nonsense, &last}) {
        const JPEGDecoded decoded = decode_stream(*damaged);
        Bytes expected = lines_of(picture);
        for (std::uint32_t y = 0; y < picture.height; ++y) {
            const bool is_lost = damaged == &last ? y == 12 : y == 2 || y == 3;
            ASSERT_EQ(decoded.codes[y], is_lost ? Code::damaged_lines : Code::good) << y;
            if (is_lost)
                std::fill_n(expected.begin() + y * 38, 38, std::uint8_t{0x80});
        }
        ASSERT_EQ(decoded.picture.samples, expected);
    }
}

TEST(JPEGLosslessDecoder, GivesTheFullHeightOfWhatBreaksOff)
{
    for (const bool has_scan_each : {false, true}) {
        const auto picture = make_picture(19, 13, 3, 12, Content::noise);
        const Bytes stream = craft_lossless(
            picture, {.predictor = 7, .restart_rows = 2, .has_scan_each = has_scan_each});
        const std::size_t scan = JPEGTestSegments(stream).scan_position;
        for (std::size_t size = scan; size + 2 < stream.size(); ++size) {
            const JPEGDecoded decoded =
                decode_stream({stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size)});
            ASSERT_EQ(decoded.codes.size(), picture.height) << size;
            ASSERT_EQ(decoded.lines, Code::damaged_lines) << size;
        }
    }
}

struct Settings {
    Table table = Table::standard;
    std::uint32_t restart_interval = no_restarts;
    std::uint32_t lines = 0xFFFFFFFF; // the lines beyond are not written
    NUV_Cpu cpu = NUV_Cpu::current();
};

Bytes encode(const Picture& picture, const Settings& settings)
{
    JPEGTestCoder test(settings.cpu);
    EXPECT_EQ(test.coder.set_format(picture.width, picture.height, picture.channels,
                                    picture.precision, jpeg_sampling_444, 75),
              Code::good);
    EXPECT_EQ(test.coder.set_lossless(settings.table), Code::good);
    EXPECT_EQ(test.start(settings.restart_interval), Code::good);
    const Bytes lines = lines_of(picture);
    for (std::size_t y = 0; y < std::min(picture.height, settings.lines); ++y)
        EXPECT_EQ(test.coder.write_line(&lines[y * lines.size() / picture.height]), Code::good);
    EXPECT_EQ(test.coder.finish(), Code::good);
    EXPECT_EQ(test.memory.live, 0U);
    return test.sink.bytes;
}

Picture first_lines(Picture picture, std::uint32_t lines)
{
    picture.height = lines;
    picture.samples.resize(std::size_t{lines} * picture.width * picture.channels);
    return picture;
}

// The codes of the standard table: category 0 has 00, 1 has 01, 2 has 100, 3 has 101, 4 to 6 have
// 1100 to 1110, and from there each has one more 1 in front.
JPEGCraft standard_stream()
{
    JPEGCraft craft;
    craft.segment(0xC4, {0, 0, 2, 2, 3, 1, 1, 1, 1, 1, 1,  1,  1,  1,  1,  0,  0,
                         0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    return craft;
}

TEST(JPEGLosslessEncoder, WritesTheCodesOfItsTables)
{
    // Differences 0, -32768 and 32767, then -32768, 32768 and 0 under the pixel above.
    JPEGCraft deep = standard_stream();
    deep.frame(0xC3, 16, 1, 2, {0x11, 0x11, 0x11}).scan({1, 2, 3}, 1, 0);
    deep.bits(0b00, 2).bits(0b11111111111110, 14).bits(0b1111111111110, 13).bits(0x7FFF, 15);
    deep.bits(0b11111111111110, 14).bits(0b11111111111110, 14).bits(0b00, 2);
    EXPECT_EQ(encode({1, 2, 3, 16, {32768, 0, 65535, 0, 32768, 65535}}, {}), deep.end());

    // Each line begins anew from half of the range, and the bits before the marker are padded:
    // differences 2, -2; 3, 0.
    JPEGCraft restarts = standard_stream();
    restarts.segment(0xDD, {0, 2}).frame(0xC3, 8, 2, 2, {0x11}).scan({1}, 1, 0);
    restarts.bits(0b100'10, 5).bits(0b100'01, 5).flush().marker(0xD0);
    restarts.bits(0b100'11, 5).bits(0b00, 2);
    const Bytes expected = restarts.end();
    EXPECT_EQ(encode({2, 2, 1, 8, {130, 128, 131, 131}}, {.restart_interval = 2}), expected);
    EXPECT_EQ(encode({2, 2, 1, 8, {130, 128, 131, 131}}, {.restart_interval = 0}), expected);

    // A flat picture has one code of one bit.
    JPEGCraft flat;
    flat.segment(0xC4, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    flat.frame(0xC3, 8, 3, 2, {0x11}).scan({1}, 1, 0).bits(0, 6);
    EXPECT_EQ(encode(make_picture(3, 2, 1, 8, Content::flat), {.table = Table::optimal}),
              flat.end());
}

// Whole, or broken off: then the stream is that of the lines that came.
TEST(JPEGLosslessEncoder, WritesWhatReadsBackAsItWasInTheSameBytesAtEveryLevel)
{
    std::mt19937 random(2);
    for (std::uint32_t round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const auto width = static_cast<std::uint32_t>(1 + random() % (round % 5 == 0 ? 300 : 70));
        const Picture picture = make_picture(width, static_cast<std::uint32_t>(2 + random() % 20),
                                             round % 2 == 0 ? 1 : 3, random() % 2 == 0 ? 8 : 16,
                                             static_cast<Content>(round % 4));
        const std::uint32_t intervals[] = {no_restarts, 0, 2 * width};
        Settings settings = {.table = random() % 2 == 0 ? Table::standard : Table::optimal,
                             .restart_interval = intervals[random() % 3]};
        const Bytes stream = encode(picture, settings);
        const JPEGDecoded decoded = decode_stream(stream);
        ASSERT_TRUE(decoded.is_clean());
        ASSERT_EQ(decoded.picture.samples, lines_of(picture));
        for (const NUV_TestLevel& level : jpeg_levels()) {
            settings.cpu = level.cpu;
            ASSERT_EQ(encode(picture, settings), stream) << level.name;
        }
        settings.lines = static_cast<std::uint32_t>(1 + random() % (picture.height - 1));
        const Picture part = first_lines(picture, settings.lines);
        const Bytes closed = encode(picture, settings);
        ASSERT_EQ(decode_stream(closed).picture.samples, lines_of(part));
        if (settings.lines > 2) { // else the shorter picture has no restarts
            ASSERT_EQ(closed, encode(part, settings));
        }
    }
}

// T.81, K.2: a code for each category that occurs, the shorter the more often, of 16 bits at most,
// and none of ones alone.
TEST(JPEGLosslessEncoder, OptimisesForThePicture)
{
    const Picture picture = make_picture(100, 50, 3, 16, Content::smooth);
    const Bytes standard = encode(picture, {});
    const Bytes optimal = encode(picture, {.table = Table::optimal});
    EXPECT_LT(optimal.size(), standard.size());
    EXPECT_EQ(JPEGTestSegments(optimal).ids(), JPEGTestSegments(standard).ids());
    // Small steps, and a first one of a sixth of the range.
    Bytes table = JPEGTestSegments(optimal).payload(0xC4);
    std::sort(table.begin() + 17, table.end());
    EXPECT_EQ(Bytes(table.begin() + 17, table.end()), (Bytes{0, 1, 2, 3, 14}));

    // Each category twice as often as the next: a tree without limit has codes of 17 bits.
    Picture steep{1, 0, 1, 16, {}};
    std::uint16_t sample = 32768;
    for (int category = 0; category <= 16; ++category) {
        for (int times = 1 << (16 - category); times > 0; --times) {
            const int step = category == 0 ? 0 : 1 << (category - 1);
            sample = static_cast<std::uint16_t>(category == 16 || times % 2 == 0 ? sample + step
                                                                                 : sample - step);
            steep.samples.push_back(sample);
        }
    }
    steep.width = 3;
    steep.height = 43690;
    steep.samples.resize(std::size_t{3} * 43690, sample);
    const Bytes limited = encode(steep, {.table = Table::optimal});
    const Bytes counts = JPEGTestSegments(limited).payload(0xC4);
    EXPECT_EQ(counts[1], 1);
    EXPECT_GT(counts[16], 0);
    EXPECT_EQ(decode_stream(limited).picture.samples, lines_of(steep));
}

TEST(JPEGLosslessEncoder, RestartsAfterWholeLinesOnly)
{
    struct Case {
        std::uint32_t height, asked, written; // written in DRI, 0 for none
        Code code = Code::good;
    };
    const Case cases[] = {
        {20, 0, 10},
        {20, 10, 10},
        {20, 190, 190},
        {20, 200, 0},
        {20, 207, 0},
        {1, 0, 0},
        {20, 65536, 0},
        {20, no_restarts, 0},
        {20, 5, 0, Code::bad_parameter},
        {20, 15, 0, Code::bad_parameter},
        {20, 199, 0, Code::bad_parameter},
    };
    for (const Case& c : cases) {
        for (const Table table : {Table::standard, Table::optimal}) {
            SCOPED_TRACE(c.asked);
            JPEGTestCoder test;
            EXPECT_EQ(test.coder.set_format(10, c.height, 1, 8, jpeg_sampling_444, 75), Code::good);
            EXPECT_EQ(test.coder.set_lossless(table), Code::good);
            EXPECT_EQ(test.start(c.asked), c.code);
            for (std::uint32_t y = 0; is_good(c.code) && y < c.height; ++y)
                EXPECT_EQ(test.coder.write_line(Bytes(10, 7).data()), Code::good);
            const JPEGTestSegments parts(test.sink.bytes);
            EXPECT_EQ(parts.payload(0xDD),
                      c.written == 0 ? Bytes{} : (Bytes{0, static_cast<std::uint8_t>(c.written)}));
            EXPECT_EQ(test.sink.bytes.empty(), !is_good(c.code));
        }
    }
}

TEST(JPEGLosslessEncoder, KeepsTheOrderOfItsCalls)
{
    JPEGTestCoder test;
    NUV_JPEGEncoder& coder = test.coder;
    const auto start = [&](std::uint32_t bits, Table table) {
        EXPECT_EQ(coder.set_format(4, 2, 1, bits, jpeg_sampling_444, 75), Code::good);
        EXPECT_EQ(coder.set_lossless(table), Code::good);
        return test.start(no_restarts);
    };
    EXPECT_EQ(coder.set_lossless(Table::standard), Code::wrong_state);
    EXPECT_EQ(start(12, Table::standard), Code::bad_parameter);
    test.memory.refuses = true;
    EXPECT_EQ(start(8, Table::optimal), Code::no_memory);
    test.memory.refuses = false;
    ASSERT_EQ(start(8, Table::standard), Code::good);
    EXPECT_EQ(coder.set_lossless(Table::optimal), Code::wrong_state);
    // Nothing more is written behind a write that failed.
    test.sink.capacity = test.sink.bytes.size();
    for (const std::size_t more : {0U, 100U}) {
        test.sink.capacity += more;
        EXPECT_EQ(coder.write_line(Bytes(4).data()), Code::io);
    }
    EXPECT_EQ(coder.finish(), Code::good);
    EXPECT_EQ(test.sink.bytes.size(), test.sink.capacity - 100);
}

// With an optimal table the header comes last, so that there is nothing to go back for.
TEST(JPEGLosslessEncoder, WritesAtTheEndAndInOneGoWhenOptimising)
{
    const Picture picture = make_picture(50, 3, 3, 16, Content::noise);
    const Bytes bytes = lines_of(picture);
    for (const std::uint32_t lines : {0U, 1U, 3U}) {
        JPEGTestCoder test;
        NUV_JPEGOutput output = test.sink.output();
        output.to = [](void*, std::int32_t) { return false; };
        ASSERT_EQ(test.coder.create(output, NUV_Cpu::current()), Code::good);
        ASSERT_EQ(test.coder.set_format(50, 3, 3, 16, jpeg_sampling_444, 75), Code::good);
        ASSERT_EQ(test.coder.set_lossless(Table::optimal), Code::good);
        ASSERT_EQ(test.start(no_restarts), Code::good);
        for (std::size_t y = 0; y < lines; ++y) {
            EXPECT_EQ(test.sink.writes, 0);
            EXPECT_EQ(test.coder.write_line(&bytes[y * 300]), Code::good);
        }
        EXPECT_EQ(test.coder.finish(), Code::good);
        EXPECT_EQ(test.sink.bytes,
                  lines == 0 ? Bytes()
                             : encode(first_lines(picture, lines), {.table = Table::optimal}));
    }
}

} // namespace
} // namespace nuv
