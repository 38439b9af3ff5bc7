#include "framework/buffer/nuv_stblockdstbuffer.h"

#include "framework/buffer/nuv_dstbufferproxy.h"
#include "framework/buffer/nuv_srcbuffer.h"
#include "tests/support/nuv_testchain.h"

namespace nuv {
namespace {

// A buffer without an engine: the test writes and reads by hand.
class ByHand {
public:
    ByHand(std::uint32_t block, std::uint32_t src_block, std::uint64_t limit = 1 << 20)
        : buffer(make_initiated<NUV_STBlockDstBuffer>(chain.manager(), limit))
    {
        EXPECT_TRUE(buffer->block_bytes(block));
        reader.reset(buffer->create_src_buffer(buffer.get()));
        EXPECT_TRUE(reader && reader->block_bytes(src_block));
    }

    bool write(std::uint32_t bytes)
    {
        void* out = buffer->get();
        if (!out)
            return false;
        std::memset(out, ++value, bytes);
        return buffer->release(bytes);
    }

    NUV_TestChain chain;
    NUV_Held<NUV_STBlockDstBuffer> buffer;
    NUV_Held<NUV_SrcBuffer> reader;
    int value = 0;
};

TEST(STBlockDstBuffer, CutsMemoryIntoWholeReadersBlocks)
{
    EXPECT_EQ(ByHand(128, 64).buffer->mem_block_bytes(), 192u); // one more than needed
    ByHand wide(0xFFFFFF00, 0xFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(wide.buffer->mem_block_bytes(), 0u);
    expect_status(wide.chain.manager(), NUV_ERR_UNSUPPORTED,
                  "NUV_STBlockDstBuffer::mem_block_bytes()");
}

// Every pair of block sizes, through straddling writes, with a last block that comes short; the
// reader copies, looks in place, or does both in turn, a block at a time or some.
TEST(STBlockDstBuffer, CarriesTheStreamForEveryPairOfBlockSizes)
{
    const auto stream = random_samples<std::uint8_t>(331, 5);
    for (std::uint32_t block = 1; block <= 40; ++block) {
        for (std::uint32_t src_block = 1; src_block <= 40; ++src_block) {
            for (const int form : {0, 1, 2, 3}) {
                NUV_TestChain chain;
                chain.source_bytes({.encode_type = NUV_EncodeType::unknown}, stream, block);
                NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
                ASSERT_TRUE(reader->block_bytes(src_block));
                Bytes got;
                const std::uint32_t most = form == 3 ? 3 : 1;
                Bytes into(std::size_t{most} * src_block);
                for (int turn = 0;; ++turn) {
                    std::uint32_t count = 77;
                    if (form == 3) {
                        if (!reader->get_blocks(into.data(), most, &count))
                            break;
                        got.insert(got.end(), into.begin(), into.begin() + count);
                        ASSERT_TRUE(reader->release_blocks((count + src_block - 1) / src_block));
                        continue;
                    }
                    const bool copies = form == 0 || (form == 2 && turn % 3 == 0);
                    const void* from =
                        copies ? reader->get(into.data(), &count) ? into.data() : nullptr
                               : reader->get(&count);
                    if (!from) {
                        ASSERT_EQ(count, 0u);
                        break;
                    }
                    const auto* bytes = static_cast<const std::uint8_t*>(from);
                    got.insert(got.end(), bytes, bytes + count);
                    ASSERT_TRUE(reader->release());
                }
                ASSERT_EQ(got, stream) << block << " to " << src_block << ", form " << form;
                ASSERT_EQ(chain.status().code, NUV_STATUS_OK);
            }
        }
    }
}

// Writes blocks of given sizes, each of its own value, and tells when it is gone.
class HandWriter final : public NUV_HeadlessEngine {
public:
    HandWriter(NUV_Manager& manager, NUV_DstBuffer& buffer, std::vector<std::uint32_t> sizes,
               bool& gone)
        : NUV_HeadlessEngine(manager),
          buffer_(&buffer),
          sizes_(std::move(sizes)),
          gone_(&gone)
    {}
    bool cleanup() override
    {
        *gone_ = true;
        return NUV_HeadlessEngine::cleanup();
    }
    bool execute() override
    {
        if (written_ < sizes_.size() && buffer_->is_passed_over()) {
            ++written_;
            return buffer_->deliver_unseen();
        }
        void* out = written_ < sizes_.size() ? buffer_->get() : nullptr;
        if (!out)
            return false;
        const std::uint32_t bytes = sizes_[written_++];
        std::memset(out, static_cast<int>(written_), bytes);
        return buffer_->release(bytes);
    }

private:
    NUV_DstBuffer* buffer_;
    std::vector<std::uint32_t> sizes_;
    bool* gone_;
    std::size_t written_ = 0;
};

// A buffer with such a writer, which is pulled.
class Lending : public ByHand {
public:
    explicit Lending(std::vector<std::uint32_t> sizes, std::uint64_t limit = 100)
        : ByHand(8, 8, limit)
    {
        buffer->owner(buffer.get());
        NUV_Held<NUV_Engine> writer =
            make_object<HandWriter>(chain.manager(), *buffer, std::move(sizes), gone);
        writer->set_initiated();
        EXPECT_NE(chain.manager().add(writer.get(), buffer.get()), nullptr);
        static_cast<void>(writer.release());
    }
    // The next block, in memory that is the reader's alone.
    Bytes next()
    {
        Bytes into(8, 0xEE);
        std::uint32_t count = 77;
        if (reader->get(into.data(), &count)) {
            EXPECT_TRUE(reader->release());
        }
        into.resize(count);
        return into;
    }

    bool gone = false;
};

TEST(STBlockDstBuffer, MakesNoBlockThatItsOnlyReaderPassesOver)
{
    Lending alone({8, 8});
    EXPECT_TRUE(alone.reader->skip());
    EXPECT_EQ(alone.next(), Bytes(8, 2));

    Lending beside({8, 8});
    NUV_Vector<NUV_SrcBuffer*> others(beside.chain.manager());
    beside.buffer->create_src_buffer(others, beside.buffer.get(), 1);
    const NUV_Held<NUV_SrcBuffer> other(others[0]);
    EXPECT_TRUE(beside.reader->skip());
    EXPECT_EQ(*static_cast<const std::uint8_t*>(other->get(nullptr)), 1);
}

TEST(STBlockDstBuffer, WritesStraightIntoTheReadersMemoryAndLetsGoOfAWriterThatIsDone)
{
    Lending lending({8, 8}, 16);
    EXPECT_EQ(lending.next(), Bytes(8, 1));
    EXPECT_FALSE(lending.gone);
    const std::size_t allocations = lending.chain.manager().memory().allocations();
    EXPECT_EQ(lending.next(), Bytes(8, 2));
    EXPECT_EQ(lending.chain.manager().memory().allocations(), allocations);
    EXPECT_TRUE(lending.gone) << "with the last block, not with a get beyond it";
}

// Where the reader's memory would be written once more after the reader has gone on.
TEST(STBlockDstBuffer, ForgetsLentMemoryAfterAShortBlockAnEmptyOneAndWithItsReader)
{
    for (const std::vector<std::uint32_t>& sizes :
         {std::vector<std::uint32_t>{8, 3}, {8}, {8, 8}}) {
        SCOPED_TRACE(sizes.size() > 1 ? sizes[1] : 0);
        Lending lending(sizes);
        EXPECT_EQ(lending.next().size(), 8u);
        Bytes into(8, 0xEE);
        std::uint32_t count = 77;
        EXPECT_EQ(lending.reader->get(into.data(), &count), sizes.size() > 1);
        EXPECT_EQ(count, sizes.size() > 1 ? sizes[1] : 0);
        Bytes wanted(count, 2);
        wanted.resize(8, 0xEE);
        EXPECT_EQ(into, wanted);
        if (count == 8)
            lending.reader.reset(); // in the middle of a step
        EXPECT_EQ(lending.buffer->peek(8, &count), nullptr);
        static_cast<void>(lending.write(count == 8 ? 0 : 1));
        EXPECT_EQ(into, wanted) << "written by somebody who comes later";
    }
}

TEST(STBlockDstBuffer, RefusesWhatIsOutOfOrder)
{
    ByHand hand(10, 10, 20);
    NUV_STBlockDstBuffer& buffer = *hand.buffer;
    const auto refuses = [&](auto answer, NUV_StatusCode code, const char* method) {
        EXPECT_FALSE(answer);
        expect_status(hand.chain.manager(), code, method);
    };
    constexpr auto sequence = NUV_ERR_SEQUENCE;
    refuses(buffer.release(1), sequence, "NUV_STBlockDstBuffer::release()");
    refuses(buffer.block_bytes(5), sequence, "NUV_DstBufferBase::block_bytes()");
    refuses(buffer.create_src_buffer(&buffer), sequence, "NUV_DstBufferImpl::create_src_buffer()");

    ASSERT_NE(buffer.get(), nullptr);
    refuses(buffer.get(), sequence, "NUV_STBlockDstBuffer::get()"); // twice
    refuses(buffer.release(11), NUV_ERR_ARGUMENT, "NUV_STBlockDstBuffer::release()");
    EXPECT_TRUE(buffer.release(10));
    refuses(buffer.src_block_bytes(20), sequence, "NUV_DstBufferBase::src_block_bytes()");
    EXPECT_TRUE(buffer.src_block_bytes(10)); // as memory is cut already
    refuses(hand.reader->release(), sequence, "NUV_SrcBufferImpl::release()");

    ASSERT_TRUE(hand.write(10));
    EXPECT_NE(buffer.get(), nullptr) << "at the limit, but not above it";
    EXPECT_TRUE(buffer.release(0));
    ASSERT_NE(hand.reader->get(nullptr), nullptr);
    refuses(hand.reader->block_bytes(10), sequence, "NUV_SrcBufferImpl::block_bytes()");
    buffer.seal();
    refuses(buffer.get(), sequence, "NUV_STBlockDstBuffer::get()");
}

TEST(STBlockDstBuffer, ReadersOfWholeBlocksGetNothingOfAShortLastOne)
{
    ByHand hand(10, 10, 100);
    ASSERT_TRUE(hand.write(10) && hand.write(4));
    ASSERT_NE(hand.reader->get(nullptr), nullptr);
    EXPECT_EQ(hand.reader->get(nullptr), nullptr);
    EXPECT_EQ(hand.buffer->held_blocks(), 1u) << "nothing is held for a reader at the end";
}

TEST(STBlockDstBuffer, HoldsItsBlocksForTheSlowestReader)
{
    NUV_TestChain chain;
    auto buffer = make_initiated<NUV_STBlockDstBuffer>(chain.manager(), std::uint64_t{4096});
    ASSERT_TRUE(buffer->block_bytes(64));
    NUV_Vector<NUV_SrcBuffer*> readers(chain.manager());
    buffer->create_src_buffer(readers, buffer.get(), 2);
    ASSERT_EQ(readers.size(), 2u);
    ASSERT_TRUE(readers[0]->block_bytes(128));
    for (int i = 0; i < 32; ++i) {
        ASSERT_NE(buffer->get(), nullptr);
        ASSERT_TRUE(buffer->release(64));
    }
    EXPECT_EQ(buffer->held_blocks(), 16u);
    EXPECT_TRUE(buffer->advance(readers[1], 1000));
    EXPECT_TRUE(buffer->advance(readers[0], 100));
    EXPECT_EQ(buffer->held_blocks(), 16u);
    EXPECT_TRUE(buffer->advance(readers[0], 128));
    EXPECT_EQ(buffer->held_blocks(), 15u);
    EXPECT_FALSE(buffer->advance(nullptr, 4096));
    for (NUV_SrcBuffer* reader : readers.items())
        EXPECT_TRUE(reader->end());
    EXPECT_EQ(buffer->held_blocks(), 0u) << "nobody reads any more";
}

// So many that they stand in several pieces of memory, which come and go as the readers go on.
TEST(STBlockDstBuffer, HoldsManyLargeBlocks)
{
    constexpr std::uint32_t bytes = 250'000;
    NUV_TestChain chain;
    auto buffer = make_initiated<NUV_STBlockDstBuffer>(chain.manager(), std::uint64_t{1} << 30);
    ASSERT_TRUE(buffer->block_bytes(bytes));
    NUV_Vector<NUV_SrcBuffer*> readers(chain.manager());
    buffer->create_src_buffer(readers, buffer.get(), 2);
    ASSERT_TRUE(readers.size() == 2 && readers[0]->block_bytes(bytes));
    const auto read = [](NUV_SrcBuffer& reader, int value) {
        const auto* block = static_cast<const std::uint8_t*>(reader.get(nullptr));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block[0], value);
        EXPECT_EQ(block[bytes - 1], value);
        EXPECT_TRUE(reader.release());
    };
    for (int i = 1; i <= 90; ++i) {
        void* out = buffer->get();
        ASSERT_NE(out, nullptr);
        std::memset(out, i, bytes);
        ASSERT_TRUE(buffer->release(bytes));
        read(*readers[0], i);
        if (i > 40) // a block goes for each that comes
            read(*readers[1], i - 40);
    }
    EXPECT_EQ(buffer->held_blocks(), 40u);
    for (int i = 51; i <= 70; ++i)
        read(*readers[1], i);
    for (NUV_SrcBuffer* reader : readers.items())
        EXPECT_TRUE(reader->end());
}

TEST(STBlockDstBuffer, HoldsNoMoreMemoryThanTheStreamCanFill)
{
    constexpr std::uint32_t bytes = 250'000;
    NUV_TestChain chain;
    auto buffer = make_initiated<NUV_STBlockDstBuffer>(chain.manager(), std::uint64_t{6} * bytes);
    ASSERT_TRUE(buffer->block_bytes(bytes));
    NUV_Vector<NUV_SrcBuffer*> readers(chain.manager());
    buffer->create_src_buffer(readers, buffer.get(), 2);
    for (int i = 0; i < 6; ++i)
        ASSERT_TRUE(buffer->get() && buffer->release(bytes));
    EXPECT_EQ(buffer->held_blocks(), 6u);
    EXPECT_LT(chain.manager().memory().most_live_bytes(), 6 * bytes + 50'000);
    for (NUV_SrcBuffer* reader : readers.items())
        EXPECT_TRUE(reader->end());
}

TEST(STBlockDstBuffer, HasNoReadersThatWouldMissTheBeginning)
{
    ByHand hand(10, 10, 20);
    ASSERT_TRUE(hand.write(10));
    NUV_Vector<NUV_SrcBuffer*> late(hand.chain.manager());
    for (const bool is_dropped : {false, true}) { // lent, at first
        EXPECT_TRUE(is_dropped ? hand.reader->release() : hand.reader->get(nullptr) != nullptr);
        hand.buffer->create_src_buffer(late, hand.buffer.get(), 2);
        EXPECT_TRUE(late.empty());
        expect_status(hand.chain.manager(), NUV_ERR_SEQUENCE,
                      "NUV_DstBufferImpl::create_src_buffer()");
    }
}

TEST(DstBufferProxy, RefusesEverythingUntilItHasARealBuffer)
{
    NUV_TestChain chain;
    auto proxy = make_object<NUV_DstBufferProxy>(chain.manager());
    std::uint32_t count = 1;
    std::uint8_t byte = 0;
    EXPECT_FALSE(proxy->get() || proxy->peek(0, &count) || proxy->copy_block(&byte, 0, &count));
    EXPECT_STREQ(chain.status().method, "NUV_DstBufferProxy::get()");
    EXPECT_FALSE(proxy->release(0) || proxy->advance(nullptr, 0) || proxy->src_block_bytes(1));
    EXPECT_FALSE(proxy->create_src_buffer() || proxy->block_bytes(0) || proxy->attach(nullptr));

    auto real = make_initiated<NUV_STBlockDstBuffer>(chain.manager(), std::uint64_t{10});
    ASSERT_TRUE(proxy->block_bytes(11));
    EXPECT_FALSE(proxy->attach(real.get())) << "a block above the limit";
    ASSERT_TRUE(proxy->block_bytes(10));
    ASSERT_TRUE(proxy->attach(real.get()));
    EXPECT_FALSE(proxy->attach(real.get())) << "there is one";
    static_cast<void>(real.release());
}

} // namespace
} // namespace nuv
