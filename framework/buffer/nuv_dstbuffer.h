#pragma once

#include "framework/base/nuv_object.h"

#include <cstdint>

namespace nuv {

class NUV_SrcBuffer;
template <class T>
class NUV_Vector;

// The place between one writing engine and the engines that read its output. Both sides see one
// stream of bytes; each side has its own block size. Only the stretch between the slowest reader
// and the writer is held.
class NUV_DstBuffer : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

    // Writer. The block size in bytes, fixed before the first get().
    [[nodiscard]] virtual std::uint32_t block_bytes() const = 0;
    [[nodiscard]] virtual bool block_bytes(std::uint32_t bytes) = 0;
    // Room for one block, or null. Exactly one release() follows.
    [[nodiscard]] virtual void* get() = 0;
    // So many bytes of the block are written, 0 to block_bytes().
    [[nodiscard]] virtual bool release(std::uint32_t bytes) = 0;

    // How many blocks the reader waits for whose wish makes the writer run; 1 where that is not
    // known.
    [[nodiscard]] virtual std::uint32_t wanted_blocks() const { return 1; }
    // get() of up to `most` blocks, one behind the other: more than one where the reader has
    // brought memory for them. One release() tells the bytes of all.
    [[nodiscard]] virtual void* get_blocks([[maybe_unused]] std::uint32_t most,
                                           std::uint32_t* count)
    {
        *count = 1;
        return get();
    }

    // get() and release() of whole blocks that stand at `data`, one behind the other, and stay
    // there as they are for as long as anybody reads the buffer: they need not be copied. Who
    // delivers some so delivers all so, each behind the last in memory unless readers' blocks have
    // the size of the writer's.
    [[nodiscard]] virtual bool deliver_standing(const void* data, std::uint32_t blocks);

    // At the beginning of a step: nobody will look at the next block, so that it need not be made.
    // deliver_unseen() takes the place of its get() and release() then.
    [[nodiscard]] bool is_passed_over() const noexcept { return is_passed_over_; }
    [[nodiscard]] virtual bool deliver_unseen() { return false; }

    // Readers. One block size for all of them.
    [[nodiscard]] virtual std::uint32_t src_block_bytes() const = 0;
    [[nodiscard]] virtual bool src_block_bytes(std::uint32_t bytes) = 0;
    // Copies the block at stream offset `position` to `into`, which has room for a whole block and
    // stays valid until the reader's next release(): the writer may write straight into it.
    // `count` receives the bytes that came, fewer than a block at the end of the stream.
    [[nodiscard]] bool copy_block(void* into, std::uint64_t position, std::uint32_t* count)
    {
        return copy_blocks(into, 1, position, count);
    }
    // The same without a copy. Null, with a count of 0, at the end of the stream.
    [[nodiscard]] const void* peek(std::uint64_t position, std::uint32_t* count)
    {
        return peek_blocks(1, position, count);
    }
    // The same for up to `most` blocks, which are less than 2^32 bytes: more than one where the
    // writer can write straight into `into`, or where they stand one behind the other.
    [[nodiscard]] virtual bool copy_blocks(void* into, std::uint32_t most, std::uint64_t position,
                                           std::uint32_t* count) = 0;
    [[nodiscard]] virtual const void* peek_blocks(std::uint32_t most, std::uint64_t position,
                                                  std::uint32_t* count) = 0;
    // The bytes that peek() would count, of a block that no reader will look at.
    [[nodiscard]] virtual std::uint32_t pass_over(std::uint64_t position);
    // `reader` has finished with everything before `position`.
    [[nodiscard]] virtual bool advance(const NUV_SrcBuffer* reader, std::uint64_t position) = 0;
    // `reader` is gone.
    virtual bool src_end(const NUV_SrcBuffer* reader) = 0;

    // Where the bytes are: this buffer or the one that it stands for. Null where that is to come.
    [[nodiscard]] virtual NUV_DstBuffer* holder() { return this; }

    // New readers whose destination is `owner`: one, or `count` of them into `result`, which is
    // empty after a failure.
    [[nodiscard]] virtual NUV_SrcBuffer* create_src_buffer(NUV_DstBuffer* owner) = 0;
    virtual void create_src_buffer(NUV_Vector<NUV_SrcBuffer*>& result, NUV_DstBuffer* owner,
                                   std::uint32_t count) = 0;
    // New readers of this buffer itself.
    [[nodiscard]] virtual NUV_SrcBuffer* create_src_buffer() = 0;
    virtual void create_src_buffers(NUV_Vector<NUV_SrcBuffer*>& result, std::uint32_t count) = 0;

    // Nothing is held back on the writer's side, so there is nothing to do.
    virtual bool flush() { return true; }
    // The writer is gone, or its block size is final.
    virtual bool seal() = 0;

    void is_passed_over(bool passed) noexcept { is_passed_over_ = passed; }

private:
    bool is_passed_over_ = false;
};

} // namespace nuv
