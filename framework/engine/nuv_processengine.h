#pragma once

#include "framework/engine/nuv_bufferinputengine.h"
#include "framework/engine/nuv_bufferoutputengine.h"

namespace nuv {

// One input, one output. A concrete engine that changes the image edits header_ after this
// initiate() and before it sets block sizes.
class NUV_ProcessEngine : public NUV_BufferOutputEngine, public NUV_BufferInputEngine {
public:
    explicit NUV_ProcessEngine(NUV_Manager& manager) noexcept
        : NUV_BufferOutputEngine(manager),
          NUV_BufferInputEngine(manager)
    {}

    // The source first, then the destination.
    bool cleanup() override;

    // `header` describes the input, and at first the output too.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
};

} // namespace nuv
