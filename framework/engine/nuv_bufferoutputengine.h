#pragma once

#include "framework/engine/nuv_engine.h"

namespace nuv {

// An engine that writes to a buffer. It owns the buffer once it is initiated.
class NUV_BufferOutputEngine : public NUV_Engine {
public:
    explicit NUV_BufferOutputEngine(NUV_Manager& manager) noexcept
        : NUV_Engine(manager),
          header_(manager)
    {}

    bool end() override;
    bool cleanup() override;
    [[nodiscard]] const NUV_Header* header() const override { return &header_; }
    [[nodiscard]] NUV_SrcBuffer* src_buffer() override;
    [[nodiscard]] NUV_Vector<NUV_Engine*> branch(std::uint32_t count) override;

    // Copies `header`. NUV_ERR_ARGUMENT for a null, NUV_ERR_UNSUPPORTED for lines that 32-bit sizes
    // cannot hold.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst);

protected:
    NUV_Header header_; // the output; a concrete initiate() edits it
    NUV_DstBuffer* dst_buffer_ = nullptr;
};

} // namespace nuv
