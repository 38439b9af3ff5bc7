#include "core/qdrle/nuv_qdrleline.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::cleanup()
{
    block_ = nullptr;
    index_ = 0;
    count_ = 0;
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
    const std::uint64_t most_records = std::uint64_t{width_} + 1;
    for (std::uint64_t records = 0;; ++records) {
        if (index_ >= count_ && !next_block())
            return false;
        const Run run = load_run(block_ + std::size_t{index_} * Run::bytes);
        ++index_;
        if (run.is_terminator())
            return true;
        if (records >= most_records) {
            return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_QDRLELineBase::get_next_line()");
        }
        // Without memory the line comes short, and the status says why.
        static_cast<void>(line_.add(run.start, run.end));
    }
}

template <class Run, class RunVector>
bool NUV_QDRLELineBase<Run, RunVector>::next_block()
{
    const bool held = block_ != nullptr;
    cleanup();
    if (held && !src_->release())
        return false;
    std::uint32_t bytes = 0;
    block_ = static_cast<const std::uint8_t*>(src_->get(&bytes));
    if (!block_)
        return false;
    if (bytes == 0 || bytes % Run::bytes != 0)
        return fail(manager(), NUV_ERR_BROKEN_DATA,
                    "NUV_QDRLELineBase::get_next_line() - invalid src_buffer's block bytes.");
    count_ = bytes / Run::bytes;
    return true;
}

template class NUV_QDRLELineBase<NUV_QDRLERun, NUV_QDRLERunVector>;

} // namespace nuv
