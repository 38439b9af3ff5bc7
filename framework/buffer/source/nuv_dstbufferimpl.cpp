#include "framework/buffer/nuv_dstbufferimpl.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/buffer/nuv_srcbuffer.h"

#include <cstring>

namespace nuv {

bool NUV_DstBuffer::deliver_standing(const void* data, std::uint32_t blocks)
{
    const std::uint32_t bytes = block_bytes();
    const auto* from = static_cast<const std::uint8_t*>(data);
    for (; blocks > 0; --blocks, from += bytes) {
        void* const room = get();
        if (!room)
            return false;
        std::memcpy(room, from, bytes);
        if (!release(bytes))
            return false;
    }
    return true;
}

std::uint32_t NUV_DstBuffer::pass_over(std::uint64_t position)
{
    std::uint32_t count = 0;
    static_cast<void>(peek(position, &count));
    return count;
}

NUV_SrcBuffer* NUV_DstBufferImpl::create_src_buffer(NUV_DstBuffer* owner)
{
    if (src_created_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferImpl::create_src_buffer()");
    auto reader = make_initiated<NUV_SrcBufferImpl>(manager(), owner);
    if (reader)
        src_created_ = true;
    return reader.release();
}

void NUV_DstBufferImpl::create_src_buffer(NUV_Vector<NUV_SrcBuffer*>& result, NUV_DstBuffer* owner,
                                          std::uint32_t count)
{
    result.clear();
    if (count == 0) {
        fail(manager(), NUV_ERR_ARGUMENT, "NUV_DstBufferImpl::create_src_buffer()");
        return;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        NUV_Held<NUV_SrcBuffer> reader = make_initiated<NUV_SrcBufferImpl>(manager(), owner);
        if (!reader || !result.push_back(reader.get())) {
            for (NUV_SrcBuffer* made : result.items())
                made->end();
            result.clear();
            return;
        }
        static_cast<void>(reader.release());
    }
    src_created_ = true;
}

} // namespace nuv
