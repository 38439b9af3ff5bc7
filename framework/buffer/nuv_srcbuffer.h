#pragma once

#include "framework/base/nuv_object.h"
#include "framework/buffer/nuv_dstbuffer.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// One engine's reader of another engine's output. A step is a get() in one of its forms, then one
// release().
class NUV_SrcBuffer : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

    // Bytes of a block. Settable before the first get() only.
    [[nodiscard]] virtual std::uint32_t block_bytes() const = 0;
    [[nodiscard]] virtual bool block_bytes(std::uint32_t bytes) = 0;

    // The next block, copied to `into`, which has room for block_bytes() and stays valid until the
    // next release(). With a `count` the last block may be short and count tells how many bytes
    // came; with null a short block is the end of the stream, and the answer false.
    [[nodiscard]] virtual bool get(void* into, std::uint32_t* count) = 0;
    // The next block in place, valid until the next release(); null where the other form is false.
    [[nodiscard]] virtual const void* get(std::uint32_t* count) = 0;
    // Done with the block that get() gave.
    [[nodiscard]] virtual bool release() = 0;
    // Passes the next block over, for which nobody need make it, when none is to be released. False
    // where there is no whole one.
    [[nodiscard]] virtual bool skip() = 0;

    // Up to `most` blocks in one step, where more than one can be had at no cost: copied to `into`,
    // of which `count` tells how many bytes came; or in place, whole blocks alone, of which
    // `blocks` tells how many. There is room for `most`, which are less than 2^32 bytes.
    [[nodiscard]] virtual bool get_blocks(void* into, std::uint32_t most, std::uint32_t* count) = 0;
    [[nodiscard]] virtual const void* get_blocks(std::uint32_t most, std::uint32_t* blocks) = 0;
    // Done with so many of them, of copied ones with all; this ends the step. Others come again.
    [[nodiscard]] virtual bool release_blocks(std::uint32_t blocks) = 0;

    // Where the buffer that holds the bytes keeps this reader, so that it need not search.
    [[nodiscard]] std::size_t place() const noexcept { return place_; }
    void place(std::size_t place) noexcept { place_ = place; }

private:
    std::size_t place_ = 0;
};

// A reader of a destination buffer, usually by way of its proxy.
class NUV_SrcBufferImpl final : public NUV_SrcBuffer {
public:
    using NUV_SrcBuffer::NUV_SrcBuffer;

    // Starts at offset 0 with the writer's block size. `dst` lives as long as this reader.
    [[nodiscard]] bool initiate(NUV_DstBuffer* dst);
    bool cleanup() override;

    [[nodiscard]] std::uint32_t block_bytes() const override;
    [[nodiscard]] bool block_bytes(std::uint32_t bytes) override;
    [[nodiscard]] bool get(void* into, std::uint32_t* count) override;
    [[nodiscard]] const void* get(std::uint32_t* count) override;
    [[nodiscard]] bool release() override;
    [[nodiscard]] bool skip() override;
    [[nodiscard]] bool get_blocks(void* into, std::uint32_t most, std::uint32_t* count) override;
    [[nodiscard]] const void* get_blocks(std::uint32_t most, std::uint32_t* blocks) override;
    [[nodiscard]] bool release_blocks(std::uint32_t blocks) override;

private:
    [[nodiscard]] NUV_DstBuffer& from() noexcept { return holder_ ? *holder_ : *dst_; }
    [[nodiscard]] bool copy(void* into, std::uint32_t most, std::uint32_t* got);
    [[nodiscard]] const void* look(std::uint32_t most, std::uint32_t* got);
    [[nodiscard]] std::uint32_t block_bytes_once();
    [[nodiscard]] bool take(std::uint32_t got, std::uint32_t* count);

    NUV_DstBuffer* dst_ = nullptr;
    NUV_DstBuffer* holder_ = nullptr; // where dst_ has the bytes, from the first block on
    std::uint64_t position_ = 0;      // of the next byte in the stream
    std::uint32_t block_ = 0;         // bytes of a block, fixed by the first get()
    std::uint64_t gets_ = 0;
    std::uint64_t releases_ = 0;
};

} // namespace nuv
