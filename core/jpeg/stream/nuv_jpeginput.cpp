#include "core/jpeg/stream/nuv_jpeginput.h"

#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <cstring>

namespace nuv {

NUV_JPEGCode NUV_JPEGInput::open(const NUV_JPEGAllocator& allocator,
                                 const NUV_JPEGSource& source) noexcept
{
    source_ = source;
    position_ = 0;
    size_ = 0;
    piece_ = first_piece_bytes;
    at_end_ = false;
    next_offset_ = source_.position(source_.storage);
    if (next_offset_ < 0)
        return NUV_JPEGCode::io;
    return buffer_.allocate(allocator, buffer_bytes) ? NUV_JPEGCode::good : NUV_JPEGCode::no_memory;
}

void NUV_JPEGInput::move_to_front() noexcept
{
    if (position_ == 0)
        return;
    std::memmove(buffer_.data(), buffer_.data() + position_, static_cast<std::size_t>(unread()));
    size_ -= position_;
    position_ = 0;
}

// One read into what room there is.
NUV_JPEGCode NUV_JPEGInput::fill() noexcept
{
    if (source_.position(source_.storage) != next_offset_) {
        if (!source_.to(source_.storage, next_offset_) ||
            source_.position(source_.storage) != next_offset_)
            return NUV_JPEGCode::io;
    }
    const std::int32_t room = std::min(buffer_bytes - size_, piece_);
    piece_ = std::min(4 * piece_, buffer_bytes);
    const std::int32_t got = source_.read(source_.storage, buffer_.data() + size_, room);
    if (got <= 0) {
        at_end_ = true;
        return NUV_JPEGCode::good;
    }
    size_ += got;
    next_offset_ += got;
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGInput::want(std::int32_t bytes) noexcept
{
    if (unread() >= bytes || at_end_)
        return NUV_JPEGCode::good;
    move_to_front();
    while (unread() < bytes && !at_end_) {
        const NUV_JPEGCode filled = fill();
        if (!is_good(filled))
            return filled;
    }
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGInput::want_more() noexcept
{
    if (unread() == buffer_bytes)
        drop_fill_bytes();
    if (unread() == buffer_bytes)
        return NUV_JPEGCode::read_failed;
    return want(unread() + 1);
}

// T.81, B.1.1.2: any number of 0xFF may stand before a marker.
void NUV_JPEGInput::drop_fill_bytes() noexcept
{
    constexpr auto both_fill = [](std::uint8_t a, std::uint8_t b) {
        return a == 0xFF && b == 0xFF;
    };
    std::uint8_t* const begin = buffer_.data() + position_;
    std::uint8_t* const end = std::unique(begin, buffer_.data() + size_, both_fill);
    size_ = static_cast<std::int32_t>(end - buffer_.data());
}

NUV_JPEGCode NUV_JPEGInput::read(std::int32_t bytes, std::span<const std::uint8_t>& read) noexcept
{
    const NUV_JPEGCode code = want(bytes);
    if (!is_good(code))
        return code;
    if (unread() < bytes)
        return NUV_JPEGCode::io;
    read = {buffer_.data() + position_, static_cast<std::size_t>(bytes)};
    position_ += bytes;
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGInput::read_payload(std::span<const std::uint8_t>& payload) noexcept
{
    constexpr std::int32_t length_bytes = 2;

    const NUV_JPEGCode code = read(length_bytes, payload);
    if (!is_good(code))
        return code;
    const std::int32_t length = load_be16(payload.data());
    return length < length_bytes ? NUV_JPEGCode::bad_segment : read(length - length_bytes, payload);
}

NUV_JPEGCode NUV_JPEGInput::find_marker(std::uint8_t& marker) noexcept
{
    marker = 0;
    for (;;) {
        const NUV_JPEGCode more = want(2);
        if (!is_good(more))
            return more;
        if (unread() < 2) {
            position_ = size_;
            return NUV_JPEGCode::good;
        }
        const std::uint8_t* const from = buffer_.data() + position_;
        const auto* const found = static_cast<const std::uint8_t*>(
            std::memchr(from, 0xFF, static_cast<std::size_t>(unread()) - 1));
        if (found == nullptr) {
            position_ = size_ - 1; // may be a 0xFF
            if (buffer_[static_cast<std::size_t>(position_)] != 0xFF)
                position_ = size_;
            continue;
        }
        position_ = static_cast<std::int32_t>(found - buffer_.data()) + 1;
        const std::uint8_t follower = found[1];
        if (follower == 0xFF)
            continue; // the first of the two was a fill byte
        ++position_;
        if (follower != 0) {
            marker = follower;
            return NUV_JPEGCode::good;
        }
    }
}

NUV_JPEGCode NUV_JPEGInput::seek(std::int32_t offset) noexcept
{
    position_ = 0;
    size_ = 0;
    at_end_ = false;
    next_offset_ = offset;
    return settle();
}

NUV_JPEGCode NUV_JPEGInput::settle() noexcept
{
    return source_.to(source_.storage, offset()) ? NUV_JPEGCode::good : NUV_JPEGCode::io;
}

std::int64_t NUV_JPEGInput::remaining() const noexcept
{
    return std::int64_t{source_.size(source_.storage)} - offset();
}

} // namespace nuv
