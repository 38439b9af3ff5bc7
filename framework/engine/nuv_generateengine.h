#pragma once

#include "framework/engine/nuv_bufferoutputengine.h"

namespace nuv {

// An engine without an input.
class NUV_GenerateEngine : public NUV_BufferOutputEngine {
public:
    using NUV_BufferOutputEngine::NUV_BufferOutputEngine;

    // NUV_ERR_ARGUMENT also for a header that is not valid.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst);
};

} // namespace nuv
