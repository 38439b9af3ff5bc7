#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegdecodetest.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <numbers>
#include <random>

namespace nuv {
namespace {

using Stream = std::vector<std::uint8_t>;

// A stream and what the three steps answer to it.
struct Refusal {
    const char* name;
    Stream stream;
    NUV_JPEGCode header = NUV_JPEGCode::good;
    NUV_JPEGCode start = NUV_JPEGCode::good;
    NUV_JPEGCode lines = NUV_JPEGCode::good;
};

JPEGCraft gray_frame()
{
    JPEGCraft craft;
    craft.quantisers().categories(0x00).symbols(0x10, {0x00, 0xF0, 0xF1});
    return craft.frame(0xC0, 8, 8, 8, {0x11});
}

JPEGCraft tables_only()
{
    JPEGCraft craft;
    return craft.quantisers().categories(0x00).symbols(0x10, {0x00, 0xF0, 0x01, 0x11});
}

std::vector<Refusal> header_refusals()
{
    std::vector<int> wide_table(129, 1);
    wide_table[0] = 0x10;
    std::vector<int> oversubscribed(17, 0);
    oversubscribed[1] = 3;
    oversubscribed.insert(oversubscribed.end(), {0, 1, 2});
    std::vector<int> too_many(17, 255);
    too_many[0] = 0;
    constexpr NUV_JPEGCode segment = NUV_JPEGCode::bad_segment;
    constexpr NUV_JPEGCode marker = NUV_JPEGCode::bad_marker;
    constexpr NUV_JPEGCode unsupported = NUV_JPEGCode::unsupported;
    return {
        {"nothing", {}, NUV_JPEGCode::io},
        {"other bytes", {'B', 'M', 1, 2}, NUV_JPEGCode::no_jpeg},
        {"fill before SOI", {0xFF, 0xFF, 0xD8, 0xFF}, NUV_JPEGCode::no_jpeg},
        {"TEM", JPEGCraft().marker(1).end(), NUV_JPEGCode::segment_trouble},
        {"a second SOI", JPEGCraft().marker(0xD8).end(), marker},
        {"a restart marker", JPEGCraft().marker(0xD3).end(), marker},
        {"JPG", JPEGCraft().segment(0xC8, {1}).end(), unsupported},
        {"DAC", JPEGCraft().segment(0xCC, {0, 1}).end(), unsupported},
        {"DHP", JPEGCraft().segment(0xDE, {0, 1}).end(), unsupported},
        {"EXP", JPEGCraft().segment(0xDF, {0, 1}).end(), unsupported},
        {"a segment that ends early", JPEGCraft().segment(0xE1, {1, 2}, 90).end(),
         NUV_JPEGCode::io},
        {"a length of 1", JPEGCraft().segment(0xE1, {1, 2}, 1).end(), segment},
        {"a reserved segment that ends early", JPEGCraft().segment(0x55, {1, 2}, 90).end(),
         NUV_JPEGCode::segment_trouble},
        {"quantisers of 16 bits", JPEGCraft().segment(0xDB, wide_table).end(), marker},
        {"quantiser selector 4", JPEGCraft().quantisers(4).end(), segment},
        {"no quantisers in DQT", JPEGCraft().segment(0xDB, {}).end(), segment},
        {"half a quantiser table", JPEGCraft().segment(0xDB, std::vector<int>(40, 0)).end(),
         segment},
        {"Huffman class 2", JPEGCraft().categories(0x20).end(), segment},
        {"Huffman selector 4", JPEGCraft().categories(0x04).end(), segment},
        {"more than 256 codes", JPEGCraft().segment(0xC4, too_many).end(), segment},
        {"codes beyond the segment",
         JPEGCraft().categories().segment(0xC4, oversubscribed, 19).end(), segment},
        {"DRI of 3 bytes", JPEGCraft().segment(0xDD, {0, 1, 2}).end(), segment},
        {"DNL of 3 bytes", JPEGCraft().segment(0xDC, {0, 1, 2}).end(), segment},
        {"SOF0 of 12 bits", JPEGCraft().frame(0xC0, 12, 8, 8, {0x11}).end(), marker},
        {"SOF2 of 9 bits", JPEGCraft().frame(0xC2, 9, 8, 8, {0x11}).end(), marker},
        {"SOF3 of 17 bits", JPEGCraft().frame(0xC3, 17, 8, 8, {0x11}).end(), marker},
        {"five components", JPEGCraft().frame(0xC0, 8, 8, 8, {17, 17, 17, 17, 17}).end(),
         unsupported},
        {"no components", JPEGCraft().frame(0xC0, 8, 8, 8, {}).end(), segment},
        {"factor 0", JPEGCraft().frame(0xC0, 8, 8, 8, {0x10}).end(), segment},
        {"factor 15", JPEGCraft().frame(0xC0, 8, 8, 8, {0xF1}).end(), segment},
        {"frame length", JPEGCraft().segment(0xC0, {8, 0, 8, 0, 8, 1, 1, 17, 0, 0}).end(), segment},
        {"a second frame", gray_frame().frame(0xC0, 8, 8, 8, {0x11}).end(), segment},
        {"a scan before the frame", tables_only().scan({1}).end(), segment},
        {"a scan of no components", gray_frame().scan({}).end(), segment},
        {"more components than the frame has", gray_frame().scan({1, 1}).end(), segment},
        {"an unknown component", gray_frame().scan({7}).end(), segment},
        {"scan length", gray_frame().segment(0xDA, {1, 1, 0, 0, 63, 0, 0}).end(), segment},
        {"table selector 4", gray_frame().scan({1}, 0, 63, 0, 0x40).end(), segment},
        {"DC and AC in one band", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 5).end(),
         segment},
        {"band backwards", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 5, 4).end(), segment},
        {"band past 63", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 1, 64).end(), segment},
        {"AC of two components",
         tables_only().frame(0xC2, 8, 8, 8, {17, 17, 17}).scan({1, 2}, 1, 5).end(), segment},
        {"plane 14", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 0, 14).end(), segment},
        {"planes two apart", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 0, 0x31).end(),
         segment},
        {"predictor 0", tables_only().frame(0xC3, 8, 8, 8, {17}).scan({1}, 0, 0).end(), segment},
        {"predictor 8", tables_only().frame(0xC3, 8, 8, 8, {17}).scan({1}, 8, 0).end(), segment},
        {"point transform of all bits",
         tables_only().frame(0xC3, 8, 8, 8, {17}).scan({1}, 1, 0, 8).end(), segment},
        {"no scan", gray_frame().end(), NUV_JPEGCode::good, NUV_JPEGCode::wrong_state},
    };
}

std::vector<Refusal> later_refusals()
{
    constexpr NUV_JPEGCode good = NUV_JPEGCode::good;
    std::vector<int> oversubscribed(17, 0);
    oversubscribed[1] = 3;
    oversubscribed.insert(oversubscribed.end(), {0, 1, 2});
    const auto frame = [](std::size_t id, int precision, const std::vector<int>& factors) {
        return tables_only().frame(id, precision, 8, 8, factors);
    };
    constexpr NUV_JPEGCode unsupported = NUV_JPEGCode::unsupported;
    return {
        {"extended sequential", frame(0xC1, 8, {17}).scan({1}).end(), good, unsupported},
        {"12 bits progressive", frame(0xC2, 12, {17}).scan({1}, 0, 0).end(), good, unsupported},
        {"arithmetic", frame(0xC9, 8, {17}).scan({1}).end(), good, unsupported},
        {"hierarchical", frame(0xC5, 8, {17}).scan({1}).end(), good, unsupported},
        {"two components", frame(0xC0, 8, {17, 17}).scan({1, 2}).end(), good, unsupported},
        {"3 to 1 across", frame(0xC0, 8, {0x31, 17, 17}).scan({1, 2, 3}).end(), good, unsupported},
        {"chroma finer than luma", frame(0xC0, 8, {17, 0x21, 17}).scan({1, 2, 3}).end(), good,
         unsupported},
        {"a progressive picture of the second list",
         frame(0xC2, 8, {0x22, 0x21, 0x21}).scan({1, 2, 3}, 0, 0).end(), good, unsupported},
        {"lossless and subsampled", frame(0xC3, 8, {0x21, 17, 17}).scan({1, 2, 3}, 1, 0).end(),
         good, unsupported},
        {"no quantisers",
         JPEGCraft().categories().symbols(0x10, {0}).frame(0xC0, 8, 8, 8, {17}).scan({1}).end(),
         good, NUV_JPEGCode::bad_segment},
        {"no DC table",
         JPEGCraft().quantisers().symbols(0x10, {0}).frame(0xC0, 8, 8, 8, {17}).scan({1}).end(),
         good, NUV_JPEGCode::bad_segment},
        {"no AC table",
         JPEGCraft().quantisers().categories().frame(0xC0, 8, 8, 8, {17}).scan({1}).end(), good,
         NUV_JPEGCode::bad_segment},
        {"an oversubscribed table", gray_frame().segment(0xC4, oversubscribed).scan({1}).end(),
         good, NUV_JPEGCode::bad_segment},
        {"lossless restarts within rows",
         frame(0xC3, 8, {17}).segment(0xDD, {0, 5}).scan({1}, 1, 0).end(), good,
         NUV_JPEGCode::bad_segment},
        {"a progressive picture beyond 32 bits",
         tables_only().frame(0xC2, 8, 65535, 65535, {17, 17}).scan({1}, 0, 0).end(), good,
         unsupported},
        {"a progressive picture beyond its data",
         tables_only().frame(0xC2, 8, 40000, 40000, {17}).scan({1}, 0, 0).end(), good,
         NUV_JPEGCode::read_failed},
        {"lossless planes beyond their data",
         tables_only().frame(0xC3, 8, 30000, 30000, {17, 17, 17}).scan({1}, 1, 0).end(), good,
         NUV_JPEGCode::read_failed},
        {"no such code", gray_frame().scan({1}).bits(31, 5).bits(0, 8).bits(0, 16).end(), good,
         good, NUV_JPEGCode::read_failed},
        {"a lossless category above 16",
         JPEGCraft().symbols(0, {17}).frame(0xC3, 8, 8, 8, {17}).scan({1}, 1, 0).bits(0, 30).end(),
         good, good, NUV_JPEGCode::damaged_lines},
        {"a refinement of more than one bit",
         JPEGCraft()
             .quantisers()
             .symbols(0x10, {0x02})
             .frame(0xC2, 8, 8, 8, {17})
             .scan({1}, 1, 63, 0x10)
             .bits(0, 24)
             .end(),
         good, good, NUV_JPEGCode::read_failed},
    };
}

TEST(JPEGDecoder, RefusesWhatBreaksTheRulesWithTheCodeOfItsKind)
{
    std::vector<Refusal> refusals = header_refusals();
    for (Refusal& refusal : later_refusals())
        refusals.push_back(std::move(refusal));
    for (const Refusal& refusal : refusals) {
        const JPEGDecoded decoded = decode_stream(refusal.stream);
        EXPECT_EQ(decoded.header, refusal.header) << refusal.name;
        EXPECT_EQ(decoded.start, refusal.start) << refusal.name;
        EXPECT_EQ(decoded.lines, refusal.lines) << refusal.name;
    }
}

// A picture of flat blocks: each is given by its DC difference alone.
TEST(JPEGDecoder, TakesBlocksInTheOrderOfTheScanAndComponentsByTheirIdentifiers)
{
    // Identifiers repeat: the components then come in order.
    JPEGCraft craft = tables_only();
    craft.segment(0xC0, {8, 0, 8, 0, 8, 3, 5, 17, 0, 5, 17, 0, 9, 17, 0}).scan({9, 5, 5});
    for (const int level : {40, -16, 8})
        craft.difference(level * 8).bits(0, 3);
    const JPEGDecoded decoded = decode_stream(craft.end());
    ASSERT_TRUE(decoded.is_clean());
    const std::vector<std::uint8_t> pixel(decoded.picture.samples.begin(),
                                          decoded.picture.samples.begin() + 3);
    EXPECT_EQ(pixel, (std::vector<std::uint8_t>{128 - 16, 128 + 8, 128 + 40}));
}

// More blocks to an MCU than a writer may put into one.
TEST(JPEGDecoder, DecodesMCUsOf24Blocks)
{
    JPEGCraft craft = tables_only();
    craft.frame(0xC0, 8, 32, 32, {0x44, 0x22, 0x22}).scan({1, 2, 3});
    for (int component = 0; component < 3; ++component) {
        for (int block = 0; block < (component == 0 ? 16 : 4); ++block)
            craft.difference(block == 0 ? -64 : 16).bits(0, 3);
    }
    const JPEGDecoded decoded = decode_stream(craft.end());
    ASSERT_TRUE(decoded.is_clean());
    for (std::size_t y = 0; y < 32; ++y) {
        for (std::size_t x = 0; x < 32; ++x) {
            const std::uint8_t* pixel = decoded.picture.line(static_cast<std::uint32_t>(y)) + 3 * x;
            const std::size_t luma = y / 8 * 4 + x / 8;
            const std::size_t chroma = y / 16 * 2 + x / 16;
            ASSERT_EQ(pixel[0], 120 + 2 * luma);
            ASSERT_EQ(pixel[1], 120 + 2 * chroma);
            ASSERT_EQ(pixel[2], 120 + 2 * chroma);
        }
    }
}

// Few bytes that claim much: what nothing is coded for costs nothing, scan by scan.
TEST(JPEGDecoder, StopsReadingScansWithoutEnd)
{
    const auto scans = [](std::size_t frame, const std::vector<int>& factors,
                          const std::function<void(JPEGCraft&, int)>& scan) {
        JPEGCraft craft = tables_only();
        craft.symbols(0x11, {0xE0}).frame(frame, 8, 2500, 2500, factors);
        for (int i = 0; i < 1500; ++i)
            scan(craft, i);
        return craft.end();
    };
    const Stream streams[] = {
        scans(0xC2, {17}, [](JPEGCraft& craft, int) { craft.scan({1}, 0, 0); }),
        scans(0xC3, {17, 17, 17}, [](JPEGCraft& craft, int i) { craft.scan({1 + i % 3}, 1, 0); }),
        // End-of-band runs of 32767 blocks over all 97969.
        scans(0xC2, {17},
              [](JPEGCraft& craft, int i) {
                  craft.scan({1}, 1, 63, i == 0 ? 0 : 0x10, 1).bits(0x3FFF, 17).bits(0x3FFF, 17);
                  craft.bits(0x3FFF, 17).flush();
              }),
    };
    for (const Stream& stream : streams) {
        const auto begin = std::chrono::steady_clock::now();
        const JPEGDecoded decoded = decode_stream(stream);
        EXPECT_EQ(decoded.start, NUV_JPEGCode::good);
        EXPECT_EQ(decoded.codes.size(), 2500U);
        EXPECT_EQ(decoded.lines, NUV_JPEGCode::damaged_lines);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    }
}

// A later DQT and DHT change the scans behind them, and no component that has begun.
TEST(JPEGDecoder, KeepsTheQuantisersThatStoodAtTheFirstScanOfAComponent)
{
    JPEGCraft craft = tables_only();
    craft.frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 0, 1);
    craft.difference(40).flush();
    std::vector<int> other(65, 99);
    other[0] = 0;
    craft.segment(0xDB, other).scan({1}, 0, 0, 0x10).bits(1, 1);
    const JPEGDecoded decoded = decode_stream(craft.end());
    ASSERT_TRUE(decoded.is_clean());
    EXPECT_EQ(decoded.picture.samples[0], 128 + (2 * 40 + 1 + 4) / 8);
}

// Between scans: what stops the reading there leaves the picture as it stands.
TEST(JPEGDecoder, WarnsOfScansThatAreNotAsTheyShouldBe)
{
    const auto first_scan = [] {
        JPEGCraft craft = tables_only();
        craft.frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 0, 3);
        return craft.difference(4).flush();
    };
    struct Case {
        const char* name;
        Stream stream;
        NUV_JPEGCode code = NUV_JPEGCode::damaged_lines;
    };
    const Case cases[] = {
        {"nothing more", first_scan().end(), NUV_JPEGCode::good},
        {"stray restarts and a DNL",
         first_scan().marker(0xD3).segment(0xDC, {0, 9}).marker(1).end(), NUV_JPEGCode::good},
        {"a bit plane skipped", first_scan().scan({1}, 0, 0, 0x21).bits(1, 1).end()},
        {"a bit plane once more", first_scan().scan({1}, 0, 0, 3).difference(4).end()},
        {"no end", first_scan().stream()},
        {"a segment that ends early", first_scan().segment(0xE1, {1, 2}, 90).end()},
        {"a reserved segment that ends early", first_scan().segment(0x55, {1, 2}, 90).end()},
        {"another picture", first_scan().marker(0xD8).end()},
        {"another frame", first_scan().frame(0xC0, 8, 8, 8, {17}).end()},
        {"a bad segment", first_scan().segment(0xDD, {1}).end(), NUV_JPEGCode::bad_segment},
        {"arithmetic coding", first_scan().segment(0xCC, {0, 1}).end(), NUV_JPEGCode::unsupported},
    };
    for (const Case& c : cases) {
        const JPEGDecoded decoded = decode_stream(c.stream);
        EXPECT_EQ(decoded.lines, c.code) << c.name;
        EXPECT_EQ(decoded.codes.size(), !is_failure(c.code) ? 8U : 1U) << c.name;
        EXPECT_TRUE(is_failure(c.code) || decoded.picture.samples[0] == 128 + 4) << c.name;
    }
}

// Scans that begin anew after some lines without a restart interval, with a marker or without.
TEST(JPEGDecoder, BeginsAnewAfterTheRowsItIsToldOf)
{
    JPEGCraft craft = tables_only();
    craft.frame(0xC0, 8, 16, 24, {17}).scan({1});
    for (int row = 0; row < 3; ++row) {
        craft.difference(8 * (row + 1)).bits(0, 3).difference(80).bits(0, 3).flush();
        if (row == 0)
            craft.marker(0xD5);
    }
    const Stream stream = craft.end();
    for (const std::uint32_t scale : {1U, 4U}) {
        const JPEGDecoded decoded = decode_stream(stream, 3, [=](NUV_JPEGDecoder& decoder) {
            decoder.set_restart_rows(5);
            decoder.set_scale(scale);
        });
        ASSERT_TRUE(decoded.is_clean()) << scale;
        for (std::uint32_t y = 0; y < 24 / scale; ++y) {
            EXPECT_EQ(decoded.picture.line(y)[0], 128 + y * scale / 8 + 1);
            EXPECT_EQ(decoded.picture.line(y)[16 / scale - 1], 128 + y * scale / 8 + 11);
        }
    }

    // In scans of one component the rows are those of its blocks, of which luma has two to an MCU.
    JPEGCraft scans = tables_only();
    scans.frame(0xC0, 8, 16, 48, {0x22, 0x11, 0x11});
    for (const int component : {1, 2, 3}) {
        scans.scan({component});
        const int blocks = component == 1 ? 4 : 1; // in 16 lines
        for (int block = 0; block < 3 * blocks; ++block) {
            scans.difference(block % blocks == 0 ? 80 : 0).bits(0, 3);
            if (block % blocks == blocks - 1)
                scans.flush();
        }
    }
    const JPEGDecoded flat = decode_stream(
        scans.end(), 3, [](NUV_JPEGDecoder& decoder) { decoder.set_restart_rows(16); });
    ASSERT_TRUE(flat.is_clean());
    EXPECT_EQ(flat.picture.samples, Stream(std::size_t{16} * 48 * 3, 138));
}

// The inverse transform of `side` points, by its formula.
std::uint8_t reduced_sample(const std::vector<double>& coefficients, int side, int x, int y)
{
    const auto basis = [&](int position, int frequency) {
        const double scale = frequency == 0 ? std::numbers::sqrt2 / 2 : 1;
        return scale / 2 * std::cos((2 * position + 1) * frequency * std::numbers::pi / (2 * side));
    };
    double sum = 0;
    for (int v = 0; v < side; ++v) {
        const double* row = &coefficients[8 * static_cast<std::size_t>(v)];
        for (int u = 0; u < side; ++u)
            sum += row[u] * basis(x, u) * basis(y, v);
    }
    return static_cast<std::uint8_t>(std::clamp(std::lround(sum) + 128, 0L, 255L));
}

TEST(JPEGDecoder, ReducesByTheTransformOfFewerPoints)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> level(-60, 60);
    const std::vector<std::int16_t> ones(64, 1);
    for (int round = 0; round < 200; ++round) {
        std::int16_t block[64];
        std::vector<double> exact;
        for (std::int16_t& coefficient : block) {
            coefficient = static_cast<std::int16_t>(level(random));
            exact.push_back(coefficient);
        }
        for (const int side : {1, 2, 4}) {
            std::int16_t samples[16];
            reduced_idct(block, ones.data(), static_cast<std::size_t>(side), samples);
            for (int i = 0; i < side * side; ++i)
                ASSERT_NEAR(deliver_sample(samples[i]),
                            reduced_sample(exact, side, i % side, i / side), 1);
        }
    }
}

// At half, a quarter and an eighth of the size a picture is about what the means of its cells are.
TEST(JPEGDecoder, DeliversReducedSizesRoundedUp)
{
    const JPEGTestPicture picture = make_test_picture(
        50, 37, 3, [](auto x, auto y, auto c) { return c == 0 ? 2 * x + y : 60 + x / 2; });
    for (const std::uint32_t key : {0x111111U, 0x211111U, 0x221111U, 0x411111U}) {
        const auto stream = encode_by_reference(picture, {.quality = 100, .key = key});
        for (const std::uint32_t scale : {2U, 4U, 8U}) {
            const JPEGDecoded decoded = decode_stream(
                stream, 1 << 30, [=](NUV_JPEGDecoder& decoder) { decoder.set_scale(scale); });
            ASSERT_TRUE(decoded.is_clean()) << key << ' ' << scale;
            ASSERT_EQ(decoded.picture.width, (50 + scale - 1) / scale);
            ASSERT_EQ(decoded.picture.height, (37 + scale - 1) / scale);
            for (std::uint32_t y = 0; y < 37 / scale; ++y) {
                for (std::uint32_t x = 0; x < 48 / scale; ++x) {
                    const double mean =
                        2 * (x * scale + (scale - 1) / 2.0) + y * scale + (scale - 1) / 2.0;
                    ASSERT_NEAR(sample_at(decoded.picture, x, y, 0), mean, 3);
                    ASSERT_NEAR(sample_at(decoded.picture, x, y, 2), 60 + x * scale / 2.0, 9);
                }
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
    const auto to_rgb = [](NUV_JPEGDecoder& decoder) {
        decoder.set_output_color(NUV_JPEGColor::s_rgb);
    };
    for (const std::uint32_t key : {0x111111U, 0x211111U, 0x221111U}) {
        const auto stream = encode_by_reference(picture, {.quality = 95, .key = key});
        const JPEGDecoded ycc = decode_stream(stream);
        const JPEGDecoded rgb = decode_stream(stream, 1 << 30, to_rgb);
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
    for (const JPEGReferenceSettings& settings :
         {JPEGReferenceSettings{.is_progressive = true}, JPEGReferenceSettings{.key = 0x411111},
          JPEGReferenceSettings{.scans = "0;1;2"}}) {
        const auto stream = encode_by_reference(picture, settings);
        EXPECT_EQ(decode_stream(stream, 1 << 30, to_rgb).start, NUV_JPEGCode::bad_parameter);
    }
}

TEST(JPEGDecoder, DeliversOneComponentAlone)
{
    const JPEGTestPicture picture = busy_picture(41, 29, 3);
    for (const bool is_progressive : {false, true}) {
        const auto stream =
            encode_by_reference(picture, {.key = 0x221111, .is_progressive = is_progressive});
        const JPEGDecoded all = decode_stream(stream);
        for (std::int32_t component = 0; component < 3; ++component) {
            const JPEGDecoded one = decode_stream(stream, 1 << 30, [=](NUV_JPEGDecoder& decoder) {
                decoder.set_component_filter(component);
            });
            ASSERT_EQ(one.picture.samples.size(), all.picture.samples.size() / 3);
            for (std::size_t i = 0; i < one.picture.samples.size(); ++i)
                ASSERT_EQ(one.picture.samples[i],
                          all.picture.samples[3 * i + static_cast<std::size_t>(component)]);
        }
        const JPEGDecoded luma = decode_stream(stream, 1 << 30, [](NUV_JPEGDecoder& decoder) {
            decoder.set_output_color(NUV_JPEGColor::ycbcr);
            decoder.set_luminance_only(true);
        });
        ASSERT_EQ(luma.picture.samples.size(), all.picture.samples.size() / 3);
        EXPECT_EQ(luma.picture.samples[5], all.picture.samples[15]);
    }
}

// Settings that do not go together.
TEST(JPEGDecoder, RefusesSettingsThatItDoesNotHave)
{
    const JPEGTestPicture picture = busy_picture(16, 16, 3);
    const auto baseline = encode_by_reference(picture, {});
    const auto progressive = encode_by_reference(picture, {.is_progressive = true});
    const auto start = [](const Stream& stream, const std::function<void(NUV_JPEGDecoder&)>& set) {
        return decode_stream(stream, 1 << 30, set).start;
    };
    EXPECT_EQ(start(baseline, [](auto& d) { d.set_scale(3); }), NUV_JPEGCode::bad_parameter);
    EXPECT_EQ(start(progressive, [](auto& d) { d.set_scale(2); }), NUV_JPEGCode::bad_parameter);
    EXPECT_EQ(start(baseline, [](auto& d) { d.set_component_filter(3); }),
              NUV_JPEGCode::bad_parameter);
    EXPECT_EQ(start(baseline, [](auto& d) { d.set_output_color(NUV_JPEGColor::gray); }),
              NUV_JPEGCode::bad_parameter);
}

} // namespace
} // namespace nuv
