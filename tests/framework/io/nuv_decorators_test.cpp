#include "framework/io/nuv_bufferedoutput.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_datainput.h"
#include "framework/io/nuv_fileinputstorage.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_inputstoragebound.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"
#include "framework/io/nuv_mutexinputstorage.h"
#include "framework/io/nuv_stripcombineinputstorage.h"
#include "tests/support/nuv_storagemodel.h"

#include <thread>

namespace nuv {
namespace {

constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();

class Decorators : public StorageTest {
protected:
    [[nodiscard]] auto array(const Bytes& content)
    {
        return make<NUV_ByteArrayInputStorage>(content.data(),
                                               static_cast<std::int32_t>(content.size()));
    }
    [[nodiscard]] auto array() { return array(content_); }

    [[nodiscard]] NUV_Held<NUV_StripCombineInputStorage> strips_of(
        NUV_InputStorage* inner, const std::vector<std::uint32_t>& offsets,
        const std::vector<std::uint32_t>& counts)
    {
        NUV_PackedNumbers first(manager_);
        NUV_PackedNumbers second(manager_);
        EXPECT_TRUE(first.reserve(offsets.size(), 4) && second.reserve(counts.size(), 4));
        for (const std::uint32_t offset : offsets)
            first.push_back(offset);
        for (const std::uint32_t count : counts)
            second.push_back(count);
        return make<NUV_StripCombineInputStorage>(inner, std::move(first), std::move(second));
    }

    struct Input {
        const char* name;
        NUV_Held<NUV_InputStorage> storage;
        bool from_end_clamps = true;
    };
    // One of each kind over the same bytes, which it shows whole. Decorators keep their storage.
    [[nodiscard]] std::vector<Input> every_input(const Bytes& content)
    {
        const auto bytes = static_cast<std::int32_t>(content.size());
        std::vector<Input> inputs;
        write_file(content);
        inputs.push_back({"file", make<NUV_FileInputStorage>(path())});
        inputs.push_back({"array", array(content)});
        auto memory = make<NUV_MemoryOutputStorage>(4);
        EXPECT_EQ(memory->write(content.data(), bytes), bytes);
        inputs.push_back({"blocks", NUV_Held<NUV_InputStorage>(memory->create_input_storage())});

        auto inner = array(content);
        inputs.push_back({"decorator", make<NUV_InputStorageDecorator>(inner.get())});
        auto other = array(content);
        auto mutex = make<NUV_MutexInputStorage>(other.get());
        auto guest = make<NUV_MoveInMoveOutInputStorage>(mutex.get());
        inputs.push_back({"data", make<NUV_DataInput>(guest.get(), NUV_ByteOrder::little_endian)});
        inputs.push_back({"guest", std::move(guest)});
        inputs.push_back({"mutex", std::move(mutex)});

        larger_ = Bytes(30, 0xEE);
        larger_.insert(larger_.end(), content.begin(), content.end());
        larger_.resize(larger_.size() + 20, 0xEE);
        auto around = array(larger_);
        EXPECT_TRUE(around->to(30));
        inputs.push_back({"bound", make<NUV_InputStorageBound>(around.get(), 30, bytes), false});
        return inputs;
    }

    Bytes content_ = counted_bytes(100);

private:
    Bytes larger_;
};

TEST_F(Decorators, EveryInputMovesAndReadsLikeTheModelAndEndsWithItsClose)
{
    for (const std::size_t count : {1U, 4U, 61U, 40000U, 600000U}) {
        const Bytes content = counted_bytes(count);
        for (Input& input : every_input(content)) {
            SCOPED_TRACE(::testing::Message() << input.name << " of " << count);
            ASSERT_TRUE(input.storage);
            expect_like_model(*input.storage, content, 400, input.from_end_clamps);
            EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);

            EXPECT_TRUE(input.storage->close() && input.storage->close());
            std::uint8_t byte = 0;
            EXPECT_TRUE(input.storage->is_closed());
            EXPECT_EQ(input.storage->read(&byte, 1), 0);
            EXPECT_EQ(input.storage->get(), -1);
            EXPECT_EQ(input.storage->move(1) + input.storage->size(), 0);
            EXPECT_FALSE(input.storage->to(0) || input.storage->to_end() ||
                         input.storage->pass_over(0));
            manager_.reset(); // a get() may say that there is nothing
        }
    }
}

TEST_F(Decorators, EveryOutputWritesLikeTheModel)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        const auto check = [&](NUV_OutputStorage& storage, bool fill_zeroes_last) {
            const Bytes written = written_like_model(storage, seed, fill_zeroes_last);
            EXPECT_EQ(content_of(storage), written);
        };
        check(*make<NUV_FileOutputStorage>(path()), true);
        check(*make<NUV_MemoryOutputStorage>(7), false);
        for (const std::int32_t size : {1, 2, 7, 64, 1000}) {
            auto file = make<NUV_FileOutputStorage>(path());
            check(*make<NUV_OutputStorageBuffer>(file.get(), size), true);
        }
        auto inner = make<NUV_FileOutputStorage>(path());
        auto buffered = make<NUV_BufferedOutput>(inner.get());
        const Bytes flushed = written_like_model(*buffered, seed, true);
        buffered.reset();
        EXPECT_EQ(content_of(*inner), flushed) << "with its end";
        EXPECT_EQ(manager_.status().code, NUV_STATUS_OK);

        Bytes target(150, 0);
        auto array = make<NUV_ByteArrayOutputStorage>(target.data(), 120);
        Bytes written = written_like_model(*array, seed, false, 120);
        written.resize(150); // and not a byte behind the capacity
        EXPECT_EQ(target, written);
        EXPECT_EQ(NUV_Held<NUV_InputStorage>(array->create_input_storage())->size(), 120);
        manager_.reset();
    }
}

TEST_F(Decorators, RefuseNothingToDecorate)
{
    constexpr auto input = "NUV_InputStorageDecorator::initiate()";
    constexpr auto output = "NUV_OutputStorageDecorator::initiate()";
    constexpr auto argument = NUV_ERR_ARGUMENT;
    NUV_InputStorage* none = nullptr;
    NUV_OutputStorage* no_output = nullptr;
    auto closed = make<NUV_FileOutputStorage>(nullptr);
    auto memory = make<NUV_MemoryOutputStorage>(8);
    auto inner = array();
    const auto strips = [&](NUV_InputStorage* storage, const std::vector<std::uint32_t>& offsets,
                            const std::vector<std::uint32_t>& counts) {
        return [=, this] { return strips_of(storage, offsets, counts) != nullptr; };
    };
    // clang-format off
    expect_refusals({
        {argument, input, making<NUV_InputStorageDecorator>(none)},
        {argument, input, making<NUV_MoveInMoveOutInputStorage>(none)},
        {argument, input, making<NUV_InputStorageBound>(none, 0, 0)},
        {argument, input, strips(none, {}, {})},
        {argument, output, making<NUV_OutputStorageDecorator>(no_output)},
        {argument, output, making<NUV_BufferedOutput>(closed.get())},
        {argument, "NUV_StreamBuffer::initial_allocate()", making<NUV_OutputStorageBuffer>(memory.get(), 0)},
        {argument, "NUV_MoveInMoveOutMovableInputStream::initiate()", making<NUV_MoveInMoveOutInputStorage>(inner.get(), -1)},
        {argument, "NUV_InputStreamBound::initiate()", making<NUV_InputStreamBound<NUV_InputStream>>(inner.get(), -1)},
        {NUV_STATUS_OK, "", strips(inner.get(), {}, {})}, // without a word
        {NUV_STATUS_OK, "", strips(inner.get(), {1, 2}, {1})},
    });
    // clang-format on
}

TEST_F(Decorators, AForwardBoundEndsWhereItsLengthOrTheStreamDoes)
{
    auto inner = array();
    for (const std::int32_t length : {5, 50}) {
        ASSERT_TRUE(inner->to(92));
        auto bound = make<NUV_InputStreamBound<NUV_InputStream>>(inner.get(), length);
        std::uint8_t into[10] = {};
        EXPECT_EQ(bound->ignore(2), 2);
        EXPECT_EQ(bound->read(into, 10), length == 5 ? 3 : 6);
        EXPECT_EQ(into[2], content_[96]);
        EXPECT_EQ(bound->read(into, 10), 0);
        EXPECT_EQ(inner->position(), length == 5 ? 97 : 100);
    }
}

TEST_F(Decorators, ABoundBeyondTheStorageIsRefusedAndNothingMoves)
{
    constexpr auto set_bound = "NUV_MovableInputStreamBound::set_bound()";
    constexpr auto set_remain = "NUV_MovableInputStreamBound::set_remain()";
    struct Case {
        std::int32_t start, length;
        const char* method; // null: it is there
    };
    const Case cases[] = {
        {0, 100, nullptr},   {100, 0, nullptr},    {40, 0, nullptr},
        {0, 101, set_bound}, {60, 41, set_bound},  {greatest, greatest, set_bound},
        {5, -1, set_bound},  {101, 0, set_remain}, {-1, 5, set_remain},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.start << " + " << c.length);
        auto inner = array();
        ASSERT_TRUE(inner->to(40));
        auto bound = make<NUV_InputStorageBound>(inner.get(), c.start, c.length);
        EXPECT_EQ(bound != nullptr, c.method == nullptr);
        if (c.method) {
            EXPECT_EQ(inner->position(), 40);
            expect_status(NUV_ERR_IO, c.method);
            continue;
        }
        EXPECT_EQ(bound->size(), c.length);
        EXPECT_TRUE(bound->to_begin());
        EXPECT_EQ(inner->position(), c.start);
        EXPECT_EQ(bound->is_end(), c.length == 0);
        EXPECT_EQ(bound->get(), c.length == 0 ? -1 : content_[0]);
        // A failed change leaves the range as it was.
        EXPECT_FALSE(bound->set_bound(101 - c.start));
        manager_.reset();
        EXPECT_EQ(bound->size(), c.length);
    }
}

// Begins at the end of a range that does not hold the inner position.
TEST_F(Decorators, ABoundStartsWhereTheInnerStorageStands)
{
    auto inner = array();
    auto bound = make<NUV_InputStorageBound>(inner.get(), 10, 20);
    EXPECT_EQ(bound->position(), 20);
    EXPECT_EQ(inner->position(), 30);
    ASSERT_TRUE(inner->to(13));
    ASSERT_TRUE(bound->set_remain(10, 14));
    EXPECT_EQ(bound->position(), 3);
    EXPECT_EQ(read_rest(*bound), Bytes(1, content_[13]));

    ASSERT_TRUE(bound->to(2));
    ASSERT_TRUE(bound->set_bound(30)); // further, without a move
    EXPECT_EQ(bound->get(), content_[12]);
    EXPECT_FALSE(bound->set_remain(90, 101)); // and a failure changes nothing
    manager_.reset();
    EXPECT_EQ(bound->size(), 30);
    EXPECT_EQ(bound->get(), content_[13]);
    // Somebody moves the inner storage: the way back to the beginning fails.
    ASSERT_TRUE(inner->to_begin());
    EXPECT_FALSE(bound->to_begin());
    expect_status(NUV_ERR_IO, "NUV_InputStorageBound::to_begin()");
}

TEST_F(Decorators, TwoReadersOfOneStorageInterleave)
{
    auto inner = array();
    auto mutex = make<NUV_MutexInputStorage>(inner.get());
    for (NUV_InputStorage* shared : {static_cast<NUV_InputStorage*>(inner.get()),
                                     static_cast<NUV_InputStorage*>(mutex.get())}) {
        ASSERT_TRUE(inner->to(7));
        auto first = make<NUV_MoveInMoveOutInputStorage>(shared);
        auto second = make<NUV_MoveInMoveOutInputStorage>(shared, 50);
        EXPECT_EQ(first->position(), 7);
        for (std::size_t i = 0; i < 20; ++i) {
            EXPECT_EQ(first->get(), content_[7 + i]);
            std::uint8_t into[2] = {};
            EXPECT_EQ(second->read(into, 2), 2);
            EXPECT_EQ(into[0], content_[50 + 2 * i]);
            EXPECT_EQ(inner->position(), 7);
        }
    }
    auto guest = make<NUV_MoveInMoveOutInputStorage>(inner.get(), 90);
    const std::uint8_t* const lent = guest->lend(4);
    EXPECT_TRUE(lent && std::equal(lent, lent + 4, content_.begin() + 90));
    EXPECT_EQ(guest->lend(7), nullptr);
    EXPECT_EQ(guest->position() + inner->position(), 94 + 7);
    // One that stands behind the end reads nothing, and leaves the storage where it was, unlocked.
    auto behind = make<NUV_MoveInMoveOutInputStorage>(mutex.get(), 200);
    EXPECT_EQ(behind->get(), -1);
    EXPECT_EQ(inner->position(), 7);
    EXPECT_TRUE(mutex->try_lock() && mutex->try_lock()); // again and again by its owner
    bool other = true;
    std::thread([&] { other = mutex->try_lock(); }).join();
    EXPECT_FALSE(other);
    mutex->unlock();
    mutex->unlock();
}

// Notes whether it is moved or read while nobody holds its lock.
class LockWatch final : public NUV_InputStorageDecorator, public NUV_Lockable {
public:
    using NUV_InputStorageDecorator::NUV_InputStorageDecorator;

    void lock() override { ++held_; }
    void unlock() override { --held_; }
    [[nodiscard]] bool try_lock() override { return true; }
    [[nodiscard]] std::int32_t get() override { return watched(NUV_InputStorageDecorator::get()); }
    std::int32_t move(std::int32_t bytes) override
    {
        return watched(NUV_InputStorageDecorator::move(bytes));
    }
    std::int32_t watched(std::int32_t answer)
    {
        unguarded_ += held_ == 1 ? 0 : 1;
        return answer;
    }
    int held_ = 0;
    int unguarded_ = 0;
};

TEST_F(Decorators, AReaderHoldsTheLockFromTheMoveInToTheMoveOut)
{
    auto inner = array();
    auto watch = make<LockWatch>(inner.get());
    auto reader = make<NUV_MoveInMoveOutInputStorage>(watch.get(), 90);
    std::uint8_t into[20];
    EXPECT_EQ(reader->get(), content_[90]);
    EXPECT_EQ(reader->read(into, 20), 9);
    EXPECT_TRUE(reader->to_begin() && reader->to_from_end(-3));
    EXPECT_EQ(watch->unguarded_, 0);
    EXPECT_EQ(watch->held_, 0);
}

TEST_F(Decorators, DataComesInTheOrderOfTheFile)
{
    for (const bool is_big : {false, true}) {
        auto inner = array();
        auto data = make<NUV_DataInput>(inner.get(), is_big ? NUV_ByteOrder::big_endian
                                                            : NUV_ByteOrder::little_endian);
        const auto next = [&](auto value) {
            EXPECT_TRUE(data->read_value(value));
            return value;
        };
        // The bytes are the multiples of 7.
        EXPECT_EQ(next(std::uint8_t{0}), 0);
        EXPECT_EQ(next(std::uint16_t{0}), is_big ? 0x070E : 0x0E07);
        EXPECT_EQ(next(std::int32_t{0}), is_big ? 0x151C232A : 0x2A231C15);
        EXPECT_EQ(next(std::uint64_t{0}), is_big ? 0x31383F464D545B62 : 0x625B544D463F3831);
        EXPECT_TRUE(data->to_from_end(-3));
        std::int32_t longer = 0;
        EXPECT_FALSE(data->read_value(longer)); // three bytes are left, and consumed
        EXPECT_EQ(data->position(), 100);
    }
}

TEST_F(Decorators, JoinsStripsUpToTheFirstThatIsNotThere)
{
    struct Case {
        const char* what;
        std::vector<std::uint32_t> offsets, counts;
        std::vector<std::pair<int, int>> ranges; // begin and end
        std::int32_t size;
    };
    const Case cases[] = {
        {"in any order", {40, 10, 60}, {5, 20, 1}, {{40, 45}, {10, 30}, {60, 61}}, 26},
        {"an empty one", {10, 20, 30}, {5, 0, 5}, {{10, 15}, {30, 35}}, 10},
        {"empty at both ends", {10, 20, 30}, {0, 5, 0}, {{20, 25}}, 5},
        {"one past the end", {10, 95, 20}, {5, 10, 5}, {{10, 15}, {95, 100}}, 20},
        {"one behind the end", {10, 101, 20}, {5, 1, 5}, {{10, 15}}, 11},
        {"an offset without a sign", {10, 0x80000000U}, {5, 5}, {{10, 15}}, 10},
        {"a count without a sign", {90, 10}, {0xFFFFFFFFU, 5}, {{90, 100}}, greatest},
        {"none to be reached", {200}, {5}, {}, 5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes expected;
        for (const auto& [begin, end] : c.ranges)
            expected.insert(expected.end(), content_.begin() + begin, content_.begin() + end);
        auto inner = array();
        auto strips = strips_of(inner.get(), c.offsets, c.counts);
        ASSERT_TRUE(strips);
        EXPECT_EQ(strips->size(), c.size);
        EXPECT_EQ(read_rest(*strips), expected);
        EXPECT_EQ(strips->position(), static_cast<std::int32_t>(expected.size()));
        EXPECT_EQ(strips->to(0), !expected.empty());
        EXPECT_EQ(strips->get(), expected.empty() ? -1 : expected[0]);
    }
}

TEST_F(Decorators, StripsKnowOnlyTheirBeginning)
{
    auto inner = array();
    auto strips = strips_of(inner.get(), {40, 10}, {5, 5});
    EXPECT_EQ(strips->get(), content_[40]);
    EXPECT_EQ(strips->move(1), 0);
    EXPECT_EQ(strips->ignore(1), 0);
    EXPECT_FALSE(strips->to_end() || strips->to_from_end(-1));
    EXPECT_EQ(strips->get(), content_[41]);
    EXPECT_FALSE(strips->pass_over(4)) << "into the next one";
    EXPECT_TRUE(strips->pass_over(3) && strips->pass_over(2));
    EXPECT_EQ(strips->position(), 7);
    EXPECT_EQ(strips->get(), content_[12]);
    EXPECT_FALSE(strips->to(5));
    EXPECT_EQ(strips->get(), content_[40]);
}

TEST_F(Decorators, AShortFlushDropsTheRestAndDoesNotLoop)
{
    constexpr auto method = "NUV_OutputStorageBuffer<Strm>::flush()";
    Bytes target(10);
    {
        auto inner = make<NUV_ByteArrayOutputStorage>(target.data(), 10);
        auto buffered = make<NUV_OutputStorageBuffer>(inner.get(), 8);
        EXPECT_EQ(buffered->write(content_.data(), 7), 7);
        EXPECT_EQ(buffered->write(content_.data() + 7, 7), 7);
        EXPECT_EQ(inner->size(), 8);
        EXPECT_FALSE(buffered->flush());
        expect_status(NUV_ERR_IO, method);
        EXPECT_EQ(buffered->size(), 10);
        EXPECT_EQ(target, Bytes(content_.begin(), content_.begin() + 10));
        EXPECT_EQ(buffered->write(content_.data(), 100), 0); // straight through, to nobody
    }
    manager_.reset();
    auto inner = make<NUV_ByteArrayOutputStorage>(target.data(), 10);
    auto buffered = make<NUV_OutputStorageBuffer>(inner.get(), 8);
    EXPECT_EQ(buffered->write(content_.data(), 5), 5);
    EXPECT_EQ(buffered->write(content_.data(), 30), 3 + 2); // the buffer filled, then the storage
    expect_status(NUV_ERR_IO, method);
    for (int i = 0; i < 20; ++i)
        static_cast<void>(buffered->put(1));
    EXPECT_EQ(manager_.status().code, NUV_ERR_IO);
    EXPECT_EQ(inner->size(), 10);
}

} // namespace
} // namespace nuv
