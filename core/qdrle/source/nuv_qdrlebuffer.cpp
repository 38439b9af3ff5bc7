#include "core/qdrle/nuv_qdrlebuffer.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nuv {
namespace {

// Whether the records are those runs.
[[nodiscard]] bool are_same(std::span<const NUV_QDRLERun> records,
                            std::span<const NUV_QDRLERun> runs) noexcept
{
    if constexpr (std::endian::native == std::endian::little)
        return runs.empty() || std::memcmp(records.data(), runs.data(), runs.size_bytes()) == 0;
    return std::ranges::equal(records, runs, {}, in_host_order);
}

// Negative when one of the runs begins before column `free_from` or ends before it begins, or when
// it is a terminator. Leaves the first column that the next run may start in.
template <std::size_t Count>
[[nodiscard]] std::int64_t find_disorder(const NUV_QDRLERun* records,
                                         std::int64_t& free_from) noexcept
{
    std::int64_t disorder = 0;
    for (std::size_t i = 0; i < Count; ++i) {
        const NUV_QDRLERun run = in_host_order(records[i]);
        const std::int64_t start = static_cast<std::int32_t>(run.start);
        const std::int64_t end = static_cast<std::int32_t>(run.end);
        disorder |= (start - free_from) | (end - start);
        free_from = end + 2;
    }
    return disorder;
}

// How many records from the first on are runs in canonical order; a few at a time, since one
// question for several of them is what makes long lines fast.
[[nodiscard]] std::size_t count_canonical(std::span<const NUV_QDRLERun> records,
                                          std::int64_t& free_from) noexcept
{
    constexpr std::size_t stride = 4;
    std::size_t count = 0;
    std::int64_t next = free_from;
    for (; count + stride <= records.size(); count += stride) {
        if (find_disorder<stride>(&records[count], next) < 0)
            break;
        free_from = next;
    }
    for (next = free_from; count < records.size(); ++count) {
        if (find_disorder<1>(&records[count], next) < 0)
            break;
        free_from = next;
    }
    return count;
}

} // namespace

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
    repeats_.clear();
    return NUV_QDRLEBufferBase::cleanup();
}

bool NUV_QDRLEBuffer::load(NUV_QDRLELineChoice* choice)
{
    if (!registered_) {
        registered_ = true;
        choice_ = choice;
        complete_ = regist_runarray(src_, &header_);
        choice_ = nullptr;
    }
    return complete_;
}

bool NUV_QDRLEBuffer::hand_over(NUV_QDRLELineTaker& taker)
{
    taker_ = &taker;
    const bool done = !registered_ && load() && hand_lines_over();
    taker_ = nullptr;
    return done;
}

bool NUV_QDRLEBuffer::hand_lines_over()
{
    if (!repeats_.resize(line_ends_.size()))
        return false;
    const NUV_QDRLELines lines{
        .runs = runs_.items(), .ends = line_ends_.items(), .repeats = repeats_.items()};
    if (!lines.ends.empty() && !taker_->take(handed_over_, lines))
        return false;
    handed_over_ = rows_read_;
    runs_.clear();
    line_ends_.clear();
    repeats_.clear();
    return true;
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
    if (!src->block_bytes(block_bytes) ||
        !block_.allocate(manager(), block_bytes / NUV_QDRLERun::bytes) ||
        !line_ends_.reserve(std::min(header->height(), most_reserved)))
        return false;
    begin_line();
    while (rows_read_ < header->height()) {
        std::uint32_t bytes = 0;
        NUV_InputBlock in(*src, block_.data(), &bytes);
        if (!in || bytes % NUV_QDRLERun::bytes != 0)
            return fail(manager(), NUV_ERR_BROKEN_DATA, method);
        if (!in.release() ||
            !regist_block(block_.items().first(bytes / NUV_QDRLERun::bytes), *header))
            return false;
    }
    block_.free();
    let_go_of_source();
    return true;
}

// What follows the last line of the image is left alone.
bool NUV_QDRLEBuffer::regist_block(std::span<const NUV_QDRLERun> records, const NUV_Header& header)
{
    while (!records.empty() && rows_read_ < header.height()) {
        if (repeats_so_far_ && !repeats_line(records) && !repeat_no_more())
            return false;
        if (!repeats_so_far_ && records.front().start != NUV_QDRLERun::terminator) {
            const std::size_t count = check_runs(records, header.width());
            if (is_wanted_ && !append_records(runs_, records.first(count)))
                return false;
            // However many runs lie over one another, no more are kept than the width explains.
            const std::size_t most_runs = 2 * (std::size_t{header.width()} + 1);
            if (!is_canonical_ && line_so_far().size() > most_runs && !order_line(header.width()))
                return false;
            records = records.subspan(count);
        }
        if (records.empty())
            return true; // the line goes on in the next block
        if (records.front().start != NUV_QDRLERun::terminator)
            return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_QDRLEBuffer::regist_runarray()");
        records = records.subspan(1);
        if (!finish_line(header.width()))
            return false;
        if (rows_read_ < header.height())
            begin_line();
    }
    return true;
}

// Drops those of `records` that repeat the line before, up to the end of the line; false, without
// having dropped any, where it is another line.
bool NUV_QDRLEBuffer::repeats_line(std::span<const NUV_QDRLERun>& records) noexcept
{
    const std::size_t size = line_ends_.size();
    const std::size_t begin = size < 2 ? 0 : line_ends_[size - 2];
    const auto line = std::span<const NUV_QDRLERun>(runs_.items()).subspan(begin + repeated_);
    const std::size_t count = std::min(line.size(), records.size());
    if (!are_same(records, line.first(count)) ||
        (count < records.size() && records[count].start != NUV_QDRLERun::terminator))
        return false;
    records = records.subspan(count);
    repeated_ += count;
    return true;
}

// What has been repeated so far is the beginning of a line of its own.
bool NUV_QDRLEBuffer::repeat_no_more()
{
    const std::size_t count = std::exchange(repeated_, 0);
    repeats_so_far_ = false;
    if (count == 0)
        return true;
    const std::size_t end = runs_.size();
    const std::size_t size = line_ends_.size();
    const std::size_t begin = size < 2 ? 0 : line_ends_[size - 2];
    if (!runs_.resize(end + count))
        return false;
    std::copy_n(runs_.data() + begin, count, runs_.data() + end);
    free_from_ = std::int64_t{runs_.back().end} + 2;
    return true;
}

// How many records there are before the first that is no run of a line: a terminator, or damage. A
// column equal to the width is let through here and cut off when the line is complete.
std::size_t NUV_QDRLEBuffer::check_runs(std::span<const NUV_QDRLERun> records,
                                        std::uint32_t width) noexcept
{
    if (is_canonical_) { // as mostly; the last column is then the greatest
        std::int64_t free_from = free_from_;
        const std::size_t count = count_canonical(records, free_from);
        const bool is_whole =
            count == records.size() || records[count].start == NUV_QDRLERun::terminator;
        if (is_whole && free_from <= std::int64_t{width} + 1) {
            free_from_ = free_from;
            return count;
        }
        is_canonical_ = false;
    }
    const auto is_run = [width](NUV_QDRLERun record) {
        const NUV_QDRLERun run = in_host_order(record);
        return run.start <= run.end && run.end <= width;
    };
    const auto damage = std::ranges::find_if_not(records, is_run);
    return static_cast<std::size_t>(damage - records.begin());
}

void NUV_QDRLEBuffer::begin_line()
{
    free_from_ = 0;
    is_canonical_ = true;
    is_wanted_ = !choice_ || choice_->wants(rows_read_);
    repeats_so_far_ = taker_ && !line_ends_.empty();
}

std::span<NUV_QDRLERun> NUV_QDRLEBuffer::line_so_far() noexcept
{
    return runs_.items().subspan(line_ends_.empty() ? 0 : line_ends_.back());
}

bool NUV_QDRLEBuffer::order_line(std::uint32_t width)
{
    const std::span<NUV_QDRLERun> line = line_so_far();
    return runs_.resize(runs_.size() - line.size() + make_canonical(line, width));
}

bool NUV_QDRLEBuffer::finish_line(std::uint32_t width)
{
    if (repeats_so_far_) {
        repeated_ = 0;
        if (!repeats_.resize(line_ends_.size()))
            return false;
        ++repeats_.back();
    } else if ((!is_canonical_ && !order_line(width)) || !line_ends_.push_back(runs_.size())) {
        return false;
    }
    ++rows_read_;
    return !taker_ || rows_read_ - handed_over_ < taker_->most_lines() || hand_lines_over();
}

} // namespace nuv
