#pragma once

#include "framework/buffer/nuv_dstbuffer.h"
#include "framework/containers/nuv_vector.h"

namespace nuv {

// Makes readers.
class NUV_DstBufferImpl : public NUV_DstBuffer {
public:
    using NUV_DstBuffer::create_src_buffer;
    using NUV_DstBuffer::NUV_DstBuffer;

    // A buffer gives out one reader this way, once; a second request is NUV_ERR_SEQUENCE.
    [[nodiscard]] NUV_SrcBuffer* create_src_buffer(NUV_DstBuffer* owner) override;
    void create_src_buffer(NUV_Vector<NUV_SrcBuffer*>& result, NUV_DstBuffer* owner,
                           std::uint32_t count) override;

private:
    bool src_created_ = false;
};

} // namespace nuv
