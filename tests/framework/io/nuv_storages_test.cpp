#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/io/nuv_fileinputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_memoryinputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/framework/io/nuv_storagemodel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace nuv {
namespace {

constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();

class Storages : public StorageTest {};

TEST_F(Storages, EveryInputMovesAndReadsLikeTheModel)
{
    for (const std::size_t count : {1U, 4U, 61U, 40000U}) {
        SCOPED_TRACE(count);
        const Bytes content = counted_bytes(count);
        const auto bytes = static_cast<std::int32_t>(count);
        write_file(content);

        auto file = make<NUV_FileInputStorage>(path());
        auto array = make<NUV_ByteArrayInputStorage>(content.data(), bytes);
        auto memory = make<NUV_MemoryOutputStorage>(4);
        ASSERT_EQ(memory->write(content.data(), bytes), bytes);
        NUV_Held<NUV_InputStorage> blocks(memory->create_input_storage());
        for (NUV_InputStorage* storage :
             {static_cast<NUV_InputStorage*>(file.get()),
              static_cast<NUV_InputStorage*>(array.get()), blocks.get()}) {
            ASSERT_TRUE(storage);
            InputScript(*storage, content, /*from_end_clamps=*/true).run(400, 1);
        }
    }
    EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);
}

TEST_F(Storages, EveryOutputWritesLikeTheModel)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        {
            auto file = make<NUV_FileOutputStorage>(path());
            ASSERT_TRUE(file);
            const Bytes written = OutputScript(*file, Filling::zeroes_the_last).run(100, seed);
            NUV_Held<NUV_InputStorage> input(file->create_input_storage());
            EXPECT_EQ(read_rest(*input), written);
        }
        {
            auto memory = make<NUV_MemoryOutputStorage>(7);
            const Bytes written = OutputScript(*memory, Filling::keeps_all).run(100, seed);
            NUV_Held<NUV_InputStorage> input(memory->create_input_storage());
            EXPECT_EQ(read_rest(*input), written);
        }
        Bytes target(150, 0);
        auto array = make<NUV_ByteArrayOutputStorage>(target.data(), 120);
        Bytes written = OutputScript(*array, Filling::keeps_all, 120).run(100, seed);
        written.resize(150); // and not a byte behind the capacity
        EXPECT_EQ(target, written);
        NUV_Held<NUV_InputStorage> input(array->create_input_storage());
        EXPECT_EQ(input->size(), 120);
        manager_.reset();
    }
}

TEST_F(Storages, OnlyRegularFilesBelowTwoGibibytesOpenForReading)
{
    constexpr auto open = "NUV_PosixStorage::open()";

    EXPECT_FALSE(make<NUV_FileInputStorage>(path()));
    expect_status(NUV_ERR_IO, open); // missing

    ASSERT_EQ(mkfifo(path(), 0600), 0);
    EXPECT_FALSE(make<NUV_FileInputStorage>(path()));
    expect_status(NUV_ERR_IO, open); // and does not wait for a writer
    EXPECT_FALSE(make<NUV_FileOutputStorage>(path()));
    expect_status(NUV_ERR_IO, open);
    ASSERT_EQ(unlink(path()), 0);

    EXPECT_FALSE(make<NUV_FileInputStorage>("/"));
    expect_status(NUV_ERR_IO, open);
    EXPECT_FALSE(make<NUV_FileOutputStorage>("/"));
    expect_status(NUV_ERR_IO, open);
    EXPECT_FALSE(make<NUV_FileInputStorage>(""));
    expect_status(NUV_ERR_IO, open);

    write_file({1});
    std::filesystem::resize_file(path(), std::uintmax_t{1} << 31);
    EXPECT_FALSE(make<NUV_FileInputStorage>(path()));
    expect_status(NUV_ERR_IO, open);
    std::filesystem::resize_file(path(), greatest);
    auto largest = make<NUV_FileInputStorage>(path());
    ASSERT_TRUE(largest);
    EXPECT_EQ(largest->size(), greatest);
    EXPECT_TRUE(largest->to(greatest - 1));
    EXPECT_EQ(largest->get(), 0);
    EXPECT_EQ(largest->get(), -1);
}

TEST_F(Storages, NullPathsAndClosedStoragesAnswerNothingAndRaiseNothing)
{
    auto input = make<NUV_FileInputStorage>(nullptr);
    auto output = make<NUV_FileOutputStorage>(nullptr);
    auto array = make_object<NUV_ByteArrayInputStorage>(manager_);
    auto blocks = make_object<NUV_MemoryInputStorage>(manager_);
    std::uint8_t byte = 0;
    for (NUV_InputStorage* storage :
         {static_cast<NUV_InputStorage*>(input.get()), static_cast<NUV_InputStorage*>(array.get()),
          static_cast<NUV_InputStorage*>(blocks.get())}) {
        ASSERT_TRUE(storage);
        EXPECT_TRUE(storage->is_closed());
        EXPECT_EQ(storage->read(&byte, 1), 0);
        EXPECT_EQ(storage->move(1), 0);
        EXPECT_EQ(storage->size(), 0);
        EXPECT_TRUE(storage->is_end());
        EXPECT_FALSE(storage->to(0));
        EXPECT_FALSE(storage->to_end());
        EXPECT_TRUE(storage->close());
    }
    EXPECT_EQ(input->get(), -1);
    EXPECT_TRUE(output->is_closed());
    EXPECT_EQ(output->put(1), -1);
    EXPECT_EQ(output->write(&byte, 1), 0);
    EXPECT_EQ(output->fill(3), 0);
    EXPECT_FALSE(output->to(0));
    EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);
}

TEST_F(Storages, AdoptsARegularDescriptorWhereItStands)
{
    EXPECT_FALSE(make<NUV_FileInputStorage>(-1));
    expect_status(NUV_ERR_ARGUMENT, "NUV_FileInputStorage::initiate()");
    EXPECT_TRUE(make<NUV_FileInputStorage>(0)->is_closed());

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_FALSE(make<NUV_FileInputStorage>(ends[0]));
    expect_status(NUV_ERR_IO, "NUV_FileInputStorage::initiate()");
    EXPECT_EQ(close(ends[0]), 0); // still ours
    close(ends[1]);

    write_file({1, 2, 3});
    const int descriptor = ::open(path(), O_RDONLY);
    ASSERT_EQ(lseek(descriptor, 1, SEEK_SET), 1);
    auto storage = make<NUV_FileInputStorage>(descriptor);
    ASSERT_TRUE(storage);
    EXPECT_EQ(storage->position(), 1);
    EXPECT_EQ(storage->get(), 2);
    storage.reset();
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1); // closed with the storage
}

TEST_F(Storages, AReopenedFileHasANewStamp)
{
    write_file({1, 2});
    auto storage = make<NUV_FileInputStorage>(path());
    const std::uint32_t first = storage->change_count();
    EXPECT_EQ(first, 1u);
    write_file({3});
    ASSERT_TRUE(storage->initiate(path()));
    EXPECT_NE(storage->change_count(), first);
    EXPECT_EQ(read_rest(*storage), Bytes{3});
}

TEST_F(Storages, AFullDestinationSaysHowMuchItTook)
{
    std::uint8_t target[4] = {};
    const std::uint8_t source[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    auto array = make<NUV_ByteArrayOutputStorage>(target, 4);
    EXPECT_EQ(array->write(source, 10), 4);
    EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);
    EXPECT_EQ(array->write(source, 10), 0);
    expect_status(NUV_ERR_IO, "NUV_ByteArrayOutputStorage::write()");
    EXPECT_EQ(array->put(1), -1);
    expect_status(NUV_ERR_IO, "NUV_ByteArrayOutputStorage::put()");
    EXPECT_EQ(array->fill(1), 0);

    auto input = make<NUV_ByteArrayInputStorage>(source, 1);
    EXPECT_EQ(input->get(), 1);
    EXPECT_EQ(input->get(), -1);
    expect_status(NUV_ERR_IO, "NUV_ByteArrayInputStorage::get()");

    // Nothing of this reaches the disk: the files are holes.
    auto file = make<NUV_FileOutputStorage>(path());
    EXPECT_EQ(file->fill(greatest - 3), greatest - 3);
    EXPECT_EQ(file->write(source, 10), 3);
    expect_status(NUV_ERR_IO, "NUV_PosixLowLevelIO::write()");
    EXPECT_EQ(file->size(), greatest);
    EXPECT_EQ(file->fill(1), 0);
    expect_status(NUV_ERR_IO, "NUV_FileOutputStorage::fill()");

    auto full = make<NUV_FileOutputStorage>("/dev/full");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->write(source, 10), 0);
    expect_status(NUV_ERR_IO, "NUV_PosixLowLevelIO::write()");
}

TEST_F(Storages, RefusesEmptyMemoryAndBlocks)
{
    std::uint8_t byte = 0;
    const std::uint8_t* source = &byte;
    std::uint8_t* target = &byte;
    constexpr auto input = "NUV_ByteArrayInputStorage::initiate()";
    constexpr auto output = "NUV_ByteArrayOutputStorage::initiate()";
    for (const std::int32_t bytes : {0, -1}) {
        EXPECT_FALSE(make<NUV_ByteArrayInputStorage>(source, bytes));
        expect_status(NUV_ERR_ARGUMENT, input);
        EXPECT_FALSE(make<NUV_ByteArrayOutputStorage>(target, bytes));
        expect_status(NUV_ERR_ARGUMENT, output);
        EXPECT_FALSE(make<NUV_MemoryOutputStorage>(bytes));
        expect_status(NUV_ERR_ARGUMENT, "NUV_MemoryOutputStorage::initiate()");
    }
    EXPECT_FALSE(make<NUV_ByteArrayInputStorage>(source, source));
    expect_status(NUV_ERR_ARGUMENT, input);
    EXPECT_TRUE(make<NUV_ByteArrayInputStorage>(source, source + 1));
    EXPECT_FALSE(make<NUV_MemoryInputStorage>(NUV_MemoryContents()));
    expect_status(NUV_ERR_ARGUMENT, "NUV_MemoryInputStorage::initiate()");
}

TEST_F(Storages, MemoryGrowsByBlocksThatItsInputsShare)
{
    auto output = make<NUV_MemoryOutputStorage>(4);
    NUV_Held<NUV_InputStorage> early(output->create_input_storage());
    const std::size_t before = manager_.memory().allocations();
    EXPECT_EQ(output->write(counted_bytes(10).data(), 10), 10);
    EXPECT_GE(manager_.memory().allocations() - before, 3u);
    EXPECT_EQ(output->size(), 10);
    output.reset();
    EXPECT_EQ(read_rest(*early), counted_bytes(10)); // outlives the output
}

TEST_F(Storages, NoMemoryEndsAWriteWithWhatWasWritten)
{
    auto output = make<NUV_MemoryOutputStorage>(4);
    ASSERT_EQ(output->write(counted_bytes(4).data(), 4), 4);
    manager_.memory().fail_at(0);
    EXPECT_EQ(output->write(counted_bytes(9).data(), 9), 0);
    expect_status(NUV_ERR_MEMORY, "NUV_ManagerImpl::allocate()");
    EXPECT_EQ(output->fill(2), 2); // goes on when there is memory again
    EXPECT_EQ(output->size(), 6);
}

TEST_F(Storages, NumbersOfAFileAreComparedBeforeAnythingMoves)
{
    const Bytes content = counted_bytes(20);
    auto storage = make<NUV_ByteArrayInputStorage>(content.data(), 20);
    ASSERT_TRUE(storage->to(5));
    EXPECT_EQ(remaining_bytes(*storage), 15u);
    std::uint8_t into[20];
    for (const std::uint32_t beyond : {16U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(skip_exactly(*storage, beyond));
        EXPECT_FALSE(read_exactly(*storage, into, beyond));
        EXPECT_FALSE(seek_exactly(*storage, std::max(beyond, 21U)));
        EXPECT_EQ(storage->position(), 5);
    }
    EXPECT_TRUE(skip_exactly(*storage, 1));
    EXPECT_TRUE(read_exactly(*storage, into, 14));
    EXPECT_EQ(into[0], content[6]);
    EXPECT_TRUE(seek_exactly(*storage, 20));
    EXPECT_EQ(remaining_bytes(*storage), 0u);
}

} // namespace
} // namespace nuv
