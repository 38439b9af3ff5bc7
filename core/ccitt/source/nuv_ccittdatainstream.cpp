#include "core/ccitt/source/nuv_ccittdatainstream.h"

#include "framework/base/nuv_manager.h"
#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace nuv {

bool NUV_CCITTDataInStream::initiate(NUV_SrcBuffer* src, const NUV_PackedNumbers* strip_byte_counts)
{
    src_ = src;
    if (!strip_byte_counts || strip_byte_counts->empty())
        return true;
    if (!strip_byte_counts_.copy(*strip_byte_counts))
        return false;
    strip_end_ = strip_byte_counts_[0];
    return true;
}

std::span<const std::uint8_t> NUV_CCITTDataInStream::read()
{
    constexpr auto no_end = std::numeric_limits<std::uint64_t>::max();
    return take(has_strips() ? strip_end_ - position_ : no_end);
}

bool NUV_CCITTDataInStream::next_strip()
{
    if (!has_strips())
        return true;
    if (!has_next_strip())
        return false;
    while (position_ < strip_end_) {
        if (take(strip_end_ - position_).empty())
            return false;
    }
    ++strip_;
    strip_end_ += strip_byte_counts_[strip_];
    return true;
}

std::span<const std::uint8_t> NUV_CCITTDataInStream::take(std::uint64_t most)
{
    if (most == 0)
        return {};
    if (block_.empty()) {
        if (std::exchange(holds_block_, false) && !src_->release())
            return {};
        std::uint32_t bytes = 0;
        const void* const block = src_->get(&bytes);
        if (!block)
            return {};
        holds_block_ = true;
        block_ = {static_cast<const std::uint8_t*>(block), bytes};
    }
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(most, block_.size()));
    const auto taken = block_.first(count);
    block_ = block_.subspan(count);
    position_ += count;
    return taken;
}

void NUV_CCITTStripsInStream::initiate(NUV_InputStorage& storage, NUV_PackedNumbers& offsets,
                                       NUV_PackedNumbers& byte_counts) noexcept
{
    storage_ = &storage;
    offsets_.swap(offsets);
    byte_counts_.swap(byte_counts);
}

bool NUV_CCITTStripsInStream::begin_strip(std::size_t strip, std::uint64_t piece)
{
    NUV_Manager& manager = offsets_.manager();
    if (block_.size() == 0 && !block_.allocate(manager, manager.default_block_bytes()))
        return false;
    piece_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(piece, block_.size()));
    const bool is_reached = strip < offsets_.size() && seek_exactly(*storage_, offsets_[strip]);
    left_ = is_reached ? byte_counts_[strip] : 0;
    return true;
}

std::span<const std::uint8_t> NUV_CCITTStripsInStream::read()
{
    const std::uint32_t bytes = read_up_to(*storage_, block_.data(), std::min(left_, piece_));
    left_ -= bytes;
    return block_.items().first(bytes);
}

} // namespace nuv
