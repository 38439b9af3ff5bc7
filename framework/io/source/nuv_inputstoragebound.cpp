#include "framework/io/nuv_inputstoragebound.h"

#include "framework/io/nuv_streamposition.h"

namespace nuv {

bool NUV_MovableInputStreamBound::initiate(NUV_InputStorage* inner, std::int32_t start,
                                           std::int32_t length)
{
    if (!attach_input(inner))
        return false;
    start_ = inner->position();
    end_ = start_;
    remain_ = 0;
    const std::int64_t end = std::int64_t{start} + length;
    if (length < 0 || end > last_stream_position)
        return fail(manager(), NUV_ERR_IO, "NUV_MovableInputStreamBound::set_bound()");
    return set_remain(start, static_cast<std::int32_t>(end));
}

bool NUV_MovableInputStreamBound::set_bound(std::int32_t length)
{
    constexpr auto method = "NUV_MovableInputStreamBound::set_bound()";

    const std::int64_t end = std::int64_t{start_} + length;
    if (!inner_ || length < 0 || end > last_stream_position)
        return fail(manager(), NUV_ERR_IO, method);
    // There and back, which shows that it is there.
    const std::int32_t here = inner_->position();
    const auto distance = static_cast<std::int32_t>(end - here);
    const std::int32_t moved = inner_->move(distance);
    if (inner_->move(-moved) != -moved || moved != distance)
        return fail(manager(), NUV_ERR_IO, method);
    end_ = static_cast<std::int32_t>(end);
    remain_ = here >= start_ && here <= end_ ? end_ - here : 0;
    return true;
}

bool NUV_MovableInputStreamBound::set_remain(std::int32_t start, std::int32_t end)
{
    constexpr auto method = "NUV_MovableInputStreamBound::set_remain()";

    if (!inner_ || start < 0 || end < start)
        return fail(manager(), NUV_ERR_IO, method);
    const std::int32_t here = inner_->position();
    const std::int32_t old_start = start_;
    const std::int32_t old_end = end_;
    const std::int32_t old_remain = remain_;
    const std::int32_t next = here >= start && here <= end ? here : end;
    start_ = start;
    if (!inner_->to(start) || inner_->position() != start || !set_bound(end - start) ||
        !inner_->to(next)) {
        start_ = old_start;
        end_ = old_end;
        remain_ = old_remain;
        static_cast<void>(inner_->to(here));
        return fail(manager(), NUV_ERR_IO, method);
    }
    remain_ = end - next;
    return true;
}

std::int32_t NUV_MovableInputStreamBound::move(std::int32_t bytes)
{
    if (!inner_)
        return 0;
    const std::int32_t moved = inner_->move(std::clamp(bytes, -position(), remain_));
    remain_ -= moved;
    return moved;
}

bool NUV_MovableInputStreamBound::pass_over(std::int32_t bytes)
{
    if (!inner_ || bytes > remain_ || !inner_->pass_over(bytes))
        return false;
    remain_ -= bytes;
    return true;
}

bool NUV_InputStorageBound::to_begin()
{
    if (!inner_)
        return false;
    const std::int32_t distance = -position();
    if (move(distance) == distance)
        return true;
    return fail(manager(), NUV_ERR_IO, "NUV_InputStorageBound::to_begin()");
}

bool NUV_InputStorageBound::to_end()
{
    if (!inner_)
        return false;
    const std::int32_t distance = remain_;
    if (move(distance) == distance)
        return true;
    return fail(manager(), NUV_ERR_IO, "NUV_InputStorageBound::to_end()");
}

} // namespace nuv
