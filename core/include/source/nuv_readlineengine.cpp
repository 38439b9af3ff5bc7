#include "core/include/nuv_readlineengine.h"

#include "framework/engine/nuv_stepblocks.h"

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
