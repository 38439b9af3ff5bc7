#include "core/png/nuv_readpng.h"
#include "core/png/source/nuv_pngregiststatus.h"
#include "framework/base/nuv_held.h"
#include "tests/support/nuv_pngcraft.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

[[nodiscard]] NUV_ReaderRow png_row()
{
    const auto image = [](std::uint32_t width, std::uint32_t height, std::uint16_t channels,
                          std::uint16_t bits, bool is_gray = false, bool palette = false) {
        const auto* color = is_gray ? NUV_ColorType::gray : NUV_ColorType::s_rgb;
        return NUV_TestImage{.width = width,
                             .height = height,
                             .channels = channels,
                             .bits = bits,
                             .color_type = color,
                             .palette = palette};
    };
    auto row = reader_row<NUV_PNGInfo, NUV_ReadPNG>(
        "png", "NUV_PNGInfo::load()", "NUV_ReadPNG::engine()",
        {
            {"png/gray.png", "pnm/gray.pgm", image(13, 5, 1, 8, true)},
            {"png/colour.png", "pnm/many_colours.ppm", image(19, 15, 3, 8)},
            {"png/colour_interlaced.png", "pnm/many_colours.ppm", image(19, 15, 3, 8)},
            {"png/colour_16.png", "pnm/colour_16.ppm", image(13, 5, 3, 16)},
            {"png/gray_16_interlaced.png", "pnm/gray_16.pgm", image(13, 5, 1, 16, true)},
            {"png/palette_4.png", "pnm/seven_colours.ppm", image(13, 5, 1, 8, false, true)},
        });
    row.reads_end = true;
    return row;
}

TEST(PNG, ReadsWhatOtherProgramsWroteAndStandsDamage)
{
    check_reader(png_row());
}

// Samples of any number of bits behind one another, from the top bit down.
struct Packer {
    Bytes bytes;
    unsigned left = 0; // bits of the last byte
    void put(unsigned value, unsigned bits)
    {
        while (bits-- > 0) {
            if (left == 0)
                bytes.push_back(0);
            left = (left + 7) % 8;
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (value >> bits & 1) << left);
        }
    }
};

// A picture of any samples, which knows how it is stored and what must come out.
struct Picture {
    std::uint32_t width;
    std::uint32_t height;
    std::uint8_t color;
    std::uint8_t depth;
    std::uint8_t interlaced = 0;
    std::size_t channels = std::array{1U, 0U, 3U, 1U, 2U, 0U, 4U}.at(color);
    std::vector<std::uint16_t> samples =
        random_samples<std::uint16_t>(width * height * channels, 1);

    [[nodiscard]] unsigned sample(std::size_t x, std::size_t y, std::size_t c) const
    {
        return samples[(y * width + x) * channels + c] & ((1U << depth) - 1);
    }
    // PNG second edition, 8.2: where the passes begin, and their steps.
    [[nodiscard]] Bytes stored() const
    {
        using Passes = std::vector<std::array<std::size_t, 4>>;
        const Passes adam7 = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                              {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        Packer out;
        for (const auto& [x0, y0, dx, dy] : interlaced ? adam7 : Passes{{0, 0, 1, 1}}) {
            for (std::size_t y = y0; y < height && x0 < width; y += dy, out.left = 0) {
                out.put(0, 8); // no filter
                for (std::size_t x = x0; x < width; x += dx)
                    for (std::size_t c = 0; c < channels; ++c)
                        out.put(sample(x, y, c), depth);
            }
        }
        return out.bytes;
    }
    // Without alpha; 2 and 4 bits as 8, gray scaled and indices as they are; 16 in host order.
    [[nodiscard]] Bytes delivered() const
    {
        const bool widens = depth == 2 || depth == 4;
        const bool swaps = depth == 16 && std::endian::native == std::endian::little;
        const unsigned scale = widens && color == 0 ? 255 / ((1U << depth) - 1) : 1;
        Packer out;
        for (std::size_t y = 0; y < height; ++y, out.left = 0) {
            for (std::size_t i = 0; i < width * channels; ++i) {
                const unsigned value = sample(0, y, i) * scale;
                if (i % channels < (channels < 3 ? 1 : 3))
                    out.put(swaps ? value >> 8 | value << 8 : value, widens ? 8 : depth);
            }
        }
        return out.bytes;
    }
    // As far as its pixels, with a palette where it takes one; `extras` may not change a sample.
    [[nodiscard]] PNGCraft head(bool extras = false) const
    {
        PNGCraft craft;
        craft.header(width, height, {depth, color, 0, 0, interlaced});
        if (extras)
            craft.chunk("gAMA", {0, 0, 0x4E, 0x20}).chunk("pHYs", {0, 0, 1, 0, 0, 0, 2, 0, 1});
        if (color == 3)
            craft.chunk("PLTE", Bytes(std::size_t{3} << depth, 77));
        if (extras && color < 4)
            craft.chunk("tRNS", Bytes(color == 2 ? 6 : color == 0 ? 2 : 1, 0));
        if (extras)
            craft.chunk("bKGD", Bytes(color == 3 ? 1 : color % 4 == 0 ? 2 : 6, 0));
        return craft;
    }
    [[nodiscard]] Bytes file(bool extras = false) const
    {
        return head(extras).chunk("IDAT", PNGCraft::deflated(stored())).end();
    }
};

TEST(PNG, DeliversSamplesOfAllTypesAtAllWidths)
{
    const std::pair<std::uint8_t, Bytes> types[] = {
        {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
    for (const auto& [color, depths] : types) {
        for (const std::uint8_t depth : depths) {
            for (std::uint32_t width = 1; width <= 33; ++width) {
                for (const std::uint8_t interlaced : Bytes{0, 1}) {
                    const Picture p{width, 1 + width * 7 % 19, color, depth, interlaced};
                    const std::string what = std::to_string(color) + ", " + std::to_string(depth);
                    check_reader_cases(png_row(),
                                       {{what.c_str(), p.file(), p.delivered()},
                                        {"with more chunks", p.file(true), p.delivered()}});
                }
            }
        }
    }
}

TEST(PNG, TellsWhatTheFileSaysBesideItsPixels)
{
    const auto told = [](const NUV_PNGInfo& info) {
        const NUV_PNGTypes::Fields& f = info.fields();
        const NUV_ResolutionInfo& r = info.resolution();
        std::ostringstream s;
        // clang-format off
        s << +f.color_type_code << ' ' << f.gamma << ' ' << +f.srgb_intent << ", bits " << +f.significant_bits[2] << ' ' << +f.significant_bits[4]
          << ", time " << f.time.year << ' ' << +f.time.month << ' ' << +f.time.second << ", background " << f.background[1] << ' ' << f.background[3]
          << ", offset " << f.offset_x << ' ' << f.offset_y << ' ' << +f.offset_unit << ", pixels " << f.pixels_y << ' ' << +f.pixels_unit
          << ", scale " << f.scale_width << ' ' << f.scale_height << ' ' << +f.scale_unit << ", " << r.x << ' ' << r.y << ' ' << r.unit << ", ";
        // clang-format on
        for (const NUV_PNGTypes::Text& t : f.texts)
            s << t.compression << t.key << t.text << (t.translated_key ? t.translated_key : "")
              << ' ';
        for (const bool is_there : f.present)
            s << is_there;
        return s.str();
    };
    const Picture picture{2, 1, 2, 8};
    PNGCraft craft = picture.head();
    craft.chunk("gAMA", {0, 0, 0x4E, 0x20}).chunk("sBIT", {5, 6, 7}).chunk("PLTE", Bytes(6, 9));
    craft.chunk("bKGD", {0, 1, 0, 2, 0, 3}).chunk("tIME", {7, 0xEA, 11, 22, 1, 2, 3});
    craft.chunk("tEXt", bytes_of({"key\0text", 8}))
        .chunk("iTXt", bytes_of({"k\0\0\0en\0K\0words", 14}));
    craft.chunk("oFFs", {0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 3, 1});
    craft.chunk("pHYs", {0, 0, 11, 19, 0, 0, 11, 20, 1});
    craft.chunk("sCAL", bytes_of({"\1"
                                  "0.5\0"
                                  "2.5",
                                  8}));
    NUV_TestChain chain;
    NUV_PNGInfo info(chain.manager());
    const NUV_TestStored full(chain.manager(), craft.chunk("IDAT", {}).end());
    ASSERT_TRUE(info.load(full.storage()));
    EXPECT_EQ(told(info),
              "2 0.2 4, bits 7 8, time 2026 11 3, background 1 3, offset -2 3 1, pixels 2836 1, "
              "scale 0.5 2.5 1, 2835 2836 4, -1keytext 1kwordsK 1001111111");
    EXPECT_TRUE(info.palette().is_empty()) << "pixels that don't use it";
    // The next file says next to nothing: neither does what is told of it.
    const NUV_TestStored bare(chain.manager(),
                              picture.head().chunk("sRGB", {2}).chunk("IDAT", {}).end());
    ASSERT_TRUE(info.load(bare.storage()));
    EXPECT_EQ(told(info), "2 0 2, bits 0 0, time 0 0 0, background 0 0, offset 0 0 2, pixels 0 2, "
                          "scale 0 0 3, 0 0 0, 0100000000");
}

// A byte changed, counted from the end, where the chunk IEND takes 12; bytes left out there.
[[nodiscard]] Bytes spoilt(Bytes file, std::size_t from_end)
{
    file.at(file.size() - from_end) ^= 0xFF;
    return file;
}

[[nodiscard]] Bytes cut(Bytes file, std::size_t bytes)
{
    file.resize(file.size() - bytes);
    return file;
}

// Each damage with its status, and with the lines that come out before.
TEST(PNG, TellsDamageAndKeepsTheLinesBeforeIt)
{
    constexpr auto head = "NUV_PNGInfoInternal::initiate()";
    constexpr auto line = "NUV_PNGInfoInternal::decode_process()";
    constexpr auto passes = "NUV_PNGInfoInternal::decode_process_interlace()";
    constexpr auto end = "NUV_PNGInfoInternal::decode_end()";
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    const Picture gray{3, 5, 0, 8};
    const Picture adam{3, 5, 0, 8, 1};
    const Bytes good = gray.file();
    const Bytes whole = gray.delivered();
    const Bytes data = PNGCraft::deflated(gray.stored());
    const auto lines = [&](std::size_t n) { return cut(whole, 15 - 3 * n); };
    const auto with = [&](const Bytes& idat) { return gray.head().chunk("IDAT", idat).end(); };
    const auto header = [&](std::uint32_t width, const Bytes& rest) {
        return PNGCraft().header(width, 5, rest).chunk("IDAT", data).end();
    };
    PNGCraft pieces = gray.head().chunk("IDAT", {data.begin(), data.begin() + 8});
    Bytes text_mode = good;
    text_mode.erase(text_mode.begin() + 4);
    // clang-format off
    check_reader_cases(png_row(), {
        {"7 bytes", cut(good, good.size() - 7), {}, broken, head},
        {"through a transfer as text", text_mode, {}, broken, head},
        {"pixels before the header", PNGCraft().chunk("IDAT", data).end(), {}, broken, head},
        {"no palette", header(8, {1, 3, 0, 0, 0}), {}, broken, head},
        {"a wrong checksum of the header", spoilt(gray.head().bytes, 1), {}, broken, head},
        {"a wrong checksum of the palette", spoilt(Picture{8, 5, 3, 1}.head().bytes, 1), {}, broken, head},
        {"a file that ends in the header", cut(good, good.size() - 20), {}, broken, head},
        {"too many lengths", with({0x78, 0x9C, 0xFD, 0xFF, 0xFF}), {}, broken, line},
        {"no zlib header", with({0x12, 0x34, 0}), {}, broken, line},
        {"a wrong Adler checksum", with(spoilt(data, 1)), lines(4), broken, line},
        {"a stream that ends early", with(PNGCraft::deflated(cut(gray.stored(), 11))), lines(2), broken, line},
        {"an empty stream", with({}), {}, broken, line},
        {"pieces", PNGCraft(pieces).chunk("IDAT", {data.begin() + 8, data.end()}).end(), whole},
        {"a wrong checksum between them", PNGCraft{spoilt(pieces.bytes, 1)}.chunk("IDAT", {data.begin() + 8, data.end()}).end(), lines(1), broken, line},
        {"a wrong checksum of the pixels", spoilt(good, 13), whole, broken, end},
        {"a wrong checksum of the end", spoilt(good, 1), whole, broken, end},
        {"a file that ends in the pixels", cut(good, 24), {}, broken, line},
        {"a file that ends in their checksum", cut(good, 13), whole, broken, end},
        {"a file without an end", cut(good, 12), whole, broken, end},
        {"passes: a wrong checksum of the pixels", spoilt(adam.file(), 13), adam.delivered(), broken, end},
        {"passes: a wrong checksum of the end", spoilt(adam.file(), 1), adam.delivered(), broken, end},
        {"passes: a wrong Adler checksum", adam.head().chunk("IDAT", spoilt(PNGCraft::deflated(adam.stored()), 1)).end(), {}, broken, passes},
        {"width 0", header(0, {8, 0, 0, 0, 0}), {}, invalid, head},
        {"a million and one", header(1000001, {8, 0, 0, 0, 0}), {}, invalid, head},
        {"interlace method 2", header(3, {8, 0, 0, 0, 2}), {}, invalid, head},
        {"compression method 1", header(3, {8, 0, 1, 0, 0}), {}, invalid, head},
        {"filter method 64", header(3, {8, 2, 0, 64, 0}), {}, invalid, head},
        {"depth 3", header(3, {3, 0, 0, 0, 0}), {}, invalid, head},
        {"colour type 1", header(3, {8, 1, 0, 0, 0}), {}, invalid, head},
        {"16-bit indices", header(3, {16, 3, 0, 0, 0}), {}, invalid, head},
        {"an unknown block type", with({0x78, 0x9C, 0x07, 0, 0}), {}, NUV_ERROR, line},
        {"two headers", gray.head().header(3, 5, {8, 0, 0, 0, 0}).end(), {}, NUV_ERROR, head},
        {"more data than pixels", with(PNGCraft::deflated(Bytes(99, 0))), Bytes(15, 0)},
        // On the word of a header no memory is taken that its pixels cannot fill.
        {"passes of 3600 megapixels", PNGCraft().header(60000, 60000, {8, 0, 0, 0, 1}).chunk("IDAT", data).end(), {}, broken, "NUV_ReadPNGEngine::initiate()"},
    });
    // clang-format on
    // What the library said before it named the chunk.
    EXPECT_EQ(png_status_of("Missing PLTE before IDAT"), broken);
    EXPECT_EQ(png_status_of("Invalid bit depth in IHDR"), invalid);
}

// Texts that unpack to 160 MB of a file of 160 KB.
TEST(PNG, BoundsTheMemoryOfTexts)
{
    NUV_TestChain chain;
    PNGCraft craft = Picture{3, 5, 0, 8}.head();
    const PNGCraft text = PNGCraft{{'k', 0, 0}}.add(PNGCraft::deflated(Bytes(7900000, 'x')));
    for (int i = 0; i < 20; ++i)
        craft.chunk("zTXt", text.bytes);
    const NUV_TestStored stored(chain.manager(), craft.chunk("IDAT", {}).end());
    NUV_PNGInfo info(chain.manager());
    EXPECT_TRUE(info.load(stored.storage()));
    EXPECT_LE(info.fields().texts.size(), 4u);
    EXPECT_LE(chain.manager().memory().most_live_bytes(), std::size_t{33} << 20);
}

// What libpng reads ahead of one is not what the other reads next.
TEST(PNG, KeepsTwoReadersOfOneStorageApart)
{
    constexpr std::uint32_t line_bytes = 600;
    const Picture noise{200, 100, 2, 8};
    NUV_TestChain chain;
    NUV_Manager& manager = chain.manager();
    const NUV_TestStored stored(manager, noise.file());
    NUV_PNGInfo infos[2] = {NUV_PNGInfo(manager), NUV_PNGInfo(manager)};
    NUV_Held<NUV_SrcBuffer> lines[2];
    Bytes got[2] = {Bytes(line_bytes * 100), Bytes(line_bytes * 100)};
    for (const int i : {0, 1}) {
        ASSERT_TRUE(stored.storage()->to(NUV_TestStored::start) && infos[i].load(stored.storage()));
        lines[i].reset(NUV_ReadPNG(manager).engine(stored.storage(), &infos[i])->src_buffer());
        ASSERT_TRUE(lines[i]->block_bytes(line_bytes));
    }
    for (std::size_t i = 0; i < 200; ++i)
        ASSERT_TRUE(lines[i % 2]->get(&got[i % 2][i / 2 * line_bytes], nullptr) &&
                    lines[i % 2]->release());
    EXPECT_TRUE(got[0] == noise.delivered() && got[1] == got[0]);
    // What was read is not read twice.
    EXPECT_FALSE(NUV_ReadPNG(manager).engine(stored.storage(), &infos[0]));
    EXPECT_EQ(manager.status().code, NUV_ERR_SEQUENCE);
    manager.reset();
    EXPECT_FALSE(NUV_ReadPNGInterlace(manager).engine(stored.storage(), &infos[1]));
    EXPECT_EQ(manager.status().code, NUV_ERR_UNSUPPORTED);
}

} // namespace
} // namespace nuv
