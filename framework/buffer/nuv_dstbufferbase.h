#pragma once

#include "framework/buffer/nuv_dstbufferimpl.h"

#include <cstdint>

namespace nuv {

// Block sizes and the state of a buffer that holds bytes.
class NUV_DstBufferBase : public NUV_DstBufferImpl {
public:
    using NUV_DstBufferImpl::create_src_buffer;
    using NUV_DstBufferImpl::NUV_DstBufferImpl;

    // No stream here is longer than `limit_bytes`, which is not 0.
    [[nodiscard]] bool initiate(std::uint64_t limit_bytes);

    [[nodiscard]] std::uint32_t block_bytes() const override { return block_bytes_; }
    [[nodiscard]] bool block_bytes(std::uint32_t bytes) override;
    [[nodiscard]] std::uint32_t src_block_bytes() const override { return src_block_bytes_; }
    [[nodiscard]] bool src_block_bytes(std::uint32_t bytes) override;
    bool seal() override;

    [[nodiscard]] NUV_SrcBuffer* create_src_buffer() override { return nullptr; }
    void create_src_buffers(NUV_Vector<NUV_SrcBuffer*>& result, std::uint32_t count) override;

    // The buffer that readers and the relation know in place of this one.
    void owner(NUV_DstBuffer* owner) noexcept { owner_ = owner; }

protected:
    enum class State : std::uint32_t {
        created, // block_bytes(n) is allowed
        sealed,  // the writer is gone, readers go on
        idle,    // get() is allowed
        in_block,
        in_bounce,
    };

    State state_ = State::created;
    std::uint64_t written_ = 0; // stream bytes that the writer has released
    NUV_DstBuffer* owner_ = nullptr;
    std::uint64_t limit_bytes_ = 0;
    std::uint32_t block_bytes_ = 0;
    std::uint32_t src_block_bytes_ = 0;
    std::uint32_t mem_block_bytes_ = 0; // 0 until it is first asked for
};

} // namespace nuv
