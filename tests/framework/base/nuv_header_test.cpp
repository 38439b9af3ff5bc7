#include "framework/base/nuv_header.h"

#include "tests/support/nuv_testchain.h"

namespace nuv {
namespace {

TEST(Header, IsValidForSamplesThatTypeColorAndPaletteAllow)
{
    struct Case {
        const char* what;
        NUV_TestImage image;
        std::uint32_t entries; // of a palette of 3 x 8 bits, 0 for none
        bool valid;
    };
    const Case cases[] = {
        {"no width", {.width = 0}, 0, false},
        {"three times 16 bits", {.channels = 3, .bits = 16}, 0, true},
        {"3 bits", {.bits = 3}, 0, false},
        {"64 bits", {.bits = 64}, 0, false},
        {"signed bit", {.bits = 1, .data_type = NUV_DataType::s_integer}, 0, false},
        {"half float", {.bits = 16, .data_type = NUV_DataType::floating}, 0, false},
        {"any width of an unknown type", {.bits = 5, .data_type = NUV_DataType::unknown}, 0, true},
        {"rgb of one channel", {.color_type = NUV_ColorType::s_rgb}, 0, false},
        {"no channel", {.channels = 0}, 0, false},
        {"nine channels of no colour", {.channels = 9}, 0, true},
        {"full palette", {.color_type = NUV_ColorType::s_rgb}, 256, true},
        {"full palette of words", {.bits = 16, .color_type = NUV_ColorType::s_rgb}, 65536, true},
        {"one word too many", {.bits = 16, .color_type = NUV_ColorType::s_rgb}, 65537, false},
        {"one entry too many", {.color_type = NUV_ColorType::s_rgb}, 257, false},
        {"palette of another colour", {.color_type = NUV_ColorType::gray}, 16, false},
        {"palette under three channels", {.channels = 3}, 16, false},
        {"palette of bits", {.bits = 1, .color_type = NUV_ColorType::s_rgb}, 2, true},
        {"palette of words", {.bits = 32, .color_type = NUV_ColorType::s_rgb}, 2, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        NUV_Header header(chain.manager());
        fill_header(header, c.image);
        if (c.entries > 0) {
            header.palette().bits = 8;
            header.palette().channels = 3;
            header.palette().entries = c.entries;
            const Bytes value(std::size_t{3} * c.entries);
            ASSERT_TRUE(header.palette().value(value.data(), 3 * c.entries));
        }
        EXPECT_EQ(header.is_valid(), c.valid);
    }
}

TEST(Header, LineBytesStopWhereThirtyTwoBitsEnd)
{
    NUV_TestChain chain;
    NUV_Header header(chain.manager());
    const auto with = [&](const NUV_TestImage& image) -> const NUV_Header& {
        fill_header(header, image);
        return header;
    };
    EXPECT_EQ(with({0x1FFFFFFF, 1}).checked_line_bytes(), 0x1FFFFFFFu); // bits, rounded up, fit
    EXPECT_FALSE(with({0x20000001, 1}).checked_line_bytes());           // 1 in 32-bit arithmetic
    EXPECT_EQ(with({1, 1, 65535, 65535}).checked_line_bytes(), (65535ULL * 65535 + 7) / 8);
    EXPECT_FALSE(with({2, 1, 65535, 65535}).checked_line_bytes());
    EXPECT_FALSE(with({9, 0xFFFFFFFF, 1, 1}).checked_plane_bytes());
    EXPECT_EQ(with({9, 0x7FFFFFFF, 1, 1}).checked_plane_bytes(), 0xFFFFFFFEu);
}

TEST(Palette, TakesExactlyItsBytesAndCopiesOrBecomesEmpty)
{
    NUV_TestChain chain;
    NUV_Header::NUV_Palette palette(chain.manager());
    palette.bits = 8;
    palette.channels = 3;
    palette.entries = 2;
    const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6};
    EXPECT_FALSE(palette.value(bytes, 5) || palette.value(nullptr, 6) || palette.value(bytes, 0));
    EXPECT_STREQ(chain.status().method, "NUV_Header::NUV_Palette::value()");
    ASSERT_TRUE(palette.value(bytes, 6));
    ASSERT_TRUE(palette.value(palette.value(), 6)) << "its own value";
    EXPECT_EQ(palette.value()[5], 6);

    NUV_Header::NUV_Palette other(chain.manager());
    ASSERT_TRUE(other.copy(palette));
    EXPECT_TRUE(other.equal(palette));
    const std::uint8_t last_differs[] = {1, 2, 3, 4, 5, 7};
    ASSERT_TRUE(other.value(last_differs, 6));
    EXPECT_FALSE(other.equal(palette));
    chain.manager().memory().fail_at(0);
    EXPECT_FALSE(other.copy(palette));
    EXPECT_TRUE(other.is_empty());

    palette.entries = 0xFFFFFFFF; // more bytes than a size can tell
    palette.channels = 65535;
    EXPECT_FALSE(palette.value(bytes, 6));
}

} // namespace
} // namespace nuv
