#include "framework/buffer/nuv_stblockdstbuffer.h"

#include "framework/base/nuv_held.h"
#include "framework/buffer/nuv_dstbufferproxy.h"
#include "framework/buffer/nuv_srcbuffer.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

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
    EXPECT_EQ(ByHand(100, 64).buffer->mem_block_bytes(), 128u);
    EXPECT_EQ(ByHand(128, 64).buffer->mem_block_bytes(), 192u); // one more than needed
    EXPECT_EQ(ByHand(64, 128).buffer->mem_block_bytes(), 128u);

    ByHand wide(0xFFFFFF00, 0xFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(wide.buffer->mem_block_bytes(), 0u);
    EXPECT_EQ(wide.chain.status().code, NUV_ERR_UNSUPPORTED);
    EXPECT_STREQ(wide.chain.status().method, "NUV_STBlockDstBuffer::mem_block_bytes()");
}

// Every pair of block sizes, through straddling writes, with a last block that comes short; the
// reader copies, looks in place, or does both in turn.
TEST(STBlockDstBuffer, CarriesTheStreamForEveryPairOfBlockSizes)
{
    const auto stream = random_samples<std::uint8_t>(331, 5);
    for (std::uint32_t block = 1; block <= 40; ++block) {
        for (std::uint32_t src_block = 1; src_block <= 40; ++src_block) {
            for (const int form : {0, 1, 2}) {
                NUV_TestChain chain;
                chain.source_bytes({.encode_type = NUV_EncodeType::unknown}, stream, block);
                NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
                ASSERT_TRUE(reader->block_bytes(src_block));
                std::vector<std::uint8_t> got;
                std::vector<std::uint8_t> into(src_block);
                for (int turn = 0;; ++turn) {
                    std::uint32_t count = 77;
                    const void* from = into.data();
                    if (form == 0 || (form == 2 && turn % 3 == 0))
                        from = reader->get(into.data(), &count) ? from : nullptr;
                    else
                        from = reader->get(&count);
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

TEST(STBlockDstBuffer, LendsTheReadersMemoryToTheWriterAndForgetsItWhenTheBlockStaysShort)
{
    ByHand hand(8, 8, 16);
    NUV_STBlockDstBuffer& buffer = *hand.buffer;
    std::vector<std::uint8_t> into(8, 0xEE);

    // Nobody writes, so nothing comes; but the reader's memory must not stay in the buffer.
    std::uint32_t count = 1;
    EXPECT_FALSE(buffer.copy_block(into.data(), 0, &count));
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(buffer.get(), nullptr);
    EXPECT_EQ(into, std::vector<std::uint8_t>(8, 0xEE));
}

// Writes blocks of a buffer without a proxy, and tells when it is gone.
class HandWriter final : public NUV_Engine {
public:
    HandWriter(NUV_Manager& manager, NUV_DstBuffer& buffer, int blocks, bool& gone)
        : NUV_Engine(manager),
          buffer_(&buffer),
          blocks_(blocks),
          gone_(&gone)
    {}
    bool cleanup() override
    {
        *gone_ = true;
        return NUV_Engine::cleanup();
    }
    bool execute() override
    {
        void* out = blocks_ > 0 ? buffer_->get() : nullptr;
        if (!out)
            return false;
        std::memset(out, blocks_--, buffer_->block_bytes());
        return buffer_->release(buffer_->block_bytes());
    }
    const NUV_Header* header() const override { return nullptr; }
    NUV_SrcBuffer* src_buffer() override { return nullptr; }
    NUV_Vector<NUV_Engine*> branch(std::uint32_t) override
    {
        return NUV_Vector<NUV_Engine*>(manager());
    }

private:
    NUV_DstBuffer* buffer_;
    int blocks_;
    bool* gone_;
};

TEST(STBlockDstBuffer, ForgetsLentMemoryWithItsReaderAndLetsGoOfAWriterThatIsDone)
{
    bool gone = false;
    ByHand hand(8, 8, 16);
    NUV_STBlockDstBuffer& buffer = *hand.buffer;
    buffer.owner(&buffer);
    NUV_Held<NUV_Engine> writer =
        make_object<HandWriter>(hand.chain.manager(), buffer, /*blocks=*/2, gone);
    writer->set_initiated();
    ASSERT_NE(hand.chain.manager().add(writer.get(), &buffer), nullptr);
    static_cast<void>(writer.release());

    std::vector<std::uint8_t> into(16);
    ASSERT_TRUE(hand.reader->get(into.data(), nullptr));
    ASSERT_TRUE(hand.reader->release());
    EXPECT_FALSE(gone);
    ASSERT_TRUE(hand.reader->get(into.data() + 8, nullptr));
    EXPECT_EQ(into, (std::vector<std::uint8_t>{2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_TRUE(gone) << "with the last block, not with a get beyond it";
    hand.reader.reset(); // in the middle of a step
    std::uint32_t count = 1;
    EXPECT_EQ(buffer.peek(8, &count), nullptr) << "the reader's memory";
}

// An engine that checks where it is asked to write.
TEST(STBlockDstBuffer, GivesTheWriterTheReadersOwnMemory)
{
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 8, .height = 2}, random_samples<std::uint8_t>(16, 1));
    NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
    const std::size_t live = chain.manager().memory().live();
    std::vector<std::uint8_t> into(8);
    for (int line = 0; line < 2; ++line) {
        ASSERT_TRUE(reader->get(into.data(), nullptr));
        ASSERT_TRUE(reader->release());
    }
    // No block was ever allocated; what the vector of blocks took, and the ended source gave back,
    // is all that may differ.
    EXPECT_LE(chain.manager().memory().live(), live + 1);
    EXPECT_FALSE(reader->get(into.data(), nullptr));
}

TEST(STBlockDstBuffer, SplitsABouncedBlockAndKeepsAnEmptyReleaseEmpty)
{
    ByHand hand(100, 64, 400);
    ASSERT_TRUE(hand.write(100));
    EXPECT_NE(hand.buffer->get(), nullptr);
    EXPECT_TRUE(hand.buffer->release(0));
    EXPECT_EQ(hand.buffer->held_blocks(), 1u);
    ASSERT_TRUE(hand.write(100)); // 28 bytes to the first block, 72 to the second
    EXPECT_EQ(hand.buffer->held_blocks(), 2u);
    std::uint32_t count = 0;
    const auto* second = static_cast<const std::uint8_t*>(hand.buffer->peek(64, &count));
    ASSERT_EQ(count, 64u);
    EXPECT_EQ(second[35], 1);
    EXPECT_EQ(second[36], 2);
    const auto* third = static_cast<const std::uint8_t*>(hand.buffer->peek(128, &count));
    EXPECT_EQ(third[0], 2);
}

TEST(STBlockDstBuffer, RefusesWhatIsOutOfOrder)
{
    ByHand hand(10, 10, 20);
    NUV_STBlockDstBuffer& buffer = *hand.buffer;
    const auto expect_status = [&](NUV_StatusCode code, const char* method) {
        EXPECT_EQ(hand.chain.status().code, code);
        EXPECT_STREQ(hand.chain.status().method, method);
        hand.chain.manager().reset();
    };
    EXPECT_FALSE(buffer.release(1));
    expect_status(NUV_ERR_SEQUENCE, "NUV_STBlockDstBuffer::release()");
    EXPECT_FALSE(buffer.block_bytes(5));
    expect_status(NUV_ERR_SEQUENCE, "NUV_DstBufferBase::block_bytes()");
    EXPECT_EQ(buffer.create_src_buffer(&buffer), nullptr) << "a second reader";
    expect_status(NUV_ERR_SEQUENCE, "NUV_DstBufferImpl::create_src_buffer()");

    ASSERT_NE(buffer.get(), nullptr);
    EXPECT_EQ(buffer.get(), nullptr) << "twice";
    expect_status(NUV_ERR_SEQUENCE, "NUV_STBlockDstBuffer::get()");
    EXPECT_FALSE(buffer.release(11));
    expect_status(NUV_ERR_ARGUMENT, "NUV_STBlockDstBuffer::release()");
    EXPECT_TRUE(buffer.release(10));
    EXPECT_FALSE(buffer.src_block_bytes(20)) << "memory is cut already";
    expect_status(NUV_ERR_SEQUENCE, "NUV_DstBufferBase::src_block_bytes()");
    EXPECT_TRUE(buffer.src_block_bytes(10));
    EXPECT_FALSE(hand.reader->release());
    expect_status(NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::release()");

    ASSERT_TRUE(hand.write(10));
    EXPECT_NE(buffer.get(), nullptr) << "at the limit, but not above it";
    EXPECT_TRUE(buffer.release(0));
    ASSERT_NE(hand.reader->get(static_cast<std::uint32_t*>(nullptr)), nullptr);
    EXPECT_FALSE(hand.reader->block_bytes(10)) << "after the first get";
    expect_status(NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::block_bytes()");
    buffer.seal();
    EXPECT_TRUE(buffer.src_block_bytes(10));
    EXPECT_EQ(buffer.get(), nullptr) << "sealed for good";
    expect_status(NUV_ERR_SEQUENCE, "NUV_STBlockDstBuffer::get()");
}

TEST(STBlockDstBuffer, ReadersOfWholeBlocksGetNothingOfAShortLastOne)
{
    ByHand hand(10, 10, 100);
    ASSERT_TRUE(hand.write(4));
    EXPECT_EQ(hand.reader->get(static_cast<std::uint32_t*>(nullptr)), nullptr);
    EXPECT_FALSE(hand.reader->release()) << "that was no get";
    hand.chain.manager().reset();
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
}

TEST(STBlockDstBuffer, HasNoReadersThatWouldMissTheBeginning)
{
    for (const bool is_dropped : {false, true}) {
        ByHand hand(10, 10, 20);
        ASSERT_TRUE(hand.write(10));
        NUV_Vector<NUV_SrcBuffer*> late(hand.chain.manager());
        ASSERT_NE(hand.reader->get(nullptr), nullptr); // the block may be lent, or be dropped
        if (is_dropped) {
            ASSERT_TRUE(hand.reader->release());
        }
        hand.buffer->create_src_buffer(late, hand.buffer.get(), 2);
        EXPECT_TRUE(late.empty());
        EXPECT_EQ(hand.chain.status().code, NUV_ERR_SEQUENCE);
        EXPECT_STREQ(hand.chain.status().method, "NUV_DstBufferImpl::create_src_buffer()");
        for (NUV_SrcBuffer* reader : late.items())
            reader->end();
    }
}

TEST(DstBufferProxy, RefusesEverythingUntilItHasARealBuffer)
{
    NUV_TestChain chain;
    auto proxy = make_object<NUV_DstBufferProxy>(chain.manager());
    std::uint32_t count = 1;
    std::uint8_t byte = 0;
    EXPECT_EQ(proxy->get(), nullptr);
    EXPECT_STREQ(chain.status().method, "NUV_DstBufferProxy::get()");
    EXPECT_EQ(proxy->peek(0, &count), nullptr);
    EXPECT_FALSE(proxy->copy_block(&byte, 0, &count));
    EXPECT_EQ(proxy->create_src_buffer(), nullptr);
    EXPECT_FALSE(proxy->release(0) || proxy->advance(nullptr, 0) || proxy->src_block_bytes(1));
    EXPECT_FALSE(proxy->block_bytes(0));
    EXPECT_FALSE(proxy->attach(nullptr));

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
