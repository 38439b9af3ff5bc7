#include "core/jpeg/encode/nuv_jpegencoder.h"
#include "core/jpeg/nuv_encodejpeg.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"
#include "tests/core/jpeg/nuv_jpegwritetest.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;
using Picture = JPEGLosslessPicture;

constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

NUV_TestImage image_of(const Picture& picture)
{
    return {.width = picture.width,
            .height = picture.height,
            .channels = static_cast<std::uint16_t>(picture.channels),
            .bits = static_cast<std::uint16_t>(picture.precision),
            .color_type = picture.channels == 1 ? NUV_ColorType::gray : NUV_ColorType::s_rgb};
}

std::size_t line_bytes(const Picture& picture)
{
    return std::size_t{picture.width} * picture.channels * (picture.precision / 8);
}

// As the lines of an image.
Bytes bytes_of_samples(const Picture& picture)
{
    if (picture.precision == 8)
        return {picture.samples.begin(), picture.samples.end()};
    Bytes bytes(picture.samples.size() * 2);
    std::memcpy(bytes.data(), picture.samples.data(), bytes.size());
    return bytes;
}

enum class Content { noise, flat, smooth, extremes };

// Extremes have differences of 32767 and 32768, whose coded bits are nearly all ones.
Picture make_picture(std::uint32_t width, std::uint32_t height, std::uint32_t channels,
                     std::uint32_t precision, Content content)
{
    Picture picture{width, height, channels, precision, {}};
    const std::uint32_t largest = (1U << precision) - 1U;
    std::uint32_t random = width * 31 + height;
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t i = 0; i < width * channels; ++i) {
            random = random * 1664525U + 1013904223U;
            std::uint32_t sample = random >> 8;
            if (content == Content::flat)
                sample = (largest + 1) / 2;
            else if (content == Content::smooth)
                sample = largest / 3 + i / channels + y + (random >> 30);
            else if (content == Content::extremes)
                sample = (largest / 2 + 1) + (i / channels + 1) * (largest / 2) + y % 2;
            picture.samples.push_back(static_cast<std::uint16_t>(sample & largest));
        }
    }
    return picture;
}

Picture first_lines(Picture picture, std::uint32_t lines)
{
    picture.height = lines;
    picture.samples.resize(std::size_t{lines} * picture.width * picture.channels);
    return picture;
}

// The picture through a whole chain into `capacity` bytes; of its lines only the first `lines`
// arrive.
Bytes write_picture(NUV_TestChain& chain, const Picture& picture,
                    NUV_WriteLosslessJPEGOption* option, std::size_t capacity = 1 << 20,
                    std::uint32_t lines = 0xFFFFFFFF)
{
    Bytes samples = bytes_of_samples(picture);
    samples.resize(std::min(picture.height, lines) * line_bytes(picture));
    return write_lines<NUV_WriteLosslessJPEG>(chain, image_of(picture), samples, option, capacity);
}

Bytes write_picture(const Picture& picture, bool optimise,
                    std::uint32_t restart_interval = no_restarts, std::uint32_t lines = 0xFFFFFFFF)
{
    NUV_WriteLosslessJPEGOption option(optimise, restart_interval);
    NUV_TestChain chain;
    Bytes stream = write_picture(chain, picture, &option, 1 << 20, lines);
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK) << chain.status().method;
    return stream;
}

void expect_reads_back(const Bytes& stream, const Picture& picture)
{
    NUV_TestChain chain;
    const NUV_TestStored stored(chain.manager(), stream);
    chain.last(NUV_ReadLosslessJPEG(chain.manager()).engine(stored.storage()));
    ASSERT_NE(chain.last(), nullptr) << chain.status().method;
    EXPECT_EQ(chain.header().width(), picture.width);
    EXPECT_EQ(chain.header().height(), picture.height);
    EXPECT_EQ(chain.header().bits(), picture.precision);
    EXPECT_EQ(chain.run_bytes(), bytes_of_samples(picture));
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK) << chain.status().method;
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

TEST(WriteLosslessJPEG, WritesTheCodesOfTheStandardTable)
{
    // Differences 2, -2; 1, 0.
    const Bytes gray = standard_stream()
                           .frame(0xC3, 8, 2, 2, {0x11})
                           .scan({1}, 1, 0)
                           .bits(0b100'10, 5)
                           .bits(0b100'01, 5)
                           .bits(0b01'1, 3)
                           .bits(0b00, 2)
                           .end();
    EXPECT_EQ(write_picture({2, 2, 1, 8, {130, 128, 131, 131}}, false), gray);

    // Differences 0, -32768 and 32767, then -32768, 32768 and 0 under the pixel above.
    const Bytes deep = standard_stream()
                           .frame(0xC3, 16, 1, 2, {0x11, 0x11, 0x11})
                           .scan({1, 2, 3}, 1, 0)
                           .bits(0b00, 2)
                           .bits(0b11111111111110, 14)
                           .bits(0b1111111111110, 13)
                           .bits(0x7FFF, 15)
                           .bits(0b11111111111110, 14)
                           .bits(0b11111111111110, 14)
                           .bits(0b00, 2)
                           .end();
    EXPECT_EQ(write_picture({1, 2, 3, 16, {32768, 0, 65535, 0, 32768, 65535}}, false), deep);
}

// Each line begins anew from half of the range, and the bits before the marker are padded.
TEST(WriteLosslessJPEG, BeginsAnewBehindARestart)
{
    const Bytes expected = standard_stream()
                               .segment(0xDD, {0, 2})
                               .frame(0xC3, 8, 2, 2, {0x11})
                               .scan({1}, 1, 0)
                               .bits(0b100'10, 5)
                               .bits(0b100'01, 5)
                               .flush()
                               .marker(0xD0)
                               .bits(0b100'11, 5)
                               .bits(0b00, 2)
                               .end();
    const Picture picture = {2, 2, 1, 8, {130, 128, 131, 131}};
    EXPECT_EQ(write_picture(picture, false, 2), expected);
    EXPECT_EQ(write_picture(picture, false, 0), expected);
}

TEST(WriteLosslessJPEG, GivesAFlatPictureOneCodeOfOneBitWhenOptimising)
{
    const Bytes expected =
        JPEGCraft()
            .segment(0xC4, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})
            .frame(0xC3, 8, 3, 2, {0x11})
            .scan({1}, 1, 0)
            .bits(0, 6)
            .end();
    EXPECT_EQ(write_picture(make_picture(3, 2, 1, 8, Content::flat), true), expected);
}

TEST(WriteLosslessJPEG, ReadsBackAsItWas)
{
    for (const std::uint32_t precision : {8U, 16U}) {
        for (const std::uint32_t channels : {1U, 3U}) {
            for (const std::uint32_t width : {1U, 7U, 64U, 65U, 300U}) {
                for (const Content content :
                     {Content::noise, Content::flat, Content::smooth, Content::extremes}) {
                    const Picture picture = make_picture(width, 21, channels, precision, content);
                    for (const bool optimise : {false, true}) {
                        for (const std::uint32_t interval : {no_restarts, 0U, 2 * width}) {
                            SCOPED_TRACE(testing::Message()
                                         << precision << " bits, " << channels << " channels, "
                                         << width << " wide, content " << static_cast<int>(content)
                                         << ", optimise " << optimise << ", interval " << interval);
                            expect_reads_back(write_picture(picture, optimise, interval), picture);
                        }
                    }
                }
            }
        }
    }
}

TEST(WriteLosslessJPEG, OptimisesForThePicture)
{
    const Picture picture = make_picture(100, 50, 3, 16, Content::smooth);
    const Bytes standard = write_picture(picture, false);
    const Bytes optimal = write_picture(picture, true);
    EXPECT_LT(optimal.size(), standard.size());
    EXPECT_EQ(JPEGTestSegments(optimal).ids(), JPEGTestSegments(standard).ids());
    // Small steps, and a first one of a sixth of the range.
    Bytes table = JPEGTestSegments(optimal).payload(0xC4);
    std::sort(table.begin() + 17, table.end());
    EXPECT_EQ(Bytes(table.begin() + 17, table.end()), (Bytes{0, 1, 2, 3, 14}));
}

// Whatever the samples mean, their bits are what counts.
TEST(WriteLosslessJPEG, ConvertsNeitherColorsNorSigns)
{
    for (const std::uint32_t channels : {1U, 3U}) {
        const Picture picture = make_picture(9, 5, channels, 16, Content::noise);
        const Bytes expected = write_picture(picture, false);
        for (const NUV_ColorType* color :
             {NUV_ColorType::gray, NUV_ColorType::gray_reverse, NUV_ColorType::lstar,
              NUV_ColorType::s_rgb, NUV_ColorType::adobe_rgb, NUV_ColorType::ycbcr,
              NUV_ColorType::itu_lab, NUV_ColorType::icc_lab, NUV_ColorType::cmy}) {
            if (!color->valid_channels(static_cast<std::uint16_t>(channels)))
                continue;
            for (const NUV_DataType* type : {NUV_DataType::u_integer, NUV_DataType::s_integer}) {
                NUV_TestImage image = image_of(picture);
                image.color_type = color;
                image.data_type = type;
                NUV_TestChain chain;
                const Bytes written = write_lines<NUV_WriteLosslessJPEG>(
                    chain, image, bytes_of_samples(picture),
                    static_cast<NUV_WriteLosslessJPEGOption*>(nullptr), 1 << 16);
                EXPECT_EQ(written, expected);
            }
        }
    }
}

TEST(WriteLosslessJPEG, RestartsAfterWholeLinesOnly)
{
    constexpr std::uint32_t refused = 1;
    struct Case {
        std::uint32_t width;
        std::uint32_t height;
        std::uint32_t asked;
        std::uint32_t written; // in DRI, 0 for none
        std::size_t markers;
    };
    const Case cases[] = {
        {10, 20, 0, 10, 19},         {10, 20, 10, 10, 19},    {10, 20, 30, 30, 6},
        {10, 20, 100, 100, 1},       {10, 20, 190, 190, 1},   {10, 20, 200, 0, 0},
        {10, 20, 207, 0, 0},         {10, 1, 0, 0, 0},        {10, 20, 65536, 0, 0},
        {10, 20, no_restarts, 0, 0}, {10, 20, 5, refused, 0}, {10, 20, 15, refused, 0},
        {10, 20, 199, refused, 0},
    };
    const Picture largest = make_picture(10, 20, 1, 8, Content::smooth);
    for (const Case& c : cases) {
        for (const bool optimise : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.height << " lines, asked " << c.asked);
            NUV_WriteLosslessJPEGOption option(optimise, c.asked);
            NUV_TestChain chain;
            const Bytes stream = write_picture(chain, first_lines(largest, c.height), &option);
            if (c.written == refused) {
                EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
                EXPECT_STREQ(chain.status().method, "NUV_WriteJPEGEngine::initiate()");
                EXPECT_TRUE(stream.empty());
                continue;
            }
            const JPEGTestSegments parts(stream);
            Bytes markers;
            for (std::size_t i = 0; i < c.markers; ++i)
                markers.push_back(static_cast<std::uint8_t>(0xD0 + i % 8));
            markers.push_back(0xD9);
            EXPECT_EQ(parts.scan_markers, markers);
            EXPECT_EQ(parts.payload(0xDD),
                      c.written == 0 ? Bytes{} : (Bytes{0, static_cast<std::uint8_t>(c.written)}));
            EXPECT_EQ(parts.ids(),
                      c.written == 0 ? (Bytes{0xC4, 0xC3, 0xDA}) : (Bytes{0xC4, 0xDD, 0xC3, 0xDA}));
        }
    }
}

TEST(WriteLosslessJPEG, ClosesAChainThatBreaksOff)
{
    const Picture picture = make_picture(30, 40, 3, 16, Content::smooth);
    for (const bool optimise : {false, true}) {
        for (const std::uint32_t lines : {2U, 8U, 39U}) {
            EXPECT_EQ(write_picture(picture, optimise, 30, lines),
                      write_picture(first_lines(picture, lines), optimise, 30))
                << lines;
        }
        EXPECT_EQ(write_picture(picture, optimise, no_restarts, 1),
                  write_picture(first_lines(picture, 1), optimise));
    }
    // Without a line there is nothing to close.
    const Bytes whole = write_picture(picture, false);
    const std::size_t header_bytes = JPEGTestSegments(whole).scan_position;
    EXPECT_EQ(write_picture(picture, false, no_restarts, 0),
              Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(header_bytes)));
    EXPECT_EQ(write_picture(picture, true, no_restarts, 0), Bytes());
}

TEST(WriteLosslessJPEG, FailsWhereverTheDestinationEnds)
{
    const Picture picture = make_picture(11, 9, 3, 8, Content::noise);
    for (const bool optimise : {false, true}) {
        NUV_WriteLosslessJPEGOption option(optimise, 22);
        for (const std::uint32_t lines : {9U, 4U}) {
            const std::size_t whole = write_picture(picture, optimise, 22, lines).size();
            for (std::size_t capacity = 1; capacity <= whole; ++capacity) {
                NUV_TestChain chain;
                const Bytes got = write_picture(chain, picture, &option, capacity, lines);
                EXPECT_EQ(got.size(), capacity);
                EXPECT_EQ(chain.status().code, capacity < whole ? NUV_ERR_IO : NUV_STATUS_OK)
                    << capacity;
            }
        }
    }
}

TEST(WriteLosslessJPEGRefusal, SurvivesEveryFailedAllocation)
{
    const Picture picture = make_picture(20, 10, 3, 16, Content::smooth);
    const JPEGTestFile file;
    for (const bool optimise : {false, true}) {
        NUV_WriteLosslessJPEGOption option(optimise, no_restarts);
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const auto storage =
                make_initiated<NUV_FileOutputStorage>(chain.manager(), file.path().c_str());
            chain.source_bytes(image_of(picture), bytes_of_samples(picture));
            chain.append<NUV_WriteLosslessJPEG>(storage.get(), &option);
            run_writer(chain);
        });
    }
}

struct LosslessCoder : JPEGTestCoder {
    using JPEGTestCoder::JPEGTestCoder;

    [[nodiscard]] NUV_JPEGCode start(const Picture& picture, NUV_JPEGLosslessTable table)
    {
        EXPECT_EQ(coder.set_format(picture.width, picture.height, picture.channels,
                                   picture.precision, jpeg_sampling_444, 75),
                  NUV_JPEGCode::good);
        EXPECT_EQ(coder.set_lossless(table), NUV_JPEGCode::good);
        return JPEGTestCoder::start(no_restarts);
    }
    // Line `y` of a picture.
    [[nodiscard]] NUV_JPEGCode write(const Picture& picture, std::size_t y)
    {
        const Bytes samples = bytes_of_samples(picture);
        return coder.write_line(samples.data() + y * line_bytes(picture));
    }
};

TEST(LosslessCoder, KeepsTheOrderOfItsCalls)
{
    const Picture picture = make_picture(4, 2, 1, 8, Content::noise);
    LosslessCoder test;
    EXPECT_EQ(test.coder.set_lossless(NUV_JPEGLosslessTable::standard), NUV_JPEGCode::wrong_state);
    Picture twelve = picture;
    twelve.precision = 12;
    EXPECT_EQ(test.start(twelve, NUV_JPEGLosslessTable::standard), NUV_JPEGCode::bad_parameter);
    test.memory.refuses = true;
    EXPECT_EQ(test.start(picture, NUV_JPEGLosslessTable::optimal), NUV_JPEGCode::no_memory);
    test.memory.refuses = false;
    ASSERT_EQ(test.start(picture, NUV_JPEGLosslessTable::standard), NUV_JPEGCode::good);
    EXPECT_EQ(test.coder.set_lossless(NUV_JPEGLosslessTable::optimal), NUV_JPEGCode::wrong_state);
    EXPECT_EQ(test.write(picture, 0), NUV_JPEGCode::good);
    EXPECT_EQ(test.write(picture, 1), NUV_JPEGCode::good);
    EXPECT_EQ(test.write(picture, 1), NUV_JPEGCode::too_many_lines);
    const std::size_t written = test.sink.bytes.size();
    EXPECT_EQ(test.coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(test.coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(test.sink.bytes.size(), written);
    EXPECT_EQ(test.memory.live, 0U);
}

// With an optimal table the header comes last, so that there is nothing to go back for.
TEST(LosslessCoder, WritesAtTheEndAndInOneGoWhenOptimising)
{
    const Picture picture = make_picture(50, 3, 3, 16, Content::noise);
    for (const std::uint32_t lines : {1U, 3U}) {
        LosslessCoder test;
        NUV_JPEGOutput output = test.sink.output();
        output.to = [](void*, std::int32_t) { return false; };
        ASSERT_EQ(test.coder.create(output, NUV_Cpu::current()), NUV_JPEGCode::good);
        ASSERT_EQ(test.start(picture, NUV_JPEGLosslessTable::optimal), NUV_JPEGCode::good);
        for (std::size_t y = 0; y < lines; ++y) {
            EXPECT_EQ(test.sink.writes, 0);
            EXPECT_EQ(test.write(picture, y), NUV_JPEGCode::good);
        }
        EXPECT_EQ(test.coder.finish(), NUV_JPEGCode::good);
        EXPECT_EQ(test.sink.bytes, write_picture(first_lines(picture, lines), true));
    }
}

TEST(LosslessCoder, WritesNothingMoreBehindAWriteThatFailed)
{
    const Picture picture = make_picture(50, 4, 1, 8, Content::noise);
    LosslessCoder test;
    ASSERT_EQ(test.start(picture, NUV_JPEGLosslessTable::standard), NUV_JPEGCode::good);
    const std::size_t whole = test.sink.capacity;
    test.sink.capacity = test.sink.bytes.size() + 3;
    EXPECT_EQ(test.write(picture, 0), NUV_JPEGCode::io);
    const Bytes cut = test.sink.bytes;
    test.sink.capacity = whole;
    EXPECT_EQ(test.write(picture, 1), NUV_JPEGCode::io);
    EXPECT_EQ(test.coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(test.sink.bytes, cut);
    EXPECT_EQ(test.memory.live, 0U);
}

TEST(LosslessCoder, WritesTheSameInItsPortableForm)
{
    const Picture picture = make_picture(133, 6, 3, 16, Content::noise);
    LosslessCoder test(NUV_Cpu{});
    ASSERT_EQ(test.start(picture, NUV_JPEGLosslessTable::standard), NUV_JPEGCode::good);
    for (std::size_t y = 0; y < picture.height; ++y)
        EXPECT_EQ(test.write(picture, y), NUV_JPEGCode::good);
    EXPECT_EQ(test.sink.bytes, write_picture(picture, false));
}

// What the tools of dcmtk make of a stream: the samples, with a byte more when their bytes are odd
// in number.
Bytes decode_by_dcmtk(const Bytes& stream, const Picture& picture)
{
    Bytes even = stream; // as a fragment has to be
    even.resize((even.size() + 1) / 2 * 2);
    const JPEGTestFile coded(even);
    const std::string bits = std::to_string(picture.precision);
    const std::string dump =
        "(0002,0010) UI =JPEGLossless:Non-hierarchical-1stOrderPrediction\n"
        "(0008,0016) UI =SecondaryCaptureImageStorage\n(0008,0018) UI [1.2.3.4]\n"
        "(0028,0002) US " +
        std::to_string(picture.channels) + "\n(0028,0004) CS [" +
        (picture.channels == 1 ? "MONOCHROME2" : "RGB") + "]\n" +
        (picture.channels == 1 ? "" : "(0028,0006) US 0\n") + "(0028,0010) US " +
        std::to_string(picture.height) + "\n(0028,0011) US " + std::to_string(picture.width) +
        "\n(0028,0100) US " + bits + "\n(0028,0101) US " + bits + "\n(0028,0102) US " +
        std::to_string(picture.precision - 1) +
        "\n(0028,0103) US 0\n"
        "(7fe0,0010) OB (PixelSequence #=2)\n(fffe,e000) pi (no value available)\n"
        "(fffe,e000) pi =" +
        coded.path() + "\n(fffe,e0dd) na\n";
    const JPEGTestFile text({dump.begin(), dump.end()});
    const JPEGTestFile wrapped;
    const JPEGTestFile plain;
    const std::string folder = plain.path() + "_raw";
    const std::string command = "dump2dcm " + text.path() + " " + wrapped.path() +
                                " && dcmdjpeg +cn " + wrapped.path() + " " + plain.path() +
                                " && mkdir " + folder + " && dcmdump +W " + folder + " " +
                                plain.path() + " >/dev/null && mv " + folder + "/*.raw " +
                                plain.path() + "; s=$?; rm -rf " + folder + "; exit $s";
    return std::system(command.c_str()) == 0 ? plain.bytes() : Bytes();
}

TEST(WriteLosslessJPEG, IsReadByDcmtkAsItWas)
{
    for (const char* program : {"dump2dcm", "dcmdjpeg", "dcmdump"}) {
        if (!has_program(program))
            GTEST_SKIP() << "no " << program;
    }
    for (const std::uint32_t precision : {8U, 16U}) {
        for (const std::uint32_t channels : {1U, 3U}) {
            for (const Content content : {Content::noise, Content::smooth, Content::extremes}) {
                const Picture picture = make_picture(38, 10, channels, precision, content);
                for (const bool optimise : {false, true}) {
                    const std::uint32_t interval = optimise ? 2 * picture.width : no_restarts;
                    EXPECT_EQ(decode_by_dcmtk(write_picture(picture, optimise, interval), picture),
                              bytes_of_samples(picture))
                        << precision << " bits, " << channels << " channels, content "
                        << static_cast<int>(content) << ", optimise " << optimise;
                }
            }
        }
    }
}

} // namespace
} // namespace nuv
