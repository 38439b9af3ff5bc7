#include "core/storage/nuv_readstorage.h"

#include "core/include/nuv_sampleorder.h"
#include "framework/engine/nuv_readengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <cstddef>

namespace nuv {
namespace {

class NUV_ReadStorageEngine final : public NUV_ReadEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadStorageEngine::initiate()";
    using NUV_ReadEngine::NUV_ReadEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, std::int32_t offset, std::int32_t line_gap,
                                std::int32_t byte_order, const NUV_Diagnosis& early_end);
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool delivers_what_it_writes() const override { return lends_; }

private:
    [[nodiscard]] bool is_turned() const noexcept;
    [[nodiscard]] const std::uint8_t* where_standing();
    [[nodiscard]] bool deliver_standing(std::uint32_t bytes);
    [[nodiscard]] bool pass_line(std::uint32_t bytes);
    [[nodiscard]] bool skip_gap();
    [[nodiscard]] bool end_in_line();
    [[nodiscard]] bool end_early();

    std::int32_t line_gap_ = 0;
    std::int32_t position_ = 0;    // of the next line, or of the gap before it
    std::uint32_t lines_done_ = 0; // blocks of a stream that is not raw
    std::uint32_t sample_bytes_ = 1;
    std::int32_t byte_order_ = host_byte_order;
    bool raw_ = false;
    bool lends_ = false;                     // the storage has in one place what it gives
    const std::uint8_t* standing_ = nullptr; // the line behind the last one that was delivered as
                                             // it stands, without the gap
    NUV_Scratch<NUV_Diagnosis> early_end_;   // where one was given: engines of strips are many
};

bool NUV_ReadStorageEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                     NUV_DstBuffer* dst, std::int32_t offset, std::int32_t line_gap,
                                     std::int32_t byte_order, const NUV_Diagnosis& early_end)
{
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    if (offset < 0)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    line_gap_ = line_gap;
    byte_order_ = byte_order;
    if (early_end.text[0] != '\0') {
        if (!early_end_.allocate(manager(), 1))
            return false;
        early_end_[0] = early_end;
    }
    sample_bytes_ = (header_.bits() + 7U) / 8U;
    raw_ = header_.is_raw();
    if (!storage->to(offset))
        return fail(manager(), NUV_ERR_BROKEN_DATA, initiate_method, early_end);
    position_ = storage->position();
    lends_ = raw_ && storage->lend(0);
    return dst->block_bytes(raw_ ? header_.line_bytes() : manager().default_block_bytes());
}

bool NUV_ReadStorageEngine::execute()
{
    if (raw_ && lines_done_ >= header_.height())
        return false;
    // Whoever shares the storage may have moved it since.
    if (storage_->position() != position_)
        static_cast<void>(storage_->to(position_));
    const std::uint32_t bytes = dst_buffer_->block_bytes();
    // A header alone may state any size: memory is asked for when there is a line to put into it.
    if (raw_ && lines_done_ == 0 && remaining_bytes(*storage_) < bytes)
        return end_early();
    if (lines_done_ == 0)
        standing_ = where_standing();
    if (standing_)
        return deliver_standing(bytes);
    if (raw_ && dst_buffer_->is_passed_over() && pass_line(bytes))
        return dst_buffer_->deliver_unseen();
    NUV_OutputBlock block(*dst_buffer_);
    if (!block || !skip_gap())
        return false;
    if (lends_ && remaining_bytes(*storage_) < bytes)
        return end_in_line();

    const std::uint32_t got = read_up_to(*storage_, block.data(), bytes);
    position_ = storage_->position();
    if (raw_ && got != bytes)
        return end_early();
    if (got == 0)
        return false;
    if (is_turned())
        reverse_samples(block.as<std::uint8_t>(), got, sample_bytes_);
    ++lines_done_;
    return block.commit(got);
}

bool NUV_ReadStorageEngine::is_turned() const noexcept
{
    return raw_ && sample_bytes_ >= 2 && byte_order_ != host_byte_order;
}

// Engines look at samples where samples may be. Lines with gaps between them are looked at one by
// one only: who wants several in a block has them copied.
const std::uint8_t* NUV_ReadStorageEngine::where_standing()
{
    const bool is_one_by_one = dst_buffer_->src_block_bytes() == dst_buffer_->block_bytes() &&
                               line_gap_ % static_cast<std::int32_t>(sample_bytes_) == 0;
    if (!lends_ || is_turned() || (line_gap_ != 0 && !is_one_by_one))
        return nullptr;
    const std::uint8_t* const first = storage_->lend(0);
    return reinterpret_cast<std::uintptr_t>(first) % sample_bytes_ == 0 ? first : nullptr;
}

// The storage is not asked for the line again: an output that is made over it meanwhile finds the
// lines before it delivered as they stand, and the rest follows them.
bool NUV_ReadStorageEngine::deliver_standing(std::uint32_t bytes)
{
    if (!skip_gap())
        return false;
    const std::uint32_t most =
        line_gap_ == 0 ? std::min(dst_buffer_->wanted_blocks(), header_.height() - lines_done_) : 1;
    const std::uint32_t lines = pass_over_lines(*storage_, bytes, most);
    if (lines == 0)
        return end_in_line();
    const std::uint8_t* const line = standing_ + (lines_done_ == 0 ? 0 : line_gap_);
    standing_ = line + std::size_t{bytes} * lines;
    position_ = storage_->position();
    lines_done_ += lines;
    return dst_buffer_->deliver_standing(line, lines);
}

// False, without having moved, where the line has to be read though nobody will look at it.
bool NUV_ReadStorageEngine::pass_line(std::uint32_t bytes)
{
    const std::int32_t gap = lines_done_ == 0 ? 0 : line_gap_;
    if ((gap != 0 && storage_->move(gap) != gap) || !passes_over(bytes)) {
        if (gap != 0)
            static_cast<void>(storage_->to(position_));
        return false;
    }
    position_ = storage_->position();
    ++lines_done_;
    return true;
}

// Stands between lines, not before the first one.
bool NUV_ReadStorageEngine::skip_gap()
{
    if (lines_done_ == 0 || line_gap_ == 0 || storage_->move(line_gap_) == line_gap_)
        return true;
    return end_early();
}

// Where a line that is not there as a whole has no room to be read to.
bool NUV_ReadStorageEngine::end_in_line()
{
    static_cast<void>(storage_->to_end());
    position_ = storage_->position();
    return end_early();
}

bool NUV_ReadStorageEngine::end_early()
{
    NUV_Diagnosis why;
    if (early_end_.size() != 0)
        why = early_end_[0];
    else
        why.says("line %u of %u is not there as a whole", lines_done_ + 1, header_.height());
    return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::execute()",
                why.on_line(lines_done_));
}

} // namespace

NUV_Engine* NUV_ReadStorage::engine(NUV_InputStorage* storage, const NUV_Header* header,
                                    std::int32_t offset, std::int32_t line_gap,
                                    std::int32_t byte_order, const NUV_Diagnosis& early_end)
{
    return append_reader<NUV_ReadStorageEngine>(storage, header, offset, line_gap, byte_order,
                                                early_end);
}

} // namespace nuv
