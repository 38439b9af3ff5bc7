// The operations on samples, as users call them.

#include "wrapper/nuv_wrapper.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using Call = std::function<void(NuvWrapperClass&)>;

// Samples of 16 bits, in host order.
Bytes words(const std::vector<std::uint16_t>& samples)
{
    Bytes bytes(samples.size() * sizeof(std::uint16_t));
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

ImageParam image_of(std::uint32_t width, std::uint16_t channels, std::uint16_t bits,
                    std::int32_t color)
{
    ImageParam param{};
    param.width = width;
    param.height = 1;
    param.channels = channels;
    param.bits = bits;
    param.color = color;
    return param;
}

Call lut(const Bytes& table, std::uint32_t entries, std::uint16_t bits)
{
    return [=](NuvWrapperClass& w) {
        LutParam param{table.empty() ? nullptr : table.data(), entries, bits, 0};
        w.LUT(&param); // the table need not last
    };
}

Call convert(double slope, double offset, std::uint16_t bits)
{
    return [=](NuvWrapperClass& w) {
        ConvertDataParam param{slope, offset, bits};
        w.ConvertDataType(&param);
    };
}

Call color(int code)
{
    return [=](NuvWrapperClass& w) { w.ColorSpace(static_cast<ColorType::eColorType>(code)); };
}

// The result of Execute(), and what was written.
std::pair<int, Bytes> run(const Bytes& source, ImageParam image, const Call& call)
{
    Bytes out(256);
    NuvWrapperClass wrapper;
    wrapper.SetSrcMemory(source.data(), static_cast<int>(source.size()));
    wrapper.SetDstMemory(out.data(), static_cast<int>(out.size()));
    wrapper.ReadStorage(&image);
    call(wrapper);
    wrapper.WriteStorage(nullptr);
    const int result = wrapper.Execute();
    int size = 0;
    wrapper.GetWrittenSize(&size);
    out.resize(static_cast<std::size_t>(size));
    return {result, out};
}

constexpr std::int32_t gray = ColorType::eGray;
constexpr std::int32_t reverse = ColorType::eGrayReverse;
constexpr std::int32_t rgb = ColorType::eRGB;
constexpr std::int32_t ycbcr = ColorType::eYCbCr;

TEST(WrapperPixels, ComeOutAsDefined)
{
    Bytes three(768);
    for (std::size_t i = 0; i < three.size(); ++i)
        three[i] = static_cast<unsigned char>(i % 256 + 10 * (i / 256));
    struct Case {
        const char* what;
        ImageParam image;
        Bytes source;
        Call call;
        Bytes wanted;
    };
    const Case cases[] = {
        {"a table for each channel",
         image_of(2, 3, 8, rgb),
         {0, 1, 2, 9, 9, 255},
         lut(three, 256, 8),
         {0, 11, 22, 9, 19, 19}},
        {"zeros behind a short table",
         image_of(4, 1, 8, gray),
         {0, 1, 2, 255},
         lut({7, 8}, 2, 8),
         {7, 8, 0, 0}},
        {"entries of 16 bits",
         image_of(3, 1, 8, gray),
         {2, 0, 1},
         lut(words({500, 600, 700}), 3, 16),
         words({700, 500, 600})},
        {"16 bits by a table of 8",
         image_of(2, 1, 16, gray),
         words({1, 300}),
         lut(Bytes(301, 5), 301, 8),
         {5, 5}},
        {"more bits",
         image_of(3, 1, 8, gray),
         {0, 1, 255},
         convert(257, 0, 16),
         words({0, 257, 65535})},
        {"fewer bits",
         image_of(3, 1, 16, gray),
         words({128, 129, 65535}),
         convert(1 / 257.0, 0, 8),
         {0, 1, 255}},
        {"halves", image_of(4, 1, 8, gray), {0, 1, 2, 255}, convert(0.5, 0, 8), {0, 1, 1, 128}},
        {"beyond the range",
         image_of(3, 1, 8, gray),
         {10, 100, 200},
         convert(2, -50, 8),
         {0, 150, 255}},
        {"to bits",
         image_of(9, 1, 8, gray),
         {127, 128, 0, 255, 0, 0, 0, 0, 200},
         convert(1, 128, 1),
         {0x50, 0x80}},
        {"from bits",
         image_of(9, 1, 1, gray),
         {0x50, 0x80},
         convert(255, 0, 8),
         {0, 255, 0, 255, 0, 0, 0, 0, 255}},
        {"red and white to YCbCr",
         image_of(2, 3, 8, rgb),
         {255, 0, 0, 255, 255, 255},
         color(ycbcr),
         {76, 85, 255, 255, 128, 128}},
        {"and back",
         image_of(2, 3, 8, ycbcr),
         {76, 85, 255, 255, 128, 128},
         color(rgb),
         {254, 0, 0, 255, 255, 255}},
        {"primaries to gray",
         image_of(3, 3, 8, rgb),
         {255, 0, 0, 0, 255, 0, 0, 0, 255},
         color(gray),
         {76, 150, 29}},
        {"of 16 bits", image_of(1, 3, 16, rgb), words({65535, 0, 0}), color(gray), words({19595})},
        {"gray to three", image_of(2, 1, 8, gray), {5, 255}, color(rgb), {5, 5, 5, 255, 255, 255}},
        {"gray to YCbCr",
         image_of(2, 1, 8, gray),
         {5, 255},
         color(ycbcr),
         {5, 128, 128, 255, 128, 128}},
        {"bits turned", image_of(9, 1, 1, gray), {0x50, 0x80}, color(reverse), {0xAF, 0}},
        {"an unknown colour to itself", image_of(2, 2, 8, 0), {1, 2, 3, 4}, color(0), {1, 2, 3, 4}},
    };
    for (const Case& c : cases) {
        const auto [result, written] = run(c.source, c.image, c.call);
        EXPECT_EQ(result, 0) << c.what;
        EXPECT_EQ(written, c.wanted) << c.what;
    }
}

TEST(WrapperPixels, AreRefused)
{
    const Bytes table(256, 1);
    const ImageParam plain = image_of(4, 1, 8, gray);
    struct Case {
        const char* what;
        ImageParam image;
        Call call;
    };
    const Case cases[] = {
        {"no table", plain, [](NuvWrapperClass& w) { w.LUT(nullptr); }},
        {"entries of nothing", plain, lut({}, 256, 8)},
        {"entries of 12 bits", plain, lut(table, 128, 12)},
        {"a table for bits", image_of(4, 1, 1, gray), lut(table, 2, 8)},
        {"a table for 32 bits", image_of(4, 1, 32, gray), lut(table, 2, 8)},
        {"no conversion", plain, [](NuvWrapperClass& w) { w.ConvertDataType(nullptr); }},
        {"to 12 bits", plain, convert(1, 0, 12)},
        {"to 64 bits", plain, convert(1, 0, 64)},
        {"from 4 bits", image_of(4, 1, 4, gray), convert(2, 0, 8)},
        {"to no colour", plain, color(0)},
        {"to a code of nothing", plain, color(0x12)},
        {"from no colour", image_of(1, 3, 8, 0), color(rgb)},
        {"bits to three channels", image_of(4, 1, 1, gray), color(rgb)},
        {"the colour of 32 bits", image_of(4, 1, 32, gray), color(rgb)},
    };
    const Bytes source(16, 1);
    for (const Case& c : cases) {
        const auto [result, written] = run(source, c.image, c.call);
        EXPECT_EQ(result, -1) << c.what;
        EXPECT_TRUE(written.empty()) << c.what;
        NuvWrapperClass without_chain;
        c.call(without_chain);
        EXPECT_EQ(without_chain.Execute(), -1) << c.what;
    }
}

} // namespace
