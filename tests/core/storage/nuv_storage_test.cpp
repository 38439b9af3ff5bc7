#include "core/mirror/nuv_mirrorx.h"
#include "core/pnm/nuv_readpnm.h"
#include "core/storage/nuv_dstengineinputstorage.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/support/nuv_storagemodel.h"

namespace nuv {
namespace {

struct Reading {
    std::int32_t offset = 0, line_gap = 0, byte_order = 1;
};

struct Writing {
    std::int32_t offset = 0, line_pad = 0, line_gap = 0, byte_order = 1;
};

class ReadWriteStorage : public StorageTest {};

[[nodiscard]] NUV_Engine* reader(NUV_Manager& manager, const NUV_TestImage& image,
                                 const Bytes& stored, const Reading& how = {})
{
    NUV_Header header(manager);
    fill_header(header, image);
    auto storage = make_initiated<NUV_ByteArrayInputStorage>(
        manager, stored.data(), static_cast<std::int32_t>(stored.size()));
    return NUV_ReadStorage(manager).engine(storage.get(), &header, how.offset, how.line_gap,
                                           how.byte_order);
}

// Runs a raw write to its end; whether the chain stood.
bool write(NUV_Manager& manager, NUV_Engine* previous, NUV_OutputStorage* storage,
           const Writing& how = {})
{
    NUV_Engine* writer = NUV_WriteStorage(manager).engine(
        previous, storage, how.offset, how.line_pad, how.line_gap, how.byte_order);
    if (!writer)
        return false;
    while (writer->execute()) {
    }
    writer->end();
    return true;
}

// Samples of a line the other way round; what is no whole sample stays.
void turn_samples(Bytes& line, std::size_t sample_bytes, std::int32_t byte_order)
{
    for (std::size_t i = 0; byte_order != 1 && i + sample_bytes <= line.size(); i += sample_bytes) {
        const auto begin = line.begin() + static_cast<std::ptrdiff_t>(i);
        std::reverse(begin, begin + static_cast<std::ptrdiff_t>(sample_bytes));
    }
}

// What an output of `capacity` bytes holds after lines were written to it, and whether it is full.
[[nodiscard]] std::pair<Bytes, bool> placed(const std::vector<Bytes>& lines, const Writing& how,
                                            std::size_t capacity)
{
    Bytes bytes;
    std::size_t at = 0;
    const auto put = [&](const Bytes& piece) {
        const std::size_t count = std::min(piece.size(), capacity - at);
        bytes.resize(std::max(bytes.size(), at + count));
        std::copy_n(piece.begin(), count, bytes.begin() + static_cast<std::ptrdiff_t>(at));
        at += count;
        return count == piece.size();
    };
    bool fits = put(Bytes(static_cast<std::size_t>(how.offset)));
    for (std::size_t i = 0; i < lines.size() && fits; ++i) {
        const auto there = std::max<std::int64_t>(std::int64_t(at) + (i > 0 ? how.line_gap : 0), 0);
        const auto end = static_cast<std::int64_t>(bytes.size());
        at = static_cast<std::size_t>(std::min(there, end));
        fits = put(Bytes(static_cast<std::size_t>(std::max<std::int64_t>(there - end, 0)))) &&
               put(lines[i]) && put(Bytes(static_cast<std::size_t>(how.line_pad)));
    }
    return {bytes, !fits};
}

// Offsets, gaps, pads, masks and byte orders at random, with sources that break off and outputs
// that are full too early.
TEST_F(ReadWriteStorage, PlaceTheLinesAsTheModelDoes)
{
    std::mt19937 random(1);
    const auto any = [&random](int low, int high) {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random);
    };
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        constexpr std::uint16_t depths[] = {1, 8, 16, 32};
        const auto bits = depths[any(0, 3)];
        const NUV_TestImage image = {.width = static_cast<std::uint32_t>(any(1, 20)),
                                     .height = static_cast<std::uint32_t>(any(1, 6)),
                                     .channels = static_cast<std::uint16_t>(any(1, 3)),
                                     .bits = bits};
        const std::size_t line_bits = std::size_t{image.width} * image.channels * bits;
        const std::size_t line_bytes = (line_bits + 7) / 8;
        const Bytes stored = counted_bytes(
            static_cast<std::size_t>(any(1, static_cast<int>(line_bytes * image.height) + 20)));
        const bool plain = any(0, 2) == 0;
        const Reading reading = {plain ? 0 : any(0, static_cast<int>(stored.size())),
                                 plain ? 0 : any(-5, 9), any(0, 2)};
        const Writing writing = {any(0, 9), plain ? 0 : any(0, 2), plain ? 0 : any(-9, 9),
                                 any(0, 2)};

        std::vector<Bytes> lines;
        std::int64_t at = reading.offset;
        while (lines.size() < image.height && at >= 0 &&
               at + std::int64_t(line_bytes) <= std::int64_t(stored.size())) {
            Bytes line(stored.begin() + at,
                       stored.begin() + at + static_cast<std::ptrdiff_t>(line_bytes));
            at += std::int64_t(line_bytes) + reading.line_gap;
            turn_samples(line, (bits + 7U) / 8, reading.byte_order);
            if (bits == 1 && line_bits % 8 != 0)
                line.back() &= static_cast<std::uint8_t>(0xFF00 >> line_bits % 8);
            turn_samples(line, (bits + 7U) / 8, writing.byte_order);
            lines.push_back(std::move(line));
        }
        const auto expect_written = [&](NUV_OutputStorage& output, bool is_full) {
            EXPECT_TRUE(
                write(manager_, reader(manager_, image, stored, reading), &output, writing));
            if (is_full)
                EXPECT_EQ(manager_.status().code, NUV_ERR_IO);
            else if (lines.size() < image.height)
                expect_status(NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::execute()");
            else
                EXPECT_EQ(manager_.status().code, NUV_STATUS_OK) << manager_.status().method;
            manager_.reset();
        };
        const Bytes whole = placed(lines, writing, 10000).first;
        auto memory = make<NUV_MemoryOutputStorage>(5);
        expect_written(*memory, false);
        EXPECT_EQ(content_of(*memory), whole);
        auto file = make<NUV_FileOutputStorage>(path()); // gets several lines at a time
        expect_written(*file, false);
        EXPECT_EQ(content_of(*file), whole);

        const std::int32_t room = any(writing.offset + 1, writing.offset + 100);
        Bytes target(static_cast<std::size_t>(room));
        auto [part, is_full] = placed(lines, writing, target.size());
        auto array = make<NUV_ByteArrayOutputStorage>(target.data(), room);
        expect_written(*array, is_full);
        part.resize(target.size());
        EXPECT_EQ(target, part);
        if (HasFailure())
            break;
    }
}

TEST_F(ReadWriteStorage, ShowsLinesWhereTheyStandEvenWhenAnOutputIsMadeOverThem)
{
    struct Case {
        std::int32_t first, gap;
        bool is_anymap;
    };
    for (const Case& c : {Case{12, 0, true}, {12, 0, false}, {12, 5, false}, {62, -20, false}}) {
        SCOPED_TRACE(c.gap);
        Bytes stored = counted_bytes(100);
        std::ranges::copy(std::string_view("P5 10 6 255\n"), stored.begin());
        const auto storage = make<NUV_ByteArrayInputStorage>(stored.data(), 100);
        NUV_Header header(manager_);
        fill_header(header, {.width = 10, .height = 6});
        NUV_Engine* const reader =
            c.is_anymap
                ? NUV_ReadPNM(manager_).engine(storage.get())
                : NUV_ReadStorage(manager_).engine(storage.get(), &header, c.first, c.gap, 1);
        NUV_Held<NUV_SrcBuffer> lines(reader->src_buffer());
        NUV_Held<NUV_ByteArrayOutputStorage> over;
        for (std::int32_t i = 0; i < 6; ++i) {
            EXPECT_EQ(lines->get(nullptr),
                      &stored[static_cast<std::size_t>(c.first + i * (10 + c.gap))]);
            EXPECT_TRUE(lines->release());
            over = make<NUV_ByteArrayOutputStorage>(stored.data(), 100);
        }
    }
    const Bytes gapped = counted_bytes(100);
    const NUV_Held<NUV_SrcBuffer> pairs(
        reader(manager_, {.width = 10, .height = 6}, gapped, {.line_gap = 5})->src_buffer());
    ASSERT_TRUE(pairs->block_bytes(20));
    const auto* const pair = static_cast<const std::uint8_t*>(pairs->get(nullptr));
    ASSERT_TRUE(pair);
    EXPECT_EQ(pair[10], gapped[15]) << "in a block of two lines there is no gap";
}

// From memory to memory many short lines go at a time through what is between. They end where they
// would one by one, in the source and in the room for them.
TEST_F(ReadWriteStorage, LinesThatGoTogetherEndWhereTheyWouldOneByOne)
{
    constexpr std::size_t height = 100;
    for (const std::uint32_t width : {2U, 33U, 5000U, 40000U}) {
        const NUV_TestImage image = {.width = width, .height = height};
        const Bytes content = counted_bytes(width * height);
        for (const std::size_t lines : {0U, 1U, 5U, 6U, 99U, 100U}) {
            const std::size_t there = std::min(width * lines + width / 2, content.size());
            for (int mirrors = 0; mirrors < 6; ++mirrors) {
                const bool is_source_cut = mirrors >= 3;
                const Bytes source(content.begin(),
                                   content.begin() +
                                       std::ptrdiff_t(is_source_cut ? there : content.size()));
                Bytes target(content.size(), 0xEE);
                const auto room = is_source_cut ? target.size() : there;
                auto array = make<NUV_ByteArrayOutputStorage>(target.data(), std::int32_t(room));
                NUV_Engine* engine = reader(manager_, image, source);
                for (int i = 0; i < mirrors % 3; ++i)
                    engine = NUV_MirrorX(manager_).engine(engine);
                EXPECT_TRUE(write(manager_, engine, array.get()));
                Bytes expected = content;
                for (auto line = expected.begin(); mirrors % 3 == 1 && line != expected.end();
                     line += width)
                    std::reverse(line, line + width);
                const std::size_t written = is_source_cut && lines < height ? width * lines : there;
                std::fill(expected.begin() + std::ptrdiff_t(written), expected.end(), 0xEE);
                ASSERT_TRUE(target == expected) << width << ", " << lines << ", " << mirrors;
                const auto damage = is_source_cut ? NUV_ERR_BROKEN_DATA : NUV_ERR_IO;
                ASSERT_EQ(manager_.status().code, lines < height ? damage : NUV_STATUS_OK);
                manager_.clear();
            }
        }
    }
}

TEST_F(ReadWriteStorage, AnOffsetBehindWhatIsThereExtendsTheFile)
{
    const NUV_TestImage image = {.width = 2, .height = 1};
    for (const std::int32_t there : {0, 3, 10, 11}) {
        SCOPED_TRACE(there);
        auto file = make<NUV_FileOutputStorage>(path());
        Bytes expected(static_cast<std::size_t>(there), 7);
        ASSERT_EQ(file->write(expected.data(), there), there);
        EXPECT_TRUE(write(manager_, reader(manager_, image, {1, 2}), file.get(), {.offset = 10}));
        expected.resize(12, 0);
        expected[10] = 1;
        expected[11] = 2;
        EXPECT_EQ(content_of(*file), expected);
    }
    std::uint8_t target[8];
    auto array = make<NUV_ByteArrayOutputStorage>(static_cast<std::uint8_t*>(target), 8);
    EXPECT_FALSE(write(manager_, reader(manager_, image, {1, 2}), array.get(), {.offset = 10}));
    expect_status(NUV_ERR_IO, "NUV_WriteStorageEngine::initiate()");
}

TEST_F(ReadWriteStorage, CopiesStreamsOfAnyLength)
{
    const NUV_TestImage image = {.width = 3, .encode_type = NUV_EncodeType::unknown};
    for (const std::size_t count : {1U, 4095U, 4096U, 4097U, 20000U}) {
        const Bytes stored = counted_bytes(count);
        auto output = make<NUV_MemoryOutputStorage>(1000);
        EXPECT_TRUE(write(manager_, reader(manager_, image, stored), output.get()));
        EXPECT_EQ(content_of(*output), stored);
        EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);
    }
}

TEST_F(ReadWriteStorage, RefusesWithItsOwnWords)
{
    constexpr auto argument = NUV_ERR_ARGUMENT;
    constexpr auto read_base = "NUV_ReadEngine::initiate()";
    constexpr auto write_engine = "NUV_WriteStorageEngine::initiate()";
    const Bytes stored = counted_bytes(12);
    NUV_Header header(manager_);
    fill_header(header, {.width = 2, .height = 2});
    auto closed = make_object<NUV_ByteArrayInputStorage>(manager_);
    auto open = make<NUV_ByteArrayInputStorage>(stored.data(), 12);
    auto output = make<NUV_MemoryOutputStorage>(16);
    const auto reads = [&](NUV_InputStorage* storage, const NUV_Header* image,
                           std::int32_t offset = 0) {
        return [=, this] { return NUV_ReadStorage(manager_).engine(storage, image, offset, 0, 1); };
    };
    const auto writes = [&](NUV_OutputStorage* storage, const Writing& how) {
        return [=, this, &stored] {
            return write(manager_, reader(manager_, {}, stored), storage, how);
        };
    };
    expect_refusals({
        {argument, "NUV_ReadStorageEngine::initiate()", reads(open.get(), &header, -1)},
        {argument, read_base, reads(nullptr, &header)},
        {argument, read_base, reads(closed.get(), &header)},
        {argument, "NUV_BufferOutputEngine::initiate()", reads(open.get(), nullptr)},
        {argument, "NUV_WriteStorage::engine()",
         [&] { return write(manager_, nullptr, output.get()); }},
        {argument, "NUV_StorageOutputEngine::initiate()", writes(nullptr, {})},
        {argument, write_engine, writes(output.get(), {.offset = -1})},
        {argument, write_engine, writes(output.get(), {.line_pad = -1})},
        {argument, "NUV_DstEngineInputStorage::initiate()",
         making<NUV_DstEngineInputStorage>(nullptr)},
    });
}

class DstEngineInput : public ReadWriteStorage {};

TEST_F(DstEngineInput, ReadsLikeTheModelAndRunsTheProducerAsFarAsItTakes)
{
    const Bytes content = counted_bytes(120);
    const NUV_TestImage image = {.width = 10, .height = 12};
    auto lazy = make<NUV_DstEngineInputStorage>(reader(manager_, image, content));
    ASSERT_TRUE(lazy);
    const std::size_t before = manager_.memory().allocations();
    EXPECT_TRUE(lazy->to(45));
    EXPECT_EQ(lazy->get(), content[45]);
    EXPECT_EQ(lazy->move(-46), -46);
    expect_like_model(*lazy, content, 300, true, false);
    EXPECT_LT(manager_.memory().allocations() - before, 10u); // one block of memory, not many
    lazy->close();
    EXPECT_EQ(lazy->get(), -1);
    EXPECT_EQ(lazy->size(), 0);
}

// Counts how far the producer has been run by what is still unread in its source.
TEST_F(DstEngineInput, DoesNotRunAhead)
{
    const Bytes content = counted_bytes(120);
    NUV_Header header(manager_);
    fill_header(header, {.width = 10, .height = 12});
    auto source = make<NUV_ByteArrayInputStorage>(content.data(), 120);
    auto lazy = make<NUV_DstEngineInputStorage>(
        NUV_ReadStorage(manager_).engine(source.get(), &header, 0, 0, 1));
    EXPECT_EQ(source->position(), 0);
    EXPECT_EQ(lazy->get(), content[0]);
    EXPECT_EQ(source->position(), 10);
    EXPECT_EQ(lazy->ignore(10), 10);
    EXPECT_EQ(source->position(), 20);
    EXPECT_EQ(lazy->size(), 120);
    EXPECT_EQ(source->position(), 120);
}

TEST_F(DstEngineInput, IsCleanWhoeverGoesFirst)
{
    const Bytes content = counted_bytes(50);
    const NUV_TestImage image = {.width = 10, .height = 5};
    std::uint8_t into[60];
    for (const std::int32_t read_first : {0, 15, 60}) {
        SCOPED_TRACE(read_first);
        const std::int32_t expected = std::min(read_first, 50);
        const std::size_t live = manager_.memory().live();
        auto lazy = make<NUV_DstEngineInputStorage>(reader(manager_, image, content));
        EXPECT_EQ(lazy->read(into, read_first), expected);
        lazy.reset();
        // What has finished waits for nobody.
        EXPECT_TRUE(read_first < 60 || manager_.memory().live() == live);
        manager_.clear();
        lazy = make<NUV_DstEngineInputStorage>(reader(manager_, image, content));
        EXPECT_EQ(lazy->read(into, read_first), expected);
        manager_.clear();
        // The producer is gone; what it had put out is there.
        EXPECT_EQ(lazy->read(into, 60), read_first == 15 ? 5 : 0);
    }
}

TEST_F(DstEngineInput, EndsWhereItsProducerFails)
{
    const NUV_TestImage image = {.width = 10, .height = 12};
    const Bytes cut = counted_bytes(35);
    auto lazy = make<NUV_DstEngineInputStorage>(reader(manager_, image, cut));
    EXPECT_EQ(lazy->size(), 30);
    EXPECT_EQ(read_rest(*lazy).size(), 30u);
    expect_status(NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::execute()");
}

// From the source, through a storage made of an engine, to memory.
TEST(StorageChains, AreCleanAtEveryAllocation)
{
    const Bytes content = counted_bytes(60);
    expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
        NUV_TestManager& manager = chain.manager();
        auto lazy = make_initiated<NUV_DstEngineInputStorage>(
            manager, reader(manager, {.width = 10, .height = 6}, content));
        NUV_Header header(manager);
        fill_header(header, {.width = 20, .height = 3});
        auto output = make_initiated<NUV_MemoryOutputStorage>(manager, 32);
        const bool is_whole =
            write(manager, NUV_ReadStorage(manager).engine(lazy.get(), &header, 0, 0, 1),
                  output.get()) &&
            content_of(*output) == content;
        EXPECT_TRUE(is_whole || chain.status().has_error());
    });
}

} // namespace
} // namespace nuv
