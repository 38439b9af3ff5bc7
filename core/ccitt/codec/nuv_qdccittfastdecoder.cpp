#include "core/ccitt/codec/nuv_qdccittfastdecoder.h"

#include "core/ccitt/codec/nuv_qdccittfasttables.h"
#include "core/ccitt/codec/nuv_qdccittlinedecoder.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace nuv {
namespace {

// Words that are copied at once.
constexpr std::uint32_t piece = QDCCITTFastLine::spare_words;

[[nodiscard]] std::int32_t position(std::uint32_t word) noexcept
{
    return static_cast<std::int32_t>(word); // pages of such a width have been refused
}

} // namespace

// Afterwards 56 bits or more are held.
inline void QDCCITTFastDecoder::refill() noexcept
{
    if (end_ - next_ < 8) [[unlikely]]
        enter_tail();
    // A byte that finds only half a place is read again by the next refill, to the same place.
    held_.accumulator |= load_be64(next_) >> held_.bits;
    next_ += (63 - held_.bits) >> 3;
    held_.bits |= 56;
}

// Zeros begin no code, so decoding ends before those behind the bytes are used up.
void QDCCITTFastDecoder::enter_tail() noexcept
{
    if (tail_end_) {
        next_ = end_ - 8;
        return;
    }
    const auto left = static_cast<std::size_t>(end_ - next_);
    std::copy_n(next_, left, tail_.data());
    next_ = tail_.data();
    tail_end_ = next_ + left;
    end_ = next_ + tail_.size();
}

QDCCITTFastDecoder::QDCCITTFastDecoder(const QDCCITTBitReader& reader) noexcept
    : held_(reader.held()),
      next_(reader.unread().data()),
      end_(next_ + reader.unread().size())
{
    refill();
}

bool QDCCITTFastDecoder::store(QDCCITTBitReader& reader) const noexcept
{
    const std::ptrdiff_t unread = (tail_end_ ? tail_end_ : end_) - next_;
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

bool QDCCITTFastDecoder::take_eol() noexcept
{
    const auto zeros = static_cast<std::uint32_t>(std::countl_zero(held_.accumulator));
    if (zeros < ccitt_eol_bits - 1 || zeros >= held_.bits)
        return false;
    take(zeros + 1);
    refill();
    return true;
}

bool QDCCITTFastDecoder::take_bit() noexcept
{
    const bool bit = held_.accumulator >> 63 != 0;
    take(1);
    return bit;
}

// A run of the lookup's colour; no_run where none can be read, or none of at most `most` pixels.
template <class Lookup>
inline std::int32_t QDCCITTFastDecoder::take_run(const Lookup& lookup, std::int32_t most) noexcept
{
    std::int32_t total = 0;
    for (;;) {
        if (held_.bits < Lookup::bits)
            refill();
        const auto entry = lookup[held_.accumulator >> (64 - Lookup::bits)];
        if (entry.length == 0)
            return no_run;
        take(entry.length);
        total += entry.run;
        if (total > most)
            return no_run;
        if (entry.is_whole)
            return total;
    }
}

bool QDCCITTFastDecoder::decode_1d(QDCCITTFastLine& line, std::uint32_t width) noexcept
{
    const std::int32_t end = position(width);
    std::int32_t done = 0;
    std::uint32_t count = 0;
    while (done < end) {
        const std::int32_t white = take_run(QDCCITTFastTables::white, end - done);
        const std::int32_t a = done + white;
        if (a == end)
            break;
        // Empty runs within a line join those beside them: nothing for here.
        if (white < (done == 0 ? 0 : 1) || count + 2 > line.most)
            return false;
        const std::int32_t black = take_run(QDCCITTFastTables::black, end - a);
        if (black < 1)
            return false;
        done = a + black;
        line.words[count] = static_cast<std::uint32_t>(a);
        line.words[count + 1] = static_cast<std::uint32_t>(done - 1);
        count += 2;
    }
    line.count = count;
    line.position = static_cast<std::uint32_t>(done);
    return true;
}

// The words of both lines are changes of colour, of which a word at an odd place stands one pixel
// before the change. Colours alternate in step in both, so that the change at the word `k` of this
// line is coded by b1 at a word `j` of the reference with the same parity.
bool QDCCITTFastDecoder::decode_2d(QDCCITTFastLine& line, const QDCCITTFastReference& reference,
                                   std::uint32_t width) noexcept
{
    const std::int32_t end = position(width);
    const std::uint32_t* const from = reference.words;
    std::uint32_t* const to = line.words;
    // The first change of the reference at the width.
    const std::ptrdiff_t count = reference.count;
    const std::ptrdiff_t at_end = count != 0 && from[count - 1] == width - 1 ? count - 1 : count;
    std::int32_t a0 = -1;
    std::ptrdiff_t j = 0; // signed, for the search looks back
    std::uint32_t k = 0;
    for (;;) {
        refill();
        // V0: each copies a change, as many as there are 1 bits.
        const std::uint32_t left = j < at_end ? static_cast<std::uint32_t>(at_end - j) + 1 : 1;
        const auto ones = static_cast<std::uint32_t>(std::countl_one(held_.accumulator));
        const std::uint32_t copies = std::min(std::min(ones, held_.bits), left);
        if (k + copies > line.most)
            return false;
        if (copies != 0) {
            for (std::uint32_t i = 0; i < copies; i += piece)
                std::memcpy(to + k + i, from + j + i, piece * sizeof(*to));
            take(copies);
            k += copies;
            if (copies == left)
                break;
            j += copies;
            a0 = position(from[j - 1]) + static_cast<std::int32_t>((j - 1) & 1);
        }
        if (held_.bits < QDMRModeTable::bits)
            continue;
        const auto mode = QDMRModeTable::lookup[held_.accumulator >> (64 - QDMRModeTable::bits)];
        if (mode.length == 0)
            return false;
        take(mode.length);
        const auto odd = static_cast<std::int32_t>(j & 1);
        if (mode.value < QDMRModeTable::horizontal) { // T.6, 2.2.3.2
            const std::int32_t b1 = position(from[j]) + odd;
            const std::int32_t a1 = b1 + mode.value;
            if (a1 <= a0 || a1 > end || k >= line.most)
                return false;
            to[k++] = static_cast<std::uint32_t>(a1 - odd);
            a0 = a1;
            if (a1 == end)
                break;
            const std::int32_t behind = a1 - (1 - odd);
            j = position(from[j - 1]) > behind ? j - 1 : j + 1;
            while (position(from[j]) <= behind)
                j += 2;
        } else if (mode.value == QDMRModeTable::pass) { // T.6, 2.2.3.1
            a0 = position(from[j + 1]) + (1 - odd);
            if (a0 >= end)
                return false;
            j += 2;
        } else { // T.6, 2.2.3.3
            a0 = std::max(a0, 0);
            if (k + 2 > line.most)
                return false;
            if (odd == 0) {
                const std::int32_t white = take_run(QDCCITTFastTables::white, end - a0);
                const std::int32_t black = take_run(QDCCITTFastTables::black, end);
                const std::int32_t a1 = a0 + white;
                if (a1 == end && black >= 0)
                    break;
                if (white < (k == 0 ? 0 : 1) || black < 1 || black > end - a1)
                    return false;
                a0 = a1 + black;
                to[k] = static_cast<std::uint32_t>(a1);
                to[k + 1] = static_cast<std::uint32_t>(a0 - 1);
            } else {
                const std::int32_t black = take_run(QDCCITTFastTables::black, end - a0);
                const std::int32_t white = take_run(QDCCITTFastTables::white, end);
                const std::int32_t a1 = a0 + black;
                if (black < 1 || white > end - a1 || white < (a1 == end ? 0 : 1))
                    return false;
                a0 = a1 + white;
                to[k] = static_cast<std::uint32_t>(a1 - 1);
                to[k + 1] = static_cast<std::uint32_t>(a0);
            }
            k += 2;
            if (a0 == end)
                break;
            while (position(from[j]) <= a0 - odd)
                j += 2;
        }
    }
    line.count = k & ~1U;
    line.position = width;
    return true;
}

} // namespace nuv
