#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegstreams.h"

#include <ctime>
#include <numeric>

namespace nuv {
namespace {

using Stream = Bytes;
using Code = NUV_JPEGCode;

// A stream and what the three steps answer to it.
struct Refusal {
    const char* name;
    Stream stream;
    Code header = Code::good;
    Code start = Code::good;
    Code lines = Code::good;
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

// A DHT of DC table 0 with so many codes of 1 bit, 2 bits and so on, and symbols 0.
std::vector<int> huffman_table(const std::vector<int>& counts)
{
    std::vector<int> payload(17, 0);
    std::copy(counts.begin(), counts.end(), payload.begin() + 1);
    payload.resize(payload.size() +
                   static_cast<std::size_t>(std::accumulate(counts.begin(), counts.end(), 0)));
    return payload;
}

// 8 x 8 differences of one category and no bits.
Stream lossless_of_category(int category)
{
    JPEGCraft craft;
    craft.symbols(0, {category}).frame(0xC3, 8, 8, 8, {17}).scan({1}, 1, 0);
    for (int i = 0; i < 64; ++i)
        craft.bits(0, 3);
    return craft.end();
}

// Three runs of 16 zeros, then `symbol`: the tables give its code 2.
Stream run_behind_48_zeros(int symbol)
{
    JPEGCraft craft;
    craft.quantisers().categories().symbols(0x10, {0x00, 0xF0, symbol});
    craft.frame(0xC0, 8, 8, 8, {0x11}).scan({1});
    return craft.bits(0, 5).bits(0b001'001'001'010, 12).bits(1, 1).bits(0, 30).bits(0, 30).end();
}

std::vector<Refusal> refusals()
{
    constexpr Code good = Code::good;
    const auto chain_of_ones = [](int last) {
        std::vector<int> counts(16, 1);
        counts[15] = last;
        return counts;
    };
    const auto with_table = [](const std::vector<int>& counts) {
        JPEGCraft craft = gray_frame();
        return craft.segment(0xC4, huffman_table(counts)).scan({1}).bits(0, 30).bits(0, 30).end();
    };
    const auto frame = [](std::size_t id, int precision, const std::vector<int>& factors) {
        return tables_only().frame(id, precision, 8, 8, factors);
    };
    std::vector<int> wide_table(129, 1);
    wide_table[0] = 0x10;
    const std::vector<int> too_many(16, 255);
    constexpr Code segment = Code::bad_segment;
    constexpr Code marker = Code::bad_marker;
    constexpr Code failed = Code::read_failed;
    constexpr Code unsupported = Code::unsupported;
    // clang-format off
    return {
        {"nothing", {}, Code::io},
        {"other bytes", {'B', 'M', 1, 2}, Code::no_jpeg},
        {"fill before SOI", {0xFF, 0xFF, 0xD8, 0xFF}, Code::no_jpeg},
        {"TEM", JPEGCraft().marker(1).end(), Code::segment_trouble},
        {"a second SOI", JPEGCraft().marker(0xD8).end(), marker},
        {"a restart marker", JPEGCraft().marker(0xD3).end(), marker},
        {"JPG", JPEGCraft().segment(0xC8, {1}).end(), unsupported},
        {"DAC", JPEGCraft().segment(0xCC, {0, 1}).end(), unsupported},
        {"DHP", JPEGCraft().segment(0xDE, {0, 1}).end(), unsupported},
        {"EXP", JPEGCraft().segment(0xDF, {0, 1}).end(), unsupported},
        {"a segment that ends early", JPEGCraft().segment(0xE1, {1, 2}, 90).end(), Code::io},
        {"a length of 1", JPEGCraft().segment(0xE1, {1, 2}, 1).end(), segment},
        {"a reserved segment that ends early", JPEGCraft().segment(0x55, {1, 2}, 90).end(), Code::segment_trouble},
        {"quantisers of 16 bits", JPEGCraft().segment(0xDB, wide_table).end(), marker},
        {"quantiser selector 4", JPEGCraft().quantisers(4).end(), segment},
        {"no quantisers in DQT", JPEGCraft().segment(0xDB, {}).end(), segment},
        {"half a quantiser table", JPEGCraft().segment(0xDB, std::vector<int>(40, 0)).end(), segment},
        {"Huffman class 2", JPEGCraft().categories(0x20).end(), segment},
        {"Huffman selector 4", JPEGCraft().categories(0x04).end(), segment},
        {"more than 256 codes", JPEGCraft().segment(0xC4, huffman_table(too_many)).end(), segment},
        {"codes beyond the segment", JPEGCraft().categories().segment(0xC4, huffman_table({2}), 18).end(), segment},
        {"DRI of 3 bytes", JPEGCraft().segment(0xDD, {0, 1, 2}).end(), segment},
        {"DNL of 3 bytes", JPEGCraft().segment(0xDC, {0, 1, 2}).end(), segment},
        {"SOF0 of 12 bits", JPEGCraft().frame(0xC0, 12, 8, 8, {0x11}).end(), marker},
        {"SOF2 of 9 bits", JPEGCraft().frame(0xC2, 9, 8, 8, {0x11}).end(), marker},
        {"SOF3 of 17 bits", JPEGCraft().frame(0xC3, 17, 8, 8, {0x11}).end(), marker},
        {"five components", JPEGCraft().frame(0xC0, 8, 8, 8, {17, 17, 17, 17, 17}).end(), unsupported},
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
        {"DC and AC in one band", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 5).end(), segment},
        {"band backwards", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 5, 4).end(), segment},
        {"band past 63", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 1, 64).end(), segment},
        {"AC of two components", tables_only().frame(0xC2, 8, 8, 8, {17, 17, 17}).scan({1, 2}, 1, 5).end(), segment},
        {"plane 14", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 0, 14).end(), segment},
        {"planes two apart", tables_only().frame(0xC2, 8, 8, 8, {17}).scan({1}, 0, 0, 0x31).end(), segment},
        {"predictor 0", tables_only().frame(0xC3, 8, 8, 8, {17}).scan({1}, 0, 0).end(), segment},
        {"predictor 8", tables_only().frame(0xC3, 8, 8, 8, {17}).scan({1}, 8, 0).end(), segment},
        {"point transform of all bits", tables_only().frame(0xC3, 8, 8, 8, {17}).scan({1}, 1, 0, 8).end(), segment},
        {"no scan", gray_frame().end(), Code::good, Code::wrong_state},
        {"extended sequential", frame(0xC1, 8, {17}).scan({1}).end(), good, unsupported},
        {"12 bits progressive", frame(0xC2, 12, {17}).scan({1}, 0, 0).end(), good, unsupported},
        {"arithmetic", frame(0xC9, 8, {17}).scan({1}).end(), good, unsupported},
        {"hierarchical", frame(0xC5, 8, {17}).scan({1}).end(), good, unsupported},
        {"two components", frame(0xC0, 8, {17, 17}).scan({1, 2}).end(), good, unsupported},
        {"3 to 1 across", frame(0xC0, 8, {0x31, 17, 17}).scan({1, 2, 3}).end(), good, unsupported},
        {"chroma finer than luma", frame(0xC0, 8, {17, 0x21, 17}).scan({1, 2, 3}).end(), good, unsupported},
        {"a progressive picture of the second list", frame(0xC2, 8, {0x22, 0x21, 0x21}).scan({1, 2, 3}, 0, 0).end(), good, unsupported},
        {"lossless and subsampled", frame(0xC3, 8, {0x21, 17, 17}).scan({1, 2, 3}, 1, 0).end(), good, unsupported},
        {"no quantisers", JPEGCraft().categories().symbols(0x10, {0}).frame(0xC0, 8, 8, 8, {17}).scan({1}).end(), good, segment},
        {"no DC table", JPEGCraft().quantisers().symbols(0x10, {0}).frame(0xC0, 8, 8, 8, {17}).scan({1}).end(), good, segment},
        {"no AC table", JPEGCraft().quantisers().categories().frame(0xC0, 8, 8, 8, {17}).scan({1}).end(), good, segment},
        {"a complete table", with_table({2})},
        {"a code for all but 16 ones", with_table(chain_of_ones(1))},
        {"a code of 16 ones", with_table(chain_of_ones(2)), good, segment},
        {"a DNL before the scan", gray_frame().segment(0xDC, {0, 9}).scan({1}).bits(0, 5).bits(0, 3).end()},
        {"three codes of 1 bit", with_table({3}), good, segment},
        {"a full table and one more", with_table({1, 2, 1}), good, segment},
        {"no code for anything", with_table({}), good, good, failed},
        {"coefficient 63 behind a run", run_behind_48_zeros(0xE1)},
        {"coefficient 64 behind a run", run_behind_48_zeros(0xF1), good, good, failed},
        {"zeros past the end", run_behind_48_zeros(0xF0)},
        {"lossless restarts within rows", frame(0xC3, 8, {17}).segment(0xDD, {0, 5}).scan({1}, 1, 0).end(), good, segment},
        {"progressive, beyond 32 bits", tables_only().frame(0xC2, 8, 65535, 65535, {17, 17}).scan({1}, 0, 0).end(), good, unsupported},
        {"progressive, beyond its data", tables_only().frame(0xC2, 8, 40000, 40000, {17}).scan({1}, 0, 0).end(), good, failed},
        {"lossless, beyond its data", tables_only().frame(0xC3, 8, 30000, 30000, {17, 17, 17}).scan({1}, 1, 0).end(), good, failed},
        {"no such code", gray_frame().scan({1}).bits(31, 5).bits(0, 8).bits(0, 16).end(), good, good, failed},
        {"lossless differences of category 16", lossless_of_category(16)},
        {"a lossless category above 16", lossless_of_category(17), good, good, Code::damaged_lines},
        {"a refinement of 2 bits", frame(0xC2, 8, {17}).symbols(0x10, {0x02}).scan({1}, 1, 63, 0x10).bits(0, 24).end(), good, good, failed},
    };
    // clang-format on
}

TEST(JPEGDecoder, RefusesWhatBreaksTheRulesWithTheCodeOfItsKind)
{
    for (const Refusal& refusal : refusals()) {
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
    const Bytes pixel(decoded.picture.samples.begin(), decoded.picture.samples.begin() + 3);
    EXPECT_EQ(pixel, (Bytes{128 - 16, 128 + 8, 128 + 40}));
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
    const auto expected = make_test_picture(32, 32, 3, [](auto x, auto y, auto c) {
        return 120 + 2 * (c == 0 ? y / 8 * 4 + x / 8 : y / 16 * 2 + x / 16);
    });
    EXPECT_EQ(decoded.picture.samples, expected.samples);
}

// Few bytes that claim much: what nothing is coded for costs nothing, scan by scan.
TEST(JPEGDecoder, StopsReadingScansWithoutEnd)
{
    const auto scans = [](std::size_t frame, int side, const std::vector<int>& factors,
                          const std::function<void(JPEGCraft&, int)>& scan) {
        JPEGCraft craft = tables_only();
        craft.symbols(0x11, {0xE0, 0x01}).frame(frame, 8, side, side, factors);
        for (int i = 0; i < 1500; ++i)
            scan(craft, i);
        return craft.end();
    };
    const auto run = [](JPEGCraft& craft, int first, int high_low, int blocks) {
        craft.scan({1}, first, 63, high_low, 1);
        for (; blocks > 0; blocks -= 32767)
            craft.bits(0x3FFF, 17);
        craft.flush();
    };
    const auto runs = [&](JPEGCraft& craft, int i) { run(craft, 1, i == 0 ? 0 : 0x10, 313 * 313); };
    const auto beside = [&](JPEGCraft& craft, int i) { // a coefficient that each block has
        if (i > 0)
            return run(craft, 2, 0x10, 750 * 750);
        craft.scan({1}, 1, 1, 0, 1);
        for (int block = 0; block < 750 * 750; ++block)
            craft.bits(0b001'1, 4);
        craft.flush();
    };
    const Stream streams[] = {
        scans(0xC2, 2500, {17}, [](JPEGCraft& craft, int) { craft.scan({1}, 0, 0); }),
        scans(0xC3, 2500, {17, 17, 17}, [](auto& craft, int i) { craft.scan({1 + i % 3}, 1, 0); }),
        scans(0xC2, 2500, {17}, runs),
        scans(0xC2, 6000, {17}, beside),
    };
    for (const Stream& stream : streams) {
        const std::clock_t begin = std::clock(); // of the processor
        const JPEGDecoded decoded = decode_stream(stream);
        EXPECT_EQ(decoded.start, Code::good);
        EXPECT_EQ(decoded.codes.size(), decoded.picture.height);
        EXPECT_EQ(decoded.lines, Code::damaged_lines);
        EXPECT_LT(std::clock() - begin, 5 * CLOCKS_PER_SEC);
    }
}

TEST(JPEGDecoder, EndsRunsOfEmptyBandsWithTheirInterval)
{
    JPEGCraft craft;
    craft.quantisers().symbols(0x00, {3}).symbols(0x10, {0x00, 0x03, 0x40});
    craft.frame(0xC2, 8, 32, 8, {0x11}).segment(0xDD, {0, 2}).scan({1}, 0, 0);
    craft.bits(5, 6).bits(5, 6).flush().marker(0xD0).bits(6, 6).bits(5, 6).flush();
    craft.scan({1}, 1, 63).bits(2, 3).bits(0, 4).flush().marker(0xD0); // 16 blocks
    const Stream stream = craft.bits(1, 3).bits(6, 3).bits(0, 3).bits(0, 3).end();
    const JPEGDecoded decoded = decode_stream(stream);
    EXPECT_TRUE(decoded.is_clean());
    EXPECT_EQ(decoded.picture.samples, decode_by_reference(stream)->samples);
}

// Bits for two of the blocks that a run goes over, and then for one more.
TEST(JPEGDecoder, RefinesInRunsWhatHasCoefficientsInTheBand)
{
    JPEGCraft craft;
    craft.quantisers().symbols(0x00, {0}).symbols(0x10, {0x01, 0x31, 0x11, 0x00, 0x30, 0x40});
    craft.frame(0xC2, 8, 24 * 8, 8, {0x11}).scan({1}, 0, 0).bits(0, 24 * 3).flush();
    craft.scan({1}, 1, 5, 0x02);
    for (int i = 0; i < 24; ++i) {
        craft.bits(0b000'1, 4); // coefficient 1, and 5 or nothing more
        i == 9 || i == 20 ? craft.bits(0b001'1, 4) : craft.bits(3, 3);
    }
    craft.flush().scan({1}, 2, 5, 0x21).bits(0b100'110, 6).bits(1, 1); // 14 blocks
    craft.bits(0b010'1, 4).bits(0b100'010, 6).bits(1, 1); // coefficient 3, and 10 blocks
    craft.flush().scan({1}, 2, 5, 0x10).bits(0b101'1000, 7).bits(0b101, 3); // all 24
    const Stream stream = craft.end();
    const JPEGDecoded decoded = decode_stream(stream);
    EXPECT_TRUE(decoded.is_clean());
    EXPECT_EQ(decoded.picture.samples, decode_by_reference(stream)->samples);
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
        Code code = Code::damaged_lines;
    };
    // clang-format off
    const Case cases[] = {
        {"nothing more", first_scan().end(), Code::good},
        {"stray restarts and a DNL", first_scan().marker(0xD3).segment(0xDC, {0, 9}).marker(1).end(), Code::good},
        {"a bit plane skipped", first_scan().scan({1}, 0, 0, 0x21).bits(1, 1).end()},
        {"a bit plane once more", first_scan().scan({1}, 0, 0, 3).difference(4).end()},
        {"no end", first_scan().stream()},
        {"a segment that ends early", first_scan().segment(0xE1, {1, 2}, 90).end()},
        {"a reserved segment that ends early", first_scan().segment(0x55, {1, 2}, 90).end()},
        {"another picture", first_scan().marker(0xD8).end()},
        {"another frame", first_scan().frame(0xC0, 8, 8, 8, {17}).end()},
        {"a bad segment", first_scan().segment(0xDD, {1}).end()},
        {"arithmetic coding", first_scan().segment(0xCC, {0, 1}).end()},
    };
    // clang-format on
    for (const Case& c : cases) {
        const JPEGDecoded decoded = decode_stream(c.stream);
        EXPECT_EQ(decoded.lines, c.code) << c.name;
        EXPECT_EQ(decoded.codes.size(), 8U) << c.name;
        EXPECT_EQ(decoded.picture.samples[0], 128 + 4) << c.name;
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
            EXPECT_EQ(decoded.picture.at(0, y, 0), 128 + y * scale / 8 + 1);
            EXPECT_EQ(decoded.picture.at(16 / scale - 1, y, 0), 128 + y * scale / 8 + 11);
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

} // namespace
} // namespace nuv
