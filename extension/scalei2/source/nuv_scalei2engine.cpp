#include "extension/scalei2/source/nuv_scalei2engine.h"

#include "extension/scalei2utility/nuv_scalei2arithmetic.h"
#include "framework/base/nuv_failure.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>

namespace nuv {

double scale_i2_ratio(const NUV_Header& source, std::uint32_t width, std::uint32_t height) noexcept
{
    return std::max(static_cast<double>(width) / source.width(),
                    static_cast<double>(height) / source.height());
}

bool NUV_ScaleI2Engine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                 const NUV_ScaleI2Order& order, std::uint16_t sample_bits)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!takes_scale_i2(*header) || header->bits() != sample_bits)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (order.width == 0 || order.height == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    header_.width(order.width);
    header_.height(order.height);
    const auto line_bytes = header_.checked_line_bytes();
    if (!line_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    ratio_ = scale_i2_ratio(*header, order.width, order.height);
    source_width_ = header->width();
    source_height_ = header->height();
    channels_ = header->channels();
    samples_per_line_ = std::size_t{order.width} * channels_;
    return src->block_bytes(header->line_bytes()) && dst->block_bytes(*line_bytes);
}

bool NUV_ScaleI2Engine::skip_lines(std::uint32_t end)
{
    for (; lines_read_ < end; ++lines_read_) {
        if (!src_buffer_->skip())
            return false;
    }
    return true;
}

} // namespace nuv
