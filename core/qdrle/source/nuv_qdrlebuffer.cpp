#include "core/qdrle/nuv_qdrlebuffer.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>

namespace nuv {

bool NUV_QDRLEBufferBase::cleanup()
{
    let_go_of_source();
    block_.free();
    return true;
}

bool NUV_QDRLEBufferBase::initiate(NUV_SrcBuffer* src, const NUV_Header* header)
{
    constexpr auto method = "NUV_QDRLEBufferBase::initiate()";

    if (!src || !header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!holds_runs(*header) || header->data_type() != NUV_DataType::u_integer ||
        !checked_run_line_bytes(header->width()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (!header_.copy(*header))
        return false;
    holder_ = make_initiated<SrcBufHolder>(manager(), src);
    src_ = src;
    return holder_ != nullptr;
}

void NUV_QDRLEBufferBase::let_go_of_source() noexcept
{
    src_ = nullptr;
    holder_.reset();
}

bool NUV_QDRLEBuffer::initiate(NUV_SrcBuffer* src, const NUV_Header* header)
{
    if (!NUV_QDRLEBufferBase::initiate(src, header))
        return false;
    height_ = header->height();
    return true;
}

bool NUV_QDRLEBuffer::cleanup()
{
    runs_.clear();
    line_ends_.clear();
    return NUV_QDRLEBufferBase::cleanup();
}

bool NUV_QDRLEBuffer::load()
{
    if (!registered_) {
        registered_ = true;
        complete_ = regist_runarray(src_, &header_);
    }
    return complete_;
}

std::span<const NUV_QDRLERun> NUV_QDRLEBuffer::line(std::uint32_t row)
{
    static_cast<void>(load()); // what came before a failure is there
    if (row >= line_ends_.size())
        return {};
    const std::size_t begin = row == 0 ? 0 : line_ends_[row - 1];
    return std::span<const NUV_QDRLERun>(runs_.items()).subspan(begin, line_ends_[row] - begin);
}

NUV_QDRLERunCursor NUV_QDRLEBuffer::line_begin(std::uint32_t row)
{
    return {manager(), line(row), 0};
}

NUV_QDRLERunCursor NUV_QDRLEBuffer::line_end(std::uint32_t row)
{
    const auto runs = line(row);
    return {manager(), runs, runs.size()};
}

bool NUV_QDRLEBuffer::regist_runarray(NUV_SrcBuffer* src, const NUV_Header* header)
{
    constexpr auto method = "NUV_QDRLEBuffer::regist_runarray()";
    constexpr std::uint32_t most_reserved = 4096; // a height is only a claim

    if (!src || !header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    // Whole records, so that none is cut by the end of a block.
    constexpr std::uint32_t mask = NUV_QDRLERun::bytes - 1;
    const std::uint32_t block_bytes = (std::min(src->block_bytes(), ~mask) + mask) & ~mask;
    if (!src->block_bytes(block_bytes) || !block_.allocate(manager(), block_bytes) ||
        !line_ends_.reserve(std::min(header->height(), most_reserved)))
        return false;
    while (line_ends_.size() < header->height()) {
        std::uint32_t bytes = 0;
        if (!src->get(block_.data(), &bytes) || bytes % NUV_QDRLERun::bytes != 0)
            return fail(manager(), NUV_ERR_BROKEN_DATA, method);
        if (!src->release() || !regist_block(block_.items().first(bytes), *header))
            return false;
    }
    block_.free();
    let_go_of_source();
    return true;
}

// What follows the last line of the image is left alone.
bool NUV_QDRLEBuffer::regist_block(std::span<const std::uint8_t> block, const NUV_Header& header)
{
    while (!block.empty() && line_ends_.size() < header.height()) {
        const NUV_QDRLERun run = load_run(block.data());
        block = block.subspan(NUV_QDRLERun::bytes);
        const bool is_line_end = run.start == NUV_QDRLERun::terminator;
        if (is_line_end ? !finish_line(header.width()) : !regist_run(run, header.width()))
            return false;
    }
    return true;
}

bool NUV_QDRLEBuffer::regist_run(NUV_QDRLERun run, std::uint32_t width)
{
    // A column equal to the width is let through and cut off; anything behind it is damage.
    if (run.start > width || run.end > width || run.start > run.end)
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_QDRLEBuffer::regist_runarray()");
    if (run.start == width)
        return true;
    run.end = std::min(run.end, width - 1);
    return runs_.push_back(run);
}

bool NUV_QDRLEBuffer::finish_line(std::uint32_t width)
{
    const std::size_t begin = line_ends_.empty() ? 0 : line_ends_.back();
    const std::size_t count = make_canonical(runs_.items().subspan(begin), width);
    return runs_.resize(begin + count) && line_ends_.push_back(runs_.size());
}

} // namespace nuv
