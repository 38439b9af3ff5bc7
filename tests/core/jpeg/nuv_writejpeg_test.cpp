#include "core/jpeg/nuv_encodejpeg.h"
#include "core/jpeg/source/nuv_jpegregiststatus.h"
#include "core/jpeg/source/nuv_writejpegengine.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"
#include "tests/support/nuv_refusals.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Color = NUV_JPEGEncoder::SourceColor;

constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

// Appends a writer to a chain.
using Append = std::function<bool(NUV_TestChain&, NUV_OutputStorage*)>;

Append lossy(NUV_EncodeJPEGAttributes* option = nullptr)
{
    return [=](NUV_TestChain& chain, NUV_OutputStorage* storage) {
        return chain.append<NUV_WriteJPEG>(storage, option);
    };
}

Append lossless(NUV_WriteLosslessJPEGOption* option = nullptr)
{
    return [=](NUV_TestChain& chain, NUV_OutputStorage* storage) {
        return chain.append<NUV_WriteLosslessJPEG>(storage, option);
    };
}

NUV_TestImage image_of(const JPEGTestPicture& picture, const NUV_ColorType* color)
{
    return {.width = picture.width,
            .height = picture.height,
            .channels = static_cast<std::uint16_t>(picture.channels),
            .color_type = color};
}

// Steps the writer to its end and lets go of it.
void run_writer(NUV_TestChain& chain)
{
    if (NUV_Engine* const writer = chain.last()) {
        while (writer->execute()) {
        }
        writer->end();
        chain.last(nullptr);
    }
}

// The image through a whole chain into `capacity` bytes, behind which nothing may change; of its
// lines only those come that `samples` has.
Bytes write(NUV_TestChain& chain, const NUV_TestImage& image, const Bytes& samples,
            const Append& append, std::size_t capacity = 1 << 16)
{
    constexpr std::uint8_t untouched = 0xA5;
    Bytes memory(capacity + 16, untouched);
    const auto storage = make_initiated<NUV_ByteArrayOutputStorage>(
        chain.manager(), memory.data(), static_cast<std::int32_t>(capacity));
    chain.source_bytes(image, samples);
    append(chain, storage.get());
    run_writer(chain);
    EXPECT_EQ(Bytes(memory.end() - 16, memory.end()), Bytes(16, untouched));
    memory.resize(static_cast<std::size_t>(storage ? storage->size() : 0));
    return memory;
}

Bytes first_lines(const JPEGTestPicture& picture, std::uint32_t lines)
{
    return {picture.samples.begin(),
            picture.samples.begin() + static_cast<std::ptrdiff_t>(std::min(lines, picture.height) *
                                                                  picture.line_bytes())};
}

TEST(WriteJPEG, TreatsEachColorAsItsKindAsks)
{
    struct Case {
        const NUV_ColorType* type;
        std::uint32_t channels;
        std::uint32_t asked;
        std::uint32_t written;
        Color color = Color::components;
    };
    const Case cases[] = {
        {NUV_ColorType::s_rgb, 3, 0x111111, 0x111111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0x221111, 0x221111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0x411111, 0x411111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0x121111, 0x111111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0, 0x111111, Color::rgb},
        {NUV_ColorType::adobe_rgb, 3, 0x211111, 0x211111, Color::rgb},
        {NUV_ColorType::ycbcr, 3, 0x221111, 0x221111},
        {NUV_ColorType::ycbcr, 3, 0x411111, 0x411111},
        {NUV_ColorType::itu_lab, 3, 0x221111, 0x111111},
        {NUV_ColorType::icc_lab, 3, 0x211111, 0x111111},
        {NUV_ColorType::cmy, 3, 0x411111, 0x111111},
        {NUV_ColorType::gray, 1, 0x221111, 0x111111},
        {NUV_ColorType::gray_reverse, 1, 0x211111, 0x111111},
        {NUV_ColorType::lstar, 1, 0x111111, 0x111111},
    };
    Bytes lossless_streams[4];
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const JPEGTestPicture picture = busy_picture(35, 20, c.channels);
        NUV_WriteJPEGOption option(60, c.asked, no_restarts);
        NUV_TestChain chain;
        NUV_TestImage image = image_of(picture, c.type);
        EXPECT_EQ(write(chain, image, picture.samples, lossy(&option)),
                  encode_test_picture(picture, {.key = c.written,
                                                .quality = 60,
                                                .color = c.color,
                                                .restart_interval = no_restarts}));
        // Lossless, the bits are what counts, whatever they mean.
        for (const NUV_DataType* type : {NUV_DataType::u_integer, NUV_DataType::s_integer}) {
            NUV_TestChain exact;
            image.data_type = type;
            const Bytes stream = write(exact, image, picture.samples, lossless());
            Bytes& first = lossless_streams[c.channels];
            first = first.empty() ? stream : first;
            EXPECT_EQ(stream, first);
            EXPECT_EQ(JPEGTestSegments(stream).payload(0xC0), Bytes());
        }
    }
}

TEST(WriteJPEG, TakesQuality75HalfWidthChromaAndARestartEachRowWithoutAnOption)
{
    const JPEGTestPicture picture = busy_picture(40, 30, 3);
    NUV_TestChain chain;
    EXPECT_EQ(write(chain, image_of(picture, NUV_ColorType::s_rgb), picture.samples, lossy()),
              encode_test_picture(picture,
                                  {.key = jpeg_sampling_422, .quality = 75, .color = Color::rgb}));
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK);

    NUV_WriteJPEGOption option(101, jpeg_sampling_420, 7);
    EXPECT_EQ(option.quality(), 100U);
    option.set_quality(30);
    EXPECT_EQ(option.quality(), 30U);
    option.set_quality(0xFFFFFFFF);
    EXPECT_EQ(option.quality(), 100U);
}

TEST(WriteLosslessJPEG, PassesItsOptionsOn)
{
    const JPEGTestPicture picture = busy_picture(10, 20, 1);
    const NUV_TestImage image = image_of(picture, NUV_ColorType::gray);
    Bytes streams[2];
    for (const bool optimise : {false, true}) {
        NUV_WriteLosslessJPEGOption option(optimise, 30);
        NUV_TestChain chain;
        streams[optimise ? 1 : 0] = write(chain, image, picture.samples, lossless(&option));
        EXPECT_EQ(JPEGTestSegments(streams[optimise ? 1 : 0]).payload(0xDD), (Bytes{0, 30}));
    }
    EXPECT_LT(streams[1].size(), streams[0].size());

    NUV_WriteLosslessJPEGOption part_of_a_line(false, 15);
    NUV_TestChain chain;
    EXPECT_EQ(write(chain, image, picture.samples, lossless(&part_of_a_line)), Bytes());
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_WriteJPEGEngine::initiate()");
}

// Behind what is in the storage, whole, or broken off with a height to correct.
TEST(WriteJPEG, WritesTheSameToEveryKindOfStorageFromWhereItStands)
{
    const JPEGTestPicture picture = busy_picture(200, 50, 3);
    NUV_WriteJPEGOption option(95, jpeg_sampling_420, 0);
    for (const std::uint32_t lines : {50U, 20U, 1U, 0U}) {
        const Bytes stream = encode_test_picture(
            picture,
            {.key = jpeg_sampling_420, .quality = 95, .color = Color::rgb, .lines = lines});
        EXPECT_EQ(JPEGTestSegments(stream).payload(0xC0)[2], lines == 0 ? 50 : lines);
        NUV_TestChain chain;
        Bytes memory(1 << 16);
        const auto to_bytes = make_initiated<NUV_ByteArrayOutputStorage>(
            chain.manager(), memory.data(), static_cast<std::int32_t>(memory.size()));
        const auto to_blocks = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 1000);
        for (NUV_OutputStorage* storage : {static_cast<NUV_OutputStorage*>(to_bytes.get()),
                                           static_cast<NUV_OutputStorage*>(to_blocks.get())}) {
            ASSERT_EQ(storage->write("before", 6), 6);
            chain.source_bytes(image_of(picture, NUV_ColorType::s_rgb),
                               first_lines(picture, lines));
            ASSERT_TRUE(lossy(&option)(chain, storage));
            run_writer(chain);
            EXPECT_EQ(storage->position(), static_cast<std::int32_t>(6 + stream.size()));
        }
        const NUV_Held<NUV_InputStorage> reader(to_blocks->create_input_storage());
        Bytes read(6 + stream.size());
        EXPECT_EQ(reader->read(read.data(), static_cast<std::int32_t>(read.size())),
                  static_cast<std::int32_t>(read.size()));
        EXPECT_EQ(Bytes(read.begin() + 6, read.end()), stream);
        memory.resize(read.size());
        EXPECT_EQ(memory, read);
    }
}

// A writer that is never stepped, or not to its end, is ended with its manager.
TEST(WriteJPEG, ClosesTheStreamWhenTheManagerGoes)
{
    const JPEGTestPicture picture = busy_picture(30, 40, 1);
    NUV_TestChain chain;
    EXPECT_EQ(write(chain, image_of(picture, NUV_ColorType::gray), picture.samples,
                    [](NUV_TestChain& broken, NUV_OutputStorage* storage) {
                        EXPECT_TRUE(lossy()(broken, storage));
                        for (int line = 0; line < 10; ++line)
                            EXPECT_TRUE(broken.last()->execute());
                        broken.manager().clear();
                        broken.last(nullptr);
                        return true;
                    }),
              encode_test_picture(picture, {.lines = 10}));
}

// What fitted stands, of a stream that was cut short with the height it began with.
TEST(WriteJPEG, FailsWhereverTheDestinationEnds)
{
    NUV_WriteLosslessJPEGOption standard(false, 34);
    NUV_WriteLosslessJPEGOption optimal(true, 34);
    const JPEGTestPicture picture = busy_picture(17, 20, 3);
    const NUV_TestImage image = image_of(picture, NUV_ColorType::s_rgb);
    struct Writer {
        Append append;
        std::uint8_t frame;
        bool corrects_height; // and does not know it when the header is written
    };
    for (const Writer& writer : {Writer{lossy(), 0xC0, true},
                                 {lossless(&standard), 0xC3, true},
                                 {lossless(&optimal), 0xC3, false}}) {
        for (const std::uint32_t lines : {20U, 11U}) {
            const auto write_into = [&](NUV_TestChain& chain, std::size_t capacity) {
                return write(chain, image, first_lines(picture, lines), writer.append, capacity);
            };
            NUV_TestChain enough;
            const Bytes whole = write_into(enough, 1 << 16);
            const std::size_t height = JPEGTestSegments(whole).position(writer.frame) + 2;
            for (std::size_t capacity = 1; capacity <= whole.size(); ++capacity) {
                NUV_TestChain chain;
                const Bytes got = write_into(chain, capacity);
                Bytes expected(whole.begin(),
                               whole.begin() + static_cast<std::ptrdiff_t>(capacity));
                if (writer.corrects_height && capacity < whole.size() && capacity > height)
                    expected[height] = 20;
                ASSERT_EQ(got, expected) << capacity;
                ASSERT_EQ(chain.status().code,
                          capacity < whole.size() ? NUV_ERR_IO : NUV_STATUS_OK);
            }
        }
    }
}

TEST(WriteJPEG, LeavesNothingBehindWhenMemoryRunsOut)
{
    NUV_WriteLosslessJPEGOption optimal(true, no_restarts);
    const JPEGTestPicture picture = busy_picture(20, 10, 3);
    for (const Append& append : {lossy(), lossless(), lossless(&optimal)}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const auto storage = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 1000);
            chain.source_bytes(image_of(picture, NUV_ColorType::s_rgb), picture.samples);
            append(chain, storage.get());
            run_writer(chain);
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
        expect_refusals({{c.what, c.image, to(open, lossy()), NUV_ERR_UNSUPPORTED, engine}});
        if (!c.is_written_lossless)
            expect_refusals({{c.what, c.image, to(open, lossless()), NUV_ERR_UNSUPPORTED, engine}});
    }
    NUV_WriteLosslessJPEGOption other(false, no_restarts);
    const NUV_TestImage image = {.color_type = gray};
    const NUV_RefusalSource nothing([](NUV_TestChain&) {});
    constexpr auto argument = NUV_ERR_ARGUMENT;
    expect_refusals({
        {"no storage", image, to(none, lossy()), argument, storage},
        {"no storage, lossless", image, to(none, lossless()), argument, storage},
        {"closed", image, to(closed, lossy()), argument, storage},
        {"closed, lossless", image, to(closed, lossless()), argument, storage},
        {"attributes of the other kind", image, to(open, lossy(&other)), argument, engine},
        {"nothing", nothing, to(none, lossy()), argument, "NUV_WriteJPEG::engine()"},
        {"nothing", nothing, to(none, lossless()), argument, "NUV_WriteLosslessJPEG::engine()"},
    });
}

// A derived engine that puts a comment into the header.
class CommentingEngine final : public NUV_WriteJPEGEngine {
public:
    using NUV_WriteJPEGEngine::NUV_WriteJPEGEngine;

private:
    bool write_tables(const NUV_Header& header, const NUV_EncodeJPEGAttributes&) override
    {
        const Bytes text(header.width(), 'c');
        return accept(coder().add_marker(jpeg_marker_com, text));
    }
};

class WriteCommented final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                     const NUV_EncodeJPEGAttributes* attributes)
    {
        return append_writer<CommentingEngine>(*previous, storage, attributes);
    }
};

TEST(WriteJPEGEngine, LetsADerivedOneAddMarkers)
{
    const JPEGTestPicture picture = busy_picture(5, 4, 1);
    const NUV_WriteJPEGOption option(75, jpeg_sampling_444, 0);
    const Append append = [&](NUV_TestChain& chain, NUV_OutputStorage* storage) {
        return chain.append<WriteCommented>(storage, &option);
    };
    NUV_TestChain chain;
    const JPEGTestSegments parts(
        write(chain, image_of(picture, NUV_ColorType::gray), picture.samples, append));
    EXPECT_EQ(parts.segments[0].id, jpeg_marker_com);
    EXPECT_EQ(parts.segments[0].payload, Bytes(5, 'c'));
}

TEST(JPEGRegistStatus, TurnsEachCodeIntoItsStatus)
{
    const std::pair<int, NUV_StatusCode> cases[] = {
        {1, NUV_STATUS_OK},
        {-1, NUV_STATUS_OK},
        {-12, NUV_STATUS_OK},
        {-9999, NUV_STATUS_OK},
        {-2, NUV_ERR_ARGUMENT},
        {-3, NUV_ERR_BROKEN_DATA},
        {-11, NUV_ERR_IO},
        {-13, NUV_ERR_INVALID_DATA},
        {-14, NUV_ERR_INVALID_DATA},
        {-50, NUV_ERR_UNSUPPORTED},
        {3, NUV_WARN_BROKEN_DATA},
        {14, NUV_WARN_UNSUPPORTED},
        {-9997, NUV_ERROR},
        {-9998, NUV_ERROR},
        {-64, NUV_ERROR},
        {0, NUV_ERROR},
        {100, NUV_WARN_INVALID_DATA | 0x10},
    };
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
