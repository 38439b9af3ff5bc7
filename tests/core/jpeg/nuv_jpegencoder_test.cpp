#include "core/jpeg/encode/nuv_jpegencoder.h"

#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "tests/core/jpeg/nuv_jpegreference.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <numbers>
#include <numeric>
#include <random>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Code = NUV_JPEGCode;
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

// The tables of a header by class and selector, whatever segments they came in.
std::map<int, Bytes> tables_of(const Bytes& stream, std::uint8_t id)
{
    std::map<int, Bytes> tables;
    for (const auto& segment : JPEGTestSegments(stream).segments) {
        for (std::size_t at = 0; segment.id == id && at < segment.payload.size();) {
            const auto begin = segment.payload.begin() + static_cast<std::ptrdiff_t>(at);
            const int values = id == 0xDB ? 64 : 16 + std::accumulate(begin + 1, begin + 17, 0);
            tables[*begin] = Bytes(begin + 1, begin + 1 + values);
            at += static_cast<std::size_t>(values) + 1;
        }
    }
    return tables;
}

// At quality 50 the tables are those of the standard, which the reference has, too.
TEST(JPEGHeader, HoldsTheStandardTablesAndTheSegmentsInOrder)
{
    struct Case {
        JPEGTestPicture picture;
        std::uint32_t key;
        Bytes ids, frame, scan, interval, markers;
    };
    const Case cases[] = {
        {busy_picture(300, 17, 3),
         jpeg_sampling_420,
         {0xC4, 0xDB, 0xDD, 0xC0, 0xDA},
         {8, 0, 17, 1, 44, 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1},
         {3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0},
         {0, 19}, // 300 pixels in MCUs of 16
         {0xD0, 0xD9}},
        {busy_picture(32, 8, 3), // whose components are named, for they are not converted
         jpeg_sampling_411,
         {0xC4, 0xDB, 0xC0, 0xDA},
         {8, 0, 8, 0, 32, 3, 'R', 0x41, 0, 'G', 0x11, 1, 'B', 0x11, 1},
         {3, 'R', 0x00, 'G', 0x11, 'B', 0x11, 0, 63, 0},
         {},
         {0xD9}},
        {busy_picture(9, 8, 1),
         jpeg_sampling_420,
         {0xC4, 0xDB, 0xC0, 0xDA},
         {8, 0, 8, 0, 9, 1, 1, 0x11, 0},
         {1, 1, 0x00, 0, 63, 0},
         {},
         {0xD9}},
    };
    for (const Case& c : cases) {
        const Bytes stream =
            encode_test_picture(c.picture, {.key = c.key, .quality = 50, .color = Color::rgb});
        const Bytes reference = encode_by_reference(c.picture, {.quality = 50});
        const JPEGTestSegments parts(stream);
        EXPECT_EQ(tables_of(stream, 0xC4), tables_of(reference, 0xC4));
        EXPECT_EQ(tables_of(stream, 0xDB), tables_of(reference, 0xDB));
        EXPECT_EQ(parts.ids(), c.ids);
        EXPECT_EQ(parts.payload(0xC0), c.frame);
        EXPECT_EQ(parts.payload(0xDA), c.scan);
        EXPECT_EQ(parts.payload(0xDD), c.interval);
        EXPECT_EQ(parts.scan_markers, c.markers);
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

TEST(JPEGFinish, FindsTheHeightThatWasNotDeclaredAndLeavesAStreamWithoutLinesAlone)
{
    const JPEGTestPicture picture = busy_picture(16, 11, 1);
    JPEGTestCoder test;
    ASSERT_EQ(test.coder.set_format(16, 0, 1, 8, jpeg_sampling_444, 75), Code::good);
    ASSERT_EQ(test.start(0xFFFFFFFF), Code::good);
    for (std::uint32_t y = 0; y < picture.height; ++y)
        ASSERT_EQ(test.coder.write_line(picture.line(y)), Code::good);
    EXPECT_EQ(test.coder.finish(), Code::good);
    EXPECT_EQ(test.sink.at, test.sink.bytes.size());
    EXPECT_EQ(test.sink.bytes, encode_test_picture(picture, {.restart_interval = 0xFFFFFFFF}));

    JPEGTestCoder none;
    ASSERT_EQ(none.coder.set_format(16, 16, 1, 8, jpeg_sampling_444, 75), Code::good);
    ASSERT_EQ(none.start(), Code::good);
    const Bytes header = none.sink.bytes;
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(none.coder.finish(), Code::good);
        EXPECT_EQ(none.sink.bytes, header);
        EXPECT_EQ(none.memory.live, 0U);
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

    EXPECT_EQ(coder.create(sink.output(), NUV_Cpu::current()), Code::wrong_state);
    EXPECT_EQ(set_format(), Code::wrong_state);
    ASSERT_EQ(coder.open_coder(memory.allocator()), Code::good);
    ASSERT_EQ(coder.create(sink.output(), NUV_Cpu::current()), Code::good);
    EXPECT_EQ(coder.start_encode(restart_interval), Code::wrong_state);
    EXPECT_EQ(coder.write_line(line.data()), Code::wrong_state);
    EXPECT_EQ(coder.next_line(), nullptr);
    ASSERT_EQ(set_format(), Code::good);
    EXPECT_EQ(coder.write_line(line.data()), Code::wrong_state);
    ASSERT_EQ(coder.start_encode(restart_interval), Code::good);
    EXPECT_EQ(coder.start_encode(restart_interval), Code::wrong_state);
    EXPECT_EQ(set_format(), Code::wrong_state);
    EXPECT_EQ(coder.add_marker(0xFE, line), Code::wrong_state);
    EXPECT_EQ(coder.write_line(nullptr), Code::bad_parameter);
    EXPECT_EQ(coder.write_line(line.data()), Code::good);
    EXPECT_EQ(coder.write_line(line.data()), Code::good);
    EXPECT_EQ(coder.next_line(), nullptr);
    EXPECT_EQ(coder.write_line(line.data()), Code::too_many_lines);
    const Bytes stream = sink.bytes;
    EXPECT_EQ(coder.finish(), Code::good);
    EXPECT_EQ(sink.bytes, stream);
    EXPECT_EQ(coder.write_line(line.data()), Code::wrong_state);
}

TEST(JPEGCoderCalls, RefuseAFormatThatCannotBeWritten)
{
    struct Format {
        std::uint32_t width = 8, height = 8, components = 3, bits = 8, key = 0x111111, quality = 75;
        Code set = Code::bad_parameter;
        Code start = Code::wrong_state;
    };
    constexpr Code good = Code::good;
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
        {.bits = 2, .set = good, .start = Code::bad_parameter},
        {.bits = 16, .set = good, .start = Code::bad_parameter},
        {.set = good, .start = good},
        {65535, 65535, 3, 8, 0x221111, 0, good, good},
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
    EXPECT_EQ(coder.add_marker(0xDF, Bytes{1}), Code::bad_parameter);
    EXPECT_EQ(coder.add_marker(0xFF, Bytes{1}), Code::bad_parameter);
    EXPECT_EQ(coder.add_marker(0xE0, Bytes(65534)), Code::bad_parameter);
    Bytes ids; // enough to have the list grow twice
    for (std::uint8_t i = 0; i < 20; ++i) {
        const auto id = static_cast<std::uint8_t>(i == 7 ? 0xFE : 0xE0 + i % 16);
        EXPECT_EQ(coder.add_marker(id, Bytes(i, i)), Code::good);
        ids.push_back(id);
    }
    test.memory.refuses = true;
    EXPECT_EQ(coder.add_marker(0xE0, Bytes{1}), Code::no_memory);
    test.memory.refuses = false;
    EXPECT_EQ(coder.add_marker(0xE1, Bytes(65533, 9)), Code::good);
    ids.push_back(0xE1);
    ASSERT_EQ(coder.set_format(8, 1, 1, 8, jpeg_sampling_444, 75), Code::good);
    ASSERT_EQ(test.start(), Code::good);
    EXPECT_EQ(coder.finish(), Code::good);
    EXPECT_EQ(test.memory.live, 0U);

    const JPEGTestSegments parts(test.sink.bytes);
    ids.insert(ids.end(), {0xC4, 0xDB, 0xC0, 0xDA});
    EXPECT_EQ(parts.ids(), ids);
    for (std::uint8_t i = 0; i < 20; ++i)
        EXPECT_EQ(parts.segments[i].payload, Bytes(i, i));
    EXPECT_EQ(parts.segments[20].payload, Bytes(65533, 9));
}

// What a block is made of: its samples are the floors of weighted means less 128.
class SourcePlanes {
public:
    SourcePlanes(const JPEGTestPicture& picture, std::uint32_t key, bool converts)
        : picture_(picture),
          across_(picture.channels == 1 ? 1 : key >> 20),
          down_(picture.channels == 1 ? 1 : key >> 16 & 15U),
          converts_(converts)
    {}
    // The transform of a block, T.81, A.3.3, by its formula.
    std::array<double, 64> transform(std::size_t component, std::size_t block_x,
                                     std::size_t block_y) const
    {
        std::array<double, 64> rows{};
        std::array<double, 64> result{};
        for (std::size_t i = 0; i < 64; ++i) {
            const double value = sample(component, 8 * block_x + i % 8, 8 * block_y + i / 8);
            for (std::size_t u = 0; u < 8; ++u)
                rows[i / 8 * 8 + u] += cosine(u, i % 8) * value;
        }
        for (std::size_t i = 0; i < 64; ++i) {
            for (std::size_t v = 0; v < 8; ++v)
                result[8 * v + i % 8] += cosine(v, i / 8) * rows[i];
        }
        return result;
    }

private:
    static double cosine(std::size_t frequency, std::size_t place)
    {
        const auto u = static_cast<double>(frequency);
        const auto x = static_cast<double>(place);
        return (frequency == 0 ? std::numbers::sqrt2 / 4 : 0.5) *
               std::cos((2 * x + 1) * u * std::numbers::pi / 16);
    }
    // Beyond the picture its last column and line go on.
    double sample(std::size_t component, std::size_t x, std::size_t y) const
    {
        const std::size_t across = component == 0 ? 1 : across_;
        const std::size_t down = component == 0 ? 1 : down_;
        std::array<double, 3> mean{};
        for (std::size_t i = 0; i < across * down; ++i) {
            const std::size_t at_x =
                std::min<std::size_t>(across * x + i % across, picture_.width - 1);
            const std::size_t at_y =
                std::min<std::size_t>(down * y + i / across, picture_.height - 1);
            for (std::size_t c = 0; c < picture_.channels; ++c)
                mean[c] +=
                    picture_.samples[(at_y * picture_.width + at_x) * picture_.channels + c] /
                    static_cast<double>(across * down);
        }
        const auto [r, g, b] = mean;
        if (!converts_)
            return std::floor(mean[component] - 128);
        switch (component) {
        case 0:
            return std::floor((19595 * r + 38470 * g + 7471 * b) / 65536) - 128;
        case 1:
            return std::floor((-11059 * r - 21709 * g + 32768 * b) / 65536);
        default:
            return std::floor((32768 * r - 27439 * g - 5329 * b) / 65536);
        }
    }

    const JPEGTestPicture& picture_;
    std::size_t across_, down_;
    bool converts_;
};

// The coefficients that the reference reads are those of the picture, to half a quantiser and what
// the integers of the transform and the inverses lose, in the same bytes at every level.
TEST(JPEGStream, HoldsTheTransformOfThePictureForEveryKindAndSize)
{
    for (std::uint32_t seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto draw = [&](std::uint32_t below) {
            return static_cast<std::uint32_t>(random()) % below;
        };
        const std::uint32_t channels = seed % 5 == 0 ? 1 : 3;
        const bool is_rgb = channels == 3 && draw(2) == 0;
        JPEGTestSettings settings = {.key = all_keys[seed % 4],
                                     .quality = draw(3) == 0 ? 100 : draw(101),
                                     .color = is_rgb ? Color::rgb : Color::components,
                                     .restart_interval = draw(3) == 0 ? 0xFFFFFFFF : draw(6)};
        const std::uint32_t noise = draw(3) == 0 ? 0xFF : draw(16);
        const bool is_extreme = seed % 10 == 9;
        // One that takes more than the coded bytes of a row are counted on.
        const JPEGTestPicture whole = make_test_picture(
            seed == 9 ? 4000 : 1 + draw(60), 1 + draw(50), channels, [&](auto x, auto y, auto c) {
                return is_extreme ? 255 * draw(2)
                                  : (3 * x + 2 * y + 50 * c + draw(noise + 1)) & 0xFFU;
            });
        JPEGTestPicture picture = whole; // which may break off
        picture.height = settings.lines = draw(3) == 0 ? 1 + draw(whole.height) : whole.height;
        const Bytes stream = encode_test_picture(whole, settings);
        const SourcePlanes source(picture, settings.key,
                                  is_rgb && settings.key != jpeg_sampling_411);
        const auto planes = coefficients_by_reference(stream);
        ASSERT_EQ(planes.size(), channels);
        for (std::size_t c = 0; c < channels; ++c) {
            const JPEGReferencePlane& plane = planes[c];
            for (std::size_t i = 0; i < plane.blocks.size(); ++i) {
                const auto exact =
                    source.transform(c, i % plane.blocks_across, i / plane.blocks_across);
                for (std::size_t k = 0; k < 64; ++k)
                    ASSERT_NEAR(plane.blocks[i][k], exact[k], 0.52 * plane.quantisers[k] + 1)
                        << "component " << c << ", block " << i << ", coefficient " << k;
            }
        }
        for (const NUV_TestLevel& level : jpeg_levels()) {
            settings.cpu = level.cpu;
            ASSERT_EQ(encode_test_picture(whole, settings), stream) << level.name;
        }
        // The stream of a picture that broke off is that of one of so many lines, but for a header
        // that speaks of restarts which do not come any more.
        const Bytes shorter = encode_test_picture(picture, settings);
        ASSERT_TRUE(shorter == stream || JPEGTestSegments(shorter).payload(0xDD).empty());
    }
}

} // namespace
} // namespace nuv
