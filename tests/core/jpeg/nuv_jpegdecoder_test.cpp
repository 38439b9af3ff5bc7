#include "tests/core/jpeg/nuv_jpegdecodetest.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>

namespace nuv {
namespace {

void expect_equal_to_reference(const std::vector<std::uint8_t>& stream, const std::string& what)
{
    const auto expected = decode_by_reference(stream);
    ASSERT_TRUE(expected) << what;
    const JPEGDecoded decoded = decode_stream(stream);
    ASSERT_TRUE(decoded.is_clean())
        << what << ": " << decoded.header << ' ' << decoded.start << ' ' << decoded.lines;
    ASSERT_EQ(decoded.picture.width, expected->width) << what;
    ASSERT_EQ(decoded.picture.height, expected->height) << what;
    ASSERT_EQ(decoded.picture.samples, expected->samples) << what;
}

struct Layout {
    std::uint32_t key;
    std::uint32_t channels;
    bool can_be_progressive;
};

constexpr Layout layouts[] = {
    {0x111111, 1, true},  {0x111111, 3, true},   {0x211111, 3, true},  {0x221111, 3, true},
    {0x411111, 3, true},  {0x121111, 3, true},   {0x421111, 3, true},  {0x241111, 3, true},
    {0x141111, 3, true},  {0x11111111, 4, true}, {0x222121, 3, false}, {0x221212, 3, false},
    {0x412121, 3, false}, {0x141212, 3, false},  {0x442222, 3, false}, {0x22111122, 4, false},
};

std::string name_of(const Layout& layout, std::uint32_t width, std::uint32_t height, int quality)
{
    char name[64];
    std::snprintf(name, sizeof(name), "%u components %x, %u x %u, quality %d", layout.channels,
                  layout.key, width, height, quality);
    return name;
}

constexpr std::array<std::array<std::uint32_t, 2>, 9> sizes = {
    {{1, 1}, {7, 9}, {8, 8}, {15, 17}, {16, 16}, {33, 17}, {31, 65}, {100, 3}, {129, 70}}};

TEST(JPEGDecoder, GivesTheSamplesOfTheReferenceForEveryLayoutSizeAndQuality)
{
    for (const Layout& layout : layouts) {
        for (const auto& [width, height] : sizes) {
            const JPEGTestPicture picture = busy_picture(width, height, layout.channels);
            for (const int quality : {5, 50, 75, 90, 100}) {
                const std::string what = name_of(layout, width, height, quality);
                JPEGReferenceSettings settings = {.quality = quality, .key = layout.key};
                if (layout.key == 0x442222) // more blocks to an MCU than the reference takes
                    settings.scans = "0;1;2";
                expect_equal_to_reference(encode_by_reference(picture, settings), what);
                settings.is_progressive = true;
                if (layout.can_be_progressive)
                    expect_equal_to_reference(encode_by_reference(picture, settings),
                                              what + ", progressive");
            }
        }
    }
}

// The streams whose form, not whose samples, differs from one interleaved scan.
struct Variant {
    const char* name;
    JPEGReferenceSettings settings;
};

const Variant variants[] = {
    {"three scans", {.key = 0x221111, .scans = "0;1;2"}},
    {"scans out of order", {.key = 0x211111, .scans = "2;0;1"}},
    {"two components and one", {.key = 0x211111, .scans = "0 1;2"}},
    {"one component and two", {.key = 0x221111, .scans = "1;0 2"}},
    {"tables redefined between scans", {.key = 0x221111, .optimises = true, .scans = "0;1;2"}},
    {"restarts at every row", {.key = 0x221111, .restart_rows = 1}},
    {"restarts within rows", {.key = 0x211111, .restart_interval = 7}},
    {"restarts at every MCU", {.key = 0x111111, .restart_interval = 1}},
    {"restarts in three scans", {.key = 0x221111, .restart_interval = 5, .scans = "0;1;2"}},
    {"progressive restarts", {.key = 0x221111, .is_progressive = true, .restart_interval = 3}},
    {"progressive restarts at rows", {.key = 0x421111, .is_progressive = true, .restart_rows = 3}},
    {"optimised", {.quality = 100, .key = 0x121111, .optimises = true}},
};

TEST(JPEGDecoder, GivesTheSamplesOfTheReferenceForEveryFormOfStream)
{
    const JPEGTestPicture picture = busy_picture(117, 75, 3);
    for (const Variant& variant : variants)
        expect_equal_to_reference(encode_by_reference(picture, variant.settings), variant.name);
}

TEST(JPEGDecoder, DoesNotDependOnTheSizeOfReads)
{
    const JPEGTestPicture picture = busy_picture(117, 75, 3);
    for (const Variant& variant : variants) {
        const auto stream = encode_by_reference(picture, variant.settings);
        const JPEGDecoded whole = decode_stream(stream);
        for (const std::int32_t chunk : {1, 2, 3, 511}) {
            const JPEGDecoded pieces = decode_stream(stream, chunk);
            EXPECT_TRUE(pieces.is_clean()) << variant.name;
            EXPECT_EQ(pieces.picture.samples, whole.picture.samples)
                << variant.name << " in pieces of " << chunk;
        }
    }
}

// Behind each 0xFF that begins a marker.
std::vector<std::size_t> marker_places(const std::vector<std::uint8_t>& stream)
{
    std::vector<std::size_t> places;
    const JPEGTestSegments header(stream);
    std::size_t at = 2;
    for (const auto& segment : header.segments) {
        places.push_back(at + 1);
        at = segment.position + segment.payload.size();
    }
    for (; at + 1 < stream.size(); ++at) {
        if (stream[at] == 0xFF && stream[at + 1] != 0)
            places.push_back(at + 1);
    }
    return places;
}

TEST(JPEGDecoder, PassesOverFillBytesBeforeMarkersAndInData)
{
    const JPEGTestPicture picture = busy_picture(64, 48, 3);
    const auto stream = encode_by_reference(picture, {.key = 0x221111, .restart_rows = 1});
    auto filled = stream;
    const auto places = marker_places(stream);
    for (auto place = places.rbegin(); place != places.rend(); ++place)
        filled.insert(filled.begin() + static_cast<std::ptrdiff_t>(*place), 3, 0xFF);
    EXPECT_EQ(decode_stream(filled).picture.samples, decode_stream(stream).picture.samples);
    EXPECT_TRUE(decode_stream(filled).is_clean());

    // More of them in front of a restart than any buffer holds.
    auto flooded = stream;
    const std::size_t in_data = places[places.size() - 2];
    flooded.insert(flooded.begin() + static_cast<std::ptrdiff_t>(in_data), 200000, 0xFF);
    EXPECT_EQ(decode_stream(flooded).picture.samples, decode_stream(stream).picture.samples);
    EXPECT_TRUE(decode_stream(flooded).is_clean());
}

// Moves the height from SOF into a DNL segment behind the scan.
std::vector<std::uint8_t> with_line_count_behind(std::vector<std::uint8_t> stream)
{
    const JPEGTestSegments parts(stream);
    for (const auto& segment : parts.segments) {
        if (segment.id != 0xC0)
            continue;
        stream.erase(stream.end() - 2, stream.end());
        for (const int byte :
             {0xFF, 0xDC, 0, 4, int{segment.payload[1]}, int{segment.payload[2]}, 0xFF, 0xD9})
            stream.push_back(static_cast<std::uint8_t>(byte));
        stream[segment.position + 1] = 0;
        stream[segment.position + 2] = 0;
    }
    return stream;
}

// Where the restart markers of a scan stand, and its end.
std::vector<std::size_t> restart_places(const std::vector<std::uint8_t>& stream)
{
    std::vector<std::size_t> places;
    for (std::size_t at = JPEGTestSegments(stream).scan_position; at + 1 < stream.size(); ++at) {
        if (stream[at] == 0xFF && ((stream[at + 1] & 0xF8U) == 0xD0 || stream[at + 1] == 0xD9))
            places.push_back(at);
    }
    return places;
}

TEST(JPEGDecoder, FindsTheHeightBehindTheScan)
{
    const JPEGTestPicture picture = busy_picture(37, 43, 3);
    const auto stream = encode_by_reference(picture, {.key = 0x221111, .restart_interval = 2});
    const auto open = with_line_count_behind(stream);
    const JPEGDecoded decoded = decode_stream(open, 5);
    EXPECT_TRUE(decoded.is_clean());
    EXPECT_EQ(decoded.picture.samples, decode_stream(stream).picture.samples);

    // Another one in front of a restart says nothing new, whatever its number looks like.
    auto repeated = stream;
    const std::uint8_t segment[] = {0xFF, 0xDC, 0, 4, 0xFF, 0xD7};
    repeated.insert(repeated.begin() + static_cast<std::ptrdiff_t>(restart_places(stream)[1]),
                    std::begin(segment), std::end(segment));
    EXPECT_TRUE(decode_stream(repeated, 5).is_clean());
    EXPECT_EQ(decode_stream(repeated).picture.samples, decoded.picture.samples);

    const std::vector<std::uint8_t> cut(open.begin(), open.end() - 5);
    EXPECT_EQ(decode_stream(cut).header, NUV_JPEGCode::bad_segment);
    auto zero = open;
    zero[zero.size() - 3] = 0;
    EXPECT_EQ(decode_stream(zero).header, NUV_JPEGCode::bad_segment);
}

// A lost interval is gray and costs nothing else.
TEST(JPEGDecoder, LeavesLostIntervalsBlankAndGoesOnBehindThem)
{
    const JPEGTestPicture picture = busy_picture(80, 64, 3);
    const auto stream = encode_by_reference(picture, {.key = 0x111111, .restart_interval = 4});
    const auto whole = decode_stream(stream);
    const auto places = restart_places(stream);
    // MCUs 8 to 15 are the last two of the first row and the first six of the second.
    auto damaged = stream;
    damaged.erase(damaged.begin() + static_cast<std::ptrdiff_t>(places[1]),
                  damaged.begin() + static_cast<std::ptrdiff_t>(places[3]));
    const JPEGDecoded decoded = decode_stream(damaged);
    EXPECT_EQ(decoded.lines, NUV_JPEGCode::damaged_lines);
    ASSERT_EQ(decoded.picture.samples.size(), whole.picture.samples.size());
    for (std::size_t y = 0; y < 64; ++y) {
        EXPECT_EQ(decoded.codes[y], y < 16 ? NUV_JPEGCode::damaged_lines : NUV_JPEGCode::good) << y;
        for (std::size_t x = 0; x < 80; ++x) {
            const std::size_t mcu = y / 8 * 10 + x / 8;
            const bool is_lost = mcu >= 8 && mcu < 16;
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_EQ(sample_at(decoded.picture, x, y, c),
                          is_lost ? 128 : sample_at(whole.picture, x, y, c))
                    << x << ", " << y;
        }
    }
}

// Where an interval breaks off, the row above shows, and the next interval is in its place.
TEST(JPEGDecoder, RepeatsTheRowAboveWhereAnIntervalBreaksOff)
{
    const JPEGTestPicture picture = busy_picture(32, 32, 1);
    const auto stream = encode_by_reference(picture, {.restart_interval = 4});
    const auto whole = decode_stream(stream);
    const auto places = restart_places(stream);
    auto damaged = stream;
    const auto begin = static_cast<std::ptrdiff_t>(places[1] + 2);
    damaged.erase(damaged.begin() + begin,
                  damaged.begin() + static_cast<std::ptrdiff_t>(places[2]));
    const JPEGDecoded decoded = decode_stream(damaged);
    ASSERT_EQ(decoded.picture.samples.size(), whole.picture.samples.size());
    for (std::size_t y = 0; y < 32; ++y) {
        const std::size_t from = y / 8 == 2 ? y - 8 : y;
        for (std::size_t x = 0; x < 32; ++x)
            ASSERT_EQ(sample_at(decoded.picture, x, y, 0), sample_at(whole.picture, x, from, 0))
                << x << ", " << y;
        EXPECT_EQ(decoded.codes[y], y / 8 == 2 ? NUV_JPEGCode::damaged_lines : NUV_JPEGCode::good);
    }
}

} // namespace
} // namespace nuv
