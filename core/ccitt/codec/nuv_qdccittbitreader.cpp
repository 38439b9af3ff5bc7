#include "core/ccitt/codec/nuv_qdccittbitreader.h"

#include <bit>

namespace nuv {

bool QDCCITTBitReader::refill()
{
    if (next_ == end_) {
        if (has_ended_)
            return false;
        const std::span<const std::uint8_t> bytes = stream_->read();
        has_ended_ = bytes.empty();
        if (has_ended_)
            return false;
        next_ = bytes.data();
        end_ = next_ + bytes.size();
        read_bytes_ += bytes.size();
    }
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
    read_bytes_ = 0;
    has_ended_ = false;
}

} // namespace nuv
