#include "framework/buffer/nuv_srcbuffer.h"
#include "tests/support/nuv_bitmapjudge.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_testsamples.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<std::uint32_t>;

void put(Bytes& to, std::size_t at, std::size_t value, std::size_t bytes = 4)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
}

// `bytes` bytes of a bitmap file. What is not told hangs on a seed: fields that nobody reads, pads
// and spare bits are random; no word of the pixels' place, black and white, and profiles come in
// turns.
struct Stored {
    std::uint32_t header_size = 40;
    std::uint32_t depth = 24;
    int width = 5;
    int height = 3;
    std::uint32_t compression = 0;
    std::uint32_t used = 0;
    std::array<std::uint32_t, 3> masks = {};

    [[nodiscard]] Bytes file(std::size_t seed, std::size_t bytes) const
    {
        constexpr std::uint32_t spaces[] = {0, 0x73524742, 0x57696E20, 0x4C494E4B, 0x4D424544, 7};
        Bytes out = random_samples<std::uint8_t>(bytes, seed);
        const std::size_t colors = 14 + header_size;
        for (std::size_t i = 0; compression % 3 != 0 && i < bytes; ++i)
            out[i] %= 4; // in which run-length data has short runs, ends and deltas
        const bool is_short = header_size == 12;
        const std::size_t bytes_each = is_short ? 2 : 4; // of width and height
        put(out, 0, 0x4D42, 2);
        put(out, 10, seed % 4 == 0 ? colors + 1040 : 0);
        put(out, 14, header_size);
        put(out, 18, static_cast<std::size_t>(width), bytes_each);
        put(out, 18 + bytes_each, static_cast<std::size_t>(height), bytes_each);
        put(out, is_short ? 24 : 28, depth, 2);
        if (!is_short)
            put(out, 30, compression), put(out, 46, used), put(out, 70, spaces[seed % 6]);
        for (std::size_t i = 0; compression == 3 && i < 3; ++i)
            put(out, 54 + 4 * i, masks[i]);
        if (header_size >= 120)
            put(out, 126, 20), put(out, 130, seed % 5);
        for (std::size_t i = 0; depth == 1 && seed % 7 < 4 && i < 6; ++i)
            out[colors + i / 3 * (is_short ? 3 : 4) + i % 3] = i / 3 == seed % 2 ? 255 : 0;
        return out;
    }
};

TEST(Bitmaps, OfOtherProgramsAreReadAsTheyReadThem)
{
    NUV_TestImage rgb{13, 5, 3, 8, {}, {}, NUV_ColorType::s_rgb};
    rgb.data_type = NUV_DataType::u_integer, rgb.encode_type = NUV_EncodeType::raw;
    NUV_TestImage indices = rgb, bits = rgb;
    indices.channels = bits.channels = 1, indices.palette = true;
    bits.width = 24, bits.bits = 1, bits.color_type = NUV_ColorType::gray;
    NUV_TestImage coded = indices;
    coded.width = 12;
    auto row = reader_row<NUV_BMPInfo, NUV_ReadBMP>(
        "bmp", "NUV_BMPInfo::load()", "NUV_ReadBMP::engine()",
        {
            {"bmp/windows_1.bmp", "bmp/bilevel_24_inverted.pbm", bits},
            {"bmp/windows_4.bmp", "pnm/seven_colours.ppm", indices},
            {"bmp/windows_24.bmp", "pnm/colour.ppm", rgb},
            {"bmp/os2_4.bmp", "pnm/seven_colours.ppm", indices},
            {"bmp/os2_24.bmp", "pnm/colour.ppm", rgb},
            {"bmp/v5_24.bmp", "pnm/colour.ppm", rgb},
            {"bmp/v5_fields_32.bmp", "pnm/colour.ppm", rgb},
            {"bmp/rle8.bmp", "bmp/twelve_wide.ppm", coded},
        });
    row.begin = 0;
    row.is_damaged_elsewhere = true;
    check_reader(row);
}

// Each whole, cut somewhere, and with one byte of the headers changed.
TEST(Bitmaps, AreWhatThePlainReaderMakesOfThem)
{
    constexpr std::uint32_t sizes[] = {12, 40, 52, 56, 60, 96, 108, 112, 120, 124};
    constexpr std::uint32_t depths[] = {1, 4, 8, 16, 24, 32};
    constexpr std::uint32_t used[] = {0, 1, 2, 5, 255, 260};
    // Usual ones, reversed ones, none, and masks beyond bit 15, with gaps, and over one another.
    constexpr std::array<std::uint32_t, 3> masks[] = {{0xF800, 0x7E0, 0x1F},
                                                      {0x7C00, 0x3E0, 0x1F},
                                                      {0x1F, 0x7E0, 0xF800},
                                                      {0x3FF00000, 0xFFC00, 0x3FF},
                                                      {0x3FF, 0xFFC00, 0x3FF00000},
                                                      {0xFF0000, 0xFF00, 0xFF},
                                                      {0xFF000000, 0xFF0000, 0xFF00},
                                                      {0xFF, 0, 0xFF00},
                                                      {0, 0, 0},
                                                      {0x1FE00, 0xFF, 0x100},
                                                      {0xF, 0xFFF0, 0xFFFF0000},
                                                      {0xFFFFE, 1, 0xFFF00000},
                                                      {0xFFFF8000, 0x7000, 0xFFF},
                                                      {0xFFFFFFFF, 0, 0},
                                                      {0x0F00, 0xF0FF, 0},
                                                      {0xFF00, 0x1FF, 0},
                                                      {0x10000, 0x20000, 0x40000},
                                                      {0xFFF, 0xF000, 0xF0000}};
    for (std::size_t round = 0; round < 3600 && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const auto random = random_samples<std::uint16_t>(8, round);
        Stored stored{.header_size = sizes[round % 10], .depth = depths[round / 10 % 6]};
        stored.width = 1 + random[0] % 40;
        stored.height = (round / 60 % 2 == 0 ? 1 : -1) * (1 + random[1] % 6);
        stored.used = used[round / 120 % 6];
        stored.masks = masks[random[2] % std::size(masks)];
        if (stored.header_size > 12 && random[3] % 2 == 0)
            stored.compression = stored.depth > 8 ? 3 : stored.depth == 4 ? 2 : 1;
        Bytes file = stored.file(random[4], 1700);
        expect_as_model(file);
        expect_as_model(std::span(file).first(random[5] % file.size()));
        std::uint8_t& byte = file[random[6] % (14 + stored.header_size)];
        const int values[] = {0, 255, byte + 1, byte - 1};
        byte = static_cast<std::uint8_t>(values[random[7] % 4]);
        expect_as_model(file);
    }
}

TEST(Bitmaps, AreWholeFromTheHeaderOnHoweverShort)
{
    for (const int sign : {1, -1}) {
        for (const std::uint32_t depth : {1U, 4U, 16U, 24U, 32U}) {
            const Bytes file = Stored{.depth = depth, .width = 7, .height = 4 * sign}.file(1, 240);
            for (std::size_t bytes = 0; bytes < file.size(); ++bytes)
                expect_as_model(std::span(file).first(bytes));
        }
        // Lines in several bands, and longer than one.
        for (const int width : {3001, 150001}) {
            for (const std::size_t bytes : {1500000U, 1100001U, 700002U})
                expect_as_model(
                    Stored{.width = width, .height = sign * 480000 / width}.file(1, bytes));
        }
    }
    // Reads that fail give the zeros of missing bytes.
    const Bytes file = Stored{.height = -4}.file(1, 150);
    for (std::size_t reads = 54; reads < file.size(); ++reads) {
        NUV_TestChain chain;
        const NUV_TestStored stored(chain.manager(), file, 0);
        const auto mean = make_object<NUV_MeanStorage>(chain.manager(), reads);
        ASSERT_TRUE(mean->initiate(stored.storage()));
        chain.last(NUV_ReadBMP(chain.manager()).engine(mean.get()));
        EXPECT_EQ(chain.run_bytes(), model::Bitmap({&file[0], &file[reads]}, true).samples);
    }
}

TEST(Bitmaps, RefuseOrBearWhatTheirHeadersMayNotSay)
{
    const auto check = [](const Stored& stored, std::size_t at, const Numbers& values) {
        for (const std::uint32_t value : values) {
            SCOPED_TRACE(testing::Message() << at << ' ' << value);
            Bytes file = stored.file(9 * 6 + 4, 1200); // with a profile, where there can be one
            put(file, at, value);
            expect_as_model(file);
        }
    };
    check({}, 10, {0, 53, 54, 1200, 1201, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}); // pixels begin
    check({}, 18, {0, 0x7FFFFFFF, 0x80000000, 0x2AAAAAAB});                     // the width
    check({40, 1}, 18, {0x7FFFFFFF});
    check({40, 8}, 18, {0x7FFFFFFD});
    check({}, 22, {0, 0x7FFFFFFF, 0x80000000}); // the height
    check({40, 8}, 46, {1000, 65536, 65537, 0xFFFFFFFF});
    check({124}, 126, {0, 1197, 0x7FFFFFFF, 0xFFFFFFFF}); // a profile begins
    check({124}, 130, {0, 4, 1180, 1181, 0x7FFFFFFF, 0xFFFFFFFF});

    // A position that no storage has is the first thing that is said of a line.
    NUV_TestChain chain;
    const Stored tall{.depth = 32, .width = 1 << 20, .height = 1000};
    const NUV_TestStored stored(chain.manager(), tall.file(1, 99), 0);
    chain.last(NUV_ReadBMP(chain.manager()).engine(stored.storage()));
    std::uint32_t count = 0;
    const NUV_Held<NUV_SrcBuffer> lines(chain.last()->src_buffer());
    EXPECT_TRUE(lines->get(&count));
    EXPECT_STREQ(chain.status().method, "NUV_ReadDIBRawEngine::execute() - can't seek");
    EXPECT_EQ(chain.manager().diagnosis().byte, 54 + (std::int64_t{999} << 22));
}

} // namespace
} // namespace nuv
