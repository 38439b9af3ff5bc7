#include "core/ccitt/codec/nuv_qdccittfastdecoder.h"

#include "core/ccitt/codec/nuv_qdccittfasttables.h"
#include "core/ccitt/codec/nuv_qdccittlinedecoder.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

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

void QDCCITTFastBits::enter_tail() noexcept
{
    if (tail_->end) {
        next_ = end_ - 8;
        return;
    }
    const auto left = static_cast<std::size_t>(end_ - next_);
    std::copy_n(next_, left, tail_->bytes.data());
    next_ = tail_->bytes.data();
    tail_->end = next_ + left;
    end_ = next_ + tail_->bytes.size();
}

bool QDCCITTFastBits::store(QDCCITTBitReader& reader) const noexcept
{
    const std::ptrdiff_t unread = (tail_->end ? tail_->end : end_) - next_;
    if (unread >= 0) {
        reader.leave(held_, static_cast<std::size_t>(unread));
        return true;
    }
    const auto zeros = 8 * static_cast<std::uint32_t>(-unread);
    if (held_.bits < zeros)
        return false;
    reader.leave({.accumulator = held_.accumulator, .bits = held_.bits - zeros}, 0);
    return true;
}

constexpr std::int32_t no_run = -1;

[[nodiscard]] std::int32_t position(std::uint32_t word) noexcept
{
    return static_cast<std::int32_t>(word); // pages of such a width have been refused
}

// What is left of a run that did not fit into one lookup; no_run where none can be read, or none of
// at most `most` pixels. Holds as many bits afterwards as refill() gives.
template <class Lookup>
[[nodiscard, gnu::noinline]] std::int32_t take_long_run(QDCCITTFastBits& bits, const Lookup& lookup,
                                                        std::int32_t total,
                                                        std::int32_t most) noexcept
{
    bool is_whole = false;
    while (!is_whole) {
        bits.refill();
        const auto entry = lookup[bits.head() >> (64 - Lookup::bits)];
        bits.take(entry.length());
        total += entry.run();
        if (entry.length() == 0 || total > most)
            return no_run;
        is_whole = entry.is_whole();
    }
    bits.refill();
    return total;
}

// A run of the lookup's colour, for which enough bits are held; no_run as above.
template <class Lookup>
[[nodiscard]] inline std::int32_t take_run(QDCCITTFastBits& bits, const Lookup& lookup,
                                           std::int32_t most) noexcept
{
    const auto entry = lookup[bits.head() >> (64 - Lookup::bits)];
    bits.take(entry.length());
    if (entry.is_whole()) [[likely]]
        return entry.run();
    QDCCITTFastBits copy = bits; // an address would keep them in memory
    const std::int32_t run =
        entry.length() == 0 ? no_run : take_long_run(copy, lookup, entry.run(), most);
    bits = copy;
    return run;
}

// T.6, 2.2.3.3: two runs from a0 on, of which the first has the colour of that place, as words at
// `to`; a0 is behind them then. Answers how many words there are, the last of which may stand for a
// change at the end of the line; 0 where this is nothing for here.
[[nodiscard]] inline std::uint32_t take_horizontal(QDCCITTFastBits& bits, std::uint32_t* to,
                                                   bool is_black, std::int32_t& a0,
                                                   std::int32_t end) noexcept
{
    const bool begins_line = a0 < 0;
    a0 = std::max(a0, 0);
    std::int32_t first = 0;
    std::int32_t second = 0;
    const auto& pairs = is_black ? QDCCITTFastTables::black_white : QDCCITTFastTables::white_black;
    const auto pair = pairs[bits.head() >> (64 - QDCCITTPairLookup::bits)];
    if (pair.length() != 0) {
        bits.take(pair.length());
        first = pair.first();
        second = pair.second();
    } else if (is_black) {
        first = take_run(bits, QDCCITTFastTables::black, end - a0);
        second = take_run(bits, QDCCITTFastTables::white, end);
    } else {
        first = take_run(bits, QDCCITTFastTables::white, end - a0);
        second = take_run(bits, QDCCITTFastTables::black, end);
    }
    const std::int32_t a1 = a0 + first;
    if (first < (begins_line ? 0 : 1) || second < (a1 == end ? 0 : 1) || second > end - a1)
        return 0;
    a0 = a1 + second;
    const std::int32_t odd = is_black ? 1 : 0;
    to[0] = static_cast<std::uint32_t>(a1 - odd);
    to[1] = static_cast<std::uint32_t>(a0 - (1 - odd));
    return a1 == end ? 1 : 2;
}

[[nodiscard]] inline bool take_if_horizontal(QDCCITTFastBits& bits) noexcept
{
    constexpr std::uint32_t length = 3; // of 001
    if (bits.head() >> (64 - length) != 1)
        return false;
    bits.take(length);
    return true;
}

[[nodiscard]] inline bool take_eol(QDCCITTFastBits& bits) noexcept
{
    const auto zeros = static_cast<std::uint32_t>(std::countl_zero(bits.head()));
    if (zeros < ccitt_eol_bits - 1 || zeros >= bits.held())
        return false;
    bits.take(zeros + 1);
    bits.refill();
    return true;
}

[[nodiscard]] inline bool take_bit(QDCCITTFastBits& bits) noexcept
{
    const bool bit = bits.head() >> 63 != 0;
    bits.take(1);
    return bit;
}

// T.4, 4.1.
[[nodiscard]] inline bool decode_1d(QDCCITTFastBits& bits, QDCCITTFastLine& line,
                                    std::uint32_t width) noexcept
{
    const std::int32_t end = position(width);
    std::uint32_t* to = line.words;
    const std::uint32_t* const last_to = to + (line.most - 2);
    std::int32_t done = 0;
    std::int32_t before = -1; // Empty runs within a line join those beside them: nothing for here.
    while (done < end) {
        bits.refill();
        const std::int32_t a = done + take_run(bits, QDCCITTFastTables::white, end);
        if (a <= before || a >= end) [[unlikely]] {
            if (a != end)
                return false;
            break;
        }
        const std::int32_t e = a + take_run(bits, QDCCITTFastTables::black, end);
        if (e <= a || e > end || to > last_to) [[unlikely]]
            return false;
        to[0] = static_cast<std::uint32_t>(a);
        to[1] = static_cast<std::uint32_t>(e - 1);
        to += 2;
        done = e;
        before = e;
    }
    line.count = static_cast<std::uint32_t>(to - line.words);
    line.position = static_cast<std::uint32_t>(done);
    return true;
}

// The words of both lines are changes of colour, of which a word at an odd place stands one pixel
// in front of the change. `to`, the next word of this line, and `b1`, that of the reference, have
// the same colour to their left, so that their places are even or odd together.
[[nodiscard]] inline bool decode_2d(QDCCITTFastBits& bits, QDCCITTFastLine& line,
                                    const QDCCITTFastReference& reference,
                                    std::uint32_t width) noexcept
{
    using Modes = QDCCITTModeLookup;
    // Lookups that the bits of one refill serve, and the words that each of them may add.
    constexpr std::uint32_t lookups = 5;
    static_assert(lookups * Modes::bits <= QDCCITTBitReader::most_bits);
    static_assert(lookups * (Modes::most_copies + 1) <= QDCCITTFastLine::spare_words);
    // Before a lookup `b1` stands at most one word behind the first of those that end the line.
    static_assert(1 + Modes::most_copies <= QDCCITTFastReference::end_words);

    const std::int32_t end = position(width);
    const std::uint32_t* b1 = reference.words;
    std::uint32_t* to = line.words;
    const std::uint32_t* const last_to = to + (line.most - 2);
    std::int32_t a0 = -1;
    std::int32_t odd = 0;
    while (a0 != end) {
        bits.refill();
        if (to > last_to)
            return false;
        for (std::uint32_t lookup = 0; lookup < lookups; ++lookup) {
            const auto codes = QDCCITTFastTables::modes[bits.head() >> (64 - Modes::bits)];
            // T.6, 2.2.3.2: V0 copies a change; those behind the last one are written over.
            const std::uint32_t copies = codes.copies();
            std::memcpy(to, b1, Modes::most_copies * sizeof(*to));
            to += copies;
            b1 += copies;
            odd ^= static_cast<std::int32_t>(copies & 1);
            const std::int32_t copied = position(b1[-1]) + 1 - odd;
            a0 = copies == 0 ? a0 : copied;
            if (codes.passes_reference()) [[likely]] {
                // A vertical mode or a pass (T.6, 2.2.3.1): no branch tells them apart.
                const std::int32_t passed = codes.passed();
                const std::int32_t changes = passed & 1;
                const std::int32_t a1 =
                    position(b1[passed - 1]) + (odd ^ changes ^ 1) + codes.offset();
                *to = *b1 + static_cast<std::uint32_t>(codes.offset());
                if (a1 > a0 && a1 < end) [[likely]] {
                    bits.take(codes.length());
                    to += changes;
                    b1 += passed;
                    odd ^= changes;
                    a0 = a1;
                    if (position(b1[-2]) > a0 - odd) [[unlikely]]
                        b1 -= 2;
                    while (position(*b1) <= a0 - odd)
                        b1 += 2;
                    continue;
                }
                if (a0 != end) {
                    if (a1 != end || changes == 0)
                        return false;
                    bits.take(codes.length());
                    ++to;
                    a0 = end;
                    break;
                }
            } else if (a0 != end) {
                if (!codes.is_horizontal())
                    return false;
                bits.take(codes.length());
                bits.refill();
                // Where the reference is of no use, one follows the other.
                do {
                    const std::uint32_t words = take_horizontal(bits, to, odd != 0, a0, end);
                    if (words == 0 || to > last_to)
                        return false;
                    to += words;
                    bits.refill();
                } while (a0 != end && take_if_horizontal(bits));
                while (a0 != end && position(*b1) <= a0 - odd)
                    b1 += 2;
                break;
            }
            // Further V0 and what follows them are those of the next line.
            const std::uint32_t behind = reference.changes_behind_end(b1 - 1, copies, width);
            bits.take(copies - behind);
            to -= behind;
            break;
        }
    }
    // The change at the end of a line that ends white is no run.
    line.count = static_cast<std::uint32_t>(to - line.words) & ~1U;
    line.position = width;
    return line.count <= line.most;
}

} // namespace

bool decode_fast_line(QDCCITTBitReader& reader, QDCCITTLineBegin begin, QDCCITTLineCoding coding,
                      const QDCCITTFastReference& reference, std::uint32_t width,
                      QDCCITTFastLine& line) noexcept
{
    if (line.most < 2)
        return false;
    QDCCITTFastBits::Tail tail;
    QDCCITTFastBits bits(reader, tail);
    bits.refill();
    if (begin == QDCCITTLineBegin::behind_eol && !take_eol(bits))
        return false;
    if (begin == QDCCITTLineBegin::on_byte)
        bits.take(bits.held() & 7);
    const bool is_1d = coding == QDCCITTLineCoding::tagged
                           ? take_bit(bits)
                           : coding == QDCCITTLineCoding::one_dimensional;
    const bool is_decoded =
        is_1d ? decode_1d(bits, line, width) : decode_2d(bits, line, reference, width);
    const QDCCITTFastBits done = bits; // an address would keep the others in memory
    return is_decoded && done.store(reader);
}

} // namespace nuv
