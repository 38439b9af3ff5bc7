#pragma once

#include "core/ccitt/codec/nuv_qdccittdatainstream.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// The bits of a stream, the most significant of a byte first. It reads ahead, but not beyond what
// the stream hands out.
class QDCCITTBitReader {
public:
    static constexpr std::uint32_t most_bits = 56; // of one peek

    explicit QDCCITTBitReader(QDCCITTDataInStream* stream) noexcept : stream_(stream) {}

    // How many of the next `count` (at most most_bits) bits there are: all, unless the data ends.
    [[nodiscard]] std::uint32_t available(std::uint32_t count)
    {
        while (held_.bits < count && refill()) {
        }
        return held_.bits < count ? held_.bits : count;
    }
    // The next `count` bits, 1 to 32 and available.
    [[nodiscard]] std::uint32_t peek(std::uint32_t count) const noexcept
    {
        return static_cast<std::uint32_t>(held_.accumulator >> (64 - count));
    }
    // True when the next `count` bits are there and are `bits`.
    [[nodiscard]] bool sees(std::uint32_t bits, std::uint32_t count)
    {
        return available(count) == count && peek(count) == bits;
    }
    // The same, and takes them then.
    [[nodiscard]] bool take_if(std::uint32_t bits, std::uint32_t count)
    {
        if (!sees(bits, count))
            return false;
        take(count);
        return true;
    }
    // `count` bits, at most most_bits and available, are done.
    void take(std::uint32_t count) noexcept
    {
        held_.accumulator <<= count;
        held_.bits -= count;
    }
    // Takes `count` bits unseen, at most most_bits. False when the data ends before.
    [[nodiscard]] bool skip(std::uint32_t count)
    {
        const std::uint32_t there = available(count);
        take(there);
        return there == count;
    }
    // Takes all bits up to the next 1 bit, and that. False when the data ends before.
    [[nodiscard]] bool skip_through_one();

    // The rest of the byte at hand is done.
    void align() noexcept { take(held_.bits & 7); }
    // A line is begun anew: in the next strip, or with the next byte where there are no strips.
    void rewind() noexcept;

    // What was taken, in bits since the begin of the stream, or of the strip behind a rewind().
    [[nodiscard]] std::uint64_t consumed_bits() const noexcept
    {
        return 8 * (read_bytes_ - behind_seam_.size() - unread().size()) - held_.bits;
    }

    // Bits in hand, left justified. Behind them there may be bits of the next unread byte, which is
    // then read again to the same place.
    struct Held {
        std::uint64_t accumulator = 0;
        std::uint32_t bits = 0;
    };
    // For decoders that work on copies.
    [[nodiscard]] const Held& held() const noexcept { return held_; }
    [[nodiscard]] std::span<const std::uint8_t> unread() const noexcept { return {next_, end_}; }
    // What such a decoder has left: the last `unread` bytes, and bits in hand.
    void leave(const Held& held, std::size_t unread) noexcept
    {
        held_ = held;
        next_ = end_ - unread;
    }
    // Such a decoder gives up where the bytes that lie in a row end, so few of them are worth less
    // than a copy: true when there are few, and more may come.
    [[nodiscard]] bool is_near_end() const noexcept
    {
        return !has_ended_ && unread().size() < seam_bytes / 2;
    }
    // Memory in which the last bytes of a block and the first of the next one lie in a row.
    static constexpr std::size_t seam_bytes = 2048;
    // Reads on until it is not near the end; `seam` stays until the reader goes.
    void join(std::span<std::uint8_t> seam);

private:
    // True when there are more bits in hand than before.
    [[nodiscard]] bool refill();
    // Goes on to the next bytes, when those before are done. False at the end of the data.
    [[nodiscard]] bool read_on();

    QDCCITTDataInStream* stream_;
    const std::uint8_t* next_ = nullptr;
    const std::uint8_t* end_ = nullptr;
    // The bytes behind those, of a block that begins with a copy of the last of them.
    std::span<const std::uint8_t> behind_seam_;
    Held held_;
    std::uint64_t read_bytes_ = 0;
    bool has_ended_ = false;
};

} // namespace nuv
