#include "core/png/nuv_readpng.h"
#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_pngcraft.h"
#include "tests/support/nuv_readerharness.h"

#include <bit>

namespace nuv {
namespace {

[[nodiscard]] NUV_ReaderRow png_row()
{
    const auto gray = NUV_ColorType::gray;
    const auto rgb = NUV_ColorType::s_rgb;
    // clang-format off
    auto row = reader_row<NUV_PNGInfo, NUV_ReadPNG>("png", "NUV_PNGInfo::load()", "NUV_ReadPNG::engine()", {
        {"png/gray.png", "pnm/gray.pgm", {.width = 13, .height = 5, .color_type = gray}},
        {"png/colour.png", "pnm/many_colours.ppm", {.width = 19, .height = 15, .channels = 3, .color_type = rgb}},
        {"png/colour_interlaced.png", "pnm/many_colours.ppm", {.width = 19, .height = 15, .channels = 3, .color_type = rgb}},
        {"png/colour_16.png", "pnm/colour_16.ppm", {.width = 13, .height = 5, .channels = 3, .bits = 16, .color_type = rgb}},
        {"png/gray_16_interlaced.png", "pnm/gray_16.pgm", {.width = 13, .height = 5, .bits = 16, .color_type = gray}},
        {"png/palette_4.png", "pnm/seven_colours.ppm", {.width = 13, .height = 5, .color_type = rgb, .palette = true}},
    });
    // clang-format on
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
    std::uint32_t width, height;
    std::uint8_t color, depth, interlaced = 0;
    std::size_t channels = std::array{1U, 0U, 3U, 1U, 2U, 0U, 4U}.at(color);
    Bytes samples = random_samples<std::uint8_t>(channels * 2 * width * height, 1);

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
                        out.put(sample((y * width + x) * channels + c), depth);
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
        for (std::size_t i = 0; i < channels * width * height; ++i) {
            const unsigned value = sample(i) * scale;
            if (i % channels < (channels < 3 ? 1 : 3))
                out.put(swaps ? value >> 8 | value << 8 : value, widens ? 8 : depth);
            if ((i + 1) % (width * channels) == 0)
                out.left = 0;
        }
        return out.bytes;
    }
    // As far as its pixels; `extras` may not change a sample.
    [[nodiscard]] PNGCraft head(bool extras = false) const
    {
        const std::size_t bytes = std::array{2U, 0U, 6U, 1U, 2U, 0U, 6U}.at(color); // of a color
        PNGCraft craft;
        craft.header(width, height, {depth, color, 0, 0, interlaced});
        if (extras)
            craft.chunk("gAMA", {0, 0, 0x4E, 0x20}).chunk("pHYs", {0, 0, 1, 0, 0, 0, 2, 0, 1});
        if (color == 3)
            craft.chunk("PLTE", Bytes(std::size_t{3} << depth, 77));
        if (extras)
            craft.chunk("tRNS", Bytes(bytes, 0)).chunk("bKGD", Bytes(bytes, 0));
        return craft;
    }
    [[nodiscard]] Bytes file(bool extras = false) const
    {
        return head(extras).chunk("IDAT", PNGCraft::deflated(stored())).end();
    }
    [[nodiscard]] unsigned sample(std::size_t i) const
    {
        return load_be16(&samples[2 * i]) & ((1U << depth) - 1);
    }
};

TEST(PNG, DeliversSamplesOfAllTypesAtAllWidths)
{
    const Bytes types[] = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
                           {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};
    for (const Bytes& type : types) {
        for (std::uint32_t n = 2; n <= 67; ++n) {
            const Picture p{n / 2, 1 + n * 7 % 19, type[0], type[1], std::uint8_t(n % 2)};
            SCOPED_TRACE(std::to_string(100 * type[0] + type[1]) + ", " + std::to_string(n));
            check_reader_cases(png_row(), {{"alone", p.file(), p.delivered()},
                                           {"with more chunks", p.file(true), p.delivered()}});
        }
    }
}

TEST(PNG, TellsWhatTheFileSaysBesideItsPixels)
{
    // clang-format off
    const auto told = [](const NUV_PNGInfo& info) {
        const NUV_PNGTypes::Fields& f = info.fields();
        std::ostringstream s;
        s << +f.color_type_code << ' ' << f.gamma << ' ' << +f.srgb_intent << ", bits " << +f.significant_bits[2] << ' ' << +f.significant_bits[4]
          << ", time " << f.time.year << ' ' << +f.time.month << ' ' << +f.time.second << ", background " << f.background[1] << ' ' << f.background[3]
          << ", offset " << f.offset_x << ' ' << f.offset_y << ' ' << +f.offset_unit << ", pixels " << f.pixels_y << ' ' << +f.pixels_unit
          << ", " << info.resolution().x << ' ' << info.resolution().y << ' ' << info.resolution().unit
          << ", scale " << f.scale_width << ' ' << f.scale_height << ' ' << +f.scale_unit << ", ";
        for (const NUV_PNGTypes::Text& t : f.texts)
            s << t.compression << t.key << t.text << (t.translated_key ? t.translated_key : "") << ' ';
        for (const bool is_there : f.present)
            s << is_there;
        return s.str();
    };
    const Picture picture{2, 1, 2, 8};
    PNGCraft craft = picture.head();
    craft.chunk("sRGB", {1}).chunk("gAMA", {0, 0, 0x4E, 0x20}).chunk("sBIT", {5, 6, 7}).chunk("PLTE", Bytes(6, 9)).chunk("bKGD", {0, 1, 0, 2, 0, 3}).chunk("tIME", {7, 0xEA, 11, 22, 1, 2, 3})
        .chunk("tEXt", bytes_of({"key\0text", 8})).chunk("iTXt", bytes_of({"k\0\0\0en\0K\0words", 14})).chunk("oFFs", {0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 3, 1})
        .chunk("pHYs", {0, 0, 11, 19, 0, 0, 11, 20, 1}).chunk("sCAL", bytes_of({"\1" "0.5\0" "2.5", 8})).chunk("IDAT", {});
    NUV_TestChain chain;
    NUV_PNGInfo info(chain.manager());
    const NUV_TestStored full(chain.manager(), craft.end());
    ASSERT_TRUE(info.load(full.storage()));
    EXPECT_EQ(told(info), "2 0.2 1, bits 7 8, time 2026 11 3, background 1 3, offset -2 3 1, pixels 2836 1, 2835 2836 4, scale 0.5 2.5 1, -1keytext 1kwordsK 1101111111");
    EXPECT_TRUE(info.palette().is_empty()) << "pixels that don't use it";
    // The next file says next to nothing: neither does what is told of it.
    PNGCraft little = picture.head().chunk("sRGB", {2}).chunk("IDAT", {});
    const NUV_TestStored bare(chain.manager(), little.end());
    ASSERT_TRUE(info.load(bare.storage()));
    EXPECT_EQ(told(info), "2 0 2, bits 0 0, time 0 0 0, background 0 0, offset 0 0 2, pixels 0 2, 0 0 0, scale 0 0 3, 0100000000");
    // What libpng drops is not told because an sRGB chunk implies it.
    const auto with_srgb = [&] { return picture.head().chunk("sRGB", {2}); };
    PNGCraft spoilt_gamma = with_srgb().chunk("gAMA", {0, 0, 0x4E, 0x20});
    spoilt_gamma.bytes.back() ^= 1;
    for (PNGCraft craft_without : {spoilt_gamma, with_srgb().chunk("PLTE", Bytes(6, 9)).chunk("gAMA", {0, 0, 0x4E, 0x20}), with_srgb().chunk("gAMA", {0, 0, 0, 15})}) {
        const NUV_TestStored without(chain.manager(), craft_without.chunk("IDAT", {}).end());
        ASSERT_TRUE(info.load(without.storage()));
        EXPECT_FALSE(info.fields().present[NUV_PNGTypes::gama]);
    }
    // clang-format on
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
    // clang-format off
    // A byte changed, counted from the end, where the chunk IEND takes 12; bytes left out there.
    const auto spoilt = [](Bytes file, std::size_t from_end) { file.at(file.size() - from_end) ^= 0xFF; return file; };
    const auto cut = [](Bytes file, std::size_t bytes) { file.resize(file.size() - bytes); return file; };
    const auto lines = [&](std::size_t n) { return cut(whole, 15 - 3 * n); };
    const auto with = [&](const Bytes& idat) { return gray.head().chunk("IDAT", idat).end(); };
    const auto header = [&](std::uint32_t width, const Bytes& rest, std::uint32_t height = 5) { return PNGCraft().header(width, height, rest).chunk("IDAT", data).end(); };
    const PNGCraft piece = gray.head().chunk("IDAT", {data.begin(), data.begin() + 8});
    const auto pieces = [&](PNGCraft first) { return first.chunk("IDAT", {data.begin() + 8, data.end()}).end(); };
    Bytes text_mode = good;
    text_mode.erase(text_mode.begin() + 4);
    check_reader_cases(png_row(), {
        {"through a transfer as text", text_mode, {}, broken, head},
        {"pixels before the header", PNGCraft().chunk("IDAT", data).end(), {}, broken, head},
        {"no palette", header(8, {1, 3, 0, 0, 0}), {}, broken, head},
        {"a wrong checksum of the header", spoilt(gray.head().bytes, 1), {}, broken, head},
        {"a wrong checksum of the palette", spoilt(Picture{8, 5, 3, 1}.head().bytes, 1), {}, broken, head},
        {"too many lengths", with({0x78, 0x9C, 0xFD, 0xFF, 0xFF}), {}, broken, line},
        {"no zlib header", with({0x12, 0x34, 0}), {}, broken, line},
        {"a wrong Adler checksum", with(spoilt(data, 1)), lines(4), broken, line},
        {"a stream that ends early", with(PNGCraft::deflated(cut(gray.stored(), 11))), lines(2), broken, line},
        {"an empty stream", with({}), {}, broken, line},
        {"pieces", pieces(piece), whole},
        {"a wrong checksum between them", pieces({spoilt(piece.bytes, 1)}), lines(1), broken, line},
        {"a wrong checksum of the pixels", spoilt(good, 13), whole, broken, end},
        {"a wrong checksum of the end", spoilt(good, 1), whole, broken, end},
        {"a file that ends in the pixels", cut(good, 24), {}, broken, line},
        {"a file that ends in their checksum", cut(good, 13), whole, broken, end},
        {"passes: a wrong checksum of the pixels", spoilt(adam.file(), 13), adam.delivered(), broken, end},
        {"passes: a wrong Adler checksum", adam.head().chunk("IDAT", spoilt(PNGCraft::deflated(adam.stored()), 1)).end(), {}, broken, passes},
        {"width 0", header(0, {8, 0, 0, 0, 0}), {}, invalid, head},
        {"a million and one", header(1000001, {8, 0, 0, 0, 0}), {}, invalid, head},
        {"an unknown block type", with({0x78, 0x9C, 0x07, 0, 0}), {}, NUV_ERROR, line},
        {"two headers", gray.head().header(3, 5, {8, 0, 0, 0, 0}).end(), {}, NUV_ERROR, head},
        {"more data than pixels", with(PNGCraft::deflated(Bytes(99, 0))), Bytes(15, 0)},
        // On the word of a header no memory is taken that its pixels cannot fill.
        {"passes of 3600 megapixels", header(60000, {8, 0, 0, 0, 1}, 60000), {}, broken, "NUV_ReadPNGEngine::initiate()"},
    });
    for (const Bytes& no_header : {Bytes{8, 0, 0, 0, 2}, {8, 0, 1, 0, 0}, {8, 2, 0, 64, 0}, {3, 0, 0, 0, 0}, {8, 1, 0, 0, 0}, {16, 3, 0, 0, 0}})
        check_reader_cases(png_row(), {{"a header that no file has", header(3, no_header), {}, invalid, head}});
    // clang-format on
}

// Texts that unpack to 160 MB of a file of 160 KB.
TEST(PNG, BoundsTheMemoryOfTexts)
{
    NUV_TestChain chain;
    PNGCraft craft = Picture{3, 5, 0, 8}.head();
    Bytes text = PNGCraft::deflated(Bytes(7900000, 'x'));
    text.insert(text.begin(), {'k', 0, 0});
    for (int i = 0; i < 20; ++i)
        craft.chunk("zTXt", text);
    const NUV_TestStored stored(chain.manager(), craft.chunk("IDAT", {}).end());
    EXPECT_TRUE(NUV_PNGInfo(chain.manager()).load(stored.storage()));
    EXPECT_LE(chain.manager().memory().most_live_bytes(), std::size_t{33} << 20);

    // What cannot be left out, where no room is left, ends the file.
    PNGCraft full =
        PNGCraft().header(3, 5, {8, 3, 0, 0, 0}).chunk("zTXt", text).chunk("zTXt", text);
    for (int i = 0; i < 40; ++i) {
        Bytes some(std::size_t{1} << (22 - i % 20), 'y');
        some[1] = 0;
        full.chunk("tEXt", some);
    }
    const NUV_TestStored too_much(chain.manager(), full.chunk("PLTE", Bytes(9)).end());
    EXPECT_FALSE(NUV_PNGInfo(chain.manager()).load(too_much.storage()));
    EXPECT_EQ(chain.status().code, NUV_ERROR);
    EXPECT_EQ(chain.manager().diagnosis().cause, NUV_Cause::limit);
}

// What libpng reads ahead of one is not what the other reads next; and nothing is read twice.
TEST(PNG, KeepsTwoReadersOfOneStorageApart)
{
    const Picture noise{200, 100, 2, 8};
    NUV_TestChain chain;
    const NUV_TestStored stored(chain.manager(), noise.file());
    NUV_PNGInfo infos[2] = {NUV_PNGInfo(chain.manager()), NUV_PNGInfo(chain.manager())};
    NUV_Engine* engines[2] = {};
    for (const int i : {0, 1}) {
        ASSERT_TRUE(stored.storage()->to(NUV_TestStored::start) && infos[i].load(stored.storage()));
        engines[i] = NUV_ReadPNG(chain.manager()).engine(stored.storage(), &infos[i]);
    }
    for (NUV_Engine* engine : engines) {
        chain.last(engine);
        EXPECT_EQ(chain.run_bytes(), noise.delivered());
    }
    EXPECT_FALSE(NUV_ReadPNG(chain.manager()).engine(stored.storage(), &infos[0]));
    EXPECT_EQ(chain.status().code, NUV_ERR_SEQUENCE);
}

} // namespace
} // namespace nuv
