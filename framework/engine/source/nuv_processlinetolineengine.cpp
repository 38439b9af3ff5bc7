#include "framework/engine/nuv_processlinetolineengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>

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
    if (const std::uint32_t lines = goes_by_many_ ? lines_at_once() : 1; lines > 1)
        return process_lines(lines);
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

// Lines that the reader waits for.
std::uint32_t NUV_ProcessLineToLineEngine::lines_at_once() const
{
    constexpr std::uint32_t most_bytes = 0x8000; // stay in the cache until they are read
    const std::uint32_t wanted = dst_buffer_->wanted_blocks();
    if (wanted == 1 || dst_buffer_->block_bytes() != header_.line_bytes())
        return 1;
    const std::uint32_t most = most_bytes / src_buffer_->block_bytes();
    return std::min({wanted, most, header_.height() - line_});
}

// As many of them as stand in memory, and have room there, one behind the other.
bool NUV_ProcessLineToLineEngine::process_lines(std::uint32_t lines)
{
    NUV_InputBlocks in(*src_buffer_, lines);
    if (!in)
        return false;
    NUV_OutputBlock out(*dst_buffer_, in.count());
    if (!out)
        return false;
    goes_by_many_ = out.count() == lines;
    const std::uint32_t from_bytes = src_buffer_->block_bytes();
    const std::uint32_t to_bytes = header_.line_bytes();
    const auto* from = in.as<std::uint8_t>();
    auto* to = out.as<std::uint8_t>();
    bool done = true;
    std::uint32_t made = 0;
    for (std::uint32_t i = 0; i < out.count() && done; ++i, ++line_) {
        done = process_line(from, to);
        made += done ? to_bytes : 0;
        from += from_bytes;
        to += to_bytes;
    }
    const bool committed = out.commit(made);
    const bool released = in.release(out.count());
    return done && committed && released;
}

} // namespace nuv
