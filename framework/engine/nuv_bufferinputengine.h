#pragma once

#include "framework/base/nuv_header.h"
#include "framework/buffer/nuv_srcbuffer.h"

namespace nuv {

// The other half of an engine: it reads from a buffer. Always a second base.
class NUV_BufferInputEngine {
public:
    explicit NUV_BufferInputEngine(NUV_Manager& manager) noexcept : input_manager_(&manager) {}
    virtual ~NUV_BufferInputEngine() = default;
    NUV_BufferInputEngine(const NUV_BufferInputEngine&) = delete;
    NUV_BufferInputEngine& operator=(const NUV_BufferInputEngine&) = delete;

    // NUV_ERR_ARGUMENT for a null and for a header that is not valid.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src);
    // Ends the reader if it is owned, that is when the engine was initiated.
    bool cleanup(bool initiated);

protected:
    NUV_SrcBuffer* src_buffer_ = nullptr;

private:
    NUV_Manager* input_manager_;
};

} // namespace nuv
