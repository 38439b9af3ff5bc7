#include "core/ccitt/codec/nuv_qdccittbitreader.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace nuv {

bool QDCCITTBitReader::read_on()
{
    std::span<const std::uint8_t> bytes = std::exchange(behind_seam_, {});
    if (bytes.empty() && !has_ended_) {
        bytes = stream_->read();
        has_ended_ = bytes.empty();
        read_bytes_ += bytes.size();
    }
    next_ = bytes.data();
    end_ = next_ + bytes.size();
    return !bytes.empty();
}

void QDCCITTBitReader::join(std::span<std::uint8_t> seam)
{
    while (is_near_end()) {
        const std::size_t count = unread().size();
        if (!behind_seam_.empty()) { // what is left are copies of the bytes in front of those
            next_ = behind_seam_.data() - count;
            end_ = behind_seam_.data() + behind_seam_.size();
            behind_seam_ = {};
            continue;
        }
        std::memmove(seam.data(), next_, count);
        static_cast<void>(read_on());
        const std::size_t more = std::min(unread().size(), seam_bytes / 2);
        std::copy_n(next_, more, seam.data() + count);
        behind_seam_ = unread().subspan(more);
        next_ = seam.data();
        end_ = next_ + count + more;
    }
}

bool QDCCITTBitReader::refill()
{
    if (next_ == end_ && !read_on())
        return false;
    // Where a byte finds only half a place, all of it is left for the next refill.
    while (held_.bits < most_bits && next_ != end_) {
        held_.accumulator |= std::uint64_t{*next_++} << (most_bits - held_.bits);
        held_.bits += 8;
    }
    return true;
}

bool QDCCITTBitReader::skip_through_one()
{
    while (available(1) != 0) {
        const auto zeros = static_cast<std::uint32_t>(std::countl_zero(held_.accumulator));
        if (zeros < held_.bits) {
            take(zeros);
            take(1);
            return true;
        }
        held_ = {};
    }
    return false;
}

void QDCCITTBitReader::rewind() noexcept
{
    if (!stream_->has_strips()) {
        align();
        return;
    }
    held_ = {};
    next_ = end_;
    behind_seam_ = {};
    read_bytes_ = 0;
    has_ended_ = false;
}

} // namespace nuv
