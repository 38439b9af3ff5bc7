#include "core/qdrle/nuv_qdrleline.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>

namespace nuv {
namespace {

// All of them when no terminator is among them. A terminator reads the same in any byte order.
template <class Run>
[[nodiscard]] std::size_t count_before_terminator(std::span<const Run> records) noexcept
{
    const auto end = std::ranges::find_if(records, &Run::is_terminator);
    return static_cast<std::size_t>(end - records.begin());
}

} // namespace

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::cleanup()
{
    holds_block_ = false;
    rest_ = {};
    return true;
}

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::initiate(NUV_SrcBuffer* src, const NUV_Header* header)
{
    constexpr auto method = "NUV_QDRLELineBase::initiate()";

    if (!src || !header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const auto block_bytes = checked_run_line_bytes(header->width());
    if (!check_header(*header) || !block_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    src_ = src;
    width_ = header->width();
    return src->block_bytes(*block_bytes) && manager().depend(this, src);
}

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::get_next_line()
{
    line_.clear();
    if (read_line() && line_.make_canonical(width_))
        return true;
    line_.clear();
    return false;
}

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::read_line()
{
    // Twice what a line can need, so that a stream without terminators does not fill the memory.
    std::uint64_t room = std::uint64_t{width_} + 1;
    for (;;) {
        if (rest_.empty() && !next_block())
            return false;
        const std::size_t count = count_before_terminator(rest_);
        if (count > room)
            return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_QDRLELineBase::get_next_line()");
        room -= count;
        // Without memory the line comes short, and the status says why.
        static_cast<void>(line_.append(rest_.first(count)));
        rest_ = rest_.subspan(count);
        if (rest_.empty())
            continue; // the line goes on in the next block
        rest_ = rest_.subspan(1);
        return true;
    }
}

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::next_block()
{
    const bool held = holds_block_;
    cleanup();
    if (held && !src_->release())
        return false;
    std::uint32_t bytes = 0;
    const auto* records = static_cast<const Run*>(src_->get(&bytes));
    holds_block_ = records != nullptr;
    if (!records)
        return false;
    if (bytes == 0 || bytes % Run::bytes != 0)
        return fail(manager(), NUV_ERR_BROKEN_DATA,
                    "NUV_QDRLELineBase::get_next_line() - invalid src_buffer's block bytes.");
    rest_ = {records, bytes / Run::bytes};
    return true;
}

template class NUV_QDRLELineBase<NUV_QDRLERun, NUV_QDRLERunVector>;

} // namespace nuv
