#include "core/pnm/nuv_readpnm.h"
#include "core/pnm/nuv_writepnm.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "tests/support/nuv_readerharness.h"

#include <bit>

namespace nuv {
namespace {

[[nodiscard]] NUV_TestImage picture(std::uint16_t channels, std::uint16_t bits,
                                    const NUV_ColorType* color)
{
    return {.width = 13, .height = 5, .channels = channels, .bits = bits, .color_type = color};
}

[[nodiscard]] NUV_ReaderRow pnm_row()
{
    const auto bitmap = picture(1, 1, NUV_ColorType::gray_reverse);
    const auto gray = picture(1, 8, NUV_ColorType::gray);
    const auto gray_16 = picture(1, 16, NUV_ColorType::gray);
    const auto color = picture(3, 8, NUV_ColorType::s_rgb);
    const auto color_16 = picture(3, 16, NUV_ColorType::s_rgb);
    return reader_row<NUV_PNMInfo, NUV_ReadPNM>(
        "pnm", "NUV_PNMInfo::load()", "NUV_ReadPNM::engine()",
        {
            {"pnm/bilevel_plain.pbm", "pnm/bilevel.pbm", bitmap},
            {"pnm/gray_plain.pgm", "pnm/gray.pgm", gray},
            {"pnm/gray_16_plain.pgm", "pnm/gray_16.pgm", gray_16},
            {"pnm/colour_plain.ppm", "pnm/colour.ppm", color},
            {"pnm/colour_16_plain.ppm", "pnm/colour_16.ppm", color_16},
            {"pnm/bilevel.pbm", "pnm/bilevel.pbm", bitmap, 8, 2},
            {"pnm/gray.pgm", "pnm/gray.pgm", gray, 12, 13},
            {"pnm/colour.ppm", "pnm/colour.ppm", color, 12, 39},
        });
}

TEST(PNM, ReadsWhatOtherProgramsWroteAndStandsDamage)
{
    check_reader(pnm_row());
}

TEST(PNM, FindsThePixelsBehindOneWhitespace)
{
    // clang-format off
    check_reader_cases(pnm_row(), {
        {"pixels that are spaces", bytes_of("P5\n2 1 255\n  "), {32, 32}},
        {"a pixel that is a digit", bytes_of("P5 2 1 7\t12"), {49, 50}},
        {"CR LF behind the last number", bytes_of("P5\r\n2 1\r\n255\r\nx"), {10, 120}},
        {"comments that end at LF, CR and CR LF", bytes_of("P5#a\n2#b\r1 # c\r\n#\r#d\n255 xy"), {120, 121}},
        {"leading zeros", bytes_of("P5 002 00001 0000000000000000000000000255 xy"), {120, 121}},
        {"16 bits from 256 on", bytes_of("P2 1 1 256 7 "), {7, 0}},
        {"the largest maximum", bytes_of("P3 1 1 65535 1 2 3 "), {1, 0, 2, 0, 3, 0}},
        {"a maximum of 1 is 8 bits", bytes_of("P2 1 1 1 1 "), {1}},
        {"no maximum", bytes_of("P4 16 1 25"), {50, 53}},
        {"the largest width", bytes_of("P1 4294967295 1 "), {}, NUV_ERR_UNSUPPORTED, "NUV_BufferOutputEngine::initiate()"},
    });
    // clang-format on
}

TEST(PNM, HeadersAreRefused)
{
    constexpr auto load = "NUV_PNMInfo::load()";
    constexpr auto skip = "NUV_PNMInfo::skip_whitespace()";
    constexpr auto get = "NUV_PNMInfo::get_value()";
    constexpr auto value = "NUV_PNMInfo::read_value()";

    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    constexpr auto format = NUV_ERR_FORMAT;
    constexpr auto engine = "NUV_ReadPNM::engine()";
    // clang-format off
    check_reader_cases(pnm_row(), {
        {"another letter", bytes_of("Q5 1 1 255 x"), {}, format, engine},
        {"digit 0", bytes_of("P0 1 1 255 x"), {}, format, engine},
        {"digit 7", bytes_of("P7 1 1 255 x"), {}, format, engine},
        {"nothing", bytes_of(""), {}, broken, load},
        {"one byte", bytes_of("P"), {}, broken, load},
        {"nothing behind the magic", bytes_of("P5"), {}, broken, skip},
        {"a comment without an end", bytes_of("P5 #"), {}, broken, skip},
        {"a comment that ends with CR and the file", bytes_of("P5 #\r"), {}, broken, skip},
        {"a letter for a number", bytes_of("P5 x"), {}, invalid, skip},
        {"a sign", bytes_of("P5 -1 1 255 x"), {}, invalid, skip},
        {"vertical tab is no whitespace", bytes_of("P5\v1 1 255 x"), {}, invalid, skip},
        {"a number glued to the magic", bytes_of("P510 10 255 x"), {}, invalid, get},
        {"a letter in a number", bytes_of("P5 1x 1 255 x"), {}, invalid, get},
        {"a number at the end", bytes_of("P5 1 1 255"), {}, broken, get},
        {"width 0", bytes_of("P5 0 10 255 x"), {}, invalid, get},
        {"height 0", bytes_of("P4 10 000 x"), {}, invalid, get},
        {"maximum 0", bytes_of("P5 10 10 0 x"), {}, invalid, get},
        {"22 digits", bytes_of("P5 1111111111111111111111 1 255 x"), {}, invalid, get},
        {"21 digits", bytes_of("P5 111111111111111111111 1 255 x"), {}, invalid, value},
        {"2^64 + 1", bytes_of("P5 18446744073709551617 1 255 x"), {}, invalid, value},
        {"2^32", bytes_of("P5 4294967296 1 255 x"), {}, invalid, value},
        {"a comment behind the maximum", bytes_of("P6 2 2 255#c\nx"), {}, invalid, load},
        {"a comment behind the height", bytes_of("P4 2 2#c\nx"), {}, invalid, load},
        {"more than 8 bits, binary", bytes_of("P6 1 1 256 x"), {}, invalid, load},
        {"more than 16 bits, plain", bytes_of("P2 1 1 65536 1"), {}, invalid, load},
    });
    // clang-format on
}

TEST(PNM, PlainTextIsReadToTheLetter)
{
    constexpr auto bitmap = "NUV_ReadPBMAsciiEngine::read_value()";
    constexpr auto skip = "NUV_ReadPPMAsciiEngine::skip_whitespace()";
    constexpr auto get = "NUV_ReadPPMAsciiEngine::get_value()";
    constexpr auto value = "NUV_ReadPPMAsciiEngine::read_value()";

    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    // clang-format off
    check_reader_cases(pnm_row(), {
        {"the end finishes a 1", bytes_of("P1 3 1 1 0 1"), {0xA0}},
        {"the end does not finish a 0", bytes_of("P1 3 1 1 1 0"), {}, broken, bitmap},
        {"a whitespace does", bytes_of("P1 3 1 1 1 0\n"), {0xC0}},
        {"digits that touch", bytes_of("P1 8 1 11111111"), {}, broken, bitmap},
        {"a 0 behind a 1 that touches", bytes_of("P1 2 1 10 "), {}, broken, bitmap},
        {"01 is a 1", bytes_of("P1 2 1 01 0 "), {0x80}},
        {"000 is a 0", bytes_of("P1 2 1 000 9 "), {0x40}},
        {"nine pixels are two bytes", bytes_of("P1 9 1 1 0 0 0 0 0 0 0 1 "), {0x80, 0x80}},
        {"no comments between pixels", bytes_of("P1 2 1 1 #\n1"), {}, broken, bitmap},
        {"the line before the fault stands", bytes_of("P1 1 3 1\n0\nx"), {0x80, 0x00}, broken, bitmap},
        {"pixels behind the last are ignored", bytes_of("P1 1 1 1 x"), {0x80}},
        {"a cut in the second byte", bytes_of("P1 9 1 1 1 1 1 1 1 1 1"), {}, broken, bitmap},
        {"no scaling to the maximum", bytes_of("P2 2 1 9 7 200"), {7, 200}},
        {"zeros", bytes_of("P2 3 1 255 0 00 000007"), {0, 0, 7}},
        {"six digits but too large", bytes_of("P2 1 1 255 000256"), {}, broken, value},
        {"seven digits", bytes_of("P2 1 1 255 1234567 "), {}, broken, get},
        {"a letter in a sample", bytes_of("P2 1 1 255 1x "), {}, broken, get},
        {"a comment in a sample", bytes_of("P2 1 1 255 1#\n"), {}, broken, get},
        {"a comment before a sample", bytes_of("P2 1 1 255 #\n1"), {}, broken, skip},
        {"no sample", bytes_of("P2 1 1 255 "), {}, broken, skip},
        {"lines before the fault stand", bytes_of("P2 2 3 255 1 2 3 4 5"), {1, 2, 3, 4}, broken, skip},
        {"samples of 8 bits stop at 255", bytes_of("P3 1 2 255 1 2 255 4 5 256"), {1, 2, 255}, broken, value},
        {"16 bits in host order", bytes_of("P2 1 1 300 257"), {1, 1}},
        {"16 bits stop at 65535", bytes_of("P2 1 1 300 65536"), {}, broken, value},
    });
    // clang-format on
}

// Numbers that straddle the blocks in which text is read, and a header so long that its comment
// does.
TEST(PNM, TextIsReadAcrossAllBlocks)
{
    std::string text = "P2 9000 2 255 ";
    Bytes wanted;
    for (std::size_t i = 0; i < 18000; ++i) {
        wanted.push_back(static_cast<std::uint8_t>(i * i >> 3));
        text += std::to_string(wanted.back()) + (i % 7 == 0 ? "\r\n" : " ");
    }
    const std::string comment = "P5 1 1 #" + std::string(10000, 'x') + "\n255\nA";
    check_reader_cases(
        pnm_row(), {{"numbers", bytes_of(text), wanted}, {"a comment", bytes_of(comment), {'A'}}});
}

// The word of a header is not enough for half a gigabyte.
TEST(PNM, TakesNoMemoryForLinesThatAreNotThere)
{
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    // clang-format off
    check_reader_cases(pnm_row(), {
        {"P1", bytes_of("P1 170000000 8 1 0 1 0"), {}, broken, "NUV_ReadPBMAsciiEngine::read_value()"},
        {"P3", bytes_of("P3 170000000 8 255 1 0 1 0"), {}, broken, "NUV_ReadPPMAsciiEngine::skip_whitespace()"},
        {"P6", bytes_of("P6 170000000 8 255 1 0 1 0"), {}, broken, "NUV_ReadPNMBinaryEngine::execute()"},
        {"32 bits", bytes_of("P5 4294967295 1 255 x"), {}, NUV_ERR_UNSUPPORTED, "NUV_BufferOutputEngine::initiate()"},
    });
    // clang-format on
}

template <class Creator>
void expect_own_forms(const char* method, std::string_view served)
{
    for (char digit = '1'; digit <= '6'; ++digit) {
        SCOPED_TRACE(std::string(method) + ", P" + digit);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(),
                                   bytes_of(std::string("P") + digit + " 1 1 1 1"));
        NUV_PNMInfo info(chain.manager());
        ASSERT_TRUE(info.load(image.storage()));
        const bool is_served = served.find(digit) != std::string_view::npos;
        EXPECT_EQ(Creator(chain.manager()).engine(image.storage(), &info) != nullptr, is_served);
        expect_status(chain.manager(), is_served ? NUV_STATUS_OK : NUV_ERR_UNSUPPORTED,
                      is_served ? "" : method);
    }
}

TEST(PNM, EachReaderServesItsOwnForms)
{
    expect_own_forms<NUV_ReadPBMAscii>("NUV_ReadPBMAscii::engine()", "1");
    expect_own_forms<NUV_ReadPPMAscii>("NUV_ReadPPMAscii::engine()", "23");
    expect_own_forms<NUV_ReadPNMBinary>("NUV_ReadPNMBinary::engine()", "456");
}

// The anymap that a picture of these sample bytes becomes, or none.
[[nodiscard]] Bytes written(NUV_TestChain& chain, const NUV_TestImage& image, const Bytes& samples)
{
    Bytes bytes(256);
    const auto storage = make_initiated<NUV_ByteArrayOutputStorage>(
        chain.manager(), bytes.data(), static_cast<std::int32_t>(bytes.size()));
    chain.source_bytes(image, samples);
    if (!storage || !chain.append<NUV_WritePNM>(storage.get()))
        return {};
    chain.run_writer();
    bytes.resize(static_cast<std::size_t>(storage->size()));
    return bytes;
}

TEST(WritePNM, SaysWhatThreeFormsCanSayAndRefusesTheRest)
{
    struct Case {
        NUV_TestImage image;
        std::string samples, anymap; // "" where it is refused
    };
    const auto image = [](std::uint16_t channels, std::uint16_t bits, const NUV_ColorType* color) {
        return NUV_TestImage{
            .width = 2, .height = 2, .channels = channels, .bits = bits, .color_type = color};
    };
    const std::string low_first =
        std::endian::native == std::endian::little ? "badcfehg" : "abcdefgh";
    // clang-format off
    const Case cases[] = {
        {image(1, 1, NUV_ColorType::gray_reverse), "\x80\xFF", "P4\n2 2\n\x80\xC0"},
        {image(1, 8, NUV_ColorType::gray), "abcd", "P5\n2 2\n255\nabcd"},
        {image(1, 16, NUV_ColorType::gray), low_first, "P5\n2 2\n65535\nabcdefgh"},
        {image(3, 8, NUV_ColorType::s_rgb), "abcdefghijkl", "P6\n2 2\n255\nabcdefghijkl"},
        {image(1, 1, NUV_ColorType::gray), "ab", ""},
        {image(1, 8, NUV_ColorType::gray_reverse), "abcd", ""},
        {image(3, 8, NUV_ColorType::ycbcr), "abcdefghijkl", ""},
        {image(3, 8, NUV_ColorType::adobe_rgb), "abcdefghijkl", ""},
        {image(1, 32, NUV_ColorType::gray), "abcdefghijklmnop", ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.image.color_type->key());
        NUV_TestChain chain;
        EXPECT_EQ(written(chain, c.image, bytes_of(c.samples)), bytes_of(c.anymap));
        const bool is_refused = c.anymap.empty();
        expect_status(chain.manager(), is_refused ? NUV_ERR_UNSUPPORTED : NUV_STATUS_OK,
                      is_refused ? "NUV_WritePNM::engine()" : "");
    }
    NUV_TestImage indices = image(1, 8, NUV_ColorType::s_rgb);
    indices.palette = true;
    NUV_TestChain chain;
    EXPECT_TRUE(written(chain, indices, bytes_of("abcd")).empty());
    expect_clean_at_every_allocation([&](NUV_TestChain& sweep) {
        static_cast<void>(written(sweep, cases[1].image, bytes_of(cases[1].samples)));
    });
}

} // namespace
} // namespace nuv
