#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegdecodetest.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <random>

namespace nuv {
namespace {

using Stream = std::vector<std::uint8_t>;

std::vector<std::uint16_t> words_of(const JPEGTestPicture& picture)
{
    std::vector<std::uint16_t> words(picture.samples.size() / 2);
    if (!words.empty())
        std::memcpy(words.data(), picture.samples.data(), 2 * words.size());
    return words;
}

JPEGLosslessPicture lossless_picture(std::uint32_t precision, std::uint32_t channels)
{
    JPEGLosslessPicture picture{19, 13, channels, precision, {}};
    std::mt19937 random(precision * 8 + channels);
    for (std::size_t i = 0; i < std::size_t{19} * 13 * channels; ++i) {
        const std::uint32_t smooth = static_cast<std::uint32_t>(i) * 37;
        const std::uint32_t value = i % 5 == 0 ? static_cast<std::uint32_t>(random()) : smooth;
        picture.samples.push_back(static_cast<std::uint16_t>(value & ((1U << precision) - 1U)));
    }
    return picture;
}

void expect_lossless(const JPEGLosslessPicture& picture, const JPEGLosslessSettings& settings)
{
    const Stream stream = craft_lossless(picture, settings);
    for (const std::int32_t chunk : {1 << 30, 3}) {
        const JPEGDecoded decoded = decode_stream(stream, chunk);
        ASSERT_TRUE(decoded.is_clean())
            << decoded.header << ' ' << decoded.start << ' ' << decoded.lines;
        const bool is_wide = picture.precision > 8;
        const auto words = words_of(decoded.picture);
        ASSERT_EQ(is_wide ? words.size() : decoded.picture.samples.size(), picture.samples.size());
        for (std::size_t i = 0; i < picture.samples.size(); ++i) {
            const auto sample = std::uint32_t{picture.samples[i]};
            const std::uint32_t kept = sample >> settings.point_transform
                                                     << settings.point_transform;
            ASSERT_EQ(is_wide ? words[i] : decoded.picture.samples[i], kept) << i;
        }
    }
}

TEST(JPEGLosslessDecoder, GivesExactSamplesForEveryPredictorPrecisionAndChannelCount)
{
    for (int predictor = 1; predictor <= 7; ++predictor) {
        for (const std::uint32_t precision : {2U, 8U, 9U, 12U, 16U}) {
            for (const std::uint32_t channels : {1U, 3U, 4U}) {
                SCOPED_TRACE(testing::Message() << predictor << ", " << precision << " bits, "
                                                << channels << " channels");
                const auto picture = lossless_picture(precision, channels);
                expect_lossless(picture, {.predictor = predictor});
                expect_lossless(picture, {.predictor = predictor, .point_transform = 1});
                expect_lossless(picture, {.predictor = predictor, .restart_rows = 3});
                expect_lossless(picture, {.predictor = predictor,
                                          .restart_rows = 1,
                                          .has_scan_each = true,
                                          .has_table_each = true});
                expect_lossless(
                    picture, {.predictor = predictor, .point_transform = 1, .has_scan_each = true});
            }
        }
    }
}

// A lost interval is rows of 0x80 bytes, and the rows behind it are as they were. Without another
// interval nothing more comes.
TEST(JPEGLosslessDecoder, FillsLostRowsAndGoesOnAtTheNextInterval)
{
    const auto picture = lossless_picture(16, 1);
    const Stream stream = craft_lossless(picture, {.predictor = 4, .restart_rows = 2});
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i + 1 < stream.size(); ++i) {
        if (stream[i] == 0xFF && (stream[i + 1] & 0xF8U) == 0xD0)
            places.push_back(i);
    }
    Stream lost = stream; // rows 2 and 3, with their marker
    lost.erase(lost.begin() + static_cast<std::ptrdiff_t>(places[0]),
               lost.begin() + static_cast<std::ptrdiff_t>(places[1]));
    Stream broken = stream; // the same rows, of which there is nothing but the marker
    broken.erase(broken.begin() + static_cast<std::ptrdiff_t>(places[0]) + 2,
                 broken.begin() + static_cast<std::ptrdiff_t>(places[1]));
    Stream nonsense = stream; // codes that mean nothing in the midst of them
    std::fill(nonsense.begin() + static_cast<std::ptrdiff_t>(places[0]) + 2,
              nonsense.begin() + static_cast<std::ptrdiff_t>(places[1]), std::uint8_t{0xFE});
    for (const Stream& damaged : {lost, broken, nonsense}) {
        const JPEGDecoded decoded = decode_stream(damaged);
        const auto words = words_of(decoded.picture);
        ASSERT_EQ(words.size(), picture.samples.size());
        for (std::uint32_t y = 0; y < picture.height; ++y) {
            const bool is_lost = y == 2 || y == 3;
            EXPECT_EQ(decoded.codes[y], is_lost ? NUV_JPEGCode::damaged_lines : NUV_JPEGCode::good)
                << y;
            for (std::uint32_t x = 0; x < picture.width; ++x)
                ASSERT_EQ(words[y * picture.width + x], is_lost ? 0x8080 : picture.at(x, y, 0));
        }
    }
    Stream last = craft_lossless(picture, {});
    std::fill(last.end() - 200, last.end() - 2, std::uint8_t{0xFE});
    const auto words = words_of(decode_stream(last).picture);
    ASSERT_EQ(words.size(), picture.samples.size());
    EXPECT_EQ(words[0], picture.samples[0]);
    EXPECT_EQ(words.back(), 0x8080);
}

TEST(JPEGLosslessDecoder, GivesTheFullHeightOfWhatBreaksOff)
{
    for (const bool has_scan_each : {false, true}) {
        const auto picture = lossless_picture(12, 3);
        const Stream stream = craft_lossless(
            picture, {.predictor = 7, .restart_rows = 2, .has_scan_each = has_scan_each});
        const std::size_t scan = JPEGTestSegments(stream).scan_position;
        for (std::size_t size = scan; size + 2 < stream.size(); ++size) {
            const JPEGDecoded decoded =
                decode_stream({stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size)});
            ASSERT_EQ(decoded.codes.size(), picture.height) << size;
            ASSERT_EQ(decoded.lines, NUV_JPEGCode::damaged_lines) << size;
        }
        for (std::size_t at = 0; at < stream.size(); ++at) {
            Stream changed = stream;
            changed[at] ^= 0x11U;
            const JPEGDecoded decoded = decode_stream(changed);
            // Behind the frame's own scan header there may be more of them.
            ASSERT_TRUE(at < scan || has_scan_each || decoded.codes.size() == picture.height);
        }
    }
}

} // namespace
} // namespace nuv
