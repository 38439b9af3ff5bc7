#include <gtest/gtest.h>
#include <nuv/nuv_wrapper.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes random_bytes(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes text(const std::string& characters)
{
    return Bytes(characters.begin(), characters.end());
}

ImageParam raw_image(std::uint32_t width, std::uint32_t height, std::uint16_t channels,
                     std::uint16_t bits, std::int32_t color = 0)
{
    ImageParam param{};
    param.width = width;
    param.height = height;
    param.channels = channels;
    param.bits = bits;
    param.color = color;
    return param;
}

std::size_t line_bytes(const ImageParam& p)
{
    return (std::size_t{p.width} * p.channels * p.bits + 7) / 8;
}

// A job from memory to memory.
class Job {
public:
    explicit Job(Bytes source, std::size_t capacity = 1 << 16)
        : source_(std::move(source)),
          out_(capacity, 0xEE)
    {
        wrapper.SetSrcMemory(source_.data(), static_cast<int>(source_.size()));
        wrapper.SetDstMemory(out_.data(), static_cast<int>(capacity));
    }

    Bytes execute()
    {
        EXPECT_EQ(wrapper.Execute(), 0);
        return written();
    }
    Bytes written()
    {
        int size = -2;
        EXPECT_EQ(wrapper.GetWrittenSize(&size), 0);
        return Bytes(out_.begin(), out_.begin() + size);
    }

private:
    Bytes source_;
    Bytes out_;

public:
    NuvWrapperClass wrapper; // gone before its memory
};

// Pixels of a line in the opposite order, bit by bit.
Bytes mirrored(const Bytes& image, const ImageParam& p)
{
    const std::size_t line = line_bytes(p);
    const std::size_t pixel_bits = std::size_t{p.channels} * p.bits;
    Bytes out(image.size());
    for (std::size_t y = 0; y < p.height; ++y) {
        for (std::size_t x = 0; x < p.width; ++x) {
            for (std::size_t b = 0; b < pixel_bits; ++b) {
                const std::size_t from = (p.width - 1 - x) * pixel_bits + b;
                const std::size_t to = x * pixel_bits + b;
                const unsigned bit = image[y * line + from / 8] >> (7 - from % 8) & 1U;
                out[y * line + to / 8] |= static_cast<unsigned char>(bit << (7 - to % 8));
            }
        }
    }
    return out;
}

TEST(Wrapper, CarriesRawSamplesThroughAndMirrorsThem)
{
    for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{8}, std::uint16_t{16}}) {
        for (const std::uint16_t channels :
             {std::uint16_t{1}, std::uint16_t{3}, std::uint16_t{4}}) {
            for (const std::uint32_t width : {1U, 7U, 16U, 61U}) {
                if (bits == 1 && channels > 1)
                    continue;
                ImageParam param = raw_image(width, 5, channels, bits);
                Bytes image = random_bytes(line_bytes(param) * 5, width);
                for (std::size_t y = 0; bits == 1 && y < 5; ++y) // what follows the last pixel
                    image[(y + 1) * line_bytes(param) - 1] &=
                        static_cast<unsigned char>(0xFF00 >> ((width + 7) % 8 + 1));
                Job plain(image);
                plain.wrapper.ReadStorage(&param);
                plain.wrapper.WriteStorage(nullptr);
                EXPECT_EQ(plain.execute(), image);

                Job mirror(image);
                mirror.wrapper.ReadStorage(&param);
                mirror.wrapper.MirrorX();
                mirror.wrapper.WriteStorage(nullptr);
                EXPECT_EQ(mirror.execute(), mirrored(image, param)) << bits << ' ' << width;
            }
        }
    }
}

TEST(Wrapper, ReadsAndWritesPlanes)
{
    for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
        ImageParam param = raw_image(5, 3, 3, bits, ColorType::eRGB);
        const std::size_t sample = bits / 8U;
        const Bytes planes = random_bytes(std::size_t{5} * 3 * 3 * sample, bits);
        Bytes pixels(planes.size());
        for (std::size_t i = 0; i < 15; ++i) {
            for (std::size_t c = 0; c < 3; ++c)
                std::memcpy(&pixels[(i * 3 + c) * sample], &planes[(c * 15 + i) * sample], sample);
        }
        Job join(planes);
        join.wrapper.ReadStoragePlanar(&param);
        join.wrapper.WriteStorage(nullptr);
        EXPECT_EQ(join.execute(), pixels);

        Job split(pixels);
        split.wrapper.ReadStorage(&param);
        split.wrapper.WriteStoragePlanar(nullptr);
        EXPECT_EQ(split.execute(), planes);

        // A destination that is full in one plane: what fits is right.
        for (std::size_t room = 1; room < planes.size(); room += 3) {
            Job full(pixels, room);
            full.wrapper.ReadStorage(&param);
            full.wrapper.WriteStoragePlanar(nullptr);
            EXPECT_EQ(full.execute(),
                      Bytes(planes.begin(), planes.begin() + static_cast<long>(room)));
        }
    }
    // Any colour code but those of gray means three planes.
    ImageParam gray = raw_image(2, 1, 1, 8, ColorType::eGrayReverse);
    Job one({1, 2, 3, 4, 5, 6});
    one.wrapper.ReadStoragePlanar(&gray);
    one.wrapper.WriteStorage(nullptr);
    EXPECT_EQ(one.execute(), (Bytes{1, 2}));
    gray.color = 0;
    Job three({1, 2, 3, 4, 5, 6});
    three.wrapper.ReadStoragePlanar(&gray);
    three.wrapper.WriteStorage(nullptr);
    EXPECT_EQ(three.execute(), (Bytes{1, 3, 5, 2, 4, 6}));
}

// The source is too small for any of them; what counts is where the third plane would begin.
TEST(Wrapper, RefusesPlanesThatBeginBeyondTheReachOfASource)
{
    struct Case {
        std::uint32_t width, height;
        std::uint16_t bits;
        bool stands;
    };
    const Case cases[] = {
        {0x8000, 0x7FFF, 8, true},
        {0x8000, 0x8000, 8, false},   // at 2^31
        {0x10000, 0x6000, 8, false},  // at 3 x 2^30
        {0x10000, 0x8000, 8, false},  // at 2^32, which is 0 in 32 bits
        {0x10000, 0x10000, 8, false}, // and so is the size of a plane
        {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFF, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.height);
        Job job({1, 2, 3});
        ImageParam param = raw_image(c.width, c.height, 1, c.bits);
        job.wrapper.ReadStoragePlanar(&param);
        job.wrapper.WriteStorage(nullptr);
        EXPECT_EQ(job.wrapper.Execute(), c.stands ? 0 : -1);
        EXPECT_TRUE(job.written().empty());
        if (!c.stands) {
            EXPECT_EQ(job.wrapper.ReadRaster(), static_cast<int>(0x80800000));
        }
    }
}

TEST(Wrapper, ReadsAStoredImageAndTellsWhatItIs)
{
    const Bytes pixels = random_bytes(std::size_t{2} * 2 * 3, 1);
    const Bytes file = text("P6\n2 2\n255\n") + pixels;
    Job job(file);
    EXPECT_EQ(job.wrapper.ReadRaster(), 0);
    job.wrapper.WriteStorage(nullptr);

    ImageParam info;
    std::memset(&info, 0x55, sizeof info);
    EXPECT_EQ(job.wrapper.GetSrcImgInfo(&info), 0);
    EXPECT_EQ(info.width, 2u);
    EXPECT_EQ(info.height, 2u);
    EXPECT_EQ(info.bits, 8);
    EXPECT_EQ(info.precision, 0);
    EXPECT_EQ(info.channels, 3);
    EXPECT_EQ(info.format, Format::eRaw);
    EXPECT_EQ(info.color, ColorType::eRGB);
    EXPECT_EQ(info.sampling, 0);
    EXPECT_FALSE(info.is_jfif);
    EXPECT_EQ(job.execute(), pixels);

    // A recognised file is read as such also where raw data is asked for.
    ImageParam other = raw_image(1, 1, 1, 8);
    Job storage(file);
    storage.wrapper.ReadStorage(&other);
    storage.wrapper.WriteStorage(nullptr);
    EXPECT_EQ(storage.execute(), pixels);
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
    const unsigned char first = frame_marker == 0xC3 ? 1 : 0;
    const Bytes scan = {0xFF, 0xDA, 0, 8, 1, 0, 0, first, 0, 0, 0xFF, 0xD9};
    return Bytes{0xFF, 0xD8} + segments + frame + scan;
}

// A stream of 12-bit samples.
Bytes deep_jpeg(unsigned char frame_marker, const Bytes& segments = {})
{
    return jpeg_header(frame_marker, 12, {0x11}, segments);
}

Bytes jfif_segment()
{
    return Bytes{0xFF, 0xE0, 0, 16} + text("JFIF") + Bytes{0, 1, 2, 0, 0, 1, 0, 1, 0, 0};
}

// A description that can be read, of a stream whose reader refuses: its bytes are read as raw data,
// and looking at it moves the source.
TEST(Wrapper, LooksAtTheSourceOfAChainWithoutDisturbingIt)
{
    const Bytes file = deep_jpeg(0xC3);
    ImageParam param = raw_image(static_cast<std::uint32_t>(file.size()), 1, 1, 8);
    Job job(file);
    job.wrapper.ReadStorage(&param);
    job.wrapper.WriteStorage(nullptr);
    ImageParam info{};
    EXPECT_EQ(job.wrapper.GetSrcImgInfo(&info), 0);
    EXPECT_EQ(info.format, Format::eLosslessJPEG);
    EXPECT_EQ(info.precision, 12);
    EXPECT_EQ(info.sampling, 0) << "gray has none";
    EXPECT_FALSE(info.is_jfif);
    EXPECT_EQ(job.execute(), file);
}

TEST(Wrapper, TellsWhatTheHeaderOfAJPEGSays)
{
    struct Case {
        const char* what;
        Bytes file;
        std::int32_t format, color, sampling;
        int bits;
        bool is_jfif = false;
    };
    const Bytes adobe = {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0};
    const std::int32_t ycc = ColorType::eYCbCr;
    const Case cases[] = {
        {"4:4:4", jpeg_header(0xC0, 8, {0x11, 0x11, 0x11}), 1, ycc, 0x1001, 8},
        {"4:2:2 across", jpeg_header(0xC2, 8, {0x21, 0x11, 0x11}), 5, ycc, 0x1010, 8},
        {"4:2:2 down", jpeg_header(0xC0, 8, {0x12, 0x11, 0x11}), 1, ycc, 0x1010, 8},
        {"4:2:0, JFIF", jpeg_header(0xC0, 8, {0x22, 0x11, 0x11}, jfif_segment()), 1, ycc, 0x1011, 8,
         true},
        {"4:1:1 across", jpeg_header(0xC1, 8, {0x41, 0x11, 0x11}), 1, ycc, 0x1100, 8},
        {"4:1:1 down", jpeg_header(0xC0, 8, {0x14, 0x11, 0x11}), 1, ycc, 0x1100, 8},
        {"any other", jpeg_header(0xC0, 8, {0x22, 0x21, 0x21}), 1, ycc, 0x1111, 8},
        {"Adobe RGB", jpeg_header(0xC0, 8, {0x21, 0x11, 0x11}, adobe), 1, ColorType::eRGB, 0, 8},
        {"gray", jpeg_header(0xC2, 8, {0x22}), 5, ColorType::eGray, 0, 8},
        {"four", jpeg_header(0xC0, 8, {0x11, 0x11, 0x11, 0x11}), 1, ColorType::eUnknown, 0, 8},
        {"lossless, JFIF", jpeg_header(0xC3, 16, {0x11, 0x11, 0x11}, jfif_segment()), 2,
         ColorType::eRGB, 0, 16},
        {"12 bits", jpeg_header(0xC1, 12, {0x11, 0x11, 0x11}), 1, ycc, 0x1001, 12},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Job job(c.file);
        ImageParam info;
        std::memset(&info, 0x55, sizeof info);
        EXPECT_EQ(job.wrapper.GetSrcImgInfo(&info), 0);
        EXPECT_EQ(info.width, 7u);
        EXPECT_EQ(info.height, 5u);
        EXPECT_EQ(info.format, c.format);
        EXPECT_EQ(info.color, c.color);
        EXPECT_EQ(info.sampling, c.sampling);
        EXPECT_EQ(info.bits, c.bits);
        EXPECT_EQ(info.precision, c.bits);
        EXPECT_EQ(info.is_jfif, c.is_jfif);
    }
}

// Whatever colour was asked for, and also when its samples cannot be read.
TEST(Wrapper, ReadsTheColorsOfAJFIFFileAsItStatesThem)
{
    const Bytes ppm = text("P6 16 16 255\n") + random_bytes(std::size_t{16} * 16 * 3, 2);
    Job writer(ppm);
    writer.wrapper.ReadRaster();
    writer.wrapper.WriteJPEG(nullptr);
    const Bytes plain = writer.execute();
    const Bytes jfif = Bytes(plain.begin(), plain.begin() + 2) + jfif_segment() +
                       Bytes(plain.begin() + 2, plain.end());

    const auto pixels = [](const Bytes& file, std::int32_t color, std::int32_t expected) {
        Job job(file);
        ImageParam param{};
        param.color = color;
        EXPECT_EQ(job.wrapper.ReadRaster(&param), 0);
        EXPECT_EQ(param.color, expected);
        job.wrapper.WriteJPEG(nullptr); // which converts RGB
        return job.execute();
    };
    const Bytes as_it_is = pixels(plain, 0, 0);
    EXPECT_EQ(pixels(plain, ColorType::eYCbCr, ColorType::eYCbCr), as_it_is);
    EXPECT_NE(pixels(plain, ColorType::eRGB, ColorType::eRGB), as_it_is);
    EXPECT_EQ(pixels(jfif, ColorType::eRGB, ColorType::eYCbCr), as_it_is);

    Job job(deep_jpeg(0xC1, jfif_segment()));
    ImageParam param{};
    EXPECT_EQ(job.wrapper.GetSrcImgInfo(&param), 0);
    EXPECT_TRUE(param.is_jfif);
    param.color = ColorType::eGray;
    EXPECT_EQ(job.wrapper.ReadRaster(&param), 0);
    EXPECT_EQ(param.color, ColorType::eYCbCr);
    EXPECT_EQ(job.wrapper.ReadRaster(), static_cast<int>(0x80200000)) << "but there is no image";
}

TEST(Wrapper, GivesTheChannelsAnotherMeaningWhereTheirNumberAllowsIt)
{
    struct Case {
        const char* what;
        std::int32_t color;
        bool converted; // RGB goes into the JPEG by another way than YCbCr
    };
    const Bytes file = text("P6 16 16 255\n") + random_bytes(std::size_t{16} * 16 * 3, 2);
    const auto jpeg = [&](const std::function<int(NuvWrapperClass&)>& read) {
        Job job(file);
        EXPECT_EQ(read(job.wrapper), 0);
        job.wrapper.WriteJPEG(nullptr);
        return job.execute();
    };
    const Bytes as_rgb = jpeg([](NuvWrapperClass& w) { return w.ReadRaster(); });
    for (const Case& c : {Case{"as it is", 0, false},
                          {"RGB", 0x100, false},
                          {"gray does not fit", 0x10, false},
                          {"YCbCr", 0x1000, true}}) {
        SCOPED_TRACE(c.what);
        ImageParam param{};
        param.color = c.color;
        const Bytes got = jpeg([&](NuvWrapperClass& w) { return w.ReadRaster(&param); });
        EXPECT_EQ(got != as_rgb, c.converted);
        EXPECT_EQ(param.color, c.color);
    }
}

TEST(Wrapper, WritesAJPEGWithItsDefaultsAndWithCodesItDoesNotKnow)
{
    const Bytes file = text("P6 40 24 255\n") + random_bytes(std::size_t{40} * 24 * 3, 2);
    const auto jpeg = [&](WriteJPEGOption* option) {
        Job job(file);
        job.wrapper.ReadRaster();
        job.wrapper.WriteJPEG(option);
        return job.execute();
    };
    const Bytes plain = jpeg(nullptr);
    ASSERT_GT(plain.size(), 100u);
    EXPECT_EQ(plain[0] << 8 | plain[1], 0xFFD8);
    EXPECT_EQ(plain[plain.size() - 2] << 8 | plain.back(), 0xFFD9);

    WriteJPEGOption option{75, WriteJPEGOption::eSampling422};
    EXPECT_EQ(jpeg(&option), plain);
    option.sampling = 12345;
    EXPECT_EQ(jpeg(&option), plain);
    option.sampling = WriteJPEGOption::eSampling420;
    EXPECT_NE(jpeg(&option), plain);
    option.quality = 100;
    const Bytes best = jpeg(&option);
    option.quality = 101;
    EXPECT_EQ(jpeg(&option), best);
    option.quality = -1;
    EXPECT_EQ(jpeg(&option), best);
}

TEST(Wrapper, WritesTheSamplingThatWasAskedForAndReadsItBack)
{
    struct Case {
        std::int32_t code;
        unsigned char luma; // horizontal and vertical factor
    };
    const Bytes file = text("P6 40 24 255\n") + random_bytes(std::size_t{40} * 24 * 3, 2);
    for (const Case& c : {Case{WriteJPEGOption::eSampling444, 0x11},
                          {WriteJPEGOption::eSampling422, 0x21},
                          {WriteJPEGOption::eSampling420, 0x22},
                          {WriteJPEGOption::eSampling411, 0x41}}) {
        WriteJPEGOption option{75, c.code};
        Job job(file);
        job.wrapper.ReadRaster();
        job.wrapper.WriteJPEG(&option);
        const Bytes stream = job.execute();
        const Bytes frame = {0xFF, 0xC0, 0, 17, 8, 0, 24, 0, 40, 3};
        const auto found = std::search(stream.begin(), stream.end(), frame.begin(), frame.end());
        ASSERT_GT(stream.end() - found, 19);
        EXPECT_EQ(found[11], c.luma);
        EXPECT_EQ(found[14] << 8 | found[17], 0x1111);

        Job back(stream);
        ImageParam info{};
        EXPECT_EQ(back.wrapper.GetSrcImgInfo(&info), 0);
        EXPECT_EQ(info.sampling, c.code);
        EXPECT_EQ(info.format, Format::eJPEG);
        EXPECT_EQ(info.color, ColorType::eYCbCr);
        EXPECT_EQ(info.precision, 8);
        EXPECT_FALSE(info.is_jfif);
    }
}

// Of whole MCUs, and of colours that no coding error takes out of range: the coefficients that were
// written are found again.
TEST(Wrapper, WritesTheJPEGThatItReadsOnceMoreWithTheSameBytes)
{
    using Option = WriteJPEGOption;
    const ImageParam image = raw_image(96, 64, 3, 8, ColorType::eRGB);
    Bytes samples = random_bytes(image.height * line_bytes(image), 5);
    for (unsigned char& sample : samples)
        sample = static_cast<unsigned char>(96 + sample / 4);
    for (const std::int32_t sampling :
         {Option::eSampling444, Option::eSampling422, Option::eSampling420}) {
        Option option{75, sampling};
        Job first(samples);
        ImageParam param = image;
        first.wrapper.ReadStorage(&param);
        first.wrapper.WriteJPEG(&option);
        const Bytes stream = first.execute();
        Job second(stream);
        second.wrapper.ReadRaster();
        second.wrapper.WriteJPEG(&option);
        EXPECT_EQ(second.execute(), stream) << sampling;
    }
}

TEST(Wrapper, TellsWhyAnImageCannotBeRead)
{
    struct Case {
        const char* what;
        Bytes file;
        int result;
    };
    const Case cases[] = {
        {"too short for any signature", text("P"), static_cast<int>(0x80400000)},
        {"no known signature", text("just some text"), static_cast<int>(0x81000000)},
        {"illegal values behind a signature", text("P5 0 1 255\n"), static_cast<int>(0x80200000)},
        {"cut off behind a signature", text("P5 12"), static_cast<int>(0x80400000)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Job job(c.file);
        EXPECT_EQ(job.wrapper.ReadRaster(), c.result);
        ImageParam param{};
        EXPECT_EQ(job.wrapper.ReadRaster(&param), c.result) << "the first error stays";
        EXPECT_EQ(job.wrapper.GetSrcImgInfo(&param), -1);
        job.wrapper.WriteStorage(nullptr);
        EXPECT_EQ(job.wrapper.Execute(), -1);
    }
    // What nobody recognises leaves no error behind where raw data will do.
    Job raw(text("P5 0 1 255\n"));
    ImageParam param = raw_image(11, 1, 1, 8);
    raw.wrapper.ReadStorage(&param);
    raw.wrapper.WriteStorage(nullptr);
    EXPECT_EQ(raw.execute(), text("P5 0 1 255\n"));
}

TEST(Wrapper, DeliversTheWholeLinesOfASourceThatBreaksOff)
{
    ImageParam param = raw_image(4, 3, 1, 8);
    const Bytes image = random_bytes(12, 1);
    for (std::size_t length = 1; length <= 12; ++length) {
        Job job(Bytes(image.begin(), image.begin() + static_cast<long>(length)));
        job.wrapper.ReadStorage(&param);
        job.wrapper.MirrorX();
        job.wrapper.WriteStorage(nullptr);
        const Bytes whole = mirrored(image, param);
        EXPECT_EQ(job.execute(),
                  Bytes(whole.begin(), whole.begin() + static_cast<long>(length / 4 * 4)));
    }
}

TEST(Wrapper, RunsOnceAndThenBeginsAnew)
{
    const Bytes image = random_bytes(12, 1);
    ImageParam param = raw_image(4, 3, 1, 8);
    Job job(image);
    job.wrapper.ReadStorage(&param);
    job.wrapper.WriteStorage(nullptr);
    EXPECT_EQ(job.execute(), image);
    EXPECT_EQ(job.wrapper.Execute(), -1);

    job.wrapper.ReadStorage(&param); // the same wrapper, from the beginning
    job.wrapper.MirrorX();
    job.wrapper.WriteStorage(nullptr);
    EXPECT_EQ(job.execute(), mirrored(image, param));

    job.wrapper.ReadStorage(&param);
    job.wrapper.SetSrcFile("no/such/file");
    EXPECT_EQ(job.wrapper.ReadRaster(), 0) << "no source is no failure";
    EXPECT_EQ(job.wrapper.Execute(), -1);
    job.wrapper.MirrorX();
    EXPECT_EQ(job.wrapper.Execute(), -1);
}

// Every call, as often as one likes, on a wrapper without source and destination, with nulls, and
// after a failure.
TEST(Wrapper, SurvivesEveryCallInEveryState)
{
    using Call = std::function<void(NuvWrapperClass&)>;
    static unsigned char room[64];
    static const unsigned char source[] = "P5 2 2 255\n1234";
    const Call calls[] = {
        [](NuvWrapperClass& w) { w.SetSrcFile(nullptr); },
        [](NuvWrapperClass& w) { w.SetSrcFile("no/such/file"); },
        [](NuvWrapperClass& w) { w.SetDstFile(nullptr); },
        [](NuvWrapperClass& w) { w.SetDstFile("no/such/folder/file"); },
        [](NuvWrapperClass& w) { w.SetSrcMemory(nullptr, 5); },
        [](NuvWrapperClass& w) { w.SetSrcMemory(source, 0); },
        [](NuvWrapperClass& w) { w.SetSrcMemory(source, 15); },
        [](NuvWrapperClass& w) { w.SetDstMemory(nullptr, 5); },
        [](NuvWrapperClass& w) { w.SetDstMemory(room, -1); },
        [](NuvWrapperClass& w) { w.SetDstMemory(room, 64); },
        [](NuvWrapperClass& w) { w.GetWrittenSize(nullptr); },
        [](NuvWrapperClass& w) { w.GetSrcImgInfo(nullptr); },
        [](NuvWrapperClass& w) { w.ReadRaster(); },
        [](NuvWrapperClass& w) { w.ReadRaster(nullptr); },
        [](NuvWrapperClass& w) {
            ImageParam param = raw_image(2, 2, 1, 8, 0x11);
            w.ReadRaster(&param);
        },
        [](NuvWrapperClass& w) { w.ReadStorage(nullptr); },
        [](NuvWrapperClass& w) {
            ImageParam param = raw_image(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFF, 0xFFFF, -1);
            w.ReadStorage(&param);
        },
        [](NuvWrapperClass& w) { w.ReadStoragePlanar(nullptr); },
        [](NuvWrapperClass& w) {
            ImageParam param = raw_image(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFF, 0xFFFF, -1);
            w.ReadStoragePlanar(&param);
        },
        [](NuvWrapperClass& w) {
            ImageParam param = raw_image(2, 2, 3, 8);
            w.ReadStoragePlanar(&param);
        },
        [](NuvWrapperClass& w) { w.MirrorX(); },
        [](NuvWrapperClass& w) { w.WriteJPEG(nullptr); },
        [](NuvWrapperClass& w) { w.WriteStorage(nullptr); },
        [](NuvWrapperClass& w) { w.WriteStoragePlanar(nullptr); },
        [](NuvWrapperClass& w) { w.Execute(); },
    };
    for (const Call& call : calls) {
        NuvWrapperClass fresh;
        call(fresh);
        call(fresh);
    }
    std::mt19937 random(1);
    for (int run = 0; run < 3000; ++run) {
        NuvWrapperClass wrapper;
        for (auto step = random() % 12; step > 0; --step)
            calls[random() % std::size(calls)](wrapper);
    }
}

TEST(Wrapper, ReportsSizesOfBothKindsOfDestination)
{
    NuvWrapperClass none;
    int size = 7;
    EXPECT_EQ(none.GetWrittenSize(&size), -1);
    EXPECT_EQ(size, 0);

    const auto path = std::filesystem::temp_directory_path() / "nuv_wrapper_test.raw";
    const Bytes image = random_bytes(6, 1);
    ImageParam param = raw_image(3, 2, 1, 8);
    {
        NuvWrapperClass wrapper;
        wrapper.SetSrcMemory(image.data(), 6);
        wrapper.SetDstFile(path.c_str());
        wrapper.ReadStorage(&param);
        wrapper.WriteStorage(nullptr);
        EXPECT_EQ(wrapper.Execute(), 0);
        EXPECT_EQ(wrapper.GetWrittenSize(&size), 0);
        EXPECT_EQ(size, 6);
    }
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(Bytes(std::istreambuf_iterator<char>(file), {}), image);
    std::filesystem::remove(path);
}

TEST(GetImgInfo, FillsTheRecordOnlyForAnImage)
{
    const auto path = std::filesystem::temp_directory_path() / "nuv_getimginfo_test.pgm";
    std::ofstream(path, std::ios::binary) << "P4 9 2\n1234";
    ImageParam param = raw_image(77, 0, 0, 0);
    EXPECT_EQ(GetImgInfo("no/such/file", &param), 0);
    EXPECT_EQ(param.width, 77u);
    EXPECT_EQ(GetImgInfo(path.c_str(), nullptr), 0);
    EXPECT_EQ(GetImgInfo(path.c_str(), &param), 0);
    EXPECT_EQ(param.width, 9u);
    EXPECT_EQ(param.color, ColorType::eGrayReverse);
    std::filesystem::remove(path);
}

} // namespace
