#pragma once

#include "core/ccitt/codec/nuv_qdccittbitreader.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Where the fast path writes a line: words of runs as in QDRLELine, without the terminator.
struct QDCCITTFastLine {
    // Words behind `most` that may be written over.
    static constexpr std::uint32_t spare_words = 8;

    std::uint32_t* words = nullptr;
    std::uint32_t most = 0; // words
    std::uint32_t count = 0;
    std::uint32_t position = 0; // the status of the line has it so
};

// The line before, as the fast path reads it.
struct QDCCITTFastReference {
    const std::uint32_t* words = nullptr;
    std::uint32_t count = 0;

    // Words that stand behind the runs: what is no run, but a change at the end of the line,
    // whatever colour is looked for.
    static constexpr std::uint32_t end_words = 12;

    // Prepares a line for being a reference, where its runs end.
    static void end_line(std::uint32_t* behind, std::uint32_t width) noexcept
    {
        for (std::uint32_t i = 0; i < end_words; i += 2) {
            behind[i] = width;
            behind[i + 1] = width - 1;
        }
    }

    // Of the last `most` words up to `last`, a change at the end of the line: how many stand behind
    // the first such change.
    [[nodiscard]] std::uint32_t changes_behind_end(const std::uint32_t* last, std::uint32_t most,
                                                   std::uint32_t width) const noexcept
    {
        const bool ends_black = count != 0 && words[count - 1] == width - 1;
        const std::uint32_t* const first = words + count - (ends_black ? 1 : 0);
        return static_cast<std::uint32_t>(std::min<std::ptrdiff_t>(last - first, most - 1));
    }
};

// The bits of bytes that lie in a row, in so few words that they stay in registers. Behind the
// bytes come zeros, which begin no code, so that decoding ends before those are used up.
class QDCCITTFastBits {
public:
    // A copy of the last bytes, with the zeros.
    struct Tail {
        std::array<std::uint8_t, 32> bytes = {};
        const std::uint8_t* end = nullptr; // of the bytes; null where reading has not come so far
    };

    // From a reader on, which stays as it is.
    QDCCITTFastBits(const QDCCITTBitReader& reader, Tail& tail) noexcept
        : held_(reader.held()),
          next_(reader.unread().data()),
          end_(next_ + reader.unread().size()),
          tail_(&tail)
    {}

    [[nodiscard]] std::uint32_t held() const noexcept { return held_.bits; }
    // Bits in hand, left justified.
    [[nodiscard]] std::uint64_t head() const noexcept { return held_.accumulator; }
    void take(std::uint32_t count) noexcept
    {
        held_.accumulator <<= count;
        held_.bits -= count;
    }
    // Afterwards 56 bits or more are held.
    void refill() noexcept
    {
        if (end_ - next_ < 8) [[unlikely]] {
            QDCCITTFastBits copy = *this; // an address would keep this one in memory
            copy.enter_tail();
            *this = copy;
        }
        // A byte that finds only half a place is read again by the next refill, to the same place.
        held_.accumulator |= load_be64(next_) >> held_.bits;
        next_ += (63 - held_.bits) >> 3;
        held_.bits |= 56;
    }

    // Takes from the reader what was taken here. False, and nothing is taken, when some of that was
    // not there.
    [[nodiscard]] bool store(QDCCITTBitReader& reader) const noexcept;

private:
    void enter_tail() noexcept;

    QDCCITTBitReader::Held held_;
    const std::uint8_t* next_;
    const std::uint8_t* end_;
    Tail* tail_;
};

// Decodes lines of good codes from bytes that lie in a row, on a copy of a reader's state. Whatever
// else it meets, it says no and leaves the line to the line decoders: nothing is lost, for the
// reader is where it was. It has no recovery and no status, and must take no line that those would
// read in another way.
class QDCCITTFastDecoder {
public:
    explicit QDCCITTFastDecoder(const QDCCITTBitReader& reader) noexcept : bits_(reader, tail_)
    {
        bits_.refill();
    }
    QDCCITTFastDecoder(const QDCCITTFastDecoder&) = delete;
    QDCCITTFastDecoder& operator=(const QDCCITTFastDecoder&) = delete;

    // The rest of the byte at hand is done.
    void align() noexcept { bits_.take(bits_.held() & 7); }
    // An EOL, with fill in front of it or not.
    [[nodiscard]] bool take_eol() noexcept;
    [[nodiscard]] bool take_bit() noexcept;

    // The next line, `width` pixels. What is in `line` is of no meaning after a no.
    [[nodiscard]] bool decode_1d(QDCCITTFastLine& line, std::uint32_t width) noexcept;
    [[nodiscard]] bool decode_2d(QDCCITTFastLine& line, const QDCCITTFastReference& reference,
                                 std::uint32_t width) noexcept;

    // See QDCCITTFastBits::store().
    [[nodiscard]] bool store(QDCCITTBitReader& reader) const noexcept
    {
        return bits_.store(reader);
    }

private:
    QDCCITTFastBits::Tail tail_;
    QDCCITTFastBits bits_;
};

} // namespace nuv
