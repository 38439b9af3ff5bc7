#include "core/scale/nuv_scaleengine.h"

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_failure.h"
#include "framework/engine/nuv_stepblocks.h"

namespace nuv {

bool NUV_ScaleWidthEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                    NUV_DstBuffer* dst, std::uint32_t width, const char* method)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (width == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ScaleWidthEngine::initiate()");
    header_.width(width);
    const auto line_bytes = header_.checked_line_bytes();
    if (!line_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    source_width_ = header->width();
    destination_width_ = width;
    channels_ = header->channels();
    source_line_bytes_ = header->line_bytes();
    destination_line_bytes_ = *line_bytes;
    return src->block_bytes(source_line_bytes_) && dst->block_bytes(destination_line_bytes_);
}

bool NUV_ScaleWidthEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    NUV_InputBlock in(*src_buffer_);
    if (!in)
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    process_line(in.as<std::uint8_t>(), out.as<std::uint8_t>());
    const bool released = in.release();
    const bool committed = out.commit(destination_line_bytes_);
    ++line_;
    return released && committed;
}

bool NUV_ScaleHeightEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                     NUV_DstBuffer* dst, std::uint32_t height)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (height == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ScaleHeightEngine::initiate()");

    header_.height(height);
    source_height_ = header->height();
    destination_height_ = height;
    line_bytes_ = header->line_bytes();
    ratio_ = scale_ratio(source_height_, height);
    return src->block_bytes(line_bytes_) && dst->block_bytes(line_bytes_);
}

} // namespace nuv
