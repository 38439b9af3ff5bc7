#include "core/png/nuv_readpng.h"
#include "core/png/source/nuv_pngregiststatus.h"
#include "framework/base/nuv_held.h"
#include "tests/support/nuv_pngcraft.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

[[nodiscard]] NUV_ReaderRow png_row()
{
    const auto gray = NUV_ColorType::gray;
    const auto rgb = NUV_ColorType::s_rgb;
    const auto image = [](std::uint32_t width, std::uint32_t height, std::uint16_t channels,
                          std::uint16_t bits, const NUV_ColorType* color, bool palette = false) {
        return NUV_TestImage{
            width, height, channels, bits, NUV_DataType::u_integer, NUV_EncodeType::raw,
            color, palette};
    };
    auto row = reader_row<NUV_PNGInfo, NUV_ReadPNG>(
        "png", "NUV_PNGInfo::load()", "NUV_ReadPNG::engine()",
        {
            {"png/gray.png", "pnm/gray.pgm", image(13, 5, 1, 8, gray)},
            {"png/colour.png", "pnm/many_colours.ppm", image(19, 15, 3, 8, rgb)},
            {"png/colour_interlaced.png", "pnm/many_colours.ppm", image(19, 15, 3, 8, rgb)},
            {"png/colour_16.png", "pnm/colour_16.ppm", image(13, 5, 3, 16, rgb)},
            {"png/gray_16_interlaced.png", "pnm/gray_16.pgm", image(13, 5, 1, 16, gray)},
            {"png/palette_4.png", "pnm/seven_colours.ppm", image(13, 5, 1, 8, rgb, true)},
        });
    row.reads_end = true;
    return row;
}

TEST(PNG, ReadsWhatOtherProgramsWroteAndStandsDamage)
{
    check_reader(png_row());
}

// A picture of any samples, which knows how it is stored and what must come out.
struct Picture {
    std::uint32_t width;
    std::uint32_t height;
    std::uint8_t color;
    std::uint8_t depth;
    bool interlaced;
    std::size_t channels = color == 2 ? 3 : color == 4 ? 2 : color == 6 ? 4 : 1;
    std::vector<std::uint16_t> samples =
        random_samples<std::uint16_t>(width * height * channels, 1);

    [[nodiscard]] unsigned sample(std::size_t x, std::size_t y, std::size_t c) const
    {
        return samples[(y * width + x) * channels + c] & ((1U << depth) - 1);
    }
    // Puts samples of `bits` bits behind one another, from the top bit down.
    struct Packer {
        Bytes bytes;
        unsigned used = 8; // bits of the last byte
        void put(unsigned value, unsigned bits)
        {
            if (used == 8) {
                bytes.push_back(0);
                used = 0;
            }
            if (bits == 16) {
                bytes.back() = static_cast<std::uint8_t>(value >> 8);
                bytes.push_back(0);
                bits = 8;
            }
            used += bits;
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (value & 0xFF) << (8 - used));
        }
        void end_line() { used = 8; }
    };
    // PNG second edition, 8.2: where the passes begin, and their steps.
    [[nodiscard]] Bytes stored() const
    {
        struct Pass {
            std::size_t x, y, step_x, step_y;
        };
        const std::vector<Pass> adam7 = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                         {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        Packer out;
        for (const Pass& pass : interlaced ? adam7 : std::vector<Pass>{{0, 0, 1, 1}}) {
            for (std::size_t y = pass.y; y < height && pass.x < width; y += pass.step_y) {
                out.put(0, 8); // no filter
                for (std::size_t x = pass.x; x < width; x += pass.step_x) {
                    for (std::size_t c = 0; c < channels; ++c)
                        out.put(sample(x, y, c), depth);
                }
                out.end_line();
            }
        }
        return out.bytes;
    }
    // Without alpha; 2 and 4 bits as 8, gray scaled and indices as they are; 16 in host order.
    [[nodiscard]] Bytes delivered() const
    {
        Packer out;
        for (std::size_t y = 0; y < height; ++y, out.end_line()) {
            for (std::size_t x = 0; x < width; ++x) {
                for (std::size_t c = 0; c < (channels < 3 ? 1 : 3); ++c) {
                    const unsigned value = sample(x, y, c);
                    if (depth == 16) {
                        const auto wide = static_cast<std::uint16_t>(value);
                        std::uint8_t host[2];
                        std::memcpy(host, &wide, sizeof(host));
                        out.put(host[0], 8);
                        out.put(host[1], 8);
                    } else if (depth == 1 || depth == 8) {
                        out.put(value, depth);
                    } else {
                        out.put(color == 3 ? value : value * 255 / ((1U << depth) - 1), 8);
                    }
                }
            }
        }
        return out.bytes;
    }
    // `extras`: chunks that may not change a sample.
    [[nodiscard]] PNGCraft file(bool extras = false) const
    {
        PNGCraft craft;
        craft.header(width, height, depth, color, interlaced ? 1 : 0);
        if (extras)
            craft.chunk("gAMA", {0, 0, 0x4E, 0x20});
        if (color == 3)
            craft.chunk("PLTE", Bytes(std::size_t{3} << depth, 77));
        if (extras) {
            if (color < 4)
                craft.chunk("tRNS", color == 2 ? Bytes{0, 1, 0, 2, 0, 3} : Bytes{0, 1});
            craft.chunk("bKGD", color == 3 ? Bytes{1} : Bytes(color % 4 == 0 ? 2 : 6, 0));
            craft.chunk("pHYs", {0, 0, 1, 0, 0, 0, 2, 0, 1}).chunk("tEXt", bytes_of("a=b"));
        }
        return craft;
    }
};

[[nodiscard]] NUV_ReaderCase good_case(const Picture& picture, bool extras)
{
    auto craft = picture.file(extras);
    return {"", craft.chunk("IDAT", PNGCraft::deflated(picture.stored())).end(),
            picture.delivered()};
}

TEST(PNG, DeliversSamplesOfAllTypesAtAllWidths)
{
    const std::pair<std::uint8_t, std::vector<std::uint8_t>> types[] = {
        {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
    auto row = png_row();
    for (const auto& [color, depths] : types) {
        for (const std::uint8_t depth : depths) {
            for (std::uint32_t width = 1; width <= 33; ++width) {
                SCOPED_TRACE(std::to_string(color) + ", " + std::to_string(depth) + " bits, " +
                             std::to_string(width));
                const std::uint32_t height = 1 + width * 7 % 19;
                check_reader_cases(row, {good_case({width, height, color, depth, false}, false),
                                         good_case({width, height, color, depth, false}, true),
                                         good_case({width, height, color, depth, true}, false),
                                         good_case({width, height, color, depth, true}, true)});
            }
        }
    }
}

TEST(PNG, TellsWhatTheFileSaysBesideItsPixels)
{
    const Picture picture{2, 1, 2, 8, false};
    PNGCraft craft = picture.file();
    craft.chunk("gAMA", {0, 0, 0x4E, 0x20}).chunk("sBIT", {5, 6, 7});
    craft.chunk("PLTE", Bytes(6, 9)).chunk("bKGD", {0, 1, 0, 2, 0, 3});
    craft.chunk("tIME", {7, 0xEA, 11, 22, 1, 2, 3}).chunk("tEXt", bytes_of({"key\0text", 8}));
    craft.chunk("iTXt", bytes_of({"k\0\0\0en\0K\0words", 14}));
    craft.chunk("oFFs", {0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 3, 1});
    craft.chunk("pHYs", {0, 0, 0x0B, 0x13, 0, 0, 0x0B, 0x14, 1});
    craft.chunk("sCAL", bytes_of({"\1"
                                  "0.5\0"
                                  "2.5",
                                  8}));
    NUV_TestChain chain;
    const NUV_TestStored full(chain.manager(),
                              craft.chunk("IDAT", PNGCraft::deflated(picture.stored())).end());
    NUV_PNGInfo info(chain.manager());
    ASSERT_TRUE(info.load(full.storage()));
    const NUV_PNGTypes::Fields& said = info.fields();
    EXPECT_EQ(std::tuple(said.color_type_code, said.interlaced, said.gamma, said.srgb_intent),
              std::tuple(2, false, 0.2, 4));
    EXPECT_EQ(said.significant_bits, (std::array<std::uint8_t, 5>{5, 6, 7, 0, 8}));
    EXPECT_EQ(said.background, (std::array<std::uint16_t, 5>{0, 1, 2, 3, 0}));
    EXPECT_EQ(std::tuple(said.time.year, said.time.month, said.time.day, said.time.second),
              std::tuple(2026, 11, 22, 3));
    EXPECT_EQ(std::tuple(said.offset_x, said.offset_y, said.offset_unit), std::tuple(-2, 3, 1));
    EXPECT_EQ(std::tuple(said.pixels_x, said.pixels_y, said.pixels_unit),
              std::tuple(2835u, 2836u, 1));
    EXPECT_EQ(std::tuple(said.scale_width, said.scale_height, said.scale_unit),
              std::tuple(0.5, 2.5, 1));
    EXPECT_EQ(said.present,
              (std::array<bool, 10>{true, false, false, true, true, true, true, true, true, true}));
    ASSERT_EQ(said.texts.size(), 2u);
    EXPECT_EQ(std::tuple(said.texts[0].compression, said.texts[1].compression), std::tuple(-1, 1));
    EXPECT_EQ(said.texts[0].key + std::string(said.texts[0].text), "keytext");
    EXPECT_EQ(said.texts[1].translated_key + std::string(said.texts[1].text), "Kwords");
    const NUV_ResolutionInfo& resolution = info.resolution();
    EXPECT_EQ(std::tuple(resolution.x, resolution.y, resolution.unit),
              std::tuple(2835.0, 2836.0, NUV_ResolutionInfo::per_metre));
    EXPECT_TRUE(info.palette().is_empty()) << "pixels that don't use it";

    // The next file says nothing: neither does what is told of it.
    PNGCraft bare = picture.file().chunk("sRGB", {2});
    const NUV_TestStored empty(chain.manager(), bare.chunk("IDAT", {}).end());
    ASSERT_TRUE(info.load(empty.storage()));
    EXPECT_EQ(std::tuple(said.gamma, said.srgb_intent, said.pixels_unit, said.scale_unit),
              std::tuple(0.0, 2, 2, 3));
    EXPECT_TRUE(said.texts.empty() && !said.present[NUV_PNGTypes::gama]);
    EXPECT_EQ(std::tuple(resolution.x, resolution.unit), std::tuple(0.0, 0u));
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
    const Picture gray{3, 5, 0, 8, false};
    const Picture adam{3, 5, 0, 8, true};
    const Picture indices{8, 5, 3, 1, false};
    const Bytes whole = gray.delivered();
    const Bytes data = PNGCraft::deflated(gray.stored());
    const Bytes adam_data = PNGCraft::deflated(adam.stored());
    const auto lines = [&](std::ptrdiff_t n) {
        return Bytes(whole.begin(), whole.begin() + 3 * n);
    };
    const auto with = [&](const Bytes& idat) { return gray.file().chunk("IDAT", idat).end(); };
    // A byte changed or left out, counted from the end, where IEND takes 12.
    const auto spoilt = [](Bytes file, std::size_t from_end) {
        file.at(file.size() - from_end) ^= 0xFF;
        return file;
    };
    const auto cut = [](Bytes file, std::size_t bytes) {
        file.resize(file.size() - bytes);
        return file;
    };
    const auto header = [&](std::uint32_t width, std::uint8_t depth, std::uint8_t color,
                            std::uint8_t interlace = 0, std::uint8_t compression = 0,
                            std::uint8_t filter = 0) {
        PNGCraft craft;
        craft.header(width, 5, depth, color, interlace, compression, filter);
        return craft.chunk("IDAT", data).end();
    };
    const auto two_chunks = [&](std::size_t spoil) {
        const auto middle = data.begin() + 8;
        auto craft = gray.file().chunk("IDAT", {data.begin(), middle});
        craft.bytes.back() ^= static_cast<std::uint8_t>(spoil);
        return craft.chunk("IDAT", {middle, data.end()}).end();
    };
    Bytes text_mode = with(data);
    text_mode.erase(text_mode.begin() + 4);
    auto few = gray.stored();
    few.resize(9); // two lines and the filter of the third
    PNGCraft no_header;
    // clang-format off
    check_reader_cases(png_row(), {
        {"7 bytes", {137, 'P', 'N', 'G', 13, 10, 26}, {}, broken, head},
        {"through a transfer as text", text_mode, {}, broken, head},
        {"pixels before the header", no_header.chunk("IDAT", data).end(), {}, broken, head},
        {"no palette", header(8, 1, 3), {}, broken, head},
        {"a wrong checksum of the header", spoilt(gray.file().bytes, 1), {}, broken, head},
        {"a wrong checksum of the palette", spoilt(indices.file().bytes, 1), {}, broken, head},
        {"a file that ends in the header", cut(with(data), 12 + 12 + data.size() + 9), {}, broken, head},
        {"too many lengths", with({0x78, 0x9C, 0xFD, 0xFF, 0xFF}), {}, broken, line},
        {"no zlib header", with({0x12, 0x34, 0}), {}, broken, line},
        {"a wrong Adler checksum", with(spoilt(data, 1)), lines(4), broken, line},
        {"a stream that ends early", with(PNGCraft::deflated(few)), lines(2), broken, line},
        {"an empty stream", with({}), {}, broken, line},
        {"a wrong checksum between pieces", two_chunks(1), lines(1), broken, line},
        {"pieces", two_chunks(0), whole},
        {"a wrong checksum of the last piece", spoilt(with(data), 13), whole, broken, end},
        {"a wrong checksum of the end", spoilt(with(data), 1), whole, broken, end},
        {"a file that ends in the pixels", cut(with(data), 12 + 4 + 8), {}, broken, line},
        {"a file that ends in their checksum", cut(with(data), 12 + 1), whole, broken, end},
        {"a file without an end", cut(with(data), 12), whole, broken, end},
        {"passes: a wrong checksum of the last piece", spoilt(adam.file().chunk("IDAT", adam_data).end(), 13), adam.delivered(), broken, end},
        {"passes: a wrong checksum of the end", spoilt(adam.file().chunk("IDAT", adam_data).end(), 1), adam.delivered(), broken, end},
        {"passes: a wrong Adler checksum", adam.file().chunk("IDAT", spoilt(adam_data, 1)).end(), {}, broken, passes},
        {"width 0", header(0, 8, 0), {}, invalid, head},
        {"a million and one", header(1000001, 8, 0), {}, invalid, head},
        {"interlace method 2", header(3, 8, 0, 2), {}, invalid, head},
        {"compression method 1", header(3, 8, 0, 0, 1), {}, invalid, head},
        {"filter method 64", header(3, 8, 2, 0, 0, 64), {}, invalid, head},
        {"depth 3", header(3, 3, 0), {}, invalid, head},
        {"colour type 1", header(3, 8, 1), {}, invalid, head},
        {"16-bit indices", header(3, 16, 3), {}, invalid, head},
        {"an unknown block type", with({0x78, 0x9C, 0x07, 0, 0}), {}, NUV_ERROR, line},
        {"two headers", gray.file().header(3, 5, 8, 0).end(), {}, NUV_ERROR, head},
        {"a wrong checksum of a text", spoilt(gray.file().chunk("tEXt", {'a', 0, 'b'}).bytes, 1), {}, broken, head},
        {"more data than pixels", with(PNGCraft::deflated(Bytes(99, 0))), Bytes(15, 0)},
        // On the word of a header no memory is taken that its pixels cannot fill.
        {"passes of 3600 megapixels", PNGCraft().header(60000, 60000, 8, 0, 1).chunk("IDAT", data).end(), {}, broken, "NUV_ReadPNGEngine::initiate()"},
    });
    // clang-format on
    // What the library said before it named the chunk.
    for (const char* text : {"Missing PLTE before IDAT", "incorrect data check"})
        EXPECT_EQ(png_status_of(text), broken);
    EXPECT_EQ(png_status_of("Invalid bit depth in IHDR"), invalid);
    EXPECT_EQ(png_status_of("Not a PNG file"), NUV_STATUS_OK);
}

// Texts that unpack to 160 MB of a file of 160 KB.
TEST(PNG, BoundsTheMemoryOfTexts)
{
    NUV_TestChain chain;
    const Picture picture{3, 5, 0, 8, false};
    PNGCraft craft = picture.file();
    Bytes text = {'k', 0, 0};
    const Bytes packed = PNGCraft::deflated(Bytes(7900000, 'x'));
    text.insert(text.end(), packed.begin(), packed.end());
    for (int i = 0; i < 20; ++i)
        craft.chunk("zTXt", text);
    const NUV_TestStored stored(chain.manager(),
                                craft.chunk("IDAT", PNGCraft::deflated(picture.stored())).end());
    NUV_PNGInfo info(chain.manager());
    EXPECT_TRUE(info.load(stored.storage()));
    EXPECT_LE(info.fields().texts.size(), 4u);
    EXPECT_LE(chain.manager().memory().most_live_bytes(), std::size_t{33} << 20);
}

// Byte by byte, and from a storage that gives up at any read.
TEST(PNG, ReadsFromStoragesThatGiveLittle)
{
    const Bytes file = test_data("png/colour_interlaced.png");
    for (std::size_t reads = 0; reads <= file.size() + 4; ++reads) {
        NUV_TestChain chain;
        const NUV_TestStored stored(chain.manager(), file);
        auto mean = make_object<NUV_MeanStorage>(chain.manager(), reads);
        ASSERT_TRUE(mean->initiate(stored.storage()));
        chain.last(NUV_ReadPNG(chain.manager()).engine(mean.get()));
        const Bytes got = chain.run_bytes();
        // The signature is read twice, its first half on its own.
        EXPECT_EQ(chain.status().code != NUV_STATUS_OK, reads < file.size() + 4);
        EXPECT_TRUE(got.empty() || got == anymap_samples("pnm/many_colours.ppm", got.size(), 8));
    }
}

// What libpng reads ahead of one is not what the other reads next.
TEST(PNG, KeepsTwoReadersOfOneStorageApart)
{
    const Picture noise{200, 100, 2, 8, false};
    const NUV_ReaderCase file = good_case(noise, false);
    NUV_TestChain chain;
    NUV_Manager& manager = chain.manager();
    const NUV_TestStored stored(manager, file.stored);
    NUV_PNGInfo infos[2] = {NUV_PNGInfo(manager), NUV_PNGInfo(manager)};
    NUV_Held<NUV_SrcBuffer> lines[2];
    Bytes got[2];
    for (int i : {0, 1}) {
        ASSERT_TRUE(stored.storage()->to(NUV_TestStored::start) && infos[i].load(stored.storage()));
        NUV_Engine* engine = NUV_ReadPNG(manager).engine(stored.storage(), &infos[i]);
        ASSERT_TRUE(engine);
        lines[i].reset(engine->src_buffer());
        ASSERT_TRUE(lines[i]->block_bytes(600));
    }
    for (std::uint32_t row = 0; row < noise.height; ++row) {
        for (int i : {0, 1}) {
            const auto* line = static_cast<const std::uint8_t*>(lines[i]->get(nullptr));
            ASSERT_TRUE(line);
            got[i].insert(got[i].end(), line, line + 600);
            ASSERT_TRUE(lines[i]->release());
        }
    }
    EXPECT_EQ(got[0], file.samples);
    EXPECT_EQ(got[1], file.samples);
    // What was read is not read twice.
    EXPECT_FALSE(NUV_ReadPNG(manager).engine(stored.storage(), &infos[0]));
    EXPECT_EQ(manager.status().code, NUV_ERR_SEQUENCE);
    manager.reset();
    EXPECT_FALSE(NUV_ReadPNGInterlace(manager).engine(stored.storage(), &infos[1]));
    EXPECT_EQ(manager.status().code, NUV_ERR_UNSUPPORTED);
}

} // namespace
} // namespace nuv
