#include "tests/core/jpeg/nuv_jpegdecodetest.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>

namespace nuv {
namespace {

void expect_equal_to_reference(const std::vector<std::uint8_t>& stream, const std::string& what)
{
    const auto expected = decode_by_reference(stream);
    ASSERT_TRUE(expected) << what;
    const JPEGDecoded decoded = decode_stream(stream);
    ASSERT_TRUE(decoded.is_clean())
        << what << ": " << decoded.header << ' ' << decoded.start << ' ' << decoded.lines;
    ASSERT_EQ(decoded.picture.width, expected->width) << what;
    ASSERT_EQ(decoded.picture.height, expected->height) << what;
    ASSERT_EQ(decoded.picture.samples, expected->samples) << what;
}

struct Layout {
    std::uint32_t key;
    std::uint32_t channels;
    bool can_be_progressive;
};

constexpr Layout layouts[] = {
    {0x111111, 1, true},  {0x111111, 3, true},    {0x211111, 3, true},    {0x221111, 3, true},
    {0x411111, 3, true},  {0x121111, 3, true},    {0x421111, 3, true},    {0x241111, 3, true},
    {0x141111, 3, true},  {0x11111111, 4, true},  {0x222121, 3, false},   {0x221212, 3, false},
    {0x412121, 3, false}, {0x141212, 3, false},   {0x442222, 3, false},   {0x22111122, 4, false},
};

std::string name_of(const Layout& layout, std::uint32_t width, std::uint32_t height, int quality)
{
    char name[64];
    std::snprintf(name, sizeof(name), "%u components %x, %u x %u, quality %d", layout.channels,
                  layout.key, width, height, quality);
    return name;
}

constexpr std::array<std::array<std::uint32_t, 2>, 9> sizes = {
    {{1, 1}, {7, 9}, {8, 8}, {15, 17}, {16, 16}, {33, 17}, {31, 65}, {100, 3}, {129, 70}}};

TEST(JPEGDecoder, GivesTheSamplesOfTheReferenceForEveryLayoutSizeAndQuality)
{
    for (const Layout& layout : layouts) {
        for (const auto& [width, height] : sizes) {
            const JPEGTestPicture picture = busy_picture(width, height, layout.channels);
            for (const int quality : {5, 50, 75, 90, 100}) {
                const std::string what = name_of(layout, width, height, quality);
                JPEGReferenceSettings settings = {.quality = quality, .key = layout.key};
                expect_equal_to_reference(encode_by_reference(picture, settings), what);
                settings.is_progressive = true;
                if (layout.can_be_progressive)
                    expect_equal_to_reference(encode_by_reference(picture, settings),
                                              what + ", progressive");
            }
        }
    }
}

} // namespace
} // namespace nuv
