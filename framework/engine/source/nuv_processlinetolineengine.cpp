#include "framework/engine/nuv_processlinetolineengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_ProcessLineToLineEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                           NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!header->is_raw())
        return fail(manager(), NUV_ERR_UNSUPPORTED, "NUV_ProcessLineToLineEngine::initiate()");
    return src->block_bytes(header->line_bytes());
}

bool NUV_ProcessLineToLineEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    const void* in = src_buffer_->get(nullptr);
    if (!in)
        return false;
    void* out = dst_buffer_->get();
    if (!out) {
        static_cast<void>(src_buffer_->release());
        return false;
    }
    const bool done = process_line(in, out);
    const bool committed = dst_buffer_->release(done ? header_.line_bytes() : 0);
    const bool released = src_buffer_->release();
    ++line_;
    return done && committed && released;
}

} // namespace nuv
