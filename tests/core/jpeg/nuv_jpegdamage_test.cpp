// Damaged pictures whose scans are stored before they are shown, and damage in front of markers.

#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegstreams.h"

namespace nuv {
namespace {

using Stream = Bytes;
using Code = NUV_JPEGCode;

double mean_difference(const JPEGTestPicture& a, const JPEGTestPicture& b)
{
    std::size_t sum = 0;
    for (std::size_t i = 0; i < a.samples.size(); ++i)
        sum += static_cast<std::size_t>(std::abs(a.samples[i] - b.samples[i]));
    return static_cast<double>(sum) / static_cast<double>(a.samples.size());
}

Stream progressive()
{
    return encode_by_reference(busy_picture(61, 45, 3), {.key = 0x221111, .is_progressive = true});
}

Stream in_three_scans()
{
    return encode_by_reference(busy_picture(61, 45, 3), {.scans = "0;1;2"});
}

Stream lossless_in_three_scans()
{
    return craft_lossless(make_lossless_picture(21, 9, 3, 8, 0), {.has_scan_each = true});
}

// Every bit of the last scan: what the scans before have stored is shown, with a warning or just
// as the reference shows it.
TEST(JPEGDamage, LeavesWhatTheScansBeforeHaveStored)
{
    struct Case {
        Stream stream;
        double most_different; // from the whole picture: bits of the last plane may be wrong
        std::size_t untouched; // components
    };
    const Case cases[] = {{progressive(), 8, 0}, {in_three_scans(), 256, 2}};
    for (const Case& c : cases) {
        const JPEGDecoded whole = decode_stream(c.stream);
        ASSERT_TRUE(whole.is_clean());
        const std::size_t start = places_of(c.stream, 0xDA).back() + 10; // behind its header
        std::size_t warned = 0;
        for (std::size_t bit = 8 * start; bit < 8 * (c.stream.size() - 2); bit += 5) {
            SCOPED_TRACE(bit);
            Stream stream = c.stream;
            stream[bit / 8] = static_cast<std::uint8_t>(stream[bit / 8] ^ 0x80U >> bit % 8);
            const JPEGDecoded decoded = decode_stream(stream);
            const bool is_clean = is_good(decoded.lines);
            warned += is_clean ? 0 : 1;
            ASSERT_TRUE(decoded.is_shown(is_clean ? Code::good : Code::damaged_lines));
            ASSERT_LT(mean_difference(decoded.picture, whole.picture), c.most_different);
            for (std::size_t i = 0; i < whole.picture.samples.size(); ++i)
                ASSERT_TRUE(i % 3 >= c.untouched ||
                            decoded.picture.samples[i] == whole.picture.samples[i]);
            // Refined coefficients stay in their range, outside of which everybody is free.
            const auto reference = decode_by_reference(stream);
            if (reference && is_clean && c.untouched == 0) {
                ASSERT_EQ(decoded.picture.samples, reference->samples);
            }
        }
        EXPECT_GT(warned, 50U);
    }
}

// With and without the end of the image, and with the last scan or without.
TEST(JPEGDamage, IsWhatNoScanBringsAndNotAMissingEnd)
{
    const Stream streams[] = {progressive(), in_three_scans(), lossless_in_three_scans()};
    for (const Stream& stream : streams) {
        SCOPED_TRACE(&stream - streams);
        const std::size_t end = stream.size() - 2;
        const std::size_t last_scan = places_of(stream, 0xDA).back();
        const JPEGDecoded whole = decode_stream(stream);
        const JPEGDecoded open = decode_stream(cut(stream, end, stream.size()));
        EXPECT_TRUE(open.is_clean());
        EXPECT_EQ(open.picture.samples, whole.picture.samples);
        const JPEGDecoded less = decode_stream(cut(stream, last_scan, stream.size()));
        EXPECT_TRUE(less.is_shown(Code::damaged_lines));
        // A progressive picture need not come down to the last bit.
        const bool is_progressive = &stream == streams;
        EXPECT_TRUE(decode_stream(cut(stream, last_scan, end))
                        .is_shown(is_progressive ? Code::good : Code::damaged_lines));
    }
    // All scans of the third component left out: two of them, and the first has the first bits of
    // all components, so that it alone is left whole.
    const Stream stream = encode_by_reference(busy_picture(61, 45, 3), {.scans = "0 1;2"});
    const JPEGDecoded decoded =
        decode_stream(cut(stream, places_of(stream, 0xDA)[1], stream.size()));
    EXPECT_TRUE(decoded.is_shown(Code::damaged_lines));
}

// The second of three scans is of no use: the third one is.
TEST(JPEGDamage, EndsAScanAndNotThoseBehindIt)
{
    for (const Stream& whole : {in_three_scans(), lossless_in_three_scans()}) {
        const Bytes expected = decode_stream(whole).picture.samples;
        Stream no_table = whole;
        no_table[places_of(whole, 0xDA)[1] + 6] = 0x33;
        Stream no_code = whole;
        for (std::size_t i = 0; i < 8; ++i) // nothing but ones
            no_code[places_of(whole, 0xDA)[1] + 14 + i] = i % 2 == 0 ? 0xFF : 0;
        for (const Stream& stream : {no_table, no_code}) {
            const JPEGDecoded decoded = decode_stream(stream);
            ASSERT_TRUE(decoded.is_shown(Code::damaged_lines));
            for (std::size_t i = 0; i < expected.size(); ++i)
                ASSERT_TRUE(i % 3 == 1 || decoded.picture.samples[i] == expected[i]) << i;
        }
    }
}

// Codes of 3 bits, and none for 111.
JPEGCraft gray_blocks(std::size_t frame, int width)
{
    JPEGCraft craft;
    craft.quantisers().symbols(0, {0, 1, 2, 3, 4, 5, 6}).symbols(0x10, {0, 1, 2, 0x10});
    return std::move(craft.frame(frame, 8, width, 8, {17}));
}

// With nothing stored there is nothing to show, but for what is mended.
TEST(JPEGDamage, IsAFailureBeforeAnythingIsStored)
{
    const auto first_scan = [](std::uint32_t code) {
        return gray_blocks(0xC2, 16).scan({1}, 0, 0, 0).bits(code, 3).bits(0x7FFFFFF, 27);
    };
    EXPECT_EQ(decode_stream(first_scan(7).end()).lines, Code::read_failed);
    EXPECT_TRUE(decode_stream(first_scan(0).end()).is_shown(Code::damaged_lines));
    JPEGCraft craft = gray_blocks(0xC2, 16).segment(0xDD, {0, 1}).scan({1}, 0, 0, 0);
    craft.bits(0x7FFFFFF, 27).flush().marker(0xD0).bits(0b110'111111, 9);
    const JPEGDecoded mended = decode_stream(
        craft.end(), whole, [](NUV_JPEGDecoder& decoder) { decoder.set_mends(true); });
    ASSERT_TRUE(mended.is_shown(Code::damaged_lines));
    EXPECT_EQ(mended.picture.at(0, 0, 0), 128);
    EXPECT_EQ(mended.picture.at(8, 0, 0), 128 + (63 + 4) / 8);
    // No DC table 3.
    EXPECT_EQ(decode_stream(gray_blocks(0xC2, 16).scan({1}, 0, 0, 0, 0x30).end()).lines,
              Code::bad_segment);
}

// What means nothing ends the picture; what the marker in front cuts short ends the interval. How
// much is read ahead does not matter.
TEST(JPEGDamage, EndsAnIntervalWithFewerBitsThanACodeHas)
{
    struct Case {
        std::uint32_t bits;
        std::uint32_t count;
        NUV_JPEGCode code;
    };
    // A DC difference of category 1 and an end of block are 7 bits, 0 0 1 x 0 0 0.
    const Case cases[] = {
        {0b111, 3, Code::damaged_lines},
        {0b111'11111'1111'1111, 16, Code::read_failed},
        {0b0011000'1, 8, Code::damaged_lines},
        {0b0011000'1'11111111, 16, Code::damaged_lines},
        {0b0011000'1'11111111'11111111, 24, Code::read_failed},
    };
    for (const Case& c : cases) {
        JPEGCraft craft = gray_blocks(0xC0, 32);
        craft.segment(0xDD, {0, 2}).scan({1}).bits(c.bits, c.count).flush().marker(0xD0);
        const Stream stream = craft.bits(0b001'1'000, 7).bits(0b001'1'000, 7).end();
        for (const std::int32_t chunk : {1, 2, 3, 1 << 20}) {
            const JPEGDecoded decoded = decode_stream(stream, chunk);
            EXPECT_EQ(decoded.lines, c.code) << c.bits << ' ' << chunk;
        }
    }
}

// One row of two blocks in each interval, and behind the units of the second one what is left.
TEST(JPEGDamage, IsDataThatIsLeftBehindAllUnits)
{
    struct Case {
        Bytes left; // in front of the marker
        bool is_damage;
    };
    const Case cases[] = {{{}, false},         {{0xFF}, false}, {{0xFF, 0xFF, 0xFF}, false},
                          {{0xFF, 0}, true},   {{0x12}, true},  {{0xFF, 0xFF, 0}, true},
                          {Bytes(99, 1), true}};
    for (const Case& c : cases) {
        for (const std::uint32_t row : {1U, 2U}) { // the last one ends the scan
            for (const std::size_t frame : {0xC0U, 0xC2U}) {
                JPEGCraft craft;
                craft.quantisers().symbols(0, {0, 1}).symbols(0x10, {0, 1});
                craft.frame(frame, 8, 16, 24, {17}).segment(0xDD, {0, 2});
                craft.scan({1}, 0, frame == 0xC0 ? 63 : 0);
                for (std::uint32_t i = 0; i < 3; ++i) {
                    craft.bits(0, frame == 0xC0 ? 12 : 6).flush();
                    for (const std::uint8_t byte : i == row ? c.left : Bytes())
                        craft.byte(byte);
                    if (i < 2)
                        craft.marker(0xD0 + i);
                }
                for (const std::int32_t chunk : {3, whole}) {
                    const JPEGDecoded decoded = decode_stream(craft.end(), chunk);
                    EXPECT_TRUE(decoded.is_shown(Code::good));
                    const std::uint32_t line = frame == 0xC0 ? 8 * row : 0;
                    EXPECT_EQ(decoded.left_over,
                              std::vector<std::uint32_t>(c.is_damage ? 1 : 0, line))
                        << &c - cases << ' ' << row << ' ' << frame;
                }
            }
        }
    }
}

// A code that means nothing in the third of four rows, with intervals of a row and without.
TEST(JPEGDamage, IsMendedWhereThatIsAskedFor)
{
    for (const bool has_restarts : {false, true}) {
        JPEGCraft craft;
        craft.quantisers().symbols(0, {0, 1}).symbols(0x10, {0, 1});
        craft.frame(0xC0, 8, 16, 32, {17}).segment(0xDD, {0, has_restarts ? 2 : 0}).scan({1});
        for (std::uint32_t i = 0; i < 4; ++i) {
            craft.bits(i == 2 ? 0x7FFFFF : 0, i == 2 ? 23 : 12);
            if (has_restarts && i < 3)
                craft.flush().marker(0xD0 + i);
        }
        const Stream stream = craft.end();
        EXPECT_EQ(decode_stream(stream).lines, Code::read_failed);
        const JPEGDecoded decoded =
            decode_stream(stream, whole, [](NUV_JPEGDecoder& decoder) { decoder.set_mends(true); });
        ASSERT_EQ(decoded.codes.size(), 32U);
        for (std::size_t y = 0; y < 32; ++y) {
            const bool is_lost = y >= 16 && (y < 24 || !has_restarts);
            EXPECT_EQ(decoded.codes[y], is_lost ? Code::damaged_lines : Code::good) << y;
        }
    }
}

// A new coefficient of a refinement has a sign and no more. Two blocks in intervals of their own:
// the second one is refined unless the scan ends with the first.
TEST(JPEGDamage, IsARefinementByMoreThanASign)
{
    const auto refined = [](std::uint32_t symbol) {
        JPEGCraft craft = gray_blocks(0xC2, 16);
        craft.segment(0xDD, {0, 1}).scan({1}, 0, 0, 0).bits(0, 3).flush().marker(0xD0);
        craft.bits(0, 3).flush().scan({1}, 1, 63, 5).bits(0, 3).flush().marker(0xD0);
        craft.bits(0, 3).flush().scan({1}, 1, 63, 0x54).bits(symbol << 5 | 31, 8).flush();
        const JPEGDecoded decoded = decode_stream(craft.marker(0xD0).bits(0b001'1'000, 7).end());
        const bool all_came = decoded.is_shown(Code::damaged_lines);
        EXPECT_TRUE(all_came);
        return all_came && decoded.picture.at(8, 0, 0) != 128;
    };
    EXPECT_TRUE(refined(7));  // cut short by the marker
    EXPECT_FALSE(refined(2)); // a value of 2 bits, which the byte has not, either
}

// Of a block in a scan of its own there is what came before its damage: a run out of the block
// behind its last coefficient but one is as a code that no table has.
TEST(JPEGDamage, LeavesNothingOfARunOutOfTheBlock)
{
    const auto decode = [](std::uint32_t last_symbol) {
        JPEGCraft craft;
        craft.quantisers().symbols(0, {0}).symbols(0x10, {0, 0x01, 0xF1, 0xC1, 0x11});
        craft.frame(0xC0, 8, 64, 64, {0x11, 0x11, 0x11}).scan({1});
        for (int i = 0; i < 64; ++i) // enough blocks for pairs to be looked for
            craft.bits(0, 6);
        craft.flush().scan({2}).bits(0, 3);
        for (const std::uint32_t symbol : {2U, 2U, 2U, 3U, 1U}) // up to coefficient 62
            craft.bits(symbol << 1 | 1, 4);
        return decode_stream(craft.bits(last_symbol << 1 | 1, 4).bits(0, 32).end());
    };
    const JPEGDecoded ran_out = decode(4);
    EXPECT_TRUE(ran_out.is_shown(Code::damaged_lines));
    EXPECT_EQ(ran_out.picture.samples, decode(7).picture.samples);
}

// Symbols without a value other than 16 zeros end a block, whatever zeros they tell of.
TEST(JPEGDamage, IsNoSymbolThatEndsABlockInAnotherWay)
{
    const auto decode = [](std::uint32_t end) {
        JPEGCraft craft = gray_blocks(0xC0, 512);
        craft.scan({1});
        for (int i = 0; i < 64; ++i)
            craft.bits(0b110'111111'001'1, 13).bits(end, 3);
        return decode_stream(craft.end());
    };
    EXPECT_TRUE(decode(3).is_clean());
    EXPECT_EQ(decode(3).picture.samples, decode(0).picture.samples);
}

// An interval that breaks off without a marker behind it goes on where it was read ahead to: 7
// bytes at once, and no more while 31 bits are left. The second one begins there.
TEST(JPEGDamage, IsMendedFromWhereItWasReadAheadTo)
{
    JPEGCraft craft;
    craft.quantisers().symbols(0, {0, 1, 2, 3, 4, 5, 6}).symbols(0x10, {0});
    craft.frame(0xC0, 8, 32, 16, {17}).scan({1}).bits(0b001'0'000'111, 10).bits(0, 23).bits(0, 23);
    for (int i = 0; i < 4; ++i)
        craft.bits(0b110'111000'000, 12);
    const JPEGDecoded decoded = decode_stream(craft.end(), whole, [](NUV_JPEGDecoder& decoder) {
        decoder.set_restart_rows(8);
        decoder.set_mends(true);
    });
    for (std::uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(decoded.picture.at(std::size_t{8} * i, 8, 0), 128 + 7 * (i + 1)) << i;
}

// A block whose refinement is cut short is as it was, however many of its bits are there, and the
// next interval is refined. The first coefficient is a new one; the 20 behind it get a bit each.
TEST(JPEGDamage, IsARefinementThatBreaksOff)
{
    const auto decode = [](bool is_refined) {
        JPEGCraft craft = gray_blocks(0xC2, 16);
        craft.segment(0xDD, {0, 1}).scan({1}, 0, 0, 0).bits(0, 3).flush().marker(0xD0);
        craft.bits(0, 3).flush().scan({1}, 2, 21, 5);
        for (int i = 0; i < 20; ++i)
            craft.bits(0b0011, 4);
        craft.flush().marker(0xD0).bits(0, 3).flush();
        if (is_refined) {
            craft.scan({1}, 1, 63, 0x54).bits(0b001'1'000, 7).bits(0x1FFFF, 17).marker(0xD0);
            craft.bits(0b001'1'000, 7);
        }
        return decode_stream(craft.end());
    };
    const JPEGDecoded refined = decode(true);
    const JPEGDecoded before = decode(false);
    EXPECT_TRUE(refined.is_shown(Code::damaged_lines));
    for (std::uint32_t i = 0; i < 64; ++i)
        EXPECT_EQ(refined.picture.at(i % 8, i / 8, 0), before.picture.at(i % 8, i / 8, 0)) << i;
    EXPECT_NE(refined.picture.at(8, 0, 0), before.picture.at(8, 0, 0));
}

// Old-style TIFF: intervals that no segment tells of, with markers between them or without.
TEST(JPEGDamage, IsNotALosslessIntervalThatTheCallerTellsOf)
{
    const JPEGLosslessPicture picture = make_lossless_picture(21, 9, 3, 8, 0);
    for (const bool has_scan_each : {false, true}) {
        Stream stream =
            craft_lossless(picture, {.restart_rows = 2, .has_scan_each = has_scan_each});
        const std::size_t interval = places_of(stream, 0xDD).front();
        stream = cut(stream, interval, interval + 6);
        for (const bool has_markers : {true, false}) {
            for (std::size_t i = stream.size() - 1; !has_markers && i-- > 0;) {
                if (stream[i] == 0xFF && stream[i + 1] >> 3 == 0xD0 >> 3)
                    stream = cut(stream, i, i + 2);
            }
            const JPEGDecoded decoded = decode_stream(
                stream, whole, [](NUV_JPEGDecoder& decoder) { decoder.set_restart_rows(2); });
            EXPECT_TRUE(decoded.is_clean());
            EXPECT_EQ(decoded.picture.samples, picture.lines());
        }
    }
}

TEST(JPEGLosslessDecoder, GivesExactSamplesForEveryPredictorPrecisionAndForm)
{
    std::mt19937 random(1);
    const auto draw = [&](std::uint32_t below) {
        return static_cast<std::uint32_t>(random() % below);
    };
    for (std::uint32_t round = 0; round < 840; ++round) {
        const std::uint32_t precisions[] = {2, 8, 9, 12, 16};
        const std::uint32_t channels[] = {1, 3, 4};
        const JPEGLosslessPicture picture =
            make_lossless_picture(1 + draw(round % 9 == 0 ? 150 : 20), 9, channels[round % 3],
                                  precisions[round % 5], draw(4));
        const JPEGLosslessSettings settings = {.predictor = static_cast<int>(1 + round % 7),
                                               .point_transform = draw(2),
                                               .restart_rows = draw(4),
                                               .has_scan_each = draw(3) == 0,
                                               .has_table_each = draw(3) == 0};
        SCOPED_TRACE(round);
        const Stream stream = craft_lossless(picture, settings);
        for (const NUV_TestLevel& level : jpeg_levels()) {
            const JPEGDecoded decoded =
                decode_stream(stream, round % 2 == 0 ? whole : 3, as_it_is, level.cpu);
            ASSERT_TRUE(decoded.is_clean()) << level.name;
            ASSERT_EQ(decoded.picture.samples, picture.lines(settings.point_transform))
                << level.name;
        }
    }
}

// A lost interval is rows of 0x80 bytes, and the rows behind it are as they were. Without another
// interval nothing more comes.
TEST(JPEGLosslessDecoder, FillsLostRowsAndGoesOnAtTheNextInterval)
{
    const auto picture = make_lossless_picture(19, 13, 1, 16, 0);
    const Stream stream = craft_lossless(picture, {.predictor = 4, .restart_rows = 2});
    const auto places = JPEGTestSegments(stream).scan_markers; // with the end of the image
    Stream nonsense = stream;                                  // codes that mean nothing
    std::fill_n(&nonsense[places[0] + 2], places[1] - places[0] - 2, std::uint8_t{0xFE});
    const Stream damaged[] = {
        cut(stream, places[5] + 4, places[6]), // the last row
        cut(stream, places[0], places[1]),     // rows 2 and 3, with their marker
        cut(stream, places[0] + 2, places[1]), // the same rows without it
        nonsense,
    };
    for (const Stream& changed : damaged) {
        const JPEGDecoded decoded = decode_stream(changed);
        Stream expected = picture.lines();
        for (std::uint32_t y = 0; y < picture.height; ++y) {
            const bool is_lost = &changed == damaged ? y == 12 : y == 2 || y == 3;
            ASSERT_EQ(decoded.codes[y], is_lost ? Code::damaged_lines : Code::good) << y;
            if (is_lost)
                std::fill_n(expected.begin() + std::ptrdiff_t{38} * y, 38, std::uint8_t{0x80});
        }
        ASSERT_EQ(decoded.picture.samples, expected);
    }
}

} // namespace
} // namespace nuv
