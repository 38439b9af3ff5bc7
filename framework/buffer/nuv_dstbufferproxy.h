#pragma once

#include "framework/buffer/nuv_dstbufferimpl.h"

#include <cstdint>

namespace nuv {

class NUV_DstBufferBase;

// Stands in for the real buffer until the engine that writes it has its final header, and remains
// what engines, readers and the relation know.
class NUV_DstBufferProxy final : public NUV_DstBufferImpl {
public:
    using NUV_DstBufferImpl::create_src_buffer;
    using NUV_DstBufferImpl::NUV_DstBufferImpl;

    // The proxy owns `real` from now on. False, without owning it, when `real` is null, refuses the
    // block size, or is not the first.
    [[nodiscard]] bool attach(NUV_DstBufferBase* real);

    bool end() override;
    bool cleanup() override;
    [[nodiscard]] std::uint32_t block_bytes() const override;
    [[nodiscard]] bool block_bytes(std::uint32_t bytes) override;
    [[nodiscard]] void* get() override;
    [[nodiscard]] bool release(std::uint32_t bytes) override;
    [[nodiscard]] std::uint32_t wanted_blocks() const override;
    [[nodiscard]] void* get_blocks(std::uint32_t most, std::uint32_t* count) override;
    [[nodiscard]] bool deliver_standing(const void* data, std::uint32_t blocks) override;
    [[nodiscard]] bool deliver_unseen() override;
    [[nodiscard]] std::uint32_t src_block_bytes() const override;
    [[nodiscard]] bool src_block_bytes(std::uint32_t bytes) override;
    [[nodiscard]] bool copy_blocks(void* into, std::uint32_t most, std::uint64_t position,
                                   std::uint32_t* count) override;
    [[nodiscard]] const void* peek_blocks(std::uint32_t most, std::uint64_t position,
                                          std::uint32_t* count) override;
    [[nodiscard]] std::uint32_t pass_over(std::uint64_t position) override;
    [[nodiscard]] bool advance(const NUV_SrcBuffer* reader, std::uint64_t position) override;
    bool src_end(const NUV_SrcBuffer* reader) override;
    [[nodiscard]] NUV_DstBuffer* holder() override;
    [[nodiscard]] NUV_SrcBuffer* create_src_buffer() override;
    void create_src_buffers(NUV_Vector<NUV_SrcBuffer*>& result, std::uint32_t count) override;
    bool flush() override;
    bool seal() override { return true; }

private:
    NUV_DstBufferBase* real_ = nullptr;
    std::uint32_t block_bytes_ = 0; // what was set before there was a real buffer
};

} // namespace nuv
