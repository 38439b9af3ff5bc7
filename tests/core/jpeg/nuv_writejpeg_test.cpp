#include "core/jpeg/encode/nuv_jpegsequentialencoder.h"
#include "core/jpeg/nuv_encodejpeg.h"
#include "core/jpeg/source/nuv_jpegregiststatus.h"
#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegstreams.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

using Lossy = NUV_WriteJPEGOption;
using Lossless = NUV_WriteLosslessJPEGOption;

constexpr std::uint32_t no_restarts = 0xFFFFFFFF;
constexpr std::uint32_t all_keys[] = {jpeg_sampling_444, jpeg_sampling_422, jpeg_sampling_420,
                                      jpeg_sampling_411};

// Appends a writer to a chain.
using Append = std::function<bool(NUV_TestChain&, NUV_OutputStorage*)>;

Append lossy(std::optional<Lossy> option = std::nullopt)
{
    return [=](NUV_TestChain& chain, NUV_OutputStorage* storage) mutable {
        return chain.append<NUV_WriteJPEG>(storage, option ? &*option : nullptr);
    };
}

Append lossless(std::optional<Lossless> option = std::nullopt)
{
    return [=](NUV_TestChain& chain, NUV_OutputStorage* storage) mutable {
        return chain.append<NUV_WriteLosslessJPEG>(storage, option ? &*option : nullptr);
    };
}

template <class Picture>
NUV_TestImage image_of(const Picture& picture, const NUV_ColorType* color, std::uint32_t bits = 8)
{
    return {.width = picture.width,
            .height = picture.height,
            .channels = static_cast<std::uint16_t>(picture.channels),
            .bits = static_cast<std::uint16_t>(bits),
            .color_type = color};
}

NUV_TestImage image_of(const JPEGLosslessPicture& picture)
{
    return image_of(picture, picture.channels == 1 ? NUV_ColorType::gray : NUV_ColorType::s_rgb,
                    picture.precision);
}

// The image through a whole chain, behind what is in a storage, or into `capacity` bytes, behind
// which nothing may change; of its lines only those come that `samples` has.
Bytes write(const NUV_TestImage& image, const Bytes& samples, const Append& append,
            NUV_StatusCode code = NUV_STATUS_OK, const NUV_Cpu& cpu = NUV_Cpu::current(),
            std::size_t capacity = 0)
{
    NUV_TestChain chain(cpu);
    Bytes memory(capacity + 16, 0xA5);
    const auto array = make_initiated<NUV_ByteArrayOutputStorage>(
        chain.manager(), memory.data(),
        static_cast<std::int32_t>(std::max<std::size_t>(capacity, 1)));
    const auto blocks = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 1000);
    EXPECT_EQ(blocks->write("before", 6), 6);
    chain.source_bytes(image, samples);
    append(chain, capacity > 0 ? array.get() : static_cast<NUV_OutputStorage*>(blocks.get()));
    chain.run_writer();
    EXPECT_EQ(chain.status().code, code);
    EXPECT_STREQ(chain.status().method, code == NUV_ERR_ARGUMENT ? "NUV_WriteJPEGEngine::initiate()"
                                                                 : chain.status().method);
    EXPECT_EQ(Bytes(memory.end() - 16, memory.end()), Bytes(16, 0xA5));
    if (capacity > 0)
        return first_bytes(memory, static_cast<std::size_t>(array->size()));
    const NUV_Held<NUV_InputStorage> written(blocks->create_input_storage());
    EXPECT_EQ(written->size(), blocks->position());
    Bytes stream(static_cast<std::size_t>(blocks->position() - 6));
    EXPECT_TRUE(written->to(6));
    EXPECT_EQ(written->read(stream.data(), blocks->position()), blocks->position() - 6);
    return stream;
}

Bytes write(const JPEGLosslessPicture& picture, bool optimises,
            std::uint32_t restarts = no_restarts)
{
    return write(image_of(picture), picture.lines(), lossless(Lossless(optimises, restarts)));
}

// The samples of so many lines.
Bytes first_lines(const JPEGTestPicture& picture, std::uint32_t lines)
{
    return first_bytes(picture.samples, lines * picture.line_bytes());
}

// Exact halves come from a product that is rounded to a float: 55 at quality 85 is 16.5 there.
TEST(JPEGQuality, ScalesTheStandardTableByTheLaw)
{
    constexpr std::array<std::uint8_t, 6> bases = {1, 16, 35, 55, 95, 121};
    const std::pair<std::uint32_t, std::array<std::uint8_t, 6>> cases[] = {
        {0, {2, 32, 70, 110, 190, 242}}, {5, {2, 30, 67, 105, 181, 230}},
        {35, {1, 21, 46, 72, 123, 157}}, {50, {1, 16, 35, 55, 95, 121}},
        {55, {1, 14, 32, 50, 86, 109}},  {65, {1, 11, 25, 39, 67, 85}},
        {75, {1, 8, 18, 28, 48, 61}},    {85, {1, 5, 11, 17, 29, 36}},
        {99, {1, 1, 1, 1, 2, 2}},        {100, {1, 1, 1, 1, 1, 1}},
    };
    for (const auto& [quality, expected] : cases) {
        for (std::size_t i = 0; i < bases.size(); ++i) {
            std::array<std::uint8_t, 64> base{};
            base.fill(bases[i]);
            NUV_JPEGQuantisers scaled;
            scaled.fill(expected[i]);
            EXPECT_EQ(jpeg_quantisers_of_quality(base, quality), scaled) << quality << ", " << i;
        }
    }
}

// What the segments of one kind hold together, in the order of their selectors.
Bytes payloads(const Bytes& stream, std::uint8_t id)
{
    std::vector<JPEGTestSegments::Segment> segments = JPEGTestSegments(stream).segments;
    std::ranges::sort(segments, {}, &JPEGTestSegments::Segment::payload);
    Bytes bytes;
    for (const auto& segment : segments) {
        if (segment.id == id)
            bytes.insert(bytes.end(), segment.payload.begin(), segment.payload.end());
    }
    return bytes;
}

Bytes scan_markers(const Bytes& stream)
{
    Bytes markers;
    for (const std::size_t place : JPEGTestSegments(stream).scan_markers)
        markers.push_back(stream[place + 1]);
    return markers;
}

// At quality 50 the tables are those of the standard, which the reference has, too. Components that
// are not converted are named.
TEST(JPEGHeader, HoldsTheStandardTablesAndTheSegmentsInOrder)
{
    struct Case {
        JPEGTestPicture picture;
        std::uint32_t key;
        Bytes ids, frame, scan, interval;
    };
    // clang-format off
    const Case cases[] = {
        {busy_picture(300, 17, 3), jpeg_sampling_420, {0xC4, 0xDB, 0xDD, 0xC0, 0xDA},
         {8, 0, 17, 1, 44, 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1},
         {3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0}, {0, 19}},
        {busy_picture(32, 8, 3), jpeg_sampling_411, {0xC4, 0xDB, 0xC0, 0xDA}, {8, 0, 8, 0, 32, 3, 'R', 0x41, 0, 'G', 0x11, 1, 'B', 0x11, 1},
         {3, 'R', 0x00, 'G', 0x11, 'B', 0x11, 0, 63, 0}, {}},
        {busy_picture(9, 8, 1), jpeg_sampling_420, {0xC4, 0xDB, 0xC0, 0xDA}, {8, 0, 8, 0, 9, 1, 1, 0x11, 0}, {1, 1, 0x00, 0, 63, 0}, {}},
    };
    // clang-format on
    for (const Case& c : cases) {
        const auto* const color =
            c.picture.channels == 1 ? NUV_ColorType::gray : NUV_ColorType::s_rgb;
        const Bytes stream =
            write(image_of(c.picture, color), c.picture.samples, lossy(Lossy(50, c.key, 0)));
        const Bytes reference = encode_by_reference(c.picture, {.quality = 50});
        const JPEGTestSegments parts(stream);
        EXPECT_EQ(payloads(stream, 0xC4), payloads(reference, 0xC4));
        EXPECT_EQ(payloads(stream, 0xDB), payloads(reference, 0xDB));
        EXPECT_EQ(parts.ids(), c.ids);
        EXPECT_EQ(parts.payload(0xC0), c.frame);
        EXPECT_EQ(parts.payload(0xDA), c.scan);
        EXPECT_EQ(parts.payload(0xDD), c.interval);
    }
}

// An interval of MCUs, or of the pixels of whole lines; 0 is one row.
TEST(JPEGRestart, StandsBetweenIntervalsOnly)
{
    struct Case {
        std::uint32_t width, height, mcus; // 0 for a lossless one
        std::vector<std::pair<std::uint32_t, std::uint32_t>>
            intervals; // asked and used, 0 for none
        NUV_StatusCode code = NUV_STATUS_OK;
    };
    // clang-format off
    const Case cases[] = {
        {20, 75, 30, {{0, 3}, {1, 1}, {7, 7}, {29, 29}, {30, 0}, {65536, 0}, {no_restarts, 0}}},
        {10, 20, 0, {{0, 10}, {10, 10}, {190, 190}, {200, 0}, {207, 0}, {65536, 0}, {no_restarts, 0}}},
        {10, 1, 0, {{0, 0}}},
        {10, 20, 0, {{5, 0}, {15, 0}, {199, 0}}, NUV_ERR_ARGUMENT},
    };
    // clang-format on
    for (const Case& c : cases) {
        const JPEGTestPicture picture = busy_picture(c.width, c.height, 1);
        const std::uint32_t mcus = c.mcus == 0 ? c.width * c.height : c.mcus;
        for (const auto& [asked, used] : c.intervals) {
            SCOPED_TRACE(asked);
            Bytes interval;
            Bytes markers;
            if (used != 0)
                interval = {0, static_cast<std::uint8_t>(used)};
            for (std::uint32_t mcu = used; mcu != 0 && mcu < mcus; mcu += used)
                markers.push_back(static_cast<std::uint8_t>(0xD0 + (mcu / used - 1) % 8));
            if (c.code == NUV_STATUS_OK)
                markers.push_back(0xD9);
            for (const bool optimises : {false, true}) {
                const Append append =
                    c.mcus == 0 ? lossless(Lossless(optimises, asked)) : lossy(Lossy(75, 0, asked));
                const Bytes stream =
                    write(image_of(picture, NUV_ColorType::gray), picture.samples, append, c.code);
                EXPECT_EQ(JPEGTestSegments(stream).payload(0xDD), interval);
                EXPECT_EQ(scan_markers(stream), markers);
            }
        }
    }
}

// What a block is made of: its samples are the floors of weighted means less 128.
struct SourcePlanes {
    const JPEGTestPicture& picture;
    std::uint32_t key;
    bool converts;

    [[nodiscard]] std::array<double, 64> transform(std::size_t component, std::size_t block_x,
                                                   std::size_t block_y) const
    {
        static const auto cosines = [] {
            std::array<double, 64> table{}; // of a frequency and a place
            for (std::size_t i = 0; i < 64; ++i)
                table[i] = jpeg_cosine(i / 8, i % 8);
            return table;
        }();
        std::array<double, 64> rows{};
        std::array<double, 64> result{};
        for (std::size_t i = 0; i < 64; ++i) {
            const double value = sample(component, 8 * block_x + i % 8, 8 * block_y + i / 8);
            for (std::size_t u = 0; u < 8; ++u)
                rows[i / 8 * 8 + u] += cosines[u * 8 + i % 8] * value;
        }
        for (std::size_t i = 0; i < 64; ++i) {
            for (std::size_t v = 0; v < 8; ++v)
                result[8 * v + i % 8] += cosines[v * 8 + i / 8] * rows[i];
        }
        return result;
    }
    // Beyond the picture its last column and line go on.
    [[nodiscard]] double sample(std::size_t component, std::size_t x, std::size_t y) const
    {
        const bool is_whole = component == 0 || picture.channels == 1;
        const std::size_t across = is_whole ? 1 : key >> 20;
        const std::size_t down = is_whole ? 1 : key >> 16 & 15U;
        std::array<double, 3> mean{};
        for (std::size_t i = 0; i < across * down; ++i) {
            const auto at_x = std::min<std::size_t>(across * x + i % across, picture.width - 1);
            const auto at_y = std::min<std::size_t>(down * y + i / across, picture.height - 1);
            for (std::size_t c = 0; c < picture.channels; ++c)
                mean[c] += picture.at(at_x, at_y, c) / static_cast<double>(across * down);
        }
        const auto [r, g, b] = mean;
        if (!converts)
            return std::floor(mean[component] - 128);
        if (component == 0)
            return std::floor((19595 * r + 38470 * g + 7471 * b) / 65536) - 128;
        return std::floor((component == 1 ? -11059 * r - 21709 * g + 32768 * b
                                          : 32768 * r - 27439 * g - 5329 * b) /
                          65536);
    }
};

// The coefficients that the reference reads are those of the picture, to half a quantiser and what
// the integers of the transform and the inverses lose, in the same bytes at every level.
TEST(JPEGStream, HoldsTheTransformOfThePictureForEveryKindAndSize)
{
    for (std::uint32_t seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto draw = [&](std::uint32_t below) {
            return static_cast<std::uint32_t>(random()) % below;
        };
        const std::uint32_t channels = seed % 5 == 0 ? 1 : 3;
        const bool is_rgb = channels == 3 && draw(2) == 0;
        const std::uint32_t key = all_keys[seed % 4];
        const std::uint32_t quality = draw(3) == 0 ? 100 : draw(101);
        const Append append = lossy(Lossy(quality, key, draw(3) == 0 ? no_restarts : draw(6)));
        const std::uint32_t noise = draw(3) == 0 ? 0xFF : draw(16);
        const bool is_extreme = seed % 10 == 9;
        // One that takes more than the coded bytes of a row are counted on.
        JPEGTestPicture picture = make_test_picture(
            seed == 9 ? 4000 : 1 + draw(60), 1 + draw(50), channels, [&](auto x, auto y, auto c) {
                return is_extreme ? 255 * draw(2)
                                  : (3 * x + 2 * y + 50 * c + draw(noise + 1)) & 0xFFU;
            });
        NUV_TestImage image = image_of(picture, channels == 1 ? NUV_ColorType::gray
                                                : is_rgb      ? NUV_ColorType::s_rgb
                                                              : NUV_ColorType::ycbcr);
        if (draw(3) == 0) // breaks off
            picture.height = 1 + draw(picture.height);
        const Bytes samples = first_lines(picture, picture.height);
        const Bytes stream = write(image, samples, append);
        const SourcePlanes source{picture, key, is_rgb && key != jpeg_sampling_411};
        const auto planes = coefficients_by_reference(stream);
        ASSERT_EQ(planes.size(), channels);
        for (std::size_t c = 0; c < channels; ++c) {
            const JPEGReferencePlane& plane = planes[c];
            for (std::size_t i = 0; i < plane.blocks.size(); ++i) {
                const auto exact =
                    source.transform(c, i % plane.blocks_across, i / plane.blocks_across);
                for (std::size_t k = 0; k < 64; ++k)
                    ASSERT_NEAR(plane.blocks[i][k], exact[k], 0.52 * plane.quantisers[k] + 1)
                        << "component " << c << ", block " << i << ", coefficient " << k;
            }
        }
        for (const NUV_TestLevel& level : jpeg_levels())
            ASSERT_EQ(write(image, samples, append, NUV_STATUS_OK, level.cpu), stream)
                << level.name;
        // The stream of a picture that broke off is that of one of so many lines, but for a header
        // that speaks of restarts which do not come any more.
        image.height = picture.height;
        const Bytes shorter = write(image, samples, append);
        ASSERT_TRUE(shorter == stream || JPEGTestSegments(shorter).payload(0xDD).empty());
    }
}

// The codes of the standard table: category 0 has 00, 1 has 01, 2 has 100, 3 has 101, 4 to 6 have
// 1100 to 1110, and from there each has one more 1 in front.
JPEGCraft standard_stream()
{
    JPEGCraft craft;
    return craft.segment(0xC4, {0, 0, 2, 2, 3, 1, 1, 1, 1, 1, 1,  1,  1,  1,  1,  0,  0,
                                0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
}

TEST(JPEGLosslessEncoder, WritesTheCodesOfItsTables)
{
    // Differences 0, -32768 and 32767, then -32768, 32768 and 0 under the pixel above.
    JPEGCraft deep = standard_stream();
    deep.frame(0xC3, 16, 1, 2, {0x11, 0x11, 0x11}).scan({1, 2, 3}, 1, 0);
    deep.bits(0b00, 2).bits(0b11111111111110, 14).bits(0b1111111111110, 13).bits(0x7FFF, 15);
    deep.bits(0b11111111111110, 14).bits(0b11111111111110, 14).bits(0b00, 2);
    EXPECT_EQ(write({1, 2, 3, 16, {32768, 0, 65535, 0, 32768, 65535}}, false), deep.end());

    // Each line begins anew from half of the range, and the bits before the marker are padded:
    // differences 2, -2; 3, 0.
    JPEGCraft restarts = standard_stream();
    restarts.segment(0xDD, {0, 2}).frame(0xC3, 8, 2, 2, {0x11}).scan({1}, 1, 0);
    restarts.bits(0b100'10, 5).bits(0b100'01, 5).flush().marker(0xD0);
    restarts.bits(0b100'11, 5).bits(0b00, 2);
    EXPECT_EQ(write({2, 2, 1, 8, {130, 128, 131, 131}}, false, 2), restarts.end());
}

// Whole, or broken off: then the stream is that of the lines that came.
TEST(JPEGLosslessEncoder, WritesWhatReadsBackAsItWasInTheSameBytesAtEveryLevel)
{
    std::mt19937 random(2);
    for (std::uint32_t round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        const auto width = static_cast<std::uint32_t>(1 + random() % (round % 5 == 0 ? 300 : 70));
        JPEGLosslessPicture picture =
            make_lossless_picture(width, static_cast<std::uint32_t>(2 + random() % 20),
                                  round % 2 == 0 ? 1 : 3, random() % 2 == 0 ? 8 : 16, round % 4);
        NUV_TestImage image = image_of(picture);
        const std::uint32_t intervals[] = {no_restarts, 0, 2 * width};
        const Append append = lossless(Lossless(random() % 2 == 0, intervals[random() % 3]));
        const bool breaks_off = random() % 2 == 0;
        if (breaks_off) {
            picture.height = static_cast<std::uint32_t>(1 + random() % picture.height);
            picture.samples.resize(std::size_t{picture.height} * width * picture.channels);
        }
        const Bytes lines = picture.lines();
        const Bytes stream = write(image, lines, append);
        const JPEGDecoded decoded = decode_stream(stream);
        ASSERT_TRUE(decoded.is_clean());
        ASSERT_EQ(decoded.picture.samples, lines);
        for (const NUV_TestLevel& level : jpeg_levels())
            ASSERT_EQ(write(image, lines, append, NUV_STATUS_OK, level.cpu), stream) << level.name;
        image.height = picture.height;
        if (picture.height > 2) { // else the shorter picture has no restarts
            ASSERT_EQ(write(image, lines, append), stream);
        }
    }
}

// T.81, K.2: a code for each category that occurs, the shorter the more often, of 16 bits at most,
// and none of ones alone.
TEST(JPEGLosslessEncoder, OptimisesForThePicture)
{
    const JPEGLosslessPicture picture = make_lossless_picture(100, 50, 3, 16, 2);
    EXPECT_LT(write(picture, true).size(), write(picture, false).size());
    // Each category twice as often as the next: a tree without limit has codes of 17 bits.
    JPEGLosslessPicture steep{3, 43690, 1, 16, {}};
    std::uint16_t sample = 32768;
    for (int category = 0; category <= 16; ++category) {
        for (int times = 1 << (16 - category); times > 0; --times) {
            const int step = category == 0 ? 0 : 1 << (category - 1);
            sample = static_cast<std::uint16_t>(category == 16 || times % 2 == 0 ? sample + step
                                                                                 : sample - step);
            steep.samples.push_back(sample);
        }
    }
    steep.samples.resize(std::size_t{3} * 43690, sample);
    const Bytes limited = write(steep, true);
    const Bytes counts = JPEGTestSegments(limited).payload(0xC4);
    EXPECT_EQ(counts[1], 1);
    EXPECT_GT(counts[16], 0);
    EXPECT_EQ(decode_stream(limited).picture.samples, steep.lines());
}

// RGB is converted, and only what has a luma channel is subsampled.
TEST(WriteJPEG, TreatsEachColorAsItsKindAsks)
{
    struct Case {
        const NUV_ColorType* type;
        const NUV_ColorType* same; // whose stream it is
        std::uint32_t asked, written;
    };
    using Type = NUV_ColorType;
    const Case cases[] = {
        {Type::s_rgb, Type::s_rgb, 0x221111, 0x221111},
        {Type::s_rgb, Type::s_rgb, 0x411111, 0x411111},
        {Type::s_rgb, Type::s_rgb, 0x121111, 0x111111},
        {Type::s_rgb, Type::s_rgb, 0, 0x111111},
        {Type::adobe_rgb, Type::s_rgb, 0x211111, 0x211111},
        {Type::ycbcr, Type::ycbcr, 0x221111, 0x221111},
        {Type::itu_lab, Type::ycbcr, 0x221111, 0x111111},
        {Type::icc_lab, Type::ycbcr, 0x211111, 0x111111},
        {Type::cmy, Type::ycbcr, 0x411111, 0x111111},
        {Type::gray, Type::gray, 0x221111, 0x111111},
        {Type::gray_reverse, Type::gray, 0x211111, 0x111111},
        {Type::lstar, Type::gray, 0x111111, 0x111111},
    };
    Bytes lossless_streams[4];
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const JPEGTestPicture picture = busy_picture(35, 20, c.same == Type::gray ? 1 : 3);
        NUV_TestImage image = image_of(picture, c.type);
        const Bytes stream = write(image, picture.samples, lossy(Lossy(60, c.asked, 0)));
        EXPECT_EQ(stream, write(image_of(picture, c.same), picture.samples,
                                lossy(Lossy(60, c.written, 0))));
        EXPECT_EQ(JPEGTestSegments(stream).payload(0xC0)[7], c.written >> 16);
        // Lossless, the bits are what counts, whatever they mean.
        for (const NUV_DataType* type : {NUV_DataType::u_integer, NUV_DataType::s_integer}) {
            image.data_type = type;
            const Bytes exact =
                write(image, picture.samples, lossless(Lossless(false, no_restarts)));
            EXPECT_EQ(exact, write(image, picture.samples, lossless()));
            Bytes& first = lossless_streams[picture.channels];
            first = first.empty() ? exact : first;
            EXPECT_EQ(exact, first);
        }
    }
}

// What fitted stands, of a stream that was cut short with the height it began with, which one that
// is optimised writes at the end.
TEST(WriteJPEG, FailsWhereverTheDestinationEnds)
{
    const JPEGTestPicture picture = busy_picture(17, 20, 3);
    const NUV_TestImage image = image_of(picture, NUV_ColorType::s_rgb);
    const std::pair<Append, bool> writers[] = {{lossy(), true},
                                               {lossless(Lossless(false, 34)), true},
                                               {lossless(Lossless(true, 34)), false}};
    for (const auto& [append, corrects_height] : writers) {
        for (const std::uint32_t lines : {20U, 11U, 0U}) {
            const Bytes samples = first_lines(picture, lines);
            const Bytes stream = write(image, samples, append);
            const JPEGTestSegments parts(stream);
            const std::size_t height =
                std::max(parts.find(0xC0).position, parts.find(0xC3).position) + 2;
            for (std::size_t capacity = 1; capacity <= stream.size(); ++capacity) {
                const bool is_whole = capacity == stream.size();
                Bytes expected = first_bytes(stream, capacity);
                if (corrects_height && capacity > height && !is_whole)
                    expected[height] = 20;
                ASSERT_EQ(write(image, samples, append, is_whole ? NUV_STATUS_OK : NUV_ERR_IO,
                                NUV_Cpu::current(), capacity),
                          expected)
                    << capacity;
            }
        }
    }
}

TEST(WriteJPEG, LeavesNothingBehindWhenMemoryRunsOut)
{
    const JPEGTestPicture picture = busy_picture(20, 10, 3);
    for (const Append& append : {lossy(), lossless(), lossless(Lossless(true, no_restarts))}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const auto storage = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 1000);
            chain.source_bytes(image_of(picture, NUV_ColorType::s_rgb), picture.samples);
            append(chain, storage.get());
            chain.run_writer();
        });
    }
}

TEST(WriteJPEG, SaysWhyItRefusesAndLeavesNothingBehind)
{
    constexpr auto engine = "NUV_WriteJPEGEngine::initiate()";
    constexpr auto storage = "NUV_StorageOutputEngine::initiate()";
    enum Destination { open, closed, none };
    const auto to = [](Destination destination, const Append& append) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            Bytes memory(4096);
            const auto bytes = make_initiated<NUV_ByteArrayOutputStorage>(
                chain.manager(), memory.data(), static_cast<std::int32_t>(memory.size()));
            if (destination == closed)
                bytes->close();
            return append(chain, destination == none ? nullptr : bytes.get());
        };
    };
    const NUV_ColorType* const gray = NUV_ColorType::gray;
    struct Case {
        const char* what;
        NUV_TestImage image;
        bool is_written_lossless = false;
    };
    const Case cases[] = {
        {"coded", {.encode_type = NUV_EncodeType::flate, .color_type = gray}},
        {"bilevel", {.bits = 1, .color_type = gray}},
        {"16 bits", {.bits = 16, .color_type = gray}, true},
        {"32 bits", {.bits = 32, .color_type = gray}},
        {"signed", {.data_type = NUV_DataType::s_integer, .color_type = gray}, true},
        {"floating", {.bits = 32, .data_type = NUV_DataType::floating, .color_type = gray}},
        {"two channels", {.channels = 2, .color_type = NUV_ColorType::unknown}},
        {"four channels", {.channels = 4, .color_type = NUV_ColorType::cmyk}},
        {"palette", {.palette = true}},
        {"too wide", {.width = 65536, .color_type = gray}},
        {"too high", {.height = 65536, .color_type = gray}},
        {"no colour", {.color_type = NUV_ColorType::none}},
        {"unknown colour", {.color_type = NUV_ColorType::unknown}},
        {"hsl", {.channels = 3, .color_type = NUV_ColorType::hsl}},
        {"xyz", {.channels = 3, .color_type = NUV_ColorType::xyz}},
    };
    for (const Case& c : cases) {
        for (const Append& append : {lossy(), c.is_written_lossless ? lossy() : lossless()})
            expect_refusals({{c.what, c.image, to(open, append), NUV_ERR_UNSUPPORTED, engine}});
    }
    Lossless other(false, no_restarts);
    const Append foreign = [&](NUV_TestChain& chain, NUV_OutputStorage* into) {
        return chain.append<NUV_WriteJPEG>(into, &other);
    };
    const NUV_TestImage image = {.color_type = gray};
    const NUV_RefusalSource nothing([](NUV_TestChain&) {});
    constexpr auto argument = NUV_ERR_ARGUMENT;
    expect_refusals({
        {"no storage", image, to(none, lossy()), argument, storage},
        {"no storage, lossless", image, to(none, lossless()), argument, storage},
        {"closed", image, to(closed, lossy()), argument, storage},
        {"closed, lossless", image, to(closed, lossless()), argument, storage},
        {"attributes of the other kind", image, to(open, foreign), argument, engine},
        {"nothing", nothing, to(none, lossy()), argument, "NUV_WriteJPEG::engine()"},
        {"nothing", nothing, to(none, lossless()), argument, "NUV_WriteLosslessJPEG::engine()"},
    });
}

TEST(JPEGRegistStatus, TurnsEachCodeIntoItsStatus)
{
    // clang-format off
    const std::pair<int, NUV_StatusCode> cases[] = {
        {1, NUV_STATUS_OK}, {-1, NUV_STATUS_OK}, {-12, NUV_STATUS_OK}, {-9999, NUV_STATUS_OK}, {0, NUV_ERROR},
        {-2, NUV_ERR_ARGUMENT}, {-3, NUV_ERR_BROKEN_DATA}, {-11, NUV_ERR_IO}, {-13, NUV_ERR_INVALID_DATA}, {-14, NUV_ERR_INVALID_DATA},
        {-50, NUV_ERR_UNSUPPORTED}, {-64, NUV_ERROR}, {-9997, NUV_ERROR}, {-9998, NUV_ERROR},
        {3, NUV_WARN_BROKEN_DATA}, {14, NUV_WARN_UNSUPPORTED}, {100, NUV_WARN_INVALID_DATA | 0x10},
    };
    // clang-format on
    for (const auto& [value, status] : cases) {
        NUV_TestChain chain;
        const auto code = static_cast<NUV_JPEGCode>(value);
        EXPECT_EQ(nuv_jpegregiststatus(chain.manager(), code, "NUV_X::y()"), value > 0);
        EXPECT_EQ(chain.status().code, status) << value;
        EXPECT_STREQ(chain.status().method, status == NUV_STATUS_OK ? "" : "NUV_X::y()");
    }
}

} // namespace
} // namespace nuv
