#include "core/internal/nuv_readinternal.h"

#include "core/include/nuv_sampleorder.h"
#include "core/internal/nuv_convertendianqdrl.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_readengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <bit>

namespace nuv {
namespace {

// Hands on whole lines of raw data, and of coded data what a block holds.
class NUV_ReadInternalEngine final : public NUV_ReadEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadInternalEngine::initiate()";
    using NUV_ReadEngine::NUV_ReadEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, std::uint64_t data_size);
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool go_to_data();
    [[nodiscard]] bool is_line_there() const;
    [[nodiscard]] bool broken();

    std::uint64_t remaining_ = 0;   // bytes of the data
    std::int32_t position_ = 0;     // of the next of them
    std::uint32_t block_bytes_ = 0; // a line of raw data
    std::uint32_t sample_bytes_ = 0;
    std::uint32_t line_ = 0; // of raw data
    bool is_raw_ = false;
};

bool NUV_ReadInternalEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                      NUV_DstBuffer* dst, std::uint64_t data_size)
{
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    remaining_ = data_size;
    position_ = storage->position();
    sample_bytes_ = (header_.bits() + 7U) / 8U;
    is_raw_ = header_.is_raw();
    block_bytes_ = is_raw_ ? header_.line_bytes() : manager().default_block_bytes();
    return dst->block_bytes(block_bytes_);
}

bool NUV_ReadInternalEngine::broken()
{
    NUV_Diagnosis why;
    why.at_byte(position_).says("the data ends early");
    if (is_raw_)
        why.on_line(line_).says("line %u of %u is not there as a whole", line_ + 1,
                                header_.height());
    return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadInternalEngine::execute()", why);
}

// Whoever shares the storage may have moved it since.
bool NUV_ReadInternalEngine::go_to_data()
{
    return storage_->position() == position_ || storage_->to(position_);
}

// No memory for a line on the word of a header: data may be shorter than it says.
bool NUV_ReadInternalEngine::is_line_there() const
{
    return remaining_ >= block_bytes_ && (line_ > 0 || remaining_bytes(*storage_) >= block_bytes_);
}

bool NUV_ReadInternalEngine::execute()
{
    if (remaining_ == 0 || (is_raw_ && line_ == header_.height()))
        return false;
    if (!go_to_data() || (is_raw_ && !is_line_there()))
        return broken();
    if (is_raw_ && passes_over(block_bytes_)) {
        remaining_ -= block_bytes_;
        position_ = storage_->position();
        ++line_;
        return dst_buffer_->deliver_unseen();
    }
    NUV_OutputBlock block(*dst_buffer_);
    if (!block)
        return false;
    const auto wanted =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(block_bytes_, remaining_));
    const std::uint32_t got = read_up_to(*storage_, block.data(), wanted);
    if (is_raw_ ? got < block_bytes_ : got == 0)
        return broken();
    remaining_ -= got;
    position_ = storage_->position();
    ++line_;
    if (is_raw_ && sample_bytes_ > 1 && std::endian::native == std::endian::little)
        reverse_samples(block.as<std::uint8_t>(), got, sample_bytes_);
    return block.commit(got);
}

} // namespace

NUV_Engine* NUV_ReadInternal::engine(NUV_InputStorage* storage)
{
    NUV_InternalInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadInternal::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadInternal::engine(NUV_InputStorage* storage, const NUV_InternalInfo* info)
{
    if (!info || !info->loaded() || !info->is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadInternal::engine()",
                    NUV_FormatInfo::why_refused(info));
    NUV_Engine* data = append_reader<NUV_ReadInternalEngine>(storage, info, info->data_size());
    return data ? NUV_ConvertEndianQDRL(manager()).engine(data) : nullptr;
}

} // namespace nuv
