#include "framework/engine/nuv_processplanetolineengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

namespace nuv {

bool NUV_ProcessPlaneToLineEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    const auto plane_bytes = header->checked_plane_bytes();
    if (!header->is_raw() || !plane_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, "NUV_ProcessPlaneToLineEngine::initiate()");
    return src->block_bytes(*plane_bytes);
}

bool NUV_ProcessPlaneToLineEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    if (line_ == 0)
        plane_ = src_buffer_->get(nullptr);
    if (!plane_)
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out) {
        static_cast<void>(src_buffer_->release());
        plane_ = nullptr;
        return false;
    }
    const bool done = process_line(plane_, out.data());
    const bool committed = out.commit(done ? header_.line_bytes() : 0);
    ++line_;
    return done && committed;
}

} // namespace nuv
