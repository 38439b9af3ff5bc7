#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/buffer/nuv_dstbufferbase.h"
#include "framework/engine/nuv_engine.h"

namespace nuv {

// Makes proxies.
class NUV_WorkflowImpl : public NUV_Workflow {
public:
    explicit NUV_WorkflowImpl(NUV_Manager& manager) noexcept : manager_(&manager) {}

    NUV_DstBuffer* create_dst_buffer_proxy() override;
    std::uint32_t default_block_bytes() const override { return 4096; }

    // The real buffer of an engine whose header is final. Null after a status.
    [[nodiscard]] virtual NUV_DstBufferBase* create_dst_buffer(NUV_Engine* engine) = 0;
    // Steps an engine; one that answers false is ended.
    virtual bool run_step(NUV_Engine* engine) = 0;

protected:
    [[nodiscard]] NUV_Manager& manager() const noexcept { return *manager_; }

private:
    NUV_Manager* manager_;
};

// Runs engines on the caller's thread, over buffers of blocks.
class NUV_BlockWorkflow final : public NUV_WorkflowImpl {
public:
    using NUV_WorkflowImpl::NUV_WorkflowImpl;

    // A raw image may not pass 2^32 - 1 bytes, a coded stream not 2^30.
    [[nodiscard]] NUV_DstBufferBase* create_dst_buffer(NUV_Engine* engine) override;
    bool run_step(NUV_Engine* engine) override;

    // Gives a proxy its real buffer; a buffer that is no proxy stays as it is. False after a
    // status.
    [[nodiscard]] bool attach_dst_buffer(NUV_Engine* engine, NUV_DstBuffer* dst);

    // The table that belongs to this way of running; null without memory.
    [[nodiscard]] NUV_Relation* create_relation();
};

} // namespace nuv
