#include "core/storage/nuv_dstengineinputstorage.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/support/nuv_storagemodel.h"

#include <gtest/gtest.h>

#include <numeric>

namespace nuv {
namespace {

struct Reading {
    std::int32_t offset = 0;
    std::int32_t line_gap = 0;
    std::int32_t byte_order = 1;
};

struct Writing {
    std::int32_t offset = 0;
    std::int32_t line_pad = 0;
    std::int32_t line_gap = 0;
    std::int32_t byte_order = 1;
};

class ReadWriteStorage : public StorageTest {
protected:
    void describe(NUV_Header& header, const NUV_TestImage& image)
    {
        header.width(image.width);
        header.height(image.height);
        header.channels(image.channels);
        header.bits(image.bits);
        header.encode_type(image.encode_type);
        header.color_type(image.color_type);
    }
    [[nodiscard]] NUV_Engine* reader(const NUV_TestImage& image, const Bytes& stored,
                                     const Reading& how = {})
    {
        NUV_Header header(manager_);
        describe(header, image);
        auto storage = make<NUV_ByteArrayInputStorage>(stored.data(),
                                                       static_cast<std::int32_t>(stored.size()));
        return NUV_ReadStorage(manager_).engine(storage.get(), &header, how.offset, how.line_gap,
                                                how.byte_order);
    }
    // Runs a raw write to its end; whether the chain stood.
    bool write(NUV_Engine* previous, NUV_OutputStorage* storage, const Writing& how = {})
    {
        NUV_Engine* writer = NUV_WriteStorage(manager_).engine(
            previous, storage, how.offset, how.line_pad, how.line_gap, how.byte_order);
        if (!writer)
            return false;
        while (writer->execute()) {
        }
        writer->end();
        return true;
    }
};

TEST_F(ReadWriteStorage, PlacesLinesByOffsetGapPadMaskAndByteOrder)
{
    const Bytes count = [] {
        Bytes bytes(24);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
        return bytes;
    }();
    const auto image = [](std::uint32_t width, std::uint32_t height, std::uint16_t bits = 8) {
        return NUV_TestImage{.width = width, .height = height, .bits = bits};
    };
    const NUV_TestImage rgb_bits = {.width = 3, .height = 1, .channels = 3, .bits = 1};
    struct Case {
        const char* what;
        NUV_TestImage image;
        Bytes stored;
        Reading reading; // offset, gap, order
        Writing writing; // offset, pad, gap, order
        Bytes written;
    };
    const Case cases[] = {
        {"as it stands", image(3, 2), count, {}, {}, {1, 2, 3, 4, 5, 6}},
        {"a place in the source", image(2, 3), count, {4, 3, 1}, {}, {5, 6, 10, 11, 15, 16}},
        {"back over the last line", image(2, 2), count, {0, -1, 1}, {}, {1, 2, 2, 3}},
        {"a place in the output",
         image(2, 2),
         count,
         {},
         {3, 1, 2, 1},
         {0, 0, 0, 1, 2, 0, 0, 0, 3, 4, 0}},
        {"lines over one another", image(3, 2), count, {}, {0, 0, -2, 1}, {1, 4, 5, 6}},
        {"12 bits of 2 bytes",
         image(12, 2, 1),
         {0xFF, 0xFF, 0x12, 0x34},
         {},
         {},
         {0xFF, 0xF0, 0x12, 0x30}},
        {"3 channels of 3 bits", rgb_bits, {0xFF, 0xFF}, {}, {}, {0xFF, 0x80}},
        {"16 bits, source swapped", image(2, 1, 16), count, {0, 0, 2}, {}, {2, 1, 4, 3}},
        {"16 bits, output swapped", image(2, 1, 16), count, {}, {0, 0, 0, 0}, {2, 1, 4, 3}},
        {"32 bits, both swapped", image(1, 1, 32), count, {0, 0, 0}, {0, 0, 0, 0}, {1, 2, 3, 4}},
        {"8 bits have no order", image(3, 1), count, {0, 0, 0}, {}, {1, 2, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto output = make<NUV_MemoryOutputStorage>(5);
        EXPECT_TRUE(write(reader(c.image, c.stored, c.reading), output.get(), c.writing));
        EXPECT_EQ(content_of(*output), c.written);
        EXPECT_EQ(manager_.status().code, NUV_STATUS_OK) << manager_.status().method;
    }
}

// 12 bits count as two bytes, and a line of them need not be whole samples.
TEST_F(ReadWriteStorage, ReadingLeavesARestThatIsNoWholeSample)
{
    const Bytes stored = {1, 2, 3, 4, 5};
    NUV_Engine* engine = reader({.width = 3, .height = 1, .bits = 12}, stored, {.byte_order = 0});
    ASSERT_TRUE(engine);
    NUV_Held<NUV_SrcBuffer> source(engine->src_buffer());
    std::uint8_t line[5] = {};
    ASSERT_TRUE(source->get(line, nullptr));
    EXPECT_EQ(Bytes(line, line + 5), (Bytes{2, 1, 4, 3, 5}));
    EXPECT_TRUE(source->release());
}

TEST_F(ReadWriteStorage, DeliversTheLinesBeforeTheSourceBreaksOff)
{
    const NUV_TestImage image = {.width = 4, .height = 5};
    const Bytes whole = counted_bytes(20);
    for (std::size_t cut = 1; cut <= whole.size(); ++cut) {
        SCOPED_TRACE(cut);
        const Bytes stored(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut));
        const Bytes lines(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut / 4 * 4));
        auto memory = make<NUV_MemoryOutputStorage>(16);
        auto file = make<NUV_FileOutputStorage>(path()); // gets several lines at a time
        for (NUV_OutputStorage* output : {static_cast<NUV_OutputStorage*>(memory.get()),
                                          static_cast<NUV_OutputStorage*>(file.get())}) {
            EXPECT_TRUE(write(reader(image, stored), output));
            EXPECT_EQ(content_of(*output), lines);
            if (cut < whole.size())
                expect_status(NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::execute()");
        }
    }
    auto output = make<NUV_MemoryOutputStorage>(16);
    EXPECT_TRUE(write(reader(image, whole, {.line_gap = 17}), output.get()));
    EXPECT_EQ(output->size(), 4);
    expect_status(NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::execute()");
}

TEST_F(ReadWriteStorage, StopsWhereTheDestinationIsFull)
{
    const NUV_TestImage image = {.width = 4, .height = 3};
    const Bytes stored = counted_bytes(12);
    struct Case {
        std::int32_t capacity;
        Writing how;
        std::size_t lines; // that are there whole
        const char* method;
    };
    const Case cases[] = {
        {11, {}, 2, "NUV_WriteStorageEngine::execute()"},
        {8, {}, 2, "NUV_ByteArrayOutputStorage::write()"},
        {4, {.line_pad = 1}, 1, "NUV_ByteArrayOutputStorage::put()"},
        {5, {.line_gap = 2}, 1, "NUV_WriteStorageEngine::execute()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.capacity);
        Bytes target(static_cast<std::size_t>(c.capacity), 0xEE);
        auto output = make<NUV_ByteArrayOutputStorage>(target.data(), c.capacity);
        EXPECT_TRUE(write(reader(image, stored), output.get(), c.how));
        EXPECT_TRUE(std::equal(stored.begin(),
                               stored.begin() + static_cast<std::ptrdiff_t>(4 * c.lines),
                               target.begin()));
        expect_status(NUV_ERR_IO, c.method);
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
        EXPECT_TRUE(write(reader(image, {1, 2}), file.get(), {.offset = 10}));
        expected.resize(12, 0);
        expected[10] = 1;
        expected[11] = 2;
        EXPECT_EQ(content_of(*file), expected);
    }
    std::uint8_t target[8];
    auto array = make<NUV_ByteArrayOutputStorage>(static_cast<std::uint8_t*>(target), 8);
    EXPECT_FALSE(write(reader(image, {1, 2}), array.get(), {.offset = 10}));
    expect_status(NUV_ERR_IO, "NUV_WriteStorageEngine::initiate()");
}

TEST_F(ReadWriteStorage, CopiesStreamsOfAnyLength)
{
    const NUV_TestImage image = {.width = 3, .encode_type = NUV_EncodeType::unknown};
    for (const std::size_t count : {1U, 4095U, 4096U, 4097U, 20000U}) {
        SCOPED_TRACE(count);
        const Bytes stored = counted_bytes(count);
        auto output = make<NUV_MemoryOutputStorage>(1000);
        EXPECT_TRUE(write(reader(image, stored), output.get()));
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
    describe(header, {.width = 2, .height = 2});
    auto closed = make_object<NUV_ByteArrayInputStorage>(manager_);
    auto open = make<NUV_ByteArrayInputStorage>(stored.data(), 12);
    auto output = make<NUV_MemoryOutputStorage>(16);
    const auto reads = [&](NUV_InputStorage* storage, const NUV_Header* image,
                           std::int32_t offset) {
        return [=, this] {
            return NUV_ReadStorage(manager_).engine(storage, image, offset, 0, 1) != nullptr;
        };
    };
    const auto writes = [&](NUV_OutputStorage* storage, const Writing& how) {
        return [=, this, &stored] { return write(reader({}, stored), storage, how); };
    };
    expect_refusals({
        {argument, "NUV_ReadStorageEngine::initiate()", reads(open.get(), &header, -1)},
        {argument, read_base, reads(nullptr, &header, 0)},
        {argument, read_base, reads(closed.get(), &header, 0)},
        {argument, "NUV_BufferOutputEngine::initiate()", reads(open.get(), nullptr, 0)},
        {argument, "NUV_WriteStorage::engine()", [&] { return write(nullptr, output.get()); }},
        {argument, "NUV_StorageOutputEngine::initiate()", writes(nullptr, {})},
        {argument, write_engine, writes(output.get(), {.offset = -1})},
        {argument, write_engine, writes(output.get(), {.line_pad = -1})},
    });
}

class DstEngineInput : public ReadWriteStorage {};

TEST_F(DstEngineInput, ReadsLikeTheModelAndRunsTheProducerAsFarAsItTakes)
{
    const Bytes content = counted_bytes(120);
    const NUV_TestImage image = {.width = 10, .height = 12};
    auto lazy = make<NUV_DstEngineInputStorage>(reader(image, content));
    ASSERT_TRUE(lazy);
    const std::size_t before = manager_.memory().allocations();
    EXPECT_FALSE(lazy->is_end());
    EXPECT_EQ(lazy->get(), content[0]);
    EXPECT_TRUE(lazy->to(45));
    EXPECT_EQ(lazy->get(), content[45]);
    EXPECT_EQ(lazy->move(-46), -46);
    InputScript(*lazy, content).run(300);
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
    describe(header, {.width = 10, .height = 12});
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
        {
            auto lazy = make<NUV_DstEngineInputStorage>(reader(image, content));
            EXPECT_EQ(lazy->read(into, read_first), expected);
        }
        if (read_first == 60) {
            EXPECT_EQ(manager_.memory().live(), live); // what has finished waits for nobody
        }
        manager_.clear();
        auto lazy = make<NUV_DstEngineInputStorage>(reader(image, content));
        EXPECT_EQ(lazy->read(into, read_first), expected);
        manager_.clear();
        // The producer is gone; what it had put out is there.
        const std::int32_t rest = lazy->read(into, 60);
        EXPECT_EQ(expected + rest, read_first == 15 ? 20 : expected);
    }
}

TEST_F(DstEngineInput, EndsWhereItsProducerFails)
{
    const NUV_TestImage image = {.width = 10, .height = 12};
    EXPECT_FALSE(make<NUV_DstEngineInputStorage>(nullptr));
    expect_status(NUV_ERR_ARGUMENT, "NUV_DstEngineInputStorage::initiate()");

    const Bytes cut = counted_bytes(35);
    auto lazy = make<NUV_DstEngineInputStorage>(reader(image, cut));
    EXPECT_EQ(lazy->size(), 30);
    EXPECT_EQ(read_rest(*lazy).size(), 30u);
    expect_status(NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::execute()");
}

TEST_F(ReadWriteStorage, SurvivesEveryFailedAllocation)
{
    const Bytes content = counted_bytes(60);
    const auto live = manager_.memory().live();
    const auto build_and_run = [&] {
        // From the source, through a storage made of an engine, to memory.
        auto lazy = make<NUV_DstEngineInputStorage>(reader({.width = 10, .height = 6}, content));
        NUV_Header header(manager_);
        describe(header, {.width = 20, .height = 3});
        auto output = make<NUV_MemoryOutputStorage>(32);
        NUV_Engine* second =
            lazy ? NUV_ReadStorage(manager_).engine(lazy.get(), &header, 0, 0, 1) : nullptr;
        const bool stood = write(second, output.get());
        return stood && content_of(*output) == content;
    };
    EXPECT_TRUE(build_and_run());
    for (std::size_t k = 0;; ++k) {
        SCOPED_TRACE(k);
        manager_.memory().fail_at(k);
        const bool complete = build_and_run();
        const bool reached = manager_.memory().allocations() > k;
        manager_.memory().fail_at(NUV_FailingMemory::never);
        manager_.clear();
        EXPECT_EQ(manager_.memory().live(), live);
        if (!reached) {
            EXPECT_TRUE(complete);
            break;
        }
    }
}

} // namespace
} // namespace nuv
