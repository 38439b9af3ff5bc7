#include "core/include/nuv_readlineengine.h"

#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace nuv {

bool NUV_ReadLineEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                  NUV_DstBuffer* dst)
{
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    position_ = storage->position();
    line_bytes_ = header_.line_bytes();
    return dst->block_bytes(line_bytes_);
}

NUV_Diagnosis NUV_ReadLineEngine::ends_early() const
{
    return NUV_Diagnosis()
        .at_byte(storage_->position())
        .on_line(line_)
        .says("line %u of %u is not there as a whole", line_ + 1, header_.height());
}

bool NUV_ReadLineEngine::can_be_there() const
{
    const std::int64_t left = std::int64_t{storage_->size()} - storage_->position();
    return left >= 0 && least_line_bytes() <= static_cast<std::uint64_t>(left);
}

// Engines look at samples where samples may be.
const std::uint8_t* NUV_ReadLineEngine::where_standing()
{
    const std::uint8_t* const first = is_line_stored() ? storage_->lend(0) : nullptr;
    const std::uintptr_t sample_bytes = (header_.bits() + 7U) / 8U;
    return reinterpret_cast<std::uintptr_t>(first) % sample_bytes == 0 ? first : nullptr;
}

// As the lines before it stand, so does this one, whatever output is made over it meanwhile.
bool NUV_ReadLineEngine::deliver_standing()
{
    const std::uint32_t lines = pass_over_lines(
        *storage_, line_bytes_, std::min(dst_buffer_->wanted_blocks(), header_.height() - line_));
    if (lines == 0) {
        static_cast<void>(storage_->to_end() && read_line(nullptr));
        return false;
    }
    position_ = storage_->position();
    line_ += lines;
    const std::size_t bytes = std::size_t{line_bytes_} * lines;
    return dst_buffer_->deliver_standing(std::exchange(standing_, standing_ + bytes), lines);
}

bool NUV_ReadLineEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    if (storage_->position() != position_)
        static_cast<void>(storage_->to(position_));
    if (line_ == 0 && !can_be_there()) {
        static_cast<void>(read_line(nullptr));
        return false;
    }
    if (line_ == 0)
        standing_ = where_standing();
    if (standing_)
        return deliver_standing();
    if (dst_buffer_->is_passed_over() && has_fixed_length() && passes_over(least_line_bytes())) {
        position_ = storage_->position();
        ++line_;
        return dst_buffer_->deliver_unseen();
    }
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    const bool done = read_line(out.as<std::uint8_t>());
    position_ = storage_->position();
    const bool committed = out.commit(done ? line_bytes_ : 0);
    ++line_;
    return done && committed;
}

} // namespace nuv
