#include "core/rotate/nuv_rotate90.h"
#include "core/rotate/source/nuv_rotate90engines.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>

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
        edges_ = make_initiated<NUV_EdgeList>(
            manager(), NUV_Turn{header->width(), header->height(), angle_ == 90});
        if (!edges_)
            return false;
    }
    return dst->block_bytes(*block_bytes);
}

// A run of the source crosses many output lines, so the first of those is known only when the last
// source line has been read.
bool NUV_Rotate90QDRLEEngine::build()
{
    if (!edges_)
        return buffer_->load();
    const bool done = buffer_->hand_over(*edges_);
    buffer_.reset();
    return done && edges_->finish();
}

bool NUV_Rotate90QDRLEEngine::execute()
{
    if (row_ >= header_.height())
        return false;
    if (!built_) {
        built_ = true;
        if (!build()) {
            row_ = header_.height(); // no line comes
            return false;
        }
    }
    ++row_;
    if (edges_)
        return edges_->next_column() && write_runs(edges_->column(), *dst_buffer_);
    const auto runs = buffer_->line(header_.height() - row_);
    if (!line_.resize(runs.size()))
        return false;
    const std::uint32_t last_column = header_.width() - 1;
    std::ranges::transform(runs, line_.items().rbegin(), [last_column](NUV_QDRLERun run) {
        return NUV_QDRLERun{last_column - run.end, last_column - run.start};
    });
    return write_runs(line_.items(), *dst_buffer_);
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
