#include "tests/wrapper/nuv_testjob.h"

#include <filesystem>

namespace {

std::size_t line_bytes(const ImageParam& p)
{
    return (std::size_t{p.width} * p.channels * p.bits + 7) / 8;
}

Call write_jpeg(std::int32_t quality, std::int32_t sampling)
{
    return [=](NuvWrapperClass& w) {
        WriteJPEGOption option{quality, sampling};
        w.WriteJPEG(&option);
    };
}

const Call mirror = [](NuvWrapperClass& w) { w.MirrorX(); };
const Call write_plain_jpeg = [](NuvWrapperClass& w) { w.WriteJPEG(nullptr); };

// A colour picture, and its anymap.
const Bytes pixels = nuv::random_samples<unsigned char>(std::size_t{40} * 24 * 3, 2);
const Bytes picture = text("P6 40 24 255\n") + pixels;

TEST(Wrapper, CarriesRawSamplesThroughAndMirrorsThem)
{
    const Bytes six = {1, 2, 3, 4, 5, 6};
    const auto mirrored = [](const ImageParam& image, const Bytes& samples) {
        EXPECT_EQ(made(samples, in_turn(read_raw(image), mirror, mirror, write_raw)), samples);
        return made(samples, in_turn(read_raw(image), mirror, write_raw));
    };
    EXPECT_EQ(mirrored(raw_image(3, 2, 1, 8), six), (Bytes{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(mirrored(raw_image(2, 1, 3, 8), six), (Bytes{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(mirrored(raw_image(3, 1, 1, 16), six), (Bytes{5, 6, 3, 4, 1, 2}));
    EXPECT_EQ(mirrored(raw_image(10, 1, 1, 1), {0xB0, 0x40}), (Bytes{0x83, 0x40}));
    // A source that breaks off: its whole lines.
    const Call job = in_turn(read_raw(raw_image(2, 4, 1, 8)), mirror, write_raw);
    EXPECT_EQ(made(first(six, 5), job), (Bytes{2, 1, 4, 3}));
}

Call read_planes(ImageParam image)
{
    return [=](NuvWrapperClass& w) {
        ImageParam param = image;
        w.ReadStoragePlanar(&param);
    };
}

TEST(Wrapper, ReadsAndWritesPlanes)
{
    for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
        const ImageParam param = raw_image(5, 3, 3, bits, ColorType::eRGB);
        const std::size_t sample = bits / 8U;
        const Bytes planes =
            nuv::random_samples<unsigned char>(std::size_t{5} * 3 * 3 * sample, bits);
        Bytes joined(planes.size());
        for (std::size_t i = 0; i < 15; ++i) {
            for (std::size_t c = 0; c < 3; ++c)
                std::memcpy(&joined[(i * 3 + c) * sample], &planes[(c * 15 + i) * sample], sample);
        }
        EXPECT_EQ(made(planes, in_turn(read_planes(param), write_raw)), joined);
        // Also with a destination that is full in one plane.
        for (std::size_t room = 1; room <= planes.size(); ++room) {
            const Call split = in_turn(read_raw(param), [](auto& w) { w.WriteStoragePlanar({}); });
            EXPECT_EQ(made(joined, split, room), first(planes, room));
        }
    }
    // As many as there can be: time that grew with the square of them would be minutes here.
    const Bytes pixel = nuv::random_samples<unsigned char>(65535, 1);
    const Call split =
        in_turn(read_raw(raw_image(1, 1, 65535, 8)), [](auto& w) { w.WriteStoragePlanar({}); });
    EXPECT_EQ(made(pixel, split), pixel);
    // Any colour code but those of gray means three planes.
    const Bytes six = {1, 2, 3, 4, 5, 6};
    const ImageParam gray = raw_image(2, 1, 1, 8, ColorType::eGrayReverse);
    EXPECT_EQ(made(six, in_turn(read_planes(gray), write_raw)), (Bytes{1, 2}));
    const ImageParam any = raw_image(2, 1, 1, 8);
    EXPECT_EQ(made(six, in_turn(read_planes(any), write_raw)), (Bytes{1, 3, 5, 2, 4, 6}));
}

// The source is too small for any of them; what counts is where the third plane would begin.
TEST(Wrapper, RefusesPlanesThatBeginBeyondTheReachOfASource)
{
    const std::pair<ImageParam, bool> cases[] = {
        {raw_image(0x8000, 0x7FFF, 1, 8), true},
        {raw_image(0x8000, 0x8000, 1, 8), false},   // at 2^31
        {raw_image(0x10000, 0x8000, 1, 8), false},  // at 2^32, which is 0 in 32 bits
        {raw_image(0x10000, 0x10000, 1, 8), false}, // and so is the size of a plane
        {raw_image(0xFFFFFFFF, 0xFFFFFFFF, 1, 0xFFFF), false},
    };
    for (const auto& [image, stands] : cases) {
        SCOPED_TRACE(image.height);
        int later = 0;
        const Call read = read_planes(image);
        const Call look = [&](auto& w) { later = w.ReadRaster(); };
        EXPECT_TRUE(run({1, 2, 3}, in_turn(read, write_raw, look, read)).written.empty());
        EXPECT_EQ(run({1, 2, 3}, in_turn(read, write_raw)).answer, stands ? 0 : -1);
        EXPECT_EQ(later, static_cast<int>(stands ? 0x80400000 : 0x80800000));
    }
}

// A stream of 7 x 5 pixels, as far as its first scan: that of all components, or of the first one.
Bytes jpeg_header(unsigned char frame_marker, unsigned char precision, const Bytes& factors,
                  const Bytes& segments = {})
{
    const auto count = static_cast<unsigned char>(factors.size());
    const auto bytes = static_cast<unsigned char>(8 + 3 * count);
    Bytes frame = {0xFF, frame_marker, 0, bytes, precision, 0, 5, 0, 7, count};
    for (unsigned char i = 0; i < count; ++i)
        frame = frame + Bytes{i, factors[i], 0};
    const unsigned char first_band = frame_marker == 0xC3 ? 1 : 0;
    const Bytes scan = {0xFF, 0xDA, 0, 8, 1, 0, 0, first_band, 0, 0, 0xFF, 0xD9};
    return Bytes{0xFF, 0xD8} + segments + frame + scan;
}

const Bytes jfif = Bytes{0xFF, 0xE0, 0, 16} + text("JFIF") + Bytes{0, 1, 2, 0, 0, 1, 0, 1, 0, 0};

TEST(Wrapper, TellsWhatAFileIsWithoutDisturbingAChain)
{
    struct Case {
        const char* what;
        Bytes file;
        std::int32_t format, color, sampling;
        int bits, channels;
        bool is_jfif = false;
    };
    const Bytes adobe = {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0};
    const std::int32_t ycc = ColorType::eYCbCr;
    // clang-format off
    const Case cases[] = {
        {"4:4:4", jpeg_header(0xC0, 8, {0x11, 0x11, 0x11}), 1, ycc, 0x1001, 8, 3},
        {"4:2:2 across", jpeg_header(0xC2, 8, {0x21, 0x11, 0x11}), 5, ycc, 0x1010, 8, 3},
        {"4:2:0, JFIF", jpeg_header(0xC0, 8, {0x22, 0x11, 0x11}, jfif), 1, ycc, 0x1011, 8, 3, true},
        {"4:1:1 across", jpeg_header(0xC1, 8, {0x41, 0x11, 0x11}), 1, ycc, 0x1100, 8, 3},
        {"4:1:1 down", jpeg_header(0xC0, 8, {0x14, 0x11, 0x11}), 1, ycc, 0x1100, 8, 3},
        {"any other", jpeg_header(0xC0, 8, {0x22, 0x21, 0x21}), 1, ycc, 0x1111, 8, 3},
        {"Adobe RGB", jpeg_header(0xC0, 8, {0x21, 0x11, 0x11}, adobe), 1, ColorType::eRGB, 0, 8, 3},
        {"gray", jpeg_header(0xC2, 8, {0x22}), 5, ColorType::eGray, 0, 8, 1},
        {"four", jpeg_header(0xC0, 8, {0x11, 0x11, 0x11, 0x11}), 1, ColorType::eUnknown, 0, 8, 4},
        {"lossless, JFIF", jpeg_header(0xC3, 16, {0x11, 0x11, 0x11}, jfif), 2, ColorType::eRGB, 0, 16, 3},
        {"12 bits", jpeg_header(0xC1, 12, {0x11, 0x11, 0x11}), 1, ycc, 0x1001, 12, 3},
        {"an anymap", text("P6 7 5 255\n") + Bytes(105, 1), 0, ColorType::eRGB, 0, 8, 3},
        {"a bitmap", text("P4 7 5\n12345"), 0, ColorType::eGrayReverse, 0, 1, 1},
    };
    // clang-format on
    for (const Case& c : cases) {
        ImageParam info;
        std::memset(&info, 0x55, sizeof info);
        EXPECT_EQ(info_of(c.file, info), 0);
        EXPECT_EQ((std::tuple(info.format, info.color, info.sampling, info.bits, info.channels)),
                  (std::tuple(c.format, c.color, c.sampling, c.bits, c.channels)))
            << c.what;
        EXPECT_EQ((std::tuple(info.width, info.height, info.precision, info.is_jfif)),
                  (std::tuple(7u, 5u, c.format == Format::eRaw ? 0 : c.bits, c.is_jfif)))
            << c.what;
    }
    // In the library's own format the description is its own, and of the stream the coding alone.
    constexpr std::uint8_t fields[] = {0, 1, 0, 0,    0, 0, 0, 0,    0, 0, 0, 1, 0, 0, 0, 0, 0, 0,
                                       0, 7, 0, 0,    0, 0, 0, 0,    0, 5, 0, 8, 0, 3, 0, 0, 0, 0,
                                       0, 0, 7, 0xD0, 0, 0, 1, 0x2C, 0, 0, 0, 0, 0, 0, 0, 0};
    ImageParam carried{};
    EXPECT_EQ(
        info_of(text("NUVF") + Bytes(std::begin(fields), std::end(fields)) + Bytes(1), carried), 0);
    EXPECT_EQ((std::tuple(carried.format, carried.color, carried.width, carried.height,
                          carried.bits, carried.channels, carried.precision, carried.sampling)),
              (std::tuple(1, ycc, 7u, 5u, 8, 3, 0, 0)));
    const auto look = [](NuvWrapperClass& w) {
        ImageParam info{};
        EXPECT_EQ(w.GetSrcImgInfo(&info), 0);
    };
    EXPECT_EQ(made(picture, in_turn(look, read_any, write_raw, look)), pixels);
    // A recognised file is read as such also where raw data is asked for; of this stream the
    // description alone can be read, and its bytes are raw data.
    EXPECT_EQ(made(picture, in_turn(read_raw(raw_image(1, 1, 1, 8)), write_raw)), pixels);
    const Bytes deep = jpeg_header(0xC3, 12, {0x11});
    const ImageParam all = raw_image(static_cast<std::uint32_t>(deep.size()), 1, 1, 8);
    EXPECT_EQ(made(deep, in_turn(read_raw(all), write_raw, look)), deep);
}

// What comes of the picture when its colours are called `color`, as a JPEG, into which RGB goes by
// another way than YCbCr; and the code that is told.
std::pair<Bytes, std::int32_t> colored(const Bytes& file, std::int32_t color)
{
    ImageParam param{};
    param.color = color;
    const Call read = [&](NuvWrapperClass& w) { EXPECT_EQ(w.ReadRaster(&param), 0); };
    Bytes result = made(file, in_turn(read, write_plain_jpeg));
    return {std::move(result), param.color};
}

TEST(Wrapper, GivesTheChannelsAnotherMeaningWhereTheirNumberAllowsIt)
{
    const Bytes as_rgb = made(picture, in_turn(read_any, write_plain_jpeg));
    for (const std::int32_t color : {0, 0x100, 0x10, 0x11})
        EXPECT_EQ(colored(picture, color), std::pair(as_rgb, color));
    EXPECT_NE(colored(picture, 0x1000).first, as_rgb);

    // But of a JFIF file the colours are as it states them, also when its samples cannot be read.
    const Bytes as_ycc = made(as_rgb, in_turn(read_any, write_plain_jpeg));
    const Bytes stated = first(as_rgb, 2) + jfif + Bytes(as_rgb.begin() + 2, as_rgb.end());
    EXPECT_EQ(colored(as_rgb, 0x1000), std::pair(as_ycc, 0x1000));
    EXPECT_NE(colored(as_rgb, 0x100).first, as_ycc);
    EXPECT_EQ(colored(stated, 0x100), std::pair(as_ycc, 0x1000));
    ImageParam param{};
    param.color = ColorType::eGray;
    run(jpeg_header(0xC1, 12, {0x11}, jfif), [&](NuvWrapperClass& w) {
        EXPECT_EQ(w.ReadRaster(&param), 0);
        EXPECT_EQ(w.ReadRaster(), static_cast<int>(0x80200000)) << "but there is no image";
    });
    EXPECT_EQ(param.color, ColorType::eYCbCr);
}

TEST(Wrapper, WritesAJPEGWithItsDefaultsAndWithCodesItDoesNotKnow)
{
    using Option = WriteJPEGOption;
    const auto jpeg = [](const Call& write) { return made(picture, in_turn(read_any, write)); };
    const Bytes plain = jpeg(write_plain_jpeg);
    EXPECT_EQ(jpeg(write_jpeg(75, Option::eSampling422)), plain);
    EXPECT_EQ(jpeg(write_jpeg(75, 12345)), plain);
    const Bytes best = jpeg(write_jpeg(100, Option::eSampling420));
    EXPECT_EQ(jpeg(write_jpeg(101, Option::eSampling420)), best);
    EXPECT_EQ(jpeg(write_jpeg(-1, Option::eSampling420)), best);
    EXPECT_LT(jpeg(write_jpeg(75, Option::eSampling420)).size(), best.size());
    for (const std::int32_t code :
         {Option::eSampling444, Option::eSampling422, Option::eSampling420, Option::eSampling411}) {
        ImageParam info{};
        EXPECT_EQ(info_of(jpeg(write_jpeg(75, code)), info), 0);
        EXPECT_EQ(info.sampling, code);
    }
}

// Samples with few differences: their own table is much shorter than the fixed one.
TEST(Wrapper, WritesALosslessJPEGWithATableForTheImageIfAsked)
{
    for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
        const ImageParam image = raw_image(40, 24, 3, bits, ColorType::eRGB);
        Bytes samples(image.height * line_bytes(image), 7);
        for (std::size_t i = 0; i < samples.size(); i += 50)
            samples[i] = 9;
        const auto stream = [&](WriteLosslessJPEGOption* option) {
            const auto write = [=](NuvWrapperClass& w) { w.WriteLosslessJPEG(option); };
            Bytes bytes = made(samples, in_turn(read_raw(image), write));
            EXPECT_EQ(made(bytes, in_turn(read_any, write_raw)), samples);
            return bytes;
        };
        WriteLosslessJPEGOption off{0};
        WriteLosslessJPEGOption on{1};
        EXPECT_EQ(stream(nullptr), stream(&off));
        EXPECT_LT(stream(&on).size(), stream(&off).size());
    }
}

TEST(Wrapper, TellsWhyAnImageCannotBeRead)
{
    const std::pair<Bytes, unsigned> cases[] = {
        {text("P"), 0x80400000},              // too short for any signature
        {text("just some text"), 0x81000000}, // no known one
        {text("P5 0 1 255\n"), 0x80200000},   // illegal values behind it
        {text("P5 12"), 0x80400000},          // cut off behind it
    };
    for (const auto& [file, result] : cases) {
        SCOPED_TRACE(result);
        const auto wanted = static_cast<int>(result);
        const auto [answer, written] = run(file, [wanted](NuvWrapperClass& w) {
            ImageParam param{};
            EXPECT_EQ(w.ReadRaster(), wanted);
            EXPECT_EQ(w.ReadRaster(&param), wanted) << "the first error stays";
            EXPECT_EQ(w.GetSrcImgInfo(&param), -1);
            EXPECT_EQ(param.width, 0u);
            w.WriteStorage(nullptr);
        });
        EXPECT_EQ(answer, -1);
        // What nobody recognises leaves no error behind where raw data will do.
        const ImageParam raw = raw_image(static_cast<std::uint32_t>(file.size()), 1, 1, 8);
        EXPECT_EQ(made(file, in_turn(read_raw(raw), write_raw)), file);
    }
}

TEST(Wrapper, RunsOnceAndThenBeginsAnew)
{
    const Bytes image = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const Call read = read_raw(raw_image(4, 3, 1, 8));
    Bytes out(12);
    NuvWrapperClass wrapper;
    int size = 7;
    EXPECT_EQ(wrapper.GetWrittenSize(&size), -1) << "of no destination";
    EXPECT_EQ(size, 0);
    wrapper.SetSrcMemory(image.data(), 12);
    wrapper.SetDstMemory(out.data(), 12);
    in_turn(read, write_raw)(wrapper);
    EXPECT_EQ(wrapper.Execute(), 0);
    EXPECT_EQ(out, image);
    EXPECT_EQ(wrapper.Execute(), -1);
    in_turn(read, mirror, write_raw)(wrapper); // the same wrapper, from the beginning
    EXPECT_EQ(wrapper.Execute(), 0);
    EXPECT_EQ(out, (Bytes{4, 3, 2, 1, 8, 7, 6, 5, 12, 11, 10, 9}));

    read(wrapper);
    wrapper.SetSrcFile("no/such/file");
    EXPECT_EQ(wrapper.ReadRaster(), 0) << "no source is no failure";
    EXPECT_EQ(wrapper.Execute(), -1);
    wrapper.MirrorX();
    EXPECT_EQ(wrapper.Execute(), -1);
}

TEST(Wrapper, ReadsAndWritesFiles)
{
    const auto path = std::filesystem::temp_directory_path() / "nuv_wrapper_test.pgm";
    const Bytes file = text("P5 3 2 255\n123456");
    {
        NuvWrapperClass wrapper;
        wrapper.SetSrcMemory(file.data(), static_cast<int>(file.size()));
        wrapper.SetDstFile(path.c_str());
        // Planes are never a recognised file: the bytes go out as they are.
        read_planes(raw_image(static_cast<std::uint32_t>(file.size()), 1, 1, 8, 0x10))(wrapper);
        wrapper.WriteStorage(nullptr);
        EXPECT_EQ(wrapper.Execute(), 0);
        int size = 0;
        EXPECT_EQ(wrapper.GetWrittenSize(&size), 0);
        EXPECT_EQ(size, static_cast<int>(file.size()));
    }
    Bytes out(6);
    NuvWrapperClass wrapper;
    wrapper.SetSrcFile(path.c_str());
    wrapper.SetDstMemory(out.data(), 6);
    in_turn(read_any, write_raw)(wrapper);
    EXPECT_EQ(wrapper.Execute(), 0);
    EXPECT_EQ(out, text("123456"));

    ImageParam param = raw_image(77, 0, 0, 0);
    EXPECT_EQ(GetImgInfo("no/such/file", &param), 0);
    EXPECT_EQ(param.width, 77u);
    EXPECT_EQ(GetImgInfo(path.c_str(), nullptr), 0);
    EXPECT_EQ(GetImgInfo(path.c_str(), &param), 0);
    EXPECT_EQ(param.width, 3u);
    std::filesystem::remove(path);
}

} // namespace
