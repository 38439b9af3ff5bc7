#include "framework/engine/nuv_bufferoutputengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/buffer/nuv_dstbufferimpl.h"
#include "framework/engine/nuv_nop.h"

#include <utility>

namespace nuv {

bool NUV_BufferOutputEngine::end()
{
    if (auto* buffer = dynamic_cast<NUV_DstBufferImpl*>(dst_buffer_))
        buffer->flush();
    return NUV_Engine::end();
}

bool NUV_BufferOutputEngine::cleanup()
{
    NUV_DstBuffer* dst = std::exchange(dst_buffer_, nullptr);
    return initiated() && dst ? dst->end() : true;
}

NUV_SrcBuffer* NUV_BufferOutputEngine::src_buffer()
{
    return dst_buffer_ ? dst_buffer_->create_src_buffer() : nullptr;
}

NUV_Vector<NUV_Engine*> NUV_BufferOutputEngine::branch(std::uint32_t count)
{
    NUV_Vector<NUV_Engine*> branches(manager());
    NUV_Vector<NUV_SrcBuffer*> readers(manager());
    if (dst_buffer_)
        dst_buffer_->create_src_buffers(readers, count);
    const bool complete = readers.size() == count && count > 0;
    if (!complete || !branches.resize(count)) {
        for (NUV_SrcBuffer* reader : readers.items())
            reader->end();
        return branches;
    }
    bool all = true;
    for (std::uint32_t i = 0; i < count; ++i) {
        // From here on the reader is the new engine's, or has been ended.
        branches[i] = NUV_Nop(manager()).engine(header(), readers[i]);
        all = all && branches[i];
    }
    if (!all)
        branches.clear();
    return branches;
}

bool NUV_BufferOutputEngine::initiate(const NUV_Header* header, NUV_DstBuffer* dst)
{
    constexpr auto method = "NUV_BufferOutputEngine::initiate()";

    if (!NUV_Engine::initiate())
        return false;
    if (!header || !dst)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!header->checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method,
                    NUV_Diagnosis()
                        .because(NUV_Cause::limit)
                        .says("lines of %u pixels of %u x %u bits", header->width(),
                              unsigned{header->channels()}, unsigned{header->bits()}));
    if (!header_.copy(*header))
        return false;
    dst_buffer_ = dst;
    return true;
}

} // namespace nuv
