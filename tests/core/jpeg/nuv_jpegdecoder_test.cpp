#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegstreams.h"

namespace nuv {
namespace {

using Stream = Bytes;
using Code = NUV_JPEGCode;

struct Layout {
    std::uint32_t channels;
    std::uint32_t key;
    bool can_be_progressive = false;
};

constexpr Layout layouts[] = {
    {1, 0x111111, true}, {3, 0x111111, true}, {3, 0x211111, true}, {3, 0x221111, true},
    {3, 0x411111, true}, {3, 0x121111, true}, {3, 0x421111, true}, {3, 0x241111, true},
    {3, 0x141111, true}, {3, 0x222121},       {3, 0x221212},       {3, 0x412121},
    {3, 0x141212},       {3, 0x442222},       {4, 0x22111122},     {4, 0x11111111, true},
};

// First the DC of all, then for each component two bands and the bits that they left, then the bits
// of the DC.
std::string draw_progression(std::mt19937& random, std::uint32_t channels)
{
    std::ostringstream script;
    const auto put = [&](const std::string& components, std::uint32_t first, std::uint32_t last,
                         std::uint32_t high, std::uint32_t low) {
        script << components << ": " << first << ' ' << last << ' ' << high << ' ' << low << ';';
    };
    const std::string all = std::string("0 1 2 3").substr(0, 2 * channels - 1);
    const auto dc_bits = static_cast<std::uint32_t>(random() % 3);
    put(all, 0, 0, 0, dc_bits);
    for (std::uint32_t c = 0; c < channels; ++c) {
        const std::string one = std::to_string(c);
        const auto bits = static_cast<std::uint32_t>(random() % 4);
        const auto cut = static_cast<std::uint32_t>(1 + random() % 62);
        put(one, 1, cut, 0, bits);
        put(one, cut + 1, 63, 0, bits);
        for (std::uint32_t bit = bits; bit > 0; --bit)
            put(one, 1, 63, bit, bit - 1);
    }
    for (std::uint32_t bit = dc_bits; bit > 0; --bit)
        put(all, 0, 0, bit, bit - 1);
    return script.str();
}

JPEGReferenceSettings draw_settings(std::mt19937& random, const Layout& layout)
{
    static const std::array<std::vector<std::string>, 5> orders = {{
        {},
        {""},
        {},
        {"", "0;1;2", "2;0;1", "0 1;2", "1;0 2"},
        {"", "0;1;2;3", "0 3;1 2", "3;2;1;0"},
    }};
    JPEGReferenceSettings settings = {.quality = static_cast<int>(5 + random() % 96),
                                      .key = layout.key,
                                      .optimises = random() % 2 == 0};
    const auto restarts = static_cast<int>(random() % 12);
    settings.restart_interval = restarts < 8 ? restarts : 0;
    settings.restart_rows = restarts < 11 ? std::max(restarts - 7, 0) : 0;
    settings.is_progressive = layout.can_be_progressive && random() % 2 == 0;
    if (settings.is_progressive)
        settings.scans = draw_progression(random, layout.channels);
    else if (layout.key == 0x442222) // more blocks to an MCU than the reference takes
        settings.scans = "0;1;2";
    else
        settings.scans = orders[layout.channels][random() % orders[layout.channels].size()];
    return settings;
}

// Pictures of 1 x 1 up, of everything between flat colours and noise.
JPEGTestPicture draw_picture(std::mt19937& random, std::uint32_t channels)
{
    const auto side = [&] {
        return static_cast<std::uint32_t>(1 + random() % (random() % 4 == 0 ? 140 : 40));
    };
    const auto width = side();
    const auto height = side();
    const auto step = static_cast<std::uint32_t>(random() % 9);
    const auto noise = static_cast<std::uint32_t>(random() % 3 == 0 ? 0xFF : random() % 8);
    return make_test_picture(width, height, channels, [&](auto x, auto y, auto c) {
        return (step * (x + y * c) + (static_cast<std::uint32_t>(random()) & noise)) & 0xFFU;
    });
}

// A stream of the reference: the first ones of every layout, size and form in turn.
Stream draw_stream(std::uint32_t seed)
{
    std::mt19937 random(seed);
    const Layout& layout = layouts[seed % std::size(layouts)];
    return encode_by_reference(draw_picture(random, layout.channels),
                               draw_settings(random, layout));
}

constexpr std::int32_t chunks[] = {1, 2, 3, 511, whole};

TEST(JPEGDecoder, GivesTheSamplesOfTheReferenceForEveryLayoutSizeAndForm)
{
    for (std::uint32_t seed = 0; seed < 1600; ++seed) {
        SCOPED_TRACE(seed);
        const Stream stream = draw_stream(seed);
        const auto expected = decode_by_reference(stream);
        ASSERT_TRUE(expected);
        for (const NUV_TestLevel& level : jpeg_levels()) {
            const JPEGDecoded decoded =
                decode_stream(stream, chunks[seed % std::size(chunks)], as_it_is, level.cpu);
            ASSERT_TRUE(decoded.is_clean()) << level.name;
            ASSERT_EQ(decoded.picture.width, expected->width);
            ASSERT_EQ(decoded.picture.samples, expected->samples) << level.name;
        }
    }
}

// What is made of damage hangs neither on the processor nor on how far the reads go ahead, nor on a
// 0xFF at the end that might have begun a marker.
TEST(JPEGDecoder, AnswersDamageAlikeHoweverItReads)
{
    for (std::uint32_t seed = 0; seed < 1600; ++seed) {
        SCOPED_TRACE(seed);
        Stream stream = draw_stream(seed);
        std::mt19937 random(seed);
        const std::size_t scan = JPEGTestSegments(stream).scan_position;
        for (auto changes = random() % 4; changes > 0; --changes)
            stream[scan + random() % (stream.size() - scan)] ^=
                static_cast<std::uint8_t>(1U << random() % 8);
        if (random() % 3 == 0)
            stream.resize(scan + random() % (stream.size() - scan));
        const JPEGDecoded expected = decode_stream(stream);
        for (const NUV_TestLevel& level : jpeg_levels()) {
            const JPEGDecoded decoded =
                decode_stream(stream, chunks[seed % std::size(chunks)], as_it_is, level.cpu);
            ASSERT_EQ(decoded.start, expected.start);
            ASSERT_EQ(decoded.codes, expected.codes) << level.name;
            ASSERT_EQ(decoded.picture.samples, expected.picture.samples) << level.name;
        }
        stream.push_back(0xFF);
        ASSERT_EQ(decode_stream(stream).picture.samples, expected.picture.samples);
    }
}

// A block of a progressive stream: no DC, then these coefficients at a bit plane.
JPEGCraft craft_block(const std::vector<std::int32_t>& values, int plane)
{
    JPEGCraft craft;
    craft.quantisers().symbols(0x00, {0}).symbols(0x10, {0, 1, 2, 3, 4, 5, 6});
    craft.frame(0xC2, 8, 8, 8, {0x11}).scan({1}, 0, 0).bits(0, 3).flush();
    craft.scan({1}, 1, 63, plane);
    for (const std::int32_t value : values)
        craft.difference(value / (1 << plane), 3);
    return std::move(craft.bits(0, 3).flush());
}

// Refinements of any plane, in any order and again: a bit that is there is not added once more.
TEST(JPEGDecoder, SetsBitsOfCoefficientsWhateverTheOrderOfTheRefinements)
{
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto plane = static_cast<int>(random() % 3);
        std::vector<std::int32_t> values(1 + random() % 11);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] =
                static_cast<std::int32_t>(1 + random() % 7) * (i % 2 == 0 ? -1 : 1) * (1 << plane);
        JPEGCraft craft = craft_block(values, plane);
        for (auto scans = 1 + random() % 5; scans > 0; --scans) {
            const auto low = static_cast<int>(random() % 4);
            craft.flush().scan({1}, 1, 63, (low + 1) << 4 | low).bits(0, 3); // nothing new
            for (std::int32_t& value : values) {
                const auto bit = static_cast<std::uint32_t>(random() % 2);
                craft.bits(bit, 1);
                const std::int32_t magnitude = std::abs(value) | static_cast<std::int32_t>(bit)
                                                                     << low;
                value = value < 0 ? -magnitude : magnitude;
            }
        }
        const auto expected = decode_by_reference(craft_block(values, 0).end());
        ASSERT_TRUE(expected);
        ASSERT_EQ(decode_stream(craft.end()).picture.samples, expected->samples);
    }
}

// Behind each 0xFF that begins a marker.
std::vector<std::size_t> marker_places(const Stream& stream)
{
    std::vector<std::size_t> places;
    const JPEGTestSegments parts(stream);
    for (const auto& segment : parts.segments)
        places.push_back(segment.position - 3);
    for (const std::size_t place : parts.scan_markers)
        places.push_back(place + 1);
    return places;
}

void insert(Stream& stream, std::size_t place, const Stream& bytes)
{
    stream.insert(stream.begin() + static_cast<std::ptrdiff_t>(place), bytes.begin(), bytes.end());
}

TEST(JPEGDecoder, PassesOverFillBytesBeforeMarkersAndInData)
{
    const Stream stream =
        encode_by_reference(busy_picture(64, 48, 3), {.key = 0x221111, .restart_rows = 1});
    const JPEGDecoded expected = decode_stream(stream);
    const auto places = marker_places(stream);
    Stream filled = stream;
    for (auto place = places.rbegin(); place != places.rend(); ++place)
        insert(filled, *place, Stream(3, 0xFF));
    // More of them in front of a restart than any buffer holds.
    Stream flooded = stream;
    insert(flooded, places[places.size() - 2], Stream(200000, 0xFF));
    for (const Stream& changed : {filled, flooded}) {
        const JPEGDecoded decoded = decode_stream(changed);
        EXPECT_TRUE(decoded.is_clean());
        EXPECT_EQ(decoded.picture.samples, expected.picture.samples);
    }
}

TEST(JPEGDecoder, FindsTheHeightBehindTheScan)
{
    const Stream stream =
        encode_by_reference(busy_picture(37, 43, 3), {.key = 0x221111, .restart_interval = 2});
    const JPEGDecoded expected = decode_stream(stream);
    const auto places = marker_places(stream);
    Stream open = stream;
    const std::size_t height = JPEGTestSegments(stream).find(0xC0).position + 2;
    open[height] = 0;
    insert(open, open.size() - 2, {0xFF, 0xDC, 0, 4, 0, 43});
    // Another one in front of a restart says nothing new, whatever its number looks like.
    Stream repeated = stream;
    insert(repeated, places[places.size() - 3] - 1, {0xFF, 0xDC, 0, 4, 0xFF, 0xD7});
    for (const Stream& changed : {open, repeated}) {
        const JPEGDecoded decoded = decode_stream(changed, 5);
        EXPECT_TRUE(decoded.is_clean());
        EXPECT_EQ(decoded.picture.samples, expected.picture.samples);
    }
    EXPECT_EQ(decode_stream(first_bytes(open, open.size() - 5)).header, Code::bad_segment);
    open[open.size() - 3] = 0;
    EXPECT_EQ(decode_stream(open).header, Code::bad_segment);
}

// Lost intervals are gray; where one breaks off, the row above shows. What is behind is in place.
TEST(JPEGDecoder, GoesOnBehindLostIntervalsAndRepeatsTheRowAboveInBrokenOnes)
{
    const Stream stream =
        encode_by_reference(busy_picture(80, 64, 3), {.key = 0x111111, .restart_interval = 4});
    const JPEGDecoded intact = decode_stream(stream);
    const auto places = marker_places(stream);
    const std::size_t* const restarts = &places[JPEGTestSegments(stream).segments.size()];
    // MCUs 8 to 15, the last two of row 0 and the first six of row 1, and 20 to 23 of row 2.
    const Stream lost = cut(stream, restarts[1] - 1, restarts[3] - 1);
    const Stream broken = cut(stream, restarts[4] + 1, restarts[5] - 1);
    struct Case {
        const Stream& stream;
        std::size_t first, end; // MCUs
        bool shows_row_above;
    };
    for (const Case& c : {Case{lost, 8, 16, false}, Case{broken, 20, 24, true}}) {
        const JPEGDecoded decoded = decode_stream(c.stream);
        ASSERT_EQ(decoded.picture.samples.size(), intact.picture.samples.size());
        for (std::size_t y = 0; y < 64; ++y) {
            const bool is_hurt = y / 8 >= c.first / 10 && y / 8 <= (c.end - 1) / 10;
            EXPECT_EQ(decoded.codes[y], is_hurt ? Code::damaged_lines : Code::good) << y;
            for (std::size_t i = 0; i < 240; ++i) {
                const std::size_t mcu = y / 8 * 10 + i / 24;
                const bool is_missing = mcu >= c.first && mcu < c.end;
                const std::size_t from = is_missing && c.shows_row_above ? y - 8 : y;
                ASSERT_EQ(decoded.picture.samples[y * 240 + i],
                          from == y && is_missing ? 128 : intact.picture.samples[from * 240 + i])
                    << i << ", " << y;
            }
        }
    }
}

// RGB from YCbCr before the inverse transform is about what the formula gives behind it.
TEST(JPEGDecoder, ConvertsToRGBOnRequest)
{
    const JPEGTestPicture picture = make_test_picture(45, 35, 3, [](auto x, auto y, auto c) {
        return c == 0 ? 90 + x + y : c == 1 ? 128 + x / 2 : 140 - y / 2;
    });
    for (const NUV_TestLevel& level : jpeg_levels()) {
        const auto to_rgb = [](NUV_JPEGDecoder& decoder) {
            decoder.set_output_color(NUV_JPEGColor::s_rgb);
        };
        for (const std::uint32_t key : {0x111111U, 0x211111U, 0x221111U}) {
            const Stream stream = encode_by_reference(picture, {.quality = 95, .key = key});
            const JPEGDecoded ycc = decode_stream(stream);
            const JPEGDecoded rgb = decode_stream(stream, whole, to_rgb, level.cpu);
            ASSERT_TRUE(rgb.is_clean());
            for (std::size_t i = 0; i < ycc.picture.samples.size(); i += 3) {
                const double y = ycc.picture.samples[i];
                const double cb = ycc.picture.samples[i + 1] - 128.0;
                const double cr = ycc.picture.samples[i + 2] - 128.0;
                ASSERT_NEAR(rgb.picture.samples[i], y + 1.402 * cr, 3);
                ASSERT_NEAR(rgb.picture.samples[i + 1], y - 0.344 * cb - 0.714 * cr, 3);
                ASSERT_NEAR(rgb.picture.samples[i + 2], y + 1.772 * cb, 3);
            }
        }
    }
}

TEST(JPEGDecoder, DeliversOneComponentAlone)
{
    for (const bool is_progressive : {false, true}) {
        const Stream stream = encode_by_reference(
            busy_picture(41, 29, 3), {.key = 0x221111, .is_progressive = is_progressive});
        const JPEGDecoded all = decode_stream(stream);
        for (std::int32_t component = 0; component <= 3; ++component) {
            const JPEGDecoded one = decode_stream(stream, whole, [=](NUV_JPEGDecoder& decoder) {
                if (component < 3)
                    return decoder.set_component_filter(component);
                decoder.set_output_color(NUV_JPEGColor::ycbcr);
                decoder.set_luminance_only(true);
            });
            ASSERT_EQ(one.picture.samples.size(), all.picture.samples.size() / 3);
            for (std::size_t i = 0; i < one.picture.samples.size(); ++i)
                ASSERT_EQ(one.picture.samples[i],
                          all.picture.samples[3 * i + static_cast<std::size_t>(component % 3)]);
        }
    }
}

// The inverse transform of `side` points, by its formula.
double reduced_sample(const std::array<std::int32_t, 64>& coefficients, std::size_t side,
                      std::size_t x, std::size_t y)
{
    double sum = 0;
    for (std::size_t i = 0; i < side * side; ++i)
        sum += coefficients[i / side * 8 + i % side] * jpeg_cosine(i % side, x, side) *
               jpeg_cosine(i / side, y, side);
    return std::clamp(std::round(sum) + 128, 0.0, 255.0);
}

// At half, a quarter and an eighth of the size, rounded up, a sample is that of its block; where
// chroma has fewer blocks than luma, it is about the mean of its cell.
TEST(JPEGDecoder, ReducesByTransformsOfFewerPoints)
{
    const JPEGTestPicture picture = make_test_picture(90, 67, 3, [](auto x, auto y, auto c) {
        return c == 0 ? (x * x + y * 29 + x * y) & 0xFFU : 60 + x / 2;
    });
    for (const std::uint32_t key : {0x111111U, 0x211111U, 0x221111U, 0x411111U}) {
        const Stream stream = encode_by_reference(picture, {.quality = 98, .key = key});
        const auto planes = coefficients_by_reference(stream);
        for (const std::uint32_t scale : {2U, 4U, 8U}) {
            const std::size_t side = 8 / scale;
            const JPEGDecoded decoded = decode_stream(
                stream, whole, [=](NUV_JPEGDecoder& decoder) { decoder.set_scale(scale); });
            ASSERT_TRUE(decoded.is_clean());
            ASSERT_EQ(decoded.picture.width, (90 + scale - 1) / scale);
            ASSERT_EQ(decoded.picture.height, (67 + scale - 1) / scale);
            for (std::uint32_t y = 0; y < decoded.picture.height; ++y) {
                for (std::uint32_t x = 0; x < decoded.picture.width; ++x) {
                    const auto& block =
                        planes[0].blocks[y / side * planes[0].blocks_across + x / side];
                    ASSERT_NEAR(decoded.picture.at(x, y, 0),
                                reduced_sample(block, side, x % side, y % side), 1);
                    ASSERT_NEAR(decoded.picture.at(x, y, 2), std::min(60 + x * scale / 2.0, 105.0),
                                9);
                }
            }
        }
    }
}

TEST(JPEGDecoder, RefusesSettingsThatItDoesNotHave)
{
    using Decoder = NUV_JPEGDecoder;
    constexpr auto to_rgb = [](Decoder& d) { d.set_output_color(NUV_JPEGColor::s_rgb); };
    const std::pair<JPEGReferenceSettings, void (*)(Decoder&)> cases[] = {
        {{}, [](Decoder& d) { d.set_scale(3); }},
        {{}, [](Decoder& d) { d.set_component_filter(3); }},
        {{}, [](Decoder& d) { d.set_output_color(NUV_JPEGColor::gray); }},
        {{.is_progressive = true}, to_rgb},
        {{.key = 0x411111}, to_rgb},
        {{.scans = "0;1;2"}, to_rgb},
    };
    for (const auto& [settings, set] : cases) {
        const Stream stream = encode_by_reference(busy_picture(16, 16, 3), settings);
        EXPECT_EQ(decode_stream(stream, whole, set).start, Code::bad_parameter);
    }
}

} // namespace
} // namespace nuv
