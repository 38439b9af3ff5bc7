// The operations on samples, as users call them.

#include "tests/wrapper/nuv_testjob.h"

namespace {

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

constexpr std::int32_t gray = ColorType::eGray;
constexpr std::int32_t reverse = ColorType::eGrayReverse;
constexpr std::int32_t rgb = ColorType::eRGB;
constexpr std::int32_t ycbcr = ColorType::eYCbCr;

TEST(WrapperPixels, ComeOutAsDefined)
{
    Bytes three(768);
    for (std::size_t i = 0; i < three.size(); ++i)
        three[i] = static_cast<unsigned char>(i % 256 + 10 * (i / 256));
    const ImageParam step = raw_image(2, 1, 1, 8, gray);
    const ImageParam wide = raw_image(4, 1, 1, 8, gray);
    const ImageParam block = raw_image(2, 2, 1, 8, gray);
    struct Case {
        const char* what;
        ImageParam image;
        Bytes source;
        Call call;
        Bytes wanted;
    };
    // clang-format off
    const Case cases[] = {
        {"a table for each channel", raw_image(2, 1, 3, 8, rgb), {0, 1, 2, 9, 9, 255}, lut(three, 256, 8), {0, 11, 22, 9, 19, 19}},
        {"zeros behind a short table", wide, {0, 1, 2, 255}, lut({7, 8}, 2, 8), {7, 8, 0, 0}},
        {"entries of 16 bits", step, {2, 0}, lut(words({500, 600, 700}), 3, 16), words({700, 500})},
        {"16 bits by a table of 8", raw_image(2, 1, 1, 16, gray), words({1, 300}), lut(Bytes(301, 5), 301, 8), {5, 5}},
        {"more bits", step, {1, 255}, convert(257, 0, 16), words({257, 65535})},
        {"beyond the range", wide, {10, 100, 200, 0}, convert(2, -50, 8), {0, 150, 255, 0}},
        {"red and white to YCbCr", raw_image(2, 1, 3, 8, rgb), {255, 0, 0, 255, 255, 255}, color(ycbcr), {76, 85, 255, 255, 128, 128}},
        {"and back", raw_image(2, 1, 3, 8, ycbcr), {76, 85, 255, 255, 128, 128}, color(rgb), {254, 0, 0, 255, 255, 255}},
        {"primaries to gray", raw_image(3, 1, 3, 8, rgb), {255, 0, 0, 0, 255, 0, 0, 0, 255}, color(gray), {76, 150, 29}},
        {"bits turned", raw_image(9, 1, 1, 1, gray), {0x50, 0x80}, color(reverse), {0xAF, 0}},
        {"an unknown colour to itself", block, {1, 2, 3, 4}, color(gray), {1, 2, 3, 4}},
        {"a quarter", block, {1, 2, 3, 4}, [](auto& w) { w.Rotate90(90); }, {3, 1, 4, 2}},
        {"and back", block, {1, 2, 3, 4}, [](auto& w) { w.Rotate90(-90); }, {2, 4, 1, 3}},
        // Width and height in their order, by the name that was called.
        {"nearest", step, {0, 100}, [](auto& w) { w.ScaleNN(4, 1); }, {0, 0, 100, 100}},
        {"nearest, shrunk", wide, {0, 100, 200, 50}, [](auto& w) { w.ScaleNN(2, 1); }, {100, 50}},
        {"linear", step, {0, 100}, [](auto& w) { w.ScaleLI(4, 1); }, {0, 25, 75, 100}},
        {"cubic", step, {0, 100}, [](auto& w) { w.ScaleCC(4, 1); }, {0, 25, 75, 114}},
        {"area", wide, {0, 100, 200, 50}, [](auto& w) { w.ScalePP(1, 1); }, {88}},
        {"by masks", wide, {0, 100, 200, 50}, [](auto& w) { w.ScaleI2VAREx(3, 1); }, {13, 173, 73}},
        {"by masks, higher", step, {1, 2}, [](auto& w) { w.ScaleI2VAREx(2, 2); }, {1, 2, 1, 2}},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(made(c.source, in_turn(read_raw(c.image), c.call, write_raw)), c.wanted)
            << c.what;
    }
}

TEST(WrapperPixels, AreRefused)
{
    const ImageParam plain = raw_image(4, 1, 1, 8, gray);
    const std::pair<const char*, Call> cases[] = {
        {"no table", [](NuvWrapperClass& w) { w.LUT(nullptr); }},
        {"entries of nothing", lut({}, 256, 8)},
        {"no conversion", [](NuvWrapperClass& w) { w.ConvertDataType(nullptr); }},
        {"to no colour", color(0)},
        {"to a code of nothing", color(0x12)},
        {"no whole quarters", [](NuvWrapperClass& w) { w.Rotate90(45); }},
        {"to no width", [](NuvWrapperClass& w) { w.ScaleNN(0, 1); }},
    };
    for (const auto& [what, call] : cases) {
        const auto [answer, written] = run(Bytes(16, 1), in_turn(read_raw(plain), call, write_raw));
        EXPECT_EQ(answer, -1) << what;
        EXPECT_TRUE(written.empty()) << what;
        NuvWrapperClass without_chain;
        call(without_chain);
        EXPECT_EQ(without_chain.Execute(), -1) << what;
    }
}

} // namespace
