#include "framework/engine/nuv_bitreverse.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/io/nuv_fileinputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_memoryinputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "framework/io/nuv_sourcedataprovider.h"
#include "tests/support/nuv_storagemodel.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace nuv {
namespace {

constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();

class Storages : public StorageTest {};

TEST_F(Storages, OnlyRegularFilesBelowTwoGibibytesOpenForReading)
{
    constexpr auto open = "NUV_PosixStorage::open()";
    const auto opens = [this](const char* file) { return making<NUV_FileInputStorage>(file); };
    const auto creates = [this](const char* file) { return making<NUV_FileOutputStorage>(file); };
    expect_refusals({{NUV_ERR_IO, open, opens(path())}, // missing
                     {NUV_ERR_IO, open, opens("/")},
                     {NUV_ERR_IO, open, opens("")},
                     {NUV_ERR_IO, open, creates("/")}});
    ASSERT_EQ(mkfifo(path(), 0600), 0); // nobody waits for its writer
    expect_refusals({{NUV_ERR_IO, open, opens(path())}, {NUV_ERR_IO, open, creates(path())}});
    ASSERT_EQ(unlink(path()), 0);

    write_file({1});
    std::filesystem::resize_file(path(), std::uintmax_t{1} << 31);
    expect_refusals({{NUV_ERR_IO, open, opens(path())}});
    std::filesystem::resize_file(path(), greatest);
    auto largest = make<NUV_FileInputStorage>(path());
    ASSERT_TRUE(largest);
    EXPECT_EQ(largest->size(), greatest);
    EXPECT_TRUE(largest->to(greatest - 1));
    EXPECT_EQ(largest->get(), 0);
    EXPECT_EQ(largest->get(), -1);
}

TEST_F(Storages, NullPathsMakeClosedStorages)
{
    auto input = make<NUV_FileInputStorage>(nullptr);
    auto output = make<NUV_FileOutputStorage>(nullptr);
    EXPECT_TRUE(input->is_closed() && output->is_closed());
    EXPECT_TRUE(input->get() == -1 && output->put(1) == -1);
    EXPECT_EQ(output->write(path(), 1) + output->fill(3), 0);
    EXPECT_FALSE(output->to(0));
    EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);
}

TEST_F(Storages, AdoptsARegularDescriptorWhereItStands)
{
    constexpr auto initiate = "NUV_FileInputStorage::initiate()";
    EXPECT_TRUE(make<NUV_FileInputStorage>(0)->is_closed());
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    expect_refusals({{NUV_ERR_ARGUMENT, initiate, making<NUV_FileInputStorage>(-1)},
                     {NUV_ERR_IO, initiate, making<NUV_FileInputStorage>(ends[0])}});
    EXPECT_FALSE(make<NUV_FileInputStorage>(ends[0]));
    EXPECT_STREQ(manager_.diagnosis().text, "it is no regular file");
    manager_.reset();
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
    write_file({3});
    ASSERT_TRUE(storage->initiate(path()));
    EXPECT_NE(storage->change_count(), first);
    EXPECT_EQ(read_rest(*storage), Bytes{3});
}

TEST_F(Storages, AnInputOfAnOutputSeesWhatIsOverwritten)
{
    auto output = make<NUV_FileOutputStorage>(path());
    ASSERT_EQ(output->write("abcd", 4), 4);
    const NUV_Held<NUV_InputStorage> input(output->create_input_storage());
    ASSERT_TRUE(input);
    EXPECT_EQ(input->get(), 'a');
    ASSERT_TRUE(output->to_begin());
    ASSERT_EQ(output->write("ABCD", 4), 4);
    EXPECT_EQ(read_rest(*input), (Bytes{'B', 'C', 'D'}));
    EXPECT_LT(sizeof(NUV_FileOutputStorage), 1024U);
}

TEST_F(Storages, AFullDestinationSaysHowMuchItTook)
{
    std::uint8_t target[4] = {};
    const Bytes source = counted_bytes(10);
    auto array = make<NUV_ByteArrayOutputStorage>(target, 4);
    EXPECT_EQ(array->write(source.data(), 10), 4);
    EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);
    EXPECT_EQ(array->write(source.data(), 10), 0);
    expect_status(NUV_ERR_IO, "NUV_ByteArrayOutputStorage::write()");
    EXPECT_EQ(array->put(1), -1);
    expect_status(NUV_ERR_IO, "NUV_ByteArrayOutputStorage::put()");
    EXPECT_EQ(array->fill(1), 0);

    auto input = make<NUV_ByteArrayInputStorage>(source.data(), 1);
    EXPECT_EQ(input->get(), source[0]);
    EXPECT_EQ(input->get(), -1);
    expect_status(NUV_ERR_IO, "NUV_ByteArrayInputStorage::get()");

    // Nothing of this reaches the disk: the files are holes.
    auto file = make<NUV_FileOutputStorage>(path());
    EXPECT_EQ(file->fill(greatest - 3), greatest - 3);
    EXPECT_EQ(file->write(source.data(), 10), 3);
    expect_status(NUV_ERR_IO, "NUV_PosixLowLevelIO::write()");
    EXPECT_EQ(file->size(), greatest);
    EXPECT_EQ(file->fill(1), 0);
    expect_status(NUV_ERR_IO, "NUV_FileOutputStorage::fill()");

    auto full = make<NUV_FileOutputStorage>("/dev/full");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->write(source.data(), 10), 0);
    expect_status(NUV_ERR_IO, "NUV_PosixLowLevelIO::write()");
}

TEST_F(Storages, RefusesEmptyMemoryAndBlocks)
{
    std::uint8_t byte = 0;
    const std::uint8_t* source = &byte;
    constexpr auto input = "NUV_ByteArrayInputStorage::initiate()";
    constexpr auto argument = NUV_ERR_ARGUMENT;
    // clang-format off
    expect_refusals({
        {argument, input, making<NUV_ByteArrayInputStorage>(source, source)},
        {argument, input, making<NUV_ByteArrayInputStorage>(source, -1)},
        {argument, "NUV_MemoryInputStorage::initiate()", making<NUV_MemoryInputStorage>(NUV_MemoryContents())},
        {argument, "NUV_ByteArrayOutputStorage::initiate()", making<NUV_ByteArrayOutputStorage>(&byte, -1)},
        {argument, "NUV_MemoryOutputStorage::initiate()", making<NUV_MemoryOutputStorage>(0)},
    });
    // clang-format on
}

TEST_F(Storages, MemoryGrowsByBlocksThatItsInputsShareAndEndsAWriteWhereThereIsNone)
{
    auto output = make<NUV_MemoryOutputStorage>(4);
    NUV_Held<NUV_InputStorage> early(output->create_input_storage());
    const std::size_t before = manager_.memory().allocations();
    EXPECT_EQ(output->write(counted_bytes(8).data(), 8), 8);
    EXPECT_GE(manager_.memory().allocations() - before, 2u);
    manager_.memory().fail_at(0);
    EXPECT_EQ(output->write(counted_bytes(9).data(), 9), 0);
    expect_status(NUV_ERR_MEMORY, "NUV_ManagerImpl::allocate()");
    EXPECT_EQ(output->fill(2), 2); // goes on when there is memory again
    output.reset();
    Bytes wanted = counted_bytes(8);
    wanted.resize(10);
    EXPECT_EQ(read_rest(*early), wanted); // outlives the output
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
}

// A stream of no known length.
[[nodiscard]] NUV_TestImage coded_image()
{
    return {.width = 9, .encode_type = NUV_EncodeType::unknown};
}

TEST(SourceDataProvider, GivesEveryByteOfAPipelineOnce)
{
    for (const std::size_t count : {1U, 63U, 64U, 65U, 300U}) {
        SCOPED_TRACE(count);
        NUV_TestChain chain;
        chain.source_bytes(coded_image(), counted_bytes(count));
        NUV_Held<NUV_SrcBuffer> source(chain.last()->src_buffer());
        auto provider = make_initiated<NUV_SourceDataProvider>(chain.manager(), source.get());
        ASSERT_TRUE(provider);
        Bytes got;
        std::uint8_t byte = 0;
        while (provider->get_byte(&byte))
            got.push_back(byte);
        EXPECT_EQ(got, counted_bytes(count));
    }
}

TEST(BitReverse, MirrorsEveryByteAndTwiceNone)
{
    NUV_TestChain chain;
    chain.source_bytes(coded_image(), {0xB1, 0x01, 0x00, 0xFE});
    ASSERT_TRUE(chain.append<NUV_BitReverse>());
    EXPECT_EQ(chain.run_bytes(), (Bytes{0x8D, 0x80, 0x00, 0x7F}));
    expect_clean_at_every_allocation([](NUV_TestChain& each) {
        each.source_bytes(coded_image(), counted_bytes(200));
        const bool stands = each.append<NUV_BitReverse>() && each.append<NUV_BitReverse>();
        const Bytes got = each.run_bytes();
        EXPECT_TRUE(!stands || each.status().has_error() || got == counted_bytes(200));
    });
}

} // namespace
} // namespace nuv
