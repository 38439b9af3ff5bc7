#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_failure.h"
#include "framework/engine/nuv_processengine.h"

#include <cstdint>

namespace nuv {

// Base of the engines that shrink both axes in one pass.
class NUV_ScaleShrinkEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    // NUV_ERR_ARGUMENT with the text `method` for a size of 0 and for one above the source's.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, std::uint32_t height, const char* method)
    {
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (width == 0 || height == 0 || width > header->width() || height > header->height())
            return fail(manager(), NUV_ERR_ARGUMENT, method);

        source_width_ = header->width();
        source_height_ = header->height();
        destination_width_ = width;
        destination_height_ = height;
        channels_ = header->channels();
        ratio_x_ = scale_ratio(source_width_, width);
        ratio_y_ = scale_ratio(source_height_, height);
        header_.width(width);
        header_.height(height);
        return src->block_bytes(header->line_bytes()) && dst->block_bytes(header_.line_bytes());
    }

protected:
    std::uint32_t source_width_ = 0;
    std::uint32_t source_height_ = 0;
    std::uint32_t destination_width_ = 0;
    std::uint32_t destination_height_ = 0;
    std::uint32_t channels_ = 0;
    double ratio_x_ = 1; // source size / destination size
    double ratio_y_ = 1;
    double position_y_ = 0;
    std::uint32_t line_ = 0; // output lines made
};

} // namespace nuv
