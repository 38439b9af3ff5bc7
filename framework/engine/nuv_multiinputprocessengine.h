#pragma once

#include "framework/engine/nuv_bufferoutputengine.h"

#include <span>

namespace nuv {

// The input half of an engine that reads several buffers. Always a second base.
class NUV_NBuffersInputEngine {
public:
    explicit NUV_NBuffersInputEngine(NUV_Manager& manager) noexcept
        : headers_(manager),
          src_buffers_(manager),
          input_manager_(&manager)
    {}
    virtual ~NUV_NBuffersInputEngine() = default;
    NUV_NBuffersInputEngine(const NUV_NBuffersInputEngine&) = delete;
    NUV_NBuffersInputEngine& operator=(const NUV_NBuffersInputEngine&) = delete;

    // One valid header for each source, and at least one; NUV_ERR_ARGUMENT otherwise. The headers
    // are copied.
    [[nodiscard]] bool initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources);
    // Frees the headers, and ends the readers if they are owned.
    bool cleanup(bool initiated);

protected:
    NUV_Vector<NUV_Header*> headers_;
    NUV_Vector<NUV_SrcBuffer*> src_buffers_;

private:
    [[nodiscard]] bool keep_header(const NUV_Header* header);

    NUV_Manager* input_manager_;
};

// Several inputs, one output. The output takes the first input's description.
class NUV_MultiInputProcessEngine : public NUV_BufferOutputEngine, public NUV_NBuffersInputEngine {
public:
    explicit NUV_MultiInputProcessEngine(NUV_Manager& manager) noexcept
        : NUV_BufferOutputEngine(manager),
          NUV_NBuffersInputEngine(manager)
    {}

    // The sources first, then the destination.
    bool cleanup() override;
    [[nodiscard]] bool initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst);
};

} // namespace nuv
