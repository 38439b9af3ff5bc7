#include "core/rotate/nuv_rotate90.h"
#include "core/rotate/source/nuv_rotate90engines.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_Rotate90QDRLEEngine::cleanup()
{
    edges_.reset();
    buffer_.reset();
    line_.clear();
    return NUV_ProcessEngine::cleanup();
}

bool NUV_Rotate90QDRLEEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                       NUV_DstBuffer* dst, std::int32_t angle)
{
    const NUV_Angle wanted(angle);

    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!holds_runs(*header) || !checked_run_line_bytes(header->width()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (!wanted.is_quarter_turn())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    angle_ = wanted.normalized();
    if (wanted.exchanges_sides()) {
        header_.width(header->height());
        header_.height(header->width());
    }
    const auto block_bytes = checked_run_line_bytes(header_.width());
    if (!block_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    buffer_ = make_initiated<NUV_QDRLEBuffer>(manager(), src, header);
    if (!buffer_)
        return false;
    if (wanted.exchanges_sides()) {
        // A clockwise turn makes the left column the first line; the other way it is the right one.
        const auto order =
            angle_ == 90 ? NUV_EdgeList::Order::from_left : NUV_EdgeList::Order::from_right;
        edges_ = make_initiated<NUV_EdgeList>(manager(), header->width(), order);
        if (!edges_)
            return false;
    }
    return dst->block_bytes(*block_bytes);
}

// A run of the source crosses many output lines, so the first of those is known only when the last
// source line has been read.
bool NUV_Rotate90QDRLEEngine::build()
{
    if (!buffer_->load())
        return false;
    if (!edges_)
        return true;
    const std::uint32_t height = buffer_->height();
    for (std::uint32_t y = 0; y < height; ++y) {
        const auto above = y == 0 ? std::span<const NUV_QDRLERun>() : buffer_->line(y - 1);
        if (!edges_->add_line(y, above, buffer_->line(y)))
            return false;
    }
    if (!edges_->add_line(height, buffer_->line(height - 1), {}))
        return false;
    buffer_.reset();
    return edges_->finish();
}

bool NUV_Rotate90QDRLEEngine::turn_line()
{
    line_.clear();
    if (angle_ == 90)
        return edges_->next_column_upward(line_, header_.width());
    if (angle_ == 270)
        return edges_->next_column(line_);
    const auto runs = buffer_->line(header_.height() - 1 - row_);
    const std::uint32_t last_column = header_.width() - 1;
    for (std::size_t i = runs.size(); i > 0; --i) {
        if (!line_.add(last_column - runs[i - 1].end, last_column - runs[i - 1].start))
            return false;
    }
    return true;
}

bool NUV_Rotate90QDRLEEngine::execute()
{
    if (row_ >= header_.height())
        return false;
    if (!built_) {
        built_ = true;
        if (!build())
            return false;
    }
    if (!turn_line())
        return false;
    ++row_;
    return line_.write(dst_buffer_);
}

NUV_Engine* NUV_Rotate90QDRLE::engine(NUV_Engine* previous, std::int32_t angle)
{
    if (!accepts_image(previous, "NUV_Rotate90QDRLE::engine()"))
        return nullptr;
    if (NUV_Angle(angle).is_whole_turn())
        return previous;
    return append_new<NUV_Rotate90QDRLEEngine>(*previous, angle);
}

} // namespace nuv
