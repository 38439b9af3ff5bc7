#include "framework/buffer/nuv_srcbuffer.h"
#include "tests/support/nuv_bitmapjudge.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Random = std::mt19937_64;

void put(Bytes& to, std::size_t at, std::uint32_t value, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
}

// A bitmap file. What is not told is random: fields that nobody reads, pads and spare bits.
struct Stored {
    std::uint32_t header_size = 40;
    std::uint32_t depth = 8;
    std::int32_t width = 5;
    std::int32_t height = 3;
    std::uint32_t compression = 0;
    std::uint32_t used = 0;
    std::array<std::uint32_t, 3> masks = {};
    std::optional<std::uint32_t> off_bits = std::nullopt; // where the pixels are, else
    std::uint32_t gap = 0;                                // before the pixels
    std::optional<Bytes> pixels = std::nullopt;
    std::array<std::uint32_t, 3> profile = {}; // kind, place, bytes
    std::optional<std::array<std::uint8_t, 6>> colors = std::nullopt;

    [[nodiscard]] Bytes file(std::uint64_t seed) const
    {
        const std::uint32_t entry = header_size == 12 ? 3 : 4;
        const std::uint32_t limit = depth <= 8 ? 1U << depth : 0;
        const std::uint32_t entries = std::max(used & 0xFFFF, (used & 0xFFFF) == 0 ? limit : 0);
        const bool has_masks_behind = header_size == 40 && compression == 3;
        const std::size_t headers = 14 + header_size + (has_masks_behind ? 12 : 0);
        const std::size_t start = headers + std::size_t{entries} * entry + gap;
        const std::size_t line = (static_cast<std::size_t>(width) * depth + 31) / 32 * 4;
        const std::size_t lines = static_cast<std::size_t>(std::abs(std::int64_t{height}));
        Bytes out = random_samples<std::uint8_t>(start + (pixels ? 0 : line * lines), seed);
        put(out, 0, 0x4D42, 2);
        put(out, 10, off_bits.value_or(static_cast<std::uint32_t>(start)), 4);
        put(out, 14, header_size, 4);
        const std::size_t number = header_size == 12 ? 2 : 4; // bytes of one
        put(out, 18, static_cast<std::uint32_t>(width), number);
        put(out, 18 + number, static_cast<std::uint32_t>(height), number);
        put(out, 20 + 2 * number, depth, 2);
        if (header_size >= 40)
            put(out, 30, compression, 4), put(out, 46, used, 4);
        for (std::size_t i = 0; i < 3 && compression == 3; ++i)
            put(out, 54 + 4 * i, masks[i], 4);
        if (header_size >= 60)
            put(out, 70, profile[0], 4);
        if (header_size >= 120)
            put(out, 126, profile[1], 4), put(out, 130, profile[2], 4);
        for (std::size_t i = 0; colors && i < 6; ++i)
            out[headers + i / 3 * entry + i % 3] = (*colors)[i];
        if (pixels)
            out.insert(out.end(), pixels->begin(), pixels->end());
        return out;
    }
};

[[nodiscard]] Bytes front_of(const Bytes& file, std::size_t bytes)
{
    return {file.begin(), file.begin() + static_cast<std::ptrdiff_t>(bytes)};
}

// Whole, cut somewhere, and with one byte of the headers changed.
void check_forms(const Stored& stored, Random& random)
{
    const Bytes file = stored.file(random());
    expect_as_model(file);
    expect_as_model(front_of(file, random() % file.size()));
    Bytes changed = file;
    std::uint8_t& byte = changed[random() % (14 + stored.header_size)];
    const std::uint8_t values[] = {0, 255, static_cast<std::uint8_t>(byte + 1),
                                   static_cast<std::uint8_t>(byte - 1)};
    byte = values[random() % 4];
    expect_as_model(changed);
}

TEST(Bitmaps, OfOtherProgramsAreReadAsTheyReadThem)
{
    const auto image = [](std::uint32_t width, std::uint16_t channels, std::uint16_t bits = 8) {
        const auto color = bits == 1 ? NUV_ColorType::gray : NUV_ColorType::s_rgb;
        const bool palette = channels == 1 && bits == 8;
        return NUV_TestImage{
            width, 5, channels, bits, NUV_DataType::u_integer, NUV_EncodeType::raw, color, palette};
    };
    auto row = reader_row<NUV_BMPInfo, NUV_ReadBMP>(
        "bmp", "NUV_BMPInfo::load()", "NUV_ReadBMP::engine()",
        {
            // clang-format off
            {"bmp/windows_1.bmp", "bmp/bilevel_24_inverted.pbm", image(24, 1, 1)},
            {"bmp/windows_4.bmp", "pnm/seven_colours.ppm", image(13, 1)},
            {"bmp/windows_24.bmp", "pnm/colour.ppm", image(13, 3)},
            {"bmp/os2_4.bmp", "pnm/seven_colours.ppm", image(13, 1)},
            {"bmp/os2_24.bmp", "pnm/colour.ppm", image(13, 3)},
            {"bmp/v5_24.bmp", "pnm/colour.ppm", image(13, 3)},
            {"bmp/v5_fields_32.bmp", "pnm/colour.ppm", image(13, 3)},
            {"bmp/rle8.bmp", "bmp/twelve_wide.ppm", image(12, 1)},
            // clang-format on
        });
    row.begin = 0;
    row.is_damaged_elsewhere = true;
    check_reader(row);
}

TEST(Bitmaps, AreWhatThePlainReaderMakesOfThem)
{
    Random random(1);
    constexpr std::uint32_t spaces[] = {0, 0x73524742, 0x57696E20, 0x4C494E4B, 0x4D424544, 7};
    for (const std::uint32_t size : {12U, 40U, 52U, 56U, 60U, 96U, 108U, 112U, 120U, 124U}) {
        for (const std::uint32_t depth : {1U, 4U, 8U, 16U, 24U, 32U}) {
            for (const std::uint32_t used : {0U, 1U, 2U, 5U, 1U << std::min(depth, 8U), 1000U}) {
                for (const std::int32_t direction : {1, -1}) {
                    SCOPED_TRACE(testing::Message() << size << ' ' << depth << ' ' << used);
                    Stored stored{.header_size = size, .depth = depth};
                    stored.width = 1 + static_cast<std::int32_t>(random() % 40);
                    stored.height = direction * (1 + static_cast<std::int32_t>(random() % 6));
                    stored.used = size == 12 ? 0 : used;
                    stored.gap = random() % 3 == 0 ? 9 : 0;
                    if (random() % 4 == 0)
                        stored.off_bits = 0;
                    stored.profile = {spaces[random() % 6], 20, 4};
                    if (random() % 2 == 0)
                        stored.colors = {0, 0, 0, 255, 255, 255};
                    else if (random() % 2 == 0)
                        stored.colors = {255, 255, 255, 0, 0, 0};
                    if (depth > 8 && size > 12 && random() % 2 == 0)
                        stored.compression = 3, stored.masks = {0xF800, 0x7E0, 0x1F};
                    check_forms(stored, random);
                    if (testing::Test::HasFailure())
                        return;
                }
            }
        }
    }
}

TEST(Bitmaps, CutFieldsOutOfPixels)
{
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
    Random random(2);
    for (const auto& mask : masks) {
        for (const std::uint32_t depth : {16U, 32U}) {
            for (const std::uint32_t size : {40U, 56U, 108U}) {
                SCOPED_TRACE(testing::Message() << mask[0] << ' ' << mask[1] << ' ' << mask[2]);
                check_forms({size, depth, 37, 2, 3, 0, mask}, random);
            }
        }
    }
}

TEST(Bitmaps, AreWholeFromTheHeaderOnHoweverShort)
{
    for (const std::int32_t height : {4, -4}) {
        for (const std::uint32_t depth : {1U, 4U, 16U, 24U, 32U}) {
            const Bytes file = Stored{.depth = depth, .width = 7, .height = height}.file(depth);
            for (std::size_t bytes = 0; bytes < file.size(); ++bytes)
                expect_as_model(front_of(file, bytes));
        }
        // Lines in several bands, and longer than one.
        for (const std::int32_t width : {3001, 150001}) {
            const Stored large{.depth = 24, .width = width, .height = height * 120000 / width};
            const Bytes file = large.file(9);
            for (const std::size_t cut : {0U, 1U, 3U, 200001U, 600001U})
                expect_as_model(front_of(file, file.size() - cut));
        }
    }
}

// Reads that fail give the zeros of missing bytes.
TEST(Bitmaps, AreWholeOutOfStoragesThatFail)
{
    const Bytes file = Stored{.depth = 24, .width = 7, .height = -4}.file(7);
    for (std::size_t reads = 54; reads < file.size(); ++reads) {
        NUV_TestChain chain;
        const NUV_TestStored stored(chain.manager(), file, 0);
        const auto mean = make_object<NUV_MeanStorage>(chain.manager(), reads);
        ASSERT_TRUE(mean->initiate(stored.storage()));
        chain.last(NUV_ReadBMP(chain.manager()).engine(mean.get()));
        EXPECT_EQ(chain.run_bytes(), model::Bitmap(front_of(file, reads), true).samples);
    }
}

TEST(Bitmaps, RefuseOrBearWhatTheirHeadersMayNotSay)
{
    constexpr std::int32_t least = -2147483647 - 1;
    constexpr std::int32_t most = 2147483647;
    const Stored plain{.depth = 24};
    const auto row = [&](auto change) {
        Stored changed = plain;
        change(changed);
        changed.pixels = Bytes(100, 7);
        expect_as_model(changed.file(3));
    };
    // clang-format off
    row([](Stored& s) { s.height = least; });
    row([](Stored& s) { s.height = most; });
    row([](Stored& s) { s.width = most; });
    row([](Stored& s) { s.width = most, s.depth = 1; });
    row([](Stored& s) { s.width = most - 2, s.depth = 8; });
    row([](Stored& s) { s.width = 0x2AAAAAAB, s.depth = 24; });
    row([](Stored& s) { s.width = 1 << 20, s.height = most; });
    for (const std::uint32_t off_bits : {0U, 53U, 54U, 55U, 154U, 155U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        row([=](Stored& s) { s.off_bits = off_bits; });
    for (const std::uint32_t used : {1000U, 65536U, 65537U, 0xFFFFFFFFU})
        row([=](Stored& s) { s.depth = 8, s.used = used; });
    for (const std::uint32_t size : {0U, 4U, 100U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        row([=](Stored& s) { s.header_size = 124, s.profile = {0x4D424544, 20, size}; });
        row([=](Stored& s) { s.header_size = 124, s.profile = {0x4C494E4B, size, 4}; });
    }
    // clang-format on
    // A position that no storage has is the first thing that is said of a line.
    NUV_TestChain chain;
    const NUV_TestStored stored(
        chain.manager(),
        Stored{.depth = 32, .width = 1 << 20, .height = 1000, .pixels = Bytes()}.file(4), 0);
    chain.last(NUV_ReadBMP(chain.manager()).engine(stored.storage()));
    ASSERT_TRUE(chain.last());
    const NUV_Held<NUV_SrcBuffer> lines(chain.last()->src_buffer());
    std::uint32_t count = 0;
    EXPECT_TRUE(lines->get(&count));
    EXPECT_STREQ(chain.status().method, "NUV_ReadDIBRawEngine::execute() - can't seek");
}

TEST(Bitmaps, KeepTheProfileThatGoesWithThem)
{
    NUV_TestChain chain;
    const Bytes file = Stored{.header_size = 124, .profile = {0x4D424544, 20, 4}}.file(5);
    const NUV_TestStored stored(chain.manager(), file, 0);
    NUV_BMPInfo info(chain.manager());
    ASSERT_TRUE(info.load(stored.storage()));
    EXPECT_EQ(Bytes(info.profile().begin(), info.profile().end()),
              Bytes(file.begin() + 20, file.begin() + 24));
    EXPECT_EQ(info.pixel_offset(), std::size_t(stored.position()));
}

// Runs, single pixels, deltas and ends, some of them out of the line.
TEST(Bitmaps, TurnRunLengthDataAroundUnlessItIsDownward)
{
    Random random(6);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        Stored stored{.depth = random() % 2 == 0 ? 8U : 4U, .width = 9};
        stored.compression = random() % 8 == 0 ? 1 : stored.depth == 8 ? 1 : 2;
        stored.height = static_cast<std::int32_t>(random() % 9) - 4;
        stored.pixels.emplace();
        for (std::size_t codes = random() % 30; codes > 0; --codes) {
            const auto number = static_cast<std::uint8_t>(random() % 8);
            stored.pixels->push_back(random() % 3 == 0 ? 0 : number);
            stored.pixels->push_back(
                static_cast<std::uint8_t>(random() % 4 == 0 ? number : random()));
        }
        check_forms(stored, random);
    }
}

} // namespace
} // namespace nuv
