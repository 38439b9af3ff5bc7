#include "core/jpeg/encode/nuv_jpegencoder.h"

#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"
#include "tests/support/nuv_photolike.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Color = NUV_JPEGEncoder::SourceColor;

constexpr std::uint32_t all_keys[] = {jpeg_sampling_444, jpeg_sampling_422, jpeg_sampling_420,
                                      jpeg_sampling_411};

// Exact halves come from a product that is rounded to a float: 55 at quality 85 is 16.5 there.
TEST(JPEGQuality, ScalesTheStandardTableByTheLaw)
{
    struct Case {
        std::uint32_t quality;
        std::array<std::uint8_t, 6> expected; // for the bases below
    };
    constexpr std::array<std::uint8_t, 6> bases = {1, 16, 35, 55, 95, 121};
    const Case cases[] = {
        {0, {2, 32, 70, 110, 190, 242}}, {5, {2, 30, 67, 105, 181, 230}},
        {35, {1, 21, 46, 72, 123, 157}}, {50, {1, 16, 35, 55, 95, 121}},
        {55, {1, 14, 32, 50, 86, 109}},  {65, {1, 11, 25, 39, 67, 85}},
        {75, {1, 8, 18, 28, 48, 61}},    {85, {1, 5, 11, 17, 29, 36}},
        {99, {1, 1, 1, 1, 2, 2}},        {100, {1, 1, 1, 1, 1, 1}},
    };
    for (const Case& c : cases) {
        for (std::size_t i = 0; i < bases.size(); ++i) {
            std::array<std::uint8_t, 64> base{};
            base.fill(bases[i]);
            NUV_JPEGQuantisers expected;
            expected.fill(c.expected[i]);
            EXPECT_EQ(jpeg_quantisers_of_quality(base, c.quality), expected)
                << "base " << int{bases[i]} << " quality " << c.quality;
        }
    }
}

// T.81, tables K.1 and K.2 read along the zig-zag of figure 5.
const Bytes quality_50_segment = {
    // clang-format off
    0,
    16, 11, 12, 14, 12, 10, 16, 14, 13, 14, 18, 17, 16, 19, 24, 40,
    26, 24, 22, 22, 24, 49, 35, 37, 29, 40, 58, 51, 61, 60, 57, 51,
    56, 55, 64, 72, 92, 78, 64, 68, 87, 69, 55, 56, 80, 109, 81, 87,
    95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99,
    1,
    17, 18, 18, 24, 21, 24, 47, 26, 26, 47, 99, 66, 56, 66, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    // clang-format on
};

Bytes huffman_payload(const std::vector<Bytes>& tables)
{
    Bytes payload;
    for (const Bytes& table : tables)
        payload.insert(payload.end(), table.begin(), table.end());
    return payload;
}

template <std::size_t Count>
Bytes huffman_table(std::uint8_t selector, const NUV_JPEGStandardHuffman<Count>& table)
{
    Bytes bytes = {selector};
    bytes.insert(bytes.end(), table.counts.begin(), table.counts.end());
    bytes.insert(bytes.end(), table.values.begin(), table.values.end());
    return bytes;
}

TEST(JPEGHeader, HoldsTheSegmentsOfAColorPictureInOrder)
{
    const Bytes stream = encode_test_picture(
        busy_picture(300, 17, 3), {.key = jpeg_sampling_420, .quality = 50, .color = Color::rgb});
    const JPEGTestSegments parts(stream);

    EXPECT_EQ(parts.ids(), (Bytes{0xC4, 0xDB, 0xDD, 0xC0, 0xDA}));
    EXPECT_EQ((Bytes{stream.begin(), stream.begin() + 2}), (Bytes{0xFF, 0xD8}));
    EXPECT_EQ(parts.payload(0xC4),
              huffman_payload({huffman_table(0x00, jpeg_standard_luminance_dc),
                               huffman_table(0x01, jpeg_standard_chrominance_dc),
                               huffman_table(0x10, jpeg_standard_luminance_ac),
                               huffman_table(0x11, jpeg_standard_chrominance_ac)}));
    EXPECT_EQ(parts.payload(0xDB), quality_50_segment);
    EXPECT_EQ(parts.payload(0xDD), (Bytes{0, 19})); // 300 pixels in MCUs of 16
    EXPECT_EQ(parts.payload(0xC0), (Bytes{8, 0, 17, 1, 44, 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1}));
    EXPECT_EQ(parts.payload(0xDA), (Bytes{3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0}));
    EXPECT_EQ(parts.scan_markers, (Bytes{0xD0, 0xD9}));
}

TEST(JPEGHeader, HoldsOneTableOfEachKindForGray)
{
    const Bytes stream =
        encode_test_picture(busy_picture(9, 8, 1), {.key = jpeg_sampling_420, .quality = 50});
    const JPEGTestSegments parts(stream);

    EXPECT_EQ(parts.ids(), (Bytes{0xC4, 0xDB, 0xC0, 0xDA}));
    EXPECT_EQ(parts.payload(0xC4),
              huffman_payload({huffman_table(0x00, jpeg_standard_luminance_dc),
                               huffman_table(0x10, jpeg_standard_luminance_ac)}));
    EXPECT_EQ(parts.payload(0xDB),
              (Bytes{quality_50_segment.begin(), quality_50_segment.begin() + 65}));
    EXPECT_EQ(parts.payload(0xC0), (Bytes{8, 0, 8, 0, 9, 1, 1, 0x11, 0}));
    EXPECT_EQ(parts.payload(0xDA), (Bytes{1, 1, 0x00, 0, 63, 0}));
    EXPECT_EQ(parts.scan_markers, (Bytes{0xD9}));
}

TEST(JPEGHeader, NamesTheComponentsOfQuarterWidthRGB)
{
    for (const Color color : {Color::components, Color::rgb}) {
        const JPEGTestSegments parts(encode_test_picture(
            busy_picture(32, 8, 3), {.key = jpeg_sampling_411, .color = color}));
        const Bytes ids = color == Color::rgb ? Bytes{82, 71, 66} : Bytes{1, 2, 3};
        const Bytes frame = parts.payload(0xC0);
        const Bytes scan = parts.payload(0xDA);
        EXPECT_EQ((Bytes{frame[6], frame[9], frame[12]}), ids);
        EXPECT_EQ((Bytes{scan[1], scan[3], scan[5]}), ids);
        EXPECT_EQ(frame[7], 0x41);
    }
}

TEST(JPEGRestart, StandsBetweenIntervalsOnly)
{
    struct Case {
        std::uint32_t asked;
        std::uint32_t used; // of the picture's 3 x 10 MCUs
    };
    const Case cases[] = {{0, 3},  {1, 1},     {3, 3},     {7, 7},         {29, 29},
                          {30, 0}, {65535, 0}, {65536, 0}, {0xFFFFFFFF, 0}};
    const JPEGTestPicture picture = busy_picture(20, 75, 1);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.asked);
        const JPEGTestSegments parts(encode_test_picture(picture, {.restart_interval = c.asked}));
        Bytes interval;
        Bytes markers;
        if (c.used != 0) {
            interval = {0, static_cast<std::uint8_t>(c.used)};
            for (std::uint32_t mcu = c.used; mcu < 30; mcu += c.used)
                markers.push_back(static_cast<std::uint8_t>(0xD0 + (mcu / c.used - 1) % 8));
        }
        markers.push_back(0xD9);
        EXPECT_EQ(parts.payload(0xDD), interval);
        EXPECT_EQ(parts.scan_markers, markers);
    }
}

// The stream of a picture that broke off is that of a picture of so many lines; in the header of
// a single MCU row no restarts would stand.
TEST(JPEGFinish, ClosesABrokenPictureAtItsTrueHeight)
{
    for (const std::uint32_t key : all_keys) {
        const JPEGTestPicture whole = busy_picture(33, 40, 3);
        for (const std::uint32_t lines : {1U, 2U, 7U, 8U, 9U, 15U, 16U, 17U, 32U, 39U}) {
            SCOPED_TRACE(::testing::Message() << std::hex << key << std::dec << " " << lines);
            const std::uint32_t interval = 2;
            JPEGTestPicture part = whole;
            part.height = lines;
            Bytes expected = encode_test_picture(part, {.key = key, .restart_interval = interval});
            const Bytes got = encode_test_picture(
                whole, {.key = key, .restart_interval = interval, .lines = lines});
            const JPEGTestSegments parts(got);
            EXPECT_EQ(parts.payload(0xC0)[2], lines);
            EXPECT_EQ(parts.scan_markers.back(), 0xD9);
            if (JPEGTestSegments(expected).payload(0xDD).empty())
                continue;
            EXPECT_EQ(got, expected);
        }
    }
}

TEST(JPEGFinish, FindsTheHeightThatWasNotDeclared)
{
    const JPEGTestPicture picture = busy_picture(16, 11, 1);
    JPEGTestCoder test;
    ASSERT_EQ(test.coder.set_format(16, 0, 1, 8, jpeg_sampling_444, 75), NUV_JPEGCode::good);
    ASSERT_EQ(test.start(0xFFFFFFFF), NUV_JPEGCode::good);
    for (std::uint32_t y = 0; y < picture.height; ++y)
        ASSERT_EQ(test.coder.write_line(picture.line(y)), NUV_JPEGCode::good);
    EXPECT_EQ(test.coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(test.sink.at, test.sink.bytes.size());
    EXPECT_EQ(test.sink.bytes, encode_test_picture(picture, {.restart_interval = 0xFFFFFFFF}));
}

TEST(JPEGFinish, LeavesAStreamWithoutLinesAlone)
{
    JPEGTestCoder test;
    ASSERT_EQ(test.coder.set_format(16, 16, 1, 8, jpeg_sampling_444, 75), NUV_JPEGCode::good);
    ASSERT_EQ(test.start(), NUV_JPEGCode::good);
    const Bytes header = test.sink.bytes;
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(test.coder.finish(), NUV_JPEGCode::good);
        EXPECT_EQ(test.sink.bytes, header);
        EXPECT_EQ(test.memory.live, 0U);
    }
}

TEST(JPEGCoderCalls, AreRefusedOutOfOrder)
{
    const Bytes line(24);
    JPEGTestMemory memory;
    JPEGTestSink sink;
    NUV_JPEGEncoder coder;
    std::uint32_t restart_interval = 0;
    const auto set_format = [&] { return coder.set_format(8, 2, 3, 8, jpeg_sampling_444, 75); };

    EXPECT_EQ(coder.create(sink.output(), NUV_Cpu::current()), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(set_format(), NUV_JPEGCode::wrong_state);
    ASSERT_EQ(coder.open_coder(memory.allocator()), NUV_JPEGCode::good);
    ASSERT_EQ(coder.create(sink.output(), NUV_Cpu::current()), NUV_JPEGCode::good);
    EXPECT_EQ(coder.start_encode(restart_interval), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(coder.write_line(line.data()), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(coder.next_line(), nullptr);
    ASSERT_EQ(set_format(), NUV_JPEGCode::good);
    EXPECT_EQ(coder.write_line(line.data()), NUV_JPEGCode::wrong_state);
    ASSERT_EQ(coder.start_encode(restart_interval), NUV_JPEGCode::good);
    EXPECT_EQ(coder.start_encode(restart_interval), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(set_format(), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(coder.add_marker(0xFE, line), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(coder.write_line(nullptr), NUV_JPEGCode::bad_parameter);
    EXPECT_EQ(coder.write_line(line.data()), NUV_JPEGCode::good);
    EXPECT_EQ(coder.write_line(line.data()), NUV_JPEGCode::good);
    EXPECT_EQ(coder.next_line(), nullptr);
    EXPECT_EQ(coder.write_line(line.data()), NUV_JPEGCode::too_many_lines);
    const Bytes stream = sink.bytes;
    EXPECT_EQ(coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(sink.bytes, stream);
    EXPECT_EQ(coder.write_line(line.data()), NUV_JPEGCode::wrong_state);
}

TEST(JPEGCoderCalls, RefuseAFormatThatCannotBeWritten)
{
    struct Format {
        std::uint32_t width = 8, height = 8, components = 3, bits = 8, key = 0x111111, quality = 75;
        NUV_JPEGCode set = NUV_JPEGCode::bad_parameter;
        NUV_JPEGCode start = NUV_JPEGCode::wrong_state;
    };
    const Format formats[] = {
        {.width = 0},
        {.width = 65536},
        {.height = 65536},
        {.components = 0},
        {.components = 2},
        {.components = 4},
        {.bits = 1},
        {.bits = 17},
        {.key = 0},
        {.key = 0x121111},
        {.key = 0x222222},
        {.quality = 101},
        {.bits = 2, .set = NUV_JPEGCode::good, .start = NUV_JPEGCode::bad_parameter},
        {.bits = 16, .set = NUV_JPEGCode::good, .start = NUV_JPEGCode::bad_parameter},
        {.set = NUV_JPEGCode::good, .start = NUV_JPEGCode::good},
        {.width = 65535,
         .height = 65535,
         .key = 0x221111,
         .quality = 0,
         .set = NUV_JPEGCode::good,
         .start = NUV_JPEGCode::good},
    };
    for (const Format& f : formats) {
        SCOPED_TRACE(&f - formats);
        JPEGTestCoder test;
        EXPECT_EQ(test.coder.set_format(f.width, f.height, f.components, f.bits, f.key, f.quality),
                  f.set);
        EXPECT_EQ(test.start(), f.start);
    }
}

TEST(JPEGCoderCalls, WriteStoredMarkersInOrderBehindTheStart)
{
    JPEGTestCoder test;
    NUV_JPEGEncoder& coder = test.coder;
    EXPECT_EQ(coder.add_marker(0xDF, Bytes{1}), NUV_JPEGCode::bad_parameter);
    EXPECT_EQ(coder.add_marker(0xFF, Bytes{1}), NUV_JPEGCode::bad_parameter);
    EXPECT_EQ(coder.add_marker(0xE0, Bytes(65534)), NUV_JPEGCode::bad_parameter);
    Bytes ids; // enough to have the list grow twice
    for (std::uint8_t i = 0; i < 20; ++i) {
        const auto id = static_cast<std::uint8_t>(i == 7 ? 0xFE : 0xE0 + i % 16);
        EXPECT_EQ(coder.add_marker(id, Bytes(i, i)), NUV_JPEGCode::good);
        ids.push_back(id);
    }
    test.memory.refuses = true;
    EXPECT_EQ(coder.add_marker(0xE0, Bytes{1}), NUV_JPEGCode::no_memory);
    test.memory.refuses = false;
    EXPECT_EQ(coder.add_marker(0xE1, Bytes(65533, 9)), NUV_JPEGCode::good);
    ids.push_back(0xE1);
    ASSERT_EQ(coder.set_format(8, 1, 1, 8, jpeg_sampling_444, 75), NUV_JPEGCode::good);
    ASSERT_EQ(test.start(), NUV_JPEGCode::good);
    EXPECT_EQ(coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(test.memory.live, 0U);

    const JPEGTestSegments parts(test.sink.bytes);
    ids.insert(ids.end(), {0xC4, 0xDB, 0xC0, 0xDA});
    EXPECT_EQ(parts.ids(), ids);
    for (std::uint8_t i = 0; i < 20; ++i)
        EXPECT_EQ(parts.segments[i].payload, Bytes(i, i));
    EXPECT_EQ(parts.segments[20].payload, Bytes(65533, 9));
}

TEST(JPEGStream, IsTheSameInEveryForm)
{
    const NUV_Cpu& cpu = NUV_Cpu::current();
    std::vector<NUV_Cpu> forms;
    if (cpu.has_sse2)
        forms.push_back({.has_sse2 = true, .has_avx2 = false});
    if (cpu.has_avx2)
        forms.push_back({.has_sse2 = true, .has_avx2 = true});
    if (forms.empty())
        GTEST_SKIP() << "only the portable form runs here";

    JPEGTestPicture noise{37, 21, 3, random_samples<std::uint8_t>(std::size_t{37} * 21 * 3, 5)};
    for (const JPEGTestPicture& picture : {busy_picture(50, 35, 3), noise}) {
        for (const std::uint32_t key : all_keys) {
            for (const Color color : {Color::components, Color::rgb}) {
                for (const std::uint32_t quality : {1U, 75U, 100U}) {
                    JPEGTestSettings settings = {
                        .key = key, .quality = quality, .color = color, .cpu = {}};
                    const Bytes portable = encode_test_picture(picture, settings);
                    for (const NUV_Cpu& form : forms) {
                        settings.cpu = form;
                        EXPECT_EQ(encode_test_picture(picture, settings), portable);
                    }
                }
            }
        }
    }
}

// Noise at the best quality takes more than the coded bytes of a row are counted on.
TEST(JPEGStream, HoldsARowThatDoesNotFitTheBuffer)
{
    if (!has_program("djpeg"))
        GTEST_SKIP() << "no djpeg here";
    const JPEGTestPicture noise{4000, 8, 3,
                                random_samples<std::uint8_t>(std::size_t{4000} * 8 * 3, 6)};
    const auto decoded =
        decode_by_djpeg(encode_test_picture(noise, {.quality = 100, .color = Color::rgb}));
    ASSERT_TRUE(decoded);
    EXPECT_GT(signal_to_noise(noise, *decoded), 40.0);
}

// Every edge of an MCU, in every sampling: other decoders read the stream without a word, and the
// picture comes back. Flat colours and slopes survive the averaging of chroma.
TEST(JPEGStream, DecodesElsewhereAtEverySize)
{
    if (!has_program("djpeg"))
        GTEST_SKIP() << "no djpeg here";

    struct Kind {
        const char* name;
        std::uint32_t largest_error;
        std::function<std::uint32_t(std::uint32_t, std::uint32_t, std::uint32_t)> sample;
    };
    const Kind kinds[] = {
        {"flat", 3, [](auto, auto, auto channel) { return 60 + 70 * channel; }},
        {"slope", 12,
         [](auto x, auto y, auto channel) { return 40 + 3 * x + 2 * y + 20 * channel; }},
    };
    for (const std::uint32_t key : all_keys) {
        for (const std::uint32_t channels : {1U, 3U}) {
            if (channels == 1 && key != jpeg_sampling_444)
                continue; // the same
            for (const std::uint32_t width : {1U, 7U, 8U, 9U, 16U, 17U, 33U}) {
                for (const std::uint32_t height : {1U, 8U, 9U, 16U, 17U}) {
                    for (const Kind& kind : kinds) {
                        SCOPED_TRACE(::testing::Message()
                                     << kind.name << " " << std::hex << key << std::dec << " "
                                     << width << " x " << height << " x " << channels);
                        const auto picture =
                            make_test_picture(width, height, channels, kind.sample);
                        const auto decoded = decode_by_djpeg(encode_test_picture(
                            picture, {.key = key, .quality = 95, .color = Color::rgb}));
                        ASSERT_TRUE(decoded);
                        EXPECT_EQ(decoded->width, width);
                        EXPECT_EQ(decoded->height, height);
                        EXPECT_LE(largest_difference(picture, *decoded), kind.largest_error);
                    }
                }
            }
        }
    }
}

// Restarts in the middle of a row, and a picture that broke off.
TEST(JPEGStream, DecodesElsewhereWithRestartsAndCutShort)
{
    if (!has_program("djpeg"))
        GTEST_SKIP() << "no djpeg here";
    const JPEGTestPicture picture = busy_picture(70, 50, 3);
    for (const std::uint32_t key : all_keys) {
        for (const std::uint32_t lines : {1U, 8U, 9U, 33U, 50U}) {
            const auto plain = decode_by_djpeg(encode_test_picture(
                picture,
                {.key = key, .quality = 90, .restart_interval = 0xFFFFFFFF, .lines = lines}));
            const auto restarted = decode_by_djpeg(encode_test_picture(
                picture, {.key = key, .quality = 90, .restart_interval = 2, .lines = lines}));
            ASSERT_TRUE(plain);
            ASSERT_TRUE(restarted);
            EXPECT_EQ(plain->height, lines);
            EXPECT_EQ(plain->samples, restarted->samples);
        }
    }
}

// The colour conversion takes floors where others round, which adds about 0.9 to the mean square
// error of any picture.
TEST(JPEGStream, KeepsAPhotographAsWellAsAnotherEncoder)
{
    if (!has_program("djpeg") || !has_program("cjpeg"))
        GTEST_SKIP() << "no djpeg or no cjpeg here";
    const JPEGTestPicture photo{640, 480, 3, NUV_PhotoLike(640, 480).pixels()};
    const JPEGTestFile source(to_netpbm(photo));
    struct Case {
        std::uint32_t key;
        const char* sampling;
    };
    for (const Case c : {Case{0x111111, "1x1"}, {0x211111, "2x1"}, {0x221111, "2x2"}}) {
        SCOPED_TRACE(c.sampling);
        const JPEGTestFile peer;
        // Its tables of quality 75 are the same halves, rounded up.
        ASSERT_EQ(std::system((std::string("cjpeg -quality 75 -dct int -sample ") + c.sampling +
                               " -outfile " + peer.path() + " " + source.path())
                                  .c_str()),
                  0);
        const Bytes ours = encode_test_picture(photo, {.key = c.key, .color = Color::rgb});
        EXPECT_EQ(JPEGTestSegments(ours).payload(0xDB).size(), 130U);
        const auto peer_picture = decode_by_djpeg(peer.bytes());
        const auto our_picture = decode_by_djpeg(ours);
        ASSERT_TRUE(peer_picture);
        ASSERT_TRUE(our_picture);
        EXPECT_NEAR(signal_to_noise(photo, *our_picture), signal_to_noise(photo, *peer_picture),
                    0.2);
    }
}

} // namespace
} // namespace nuv
