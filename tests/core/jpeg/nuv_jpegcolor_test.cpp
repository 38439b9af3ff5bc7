#include "tests/core/jpeg/nuv_jpegtestforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace nuv {
namespace {

using Primitive = NUV_JPEGPrimitives::PixelsToBlocks NUV_JPEGPrimitives::*;

struct Shape {
    const char* name;
    Primitive convert;
    Primitive split;
    std::size_t across, down; // pixels in a cell
};
const Shape shapes[] = {
    {"444", &NUV_JPEGPrimitives::convert_rgb_ycc_444, &NUV_JPEGPrimitives::split_444, 1, 1},
    {"422", &NUV_JPEGPrimitives::convert_rgb_ycc_422, &NUV_JPEGPrimitives::split_422, 2, 1},
    {"420", &NUV_JPEGPrimitives::convert_rgb_ycc_420, &NUV_JPEGPrimitives::split_420, 2, 2},
};

constexpr std::int16_t untouched = 0x5A5A;

struct Planes {
    // One more block than is written, so that a write behind the end shows.
    std::vector<std::int16_t> first, second, third;

    explicit Planes(const Shape& shape)
        : first((shape.across * shape.down + 1) * 64, untouched),
          second(128, untouched),
          third(128, untouched)
    {}
    bool operator==(const Planes&) const = default;
};

// Exactly the bytes of one area, the last row without what would follow it, so that a sanitizer
// sees a read outside.
class Area {
public:
    Area(const Shape& shape, std::size_t padding)
        : step_(24 * shape.across + padding),
          rows_(8 * shape.down),
          bytes_(new std::uint8_t[size(shape)]),
          size_(size(shape))
    {}
    std::uint8_t* begin() { return bytes_.get(); }
    std::uint8_t* end() { return bytes_.get() + size_; }
    const std::uint8_t* pixel(std::size_t x, std::size_t y) const
    {
        return bytes_.get() + y * step_ + 3 * x;
    }
    std::int32_t row_step() const { return static_cast<std::int32_t>(step_); }

private:
    std::size_t size(const Shape& shape) const { return (rows_ - 1) * step_ + 24 * shape.across; }

    std::size_t step_, rows_;
    std::unique_ptr<std::uint8_t[]> bytes_;
    std::size_t size_;
};

Planes run(const JPEGTestForm& form, Primitive primitive, const Shape& shape, const Area& area)
{
    Planes planes(shape);
    EXPECT_EQ((form.primitives.*primitive)(area.pixel(0, 0), area.row_step(), planes.first.data(),
                                           planes.second.data(), planes.third.data()),
              NUV_JPEGResult::good);
    return planes;
}

// The definition, with real numbers: floors of weighted means, luma before its level shift.
Planes expected(const Shape& shape, const Area& area, bool convert)
{
    Planes planes(shape);
    for (std::size_t y = 0; y < 8 * shape.down; ++y) {
        for (std::size_t x = 0; x < 8 * shape.across; ++x) {
            const std::uint8_t* p = area.pixel(x, y);
            const double luma = (19595.0 * p[0] + 38470.0 * p[1] + 7471.0 * p[2]) / 65536;
            const std::size_t block = y / 8 * shape.across + x / 8;
            planes.first[block * 64 + y % 8 * 8 + x % 8] =
                static_cast<std::int16_t>((convert ? std::floor(luma) : p[0]) - 128);
        }
    }
    const auto pixels = static_cast<double>(shape.across * shape.down);
    for (std::size_t i = 0; i < 64; ++i) {
        double mean[3] = {};
        for (std::size_t j = 0; j < shape.across * shape.down; ++j) {
            const std::uint8_t* p = area.pixel(i % 8 * shape.across + j % shape.across,
                                               i / 8 * shape.down + j / shape.across);
            for (int c = 0; c < 3; ++c)
                mean[c] += p[c] / pixels;
        }
        const auto [r, g, b] = mean;
        const double blue = (-11059 * r - 21709 * g + 32768 * b) / 65536;
        const double red = (32768 * r - 27439 * g - 5329 * b) / 65536;
        planes.second[i] = static_cast<std::int16_t>(std::floor(convert ? blue : g - 128));
        planes.third[i] = static_cast<std::int16_t>(std::floor(convert ? red : b - 128));
    }
    return planes;
}

TEST(JpegColor, EveryFormGivesTheDefinitionAndReadsNothingElse)
{
    std::mt19937 random(3);
    for (const Shape& shape : shapes) {
        for (const std::size_t padding : {0U, 1U, 5U, 64U}) {
            Area area(shape, padding);
            for (int round = 0; round < 40; ++round) {
                // Rounds of noise, of the two ends of the range, and of one value.
                const auto level = static_cast<std::uint_fast32_t>(round * 255 / 39);
                for (std::uint8_t& byte : area) {
                    const auto value = round % 3 == 0   ? random()
                                       : round % 3 == 1 ? (random() & 1U) * 255U
                                                        : level;
                    byte = static_cast<std::uint8_t>(value);
                }
                const Planes converted = expected(shape, area, true);
                const Planes split = expected(shape, area, false);
                for (const JPEGTestForm& form : jpeg_test_forms()) {
                    SCOPED_TRACE(testing::Message() << shape.name << ' ' << form.name);
                    EXPECT_EQ(run(form, shape.convert, shape, area), converted);
                    EXPECT_EQ(run(form, shape.split, shape, area), split);
                }
            }
        }
    }
}

TEST(JpegColor, KnowsTheCornersOfTheColorCube)
{
    struct Case {
        std::array<std::uint8_t, 3> pixel;
        std::array<int, 3> result;
    };
    const Case cases[] = {
        {{0, 0, 0}, {-128, 0, 0}},      {{255, 255, 255}, {127, 0, 0}},
        {{77, 77, 77}, {-51, 0, 0}},    {{255, 0, 0}, {-52, -44, 127}},
        {{0, 255, 0}, {21, -85, -107}}, {{0, 0, 255}, {-99, 127, -21}},
    };
    for (const Case& c : cases) {
        for (const Shape& shape : shapes) {
            Area area(shape, 0);
            std::size_t i = 0;
            for (std::uint8_t& byte : area)
                byte = c.pixel[i++ % 3];
            for (const JPEGTestForm& form : jpeg_test_forms()) {
                const Planes planes = run(form, shape.convert, shape, area);
                EXPECT_EQ(planes.first[0], c.result[0]) << form.name << ' ' << shape.name;
                EXPECT_EQ(planes.second[63], c.result[1]) << form.name << ' ' << shape.name;
                EXPECT_EQ(planes.third[9], c.result[2]) << form.name << ' ' << shape.name;
            }
        }
    }
}

TEST(JpegColor, RefusesNullPointersBeforeTheRowStep)
{
    std::array<std::uint8_t, 1> pixel{};
    std::array<std::int16_t, 1> block{};
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        for (const Shape& shape : shapes) {
            for (const Primitive primitive : {shape.convert, shape.split}) {
                const auto call = form.primitives.*primitive;
                std::int16_t* out = block.data();
                EXPECT_EQ(call(nullptr, 0, out, out, out), NUV_JPEGResult::null_pointer);
                EXPECT_EQ(call(pixel.data(), 0, nullptr, out, out), NUV_JPEGResult::null_pointer);
                EXPECT_EQ(call(pixel.data(), 0, out, nullptr, out), NUV_JPEGResult::null_pointer);
                EXPECT_EQ(call(pixel.data(), 0, out, out, nullptr), NUV_JPEGResult::null_pointer);
                EXPECT_EQ(call(pixel.data(), 0, out, out, out), NUV_JPEGResult::bad_row_step);
                EXPECT_EQ(call(pixel.data(), -24, out, out, out), NUV_JPEGResult::bad_row_step);
            }
        }
    }
}

} // namespace
} // namespace nuv
