#include "framework/engine/nuv_processlinetolineengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

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
    if (dst_buffer_->is_passed_over()) {
        ++line_;
        return src_buffer_->skip() && dst_buffer_->deliver_unseen();
    }
    NUV_InputBlock in(*src_buffer_);
    if (!in)
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    const bool done = process_line(in.data(), out.data());
    const bool committed = out.commit(done ? header_.line_bytes() : 0);
    const bool released = in.release();
    ++line_;
    return done && committed && released;
}

} // namespace nuv
