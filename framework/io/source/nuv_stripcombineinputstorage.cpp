#include "framework/io/nuv_stripcombineinputstorage.h"

#include "framework/io/nuv_streamposition.h"

#include <algorithm>

namespace nuv {

bool NUV_StripCombineInputStorage::initiate(NUV_InputStorage* inner, NUV_PackedNumbers&& offsets,
                                            NUV_PackedNumbers&& byte_counts)
{
    if (!attach_input(inner))
        return false;
    if (offsets.empty() || offsets.size() != byte_counts.size())
        return false;
    offsets_.swap(offsets);
    byte_counts_.swap(byte_counts);
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < byte_counts_.size(); ++i)
        sum += byte_counts_[i];
    size_ = static_cast<std::int32_t>(std::min<std::uint64_t>(sum, last_stream_position));
    to_begin();
    return true;
}

bool NUV_StripCombineInputStorage::enter_strip(std::size_t index)
{
    const std::uint32_t offset = offsets_[index];
    strip_ = index;
    read_in_strip_ = 0;
    // An empty strip is stepped over, wherever it says that it is.
    reached_ = byte_counts_[index] == 0;
    if (offset > static_cast<std::uint32_t>(last_stream_position))
        return reached_;
    // Going beyond the end ends at the end, and is true.
    const auto target = static_cast<std::int32_t>(offset);
    const bool found = inner_->to(target) && inner_->position() == target;
    reached_ = reached_ || found;
    return reached_;
}

std::int32_t NUV_StripCombineInputStorage::get()
{
    std::uint8_t byte = 0;
    return read(&byte, 1) == 1 ? byte : -1;
}

std::int32_t NUV_StripCombineInputStorage::read(void* into, std::int32_t bytes)
{
    if (!inner_ || !into)
        return 0;
    auto* to = static_cast<std::uint8_t*>(into);
    std::int32_t done = 0;
    while (done < bytes) {
        const std::uint32_t left = left_in_strip();
        if (left == 0)
            break;
        const auto ask =
            static_cast<std::int32_t>(std::min(left, static_cast<std::uint32_t>(bytes - done)));
        const std::int32_t got = inner_->read(to + done, ask);
        read_in_strip_ += static_cast<std::uint32_t>(got);
        done += got;
        if (got < ask)
            break;
    }
    // Strips may overlap, and be more than a position can tell.
    position_ = clamped_position(std::int64_t{position_} + std::max(done, 0), last_stream_position);
    return done;
}

bool NUV_StripCombineInputStorage::pass_over(std::int32_t bytes)
{
    if (!inner_ || bytes < 0 || static_cast<std::uint32_t>(bytes) > left_in_strip() ||
        !inner_->pass_over(bytes))
        return false;
    read_in_strip_ += static_cast<std::uint32_t>(bytes);
    position_ = clamped_position(std::int64_t{position_} + bytes, last_stream_position);
    return true;
}

// Of the one that the next byte stands in; 0 where there is none.
std::uint32_t NUV_StripCombineInputStorage::left_in_strip()
{
    while (reached_) {
        const std::uint32_t left = byte_counts_[strip_] - read_in_strip_;
        if (left != 0)
            return left;
        if (strip_ + 1 == byte_counts_.size() || !enter_strip(strip_ + 1))
            break;
    }
    return 0;
}

std::int32_t NUV_StripCombineInputStorage::move(std::int32_t)
{
    return 0;
}

bool NUV_StripCombineInputStorage::to(std::int32_t offset)
{
    return to_begin() && offset == 0;
}

bool NUV_StripCombineInputStorage::to_from_end(std::int32_t)
{
    return false;
}

bool NUV_StripCombineInputStorage::to_begin()
{
    position_ = 0;
    return inner_ && !offsets_.empty() && enter_strip(0);
}

bool NUV_StripCombineInputStorage::is_end()
{
    return false;
}

bool NUV_StripCombineInputStorage::to_end()
{
    return false;
}

} // namespace nuv
