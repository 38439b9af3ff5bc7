#include "core/jpeg/nuv_encodejpeg.h"
#include "core/jpeg/source/nuv_jpegregiststatus.h"
#include "core/jpeg/source/nuv_writejpegengine.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"
#include "tests/core/jpeg/nuv_jpegwritetest.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Color = NUV_JPEGEncoder::SourceColor;

constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

NUV_TestImage image_of(const JPEGTestPicture& picture, const NUV_ColorType* color)
{
    return {.width = picture.width,
            .height = picture.height,
            .channels = static_cast<std::uint16_t>(picture.channels),
            .color_type = color};
}

// The picture through a whole chain into `capacity` bytes; of its lines only the first `lines`
// arrive.
Bytes write_picture(NUV_TestChain& chain, const JPEGTestPicture& picture,
                    const NUV_ColorType* color, NUV_EncodeJPEGAttributes* option,
                    std::size_t capacity = 1 << 20, std::uint32_t lines = 0xFFFFFFFF)
{
    Bytes samples = picture.samples;
    samples.resize(std::min(picture.height, lines) * picture.line_bytes());
    return write_lines<NUV_WriteJPEG>(chain, image_of(picture, color), samples, option, capacity);
}

TEST(WriteJPEGOption, CutsQualityAtAHundred)
{
    NUV_WriteJPEGOption option(101, jpeg_sampling_420, 7);
    EXPECT_EQ(option.quality(), 100U);
    option.set_quality(30);
    EXPECT_EQ(option.quality(), 30U);
    option.set_quality(0xFFFFFFFF);
    EXPECT_EQ(option.quality(), 100U);
}

TEST(WriteJPEG, TakesQuality75AndHalfWidthChromaWithoutAnOption)
{
    const JPEGTestPicture picture = busy_picture(40, 30, 3);
    NUV_TestChain chain;
    EXPECT_EQ(write_picture(chain, picture, NUV_ColorType::s_rgb, nullptr),
              encode_test_picture(picture,
                                  {.key = jpeg_sampling_422, .quality = 75, .color = Color::rgb}));
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
}

TEST(WriteJPEG, TreatsEachColorAsItsKindAsks)
{
    struct Case {
        const NUV_ColorType* type;
        std::uint32_t channels;
        std::uint32_t asked;
        std::uint32_t written;
        Color color;
    };
    constexpr Color plain = Color::components;
    const Case cases[] = {
        {NUV_ColorType::s_rgb, 3, 0x111111, 0x111111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0x221111, 0x221111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0x411111, 0x411111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0x121111, 0x111111, Color::rgb},
        {NUV_ColorType::s_rgb, 3, 0, 0x111111, Color::rgb},
        {NUV_ColorType::adobe_rgb, 3, 0x211111, 0x211111, Color::rgb},
        {NUV_ColorType::ycbcr, 3, 0x221111, 0x221111, plain},
        {NUV_ColorType::ycbcr, 3, 0x411111, 0x411111, plain},
        {NUV_ColorType::itu_lab, 3, 0x221111, 0x111111, plain},
        {NUV_ColorType::icc_lab, 3, 0x211111, 0x111111, plain},
        {NUV_ColorType::cmy, 3, 0x411111, 0x111111, plain},
        {NUV_ColorType::gray, 1, 0x221111, 0x111111, plain},
        {NUV_ColorType::gray_reverse, 1, 0x211111, 0x111111, plain},
        {NUV_ColorType::lstar, 1, 0x111111, 0x111111, plain},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const JPEGTestPicture picture = busy_picture(35, 20, c.channels);
        NUV_WriteJPEGOption option(60, c.asked, no_restarts);
        NUV_TestChain chain;
        EXPECT_EQ(write_picture(chain, picture, c.type, &option),
                  encode_test_picture(picture, {.key = c.written,
                                                .quality = 60,
                                                .color = c.color,
                                                .restart_interval = no_restarts}));
    }
}

TEST(WriteJPEG, WritesTheSameToEveryKindOfStorage)
{
    const JPEGTestPicture picture = busy_picture(200, 50, 3);
    NUV_WriteJPEGOption option(95, jpeg_sampling_420, 0);
    const Bytes expected = encode_test_picture(
        picture, {.key = jpeg_sampling_420, .quality = 95, .color = Color::rgb});
    ASSERT_GT(expected.size(), 4096U);

    for (const std::uint32_t lines : {50U, 20U}) { // whole, and cut short with a height to correct
        const Bytes stream = encode_test_picture(
            picture,
            {.key = jpeg_sampling_420, .quality = 95, .color = Color::rgb, .lines = lines});
        const JPEGTestFile file;
        NUV_TestChain chain;
        auto to_file = make_initiated<NUV_FileOutputStorage>(chain.manager(), file.path().c_str());
        const auto to_memory = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 1000);
        ASSERT_TRUE(to_file);
        ASSERT_TRUE(to_memory);
        JPEGTestPicture part = picture;
        part.samples.resize(lines * picture.line_bytes());
        for (NUV_OutputStorage* storage : {static_cast<NUV_OutputStorage*>(to_file.get()),
                                           static_cast<NUV_OutputStorage*>(to_memory.get())}) {
            chain.source_bytes(image_of(picture, NUV_ColorType::s_rgb), part.samples);
            ASSERT_TRUE(chain.append<NUV_WriteJPEG>(storage, &option));
            run_writer(chain);
            EXPECT_EQ(storage->size(), static_cast<std::int32_t>(stream.size()));
        }
        EXPECT_EQ(file.bytes(), stream);
        auto* reader = to_memory->create_input_storage();
        Bytes read(stream.size());
        EXPECT_EQ(reader->read(read.data(), static_cast<std::int32_t>(read.size())),
                  static_cast<std::int32_t>(read.size()));
        EXPECT_EQ(read, stream);
        reader->end();
    }
}

// What is before the stream in the storage stays, also when the height is corrected.
TEST(WriteJPEG, StartsWhereTheStorageStands)
{
    const JPEGTestPicture picture = busy_picture(16, 16, 1);
    const Bytes stream = encode_test_picture(picture, {.lines = 3});
    NUV_TestChain chain;
    Bytes memory(4096);
    const auto storage = make_initiated<NUV_ByteArrayOutputStorage>(
        chain.manager(), memory.data(), static_cast<std::int32_t>(memory.size()));
    ASSERT_EQ(storage->write("before", 6), 6);
    JPEGTestPicture part = picture;
    part.samples.resize(3 * picture.line_bytes());
    chain.source_bytes(image_of(picture, NUV_ColorType::gray), part.samples);
    ASSERT_TRUE(chain.append<NUV_WriteJPEG>(storage.get()));
    run_writer(chain);
    EXPECT_EQ(storage->position(), static_cast<std::int32_t>(6 + stream.size()));
    EXPECT_EQ(Bytes(memory.begin(), memory.begin() + 6), (Bytes{'b', 'e', 'f', 'o', 'r', 'e'}));
    EXPECT_EQ(
        Bytes(memory.begin() + 6, memory.begin() + 6 + static_cast<std::ptrdiff_t>(stream.size())),
        stream);
}

TEST(WriteJPEG, ClosesAChainThatBreaksOff)
{
    const JPEGTestPicture picture = busy_picture(30, 40, 3);
    for (const std::uint32_t lines : {0U, 1U, 8U, 9U, 39U}) {
        NUV_TestChain chain;
        const Bytes stream =
            write_picture(chain, picture, NUV_ColorType::s_rgb, nullptr, 1 << 16, lines);
        EXPECT_EQ(stream,
                  encode_test_picture(
                      picture, {.key = jpeg_sampling_422, .color = Color::rgb, .lines = lines}));
        EXPECT_EQ(JPEGTestSegments(stream).payload(0xC0)[2], lines == 0 ? 40 : lines);
    }
}

// A writer that is never stepped, or not to its end, is ended with its manager.
TEST(WriteJPEG, ClosesTheStreamWhenTheManagerGoes)
{
    const JPEGTestPicture picture = busy_picture(30, 40, 1);
    Bytes memory(1 << 14);
    std::int32_t written = 0;
    {
        NUV_TestChain chain;
        const auto storage = make_initiated<NUV_ByteArrayOutputStorage>(
            chain.manager(), memory.data(), static_cast<std::int32_t>(memory.size()));
        chain.source_bytes(image_of(picture, NUV_ColorType::gray), picture.samples);
        ASSERT_TRUE(chain.append<NUV_WriteJPEG>(storage.get()));
        for (int line = 0; line < 10; ++line)
            ASSERT_TRUE(chain.last()->execute());
        chain.manager().clear();
        chain.last(nullptr);
        written = storage->size();
    }
    memory.resize(static_cast<std::size_t>(written));
    EXPECT_EQ(memory, encode_test_picture(picture, {.lines = 10}));
}

// What fitted stands, of a stream that was cut short with the height it began with.
TEST(WriteJPEG, FailsWhereverTheDestinationEnds)
{
    const JPEGTestPicture picture = busy_picture(17, 20, 3);
    for (const std::uint32_t lines : {20U, 11U}) {
        const Bytes whole = encode_test_picture(
            picture, {.key = jpeg_sampling_422, .color = Color::rgb, .lines = lines});
        const std::size_t height_position = JPEGTestSegments(whole).segments[3].position + 2;
        for (std::size_t capacity = 1; capacity <= whole.size(); ++capacity) {
            NUV_TestChain chain;
            const Bytes got =
                write_picture(chain, picture, NUV_ColorType::s_rgb, nullptr, capacity, lines);
            Bytes expected(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(capacity));
            if (capacity < whole.size() && capacity > height_position)
                expected[height_position] = 20;
            EXPECT_EQ(got, expected) << capacity;
            EXPECT_EQ(chain.status().code, capacity < whole.size() ? NUV_ERR_IO : NUV_STATUS_OK)
                << capacity;
        }
    }
}

TEST(WriteJPEGRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto in_creator = "NUV_WriteJPEG::engine()";
    constexpr auto in_engine = "NUV_WriteJPEGEngine::initiate()";
    constexpr auto in_storage = "NUV_StorageOutputEngine::initiate()";

    NUV_WriteLosslessJPEGOption other(false, no_restarts);
    enum Storage { open, closed, none };
    enum Writers { both, baseline };
    struct Case {
        const char* what;
        NUV_TestImage image;
        NUV_StatusCode code = NUV_ERR_UNSUPPORTED;
        Storage storage = open;
        const char* method = in_engine;
        NUV_EncodeJPEGAttributes* attributes = nullptr;
        Writers writers = both;
    };
    const NUV_ColorType* gray = NUV_ColorType::gray;
    const Case cases[] = {
        {"coded", {.encode_type = NUV_EncodeType::flate, .color_type = gray}},
        {"bilevel", {.bits = 1, .color_type = gray}},
        {"16 bits",
         {.bits = 16, .color_type = gray},
         NUV_ERR_UNSUPPORTED,
         open,
         in_engine,
         nullptr,
         baseline},
        {"32 bits", {.bits = 32, .color_type = gray}},
        {"signed",
         {.data_type = NUV_DataType::s_integer, .color_type = gray},
         NUV_ERR_UNSUPPORTED,
         open,
         in_engine,
         nullptr,
         baseline},
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
        {"no storage", {.color_type = gray}, NUV_ERR_ARGUMENT, none, in_storage},
        {"closed storage", {.color_type = gray}, NUV_ERR_ARGUMENT, closed, in_storage},
        {"attributes of the other kind",
         {.color_type = gray},
         NUV_ERR_ARGUMENT,
         open,
         in_engine,
         &other,
         baseline},
    };
    for (const Case& c : cases) {
        for (const bool lossless : {false, true}) {
            if (lossless && c.writers == baseline)
                continue;
            SCOPED_TRACE(testing::Message() << c.what << ", lossless " << lossless);
            NUV_TestChain chain;
            Bytes memory(4096);
            const auto open_storage = make_initiated<NUV_ByteArrayOutputStorage>(
                chain.manager(), memory.data(), static_cast<std::int32_t>(memory.size()));
            chain.blank_source(c.image);
            if (c.storage == closed)
                open_storage->close();
            NUV_OutputStorage* const storage = c.storage == none ? nullptr : open_storage.get();
            EXPECT_FALSE(lossless ? chain.append<NUV_WriteLosslessJPEG>(storage, nullptr)
                                  : chain.append<NUV_WriteJPEG>(storage, c.attributes));
            EXPECT_EQ(chain.status().code, c.code);
            EXPECT_STREQ(chain.status().method, c.method);
            EXPECT_EQ(chain.live_objects_behind_source(), 0U);
        }
    }

    NUV_TestChain chain;
    EXPECT_FALSE(chain.append<NUV_WriteJPEG>(nullptr));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, in_creator);
    NUV_TestChain other_chain;
    EXPECT_FALSE(other_chain.append<NUV_WriteLosslessJPEG>(nullptr, nullptr));
    EXPECT_EQ(other_chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(other_chain.status().method, "NUV_WriteLosslessJPEG::engine()");
}

TEST(WriteJPEGRefusal, SurvivesEveryFailedAllocation)
{
    const JPEGTestPicture picture = busy_picture(20, 10, 3);
    const JPEGTestFile file;
    expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
        const auto storage =
            make_initiated<NUV_FileOutputStorage>(chain.manager(), file.path().c_str());
        chain.source_bytes(image_of(picture, NUV_ColorType::s_rgb), picture.samples);
        chain.append<NUV_WriteJPEG>(storage.get());
        run_writer(chain);
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
    NUV_TestChain chain;
    Bytes memory(4096);
    const auto storage = make_initiated<NUV_ByteArrayOutputStorage>(
        chain.manager(), memory.data(), static_cast<std::int32_t>(memory.size()));
    chain.source_bytes(image_of(picture, NUV_ColorType::gray), picture.samples);
    ASSERT_TRUE(chain.append<WriteCommented>(storage.get(), &option));
    run_writer(chain);
    const JPEGTestSegments parts(memory);
    EXPECT_EQ(parts.segments[0].id, jpeg_marker_com);
    EXPECT_EQ(parts.segments[0].payload, Bytes(5, 'c'));
}

TEST(JPEGRegistStatus, TurnsEachCodeIntoItsStatus)
{
    struct Case {
        int code;
        NUV_StatusCode status;
    };
    const Case cases[] = {
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
        {100, NUV_WARN_INVALID_DATA | 0x10},
        {-9997, NUV_ERROR},
        {-9998, NUV_ERROR},
        {-64, NUV_ERROR},
        {0, NUV_ERROR},
    };
    for (const Case& c : cases) {
        NUV_TestChain chain;
        const auto code = static_cast<NUV_JPEGCode>(c.code);
        EXPECT_EQ(nuv_jpegregiststatus(chain.manager(), code, "NUV_X::y()"), c.code > 0);
        EXPECT_EQ(chain.status().code, c.status) << c.code;
        EXPECT_STREQ(chain.status().method, c.status == NUV_STATUS_OK ? "" : "NUV_X::y()");
    }
}

} // namespace
} // namespace nuv
