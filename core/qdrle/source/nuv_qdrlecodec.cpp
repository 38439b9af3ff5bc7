#include "core/qdrle/nuv_qdrlecodec.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace nuv {
namespace {

constexpr std::uint32_t terminator = 0xFFFFFFFF;
constexpr std::uint32_t width_limit = 0x80000000; // the first that no line can have

[[nodiscard]] std::size_t bytes_of_line(std::uint32_t width) noexcept
{
    return (std::size_t{width} + 7) >> 3;
}

// Sets the bits of one run; false for one that the line cannot hold. Runs come in ascending order,
// so no bit stands yet where the last byte is assigned.
[[nodiscard]] bool draw_run(unsigned char* line, std::uint32_t width, std::uint32_t start,
                            std::uint32_t end) noexcept
{
    if (end >= width)
        return false;
    const std::size_t first = start >> 3;
    const std::size_t last = end >> 3;
    const unsigned from_start = 0xFFU >> (start & 7);
    const unsigned up_to_end = 0xFFU << (7 - (end & 7));
    if (first == last) { // an inverted run draws nothing
        line[first] = static_cast<unsigned char>(line[first] | (from_start & up_to_end));
        return true;
    }
    if (start > end)
        return false;
    line[first] = static_cast<unsigned char>(line[first] | from_start);
    std::memset(line + first + 1, 0xFF, last - first - 1);
    line[last] = static_cast<unsigned char>(up_to_end);
    return true;
}

constexpr std::size_t word_bytes = sizeof(std::uint64_t);

// `first_byte`, and behind it the same byte seven times.
void store_word(unsigned char* to, unsigned first_byte, std::uint64_t others) noexcept
{
    std::uint64_t word = others;
    if constexpr (std::endian::native == std::endian::little)
        word = word << 8 | first_byte;
    else
        word = std::uint64_t{first_byte} << 56 | word >> 8;
    std::memcpy(to, &word, word_bytes);
}

// Draws a run of a cleared line behind which nothing has been drawn, in whole words: what the first
// ones write too much the last one clears. There is a word from `end` on.
void draw_run_in_words(unsigned char* line, std::uint32_t start, std::uint32_t end) noexcept
{
    constexpr std::uint64_t black = ~std::uint64_t{0};
    const std::size_t first = start >> 3;
    const std::size_t last = end >> 3;
    const unsigned from_start = 0xFFU >> (start & 7);
    const unsigned up_to_end = 0xFFU << (7 - (end & 7)) & 0xFF;
    const unsigned before = line[first];
    store_word(line + first, before | from_start, black);
    for (std::size_t byte = first + word_bytes; byte < last; byte += word_bytes)
        store_word(line + byte, 0xFF, black);
    store_word(line + last, first == last ? before | (from_start & up_to_end) : up_to_end, 0);
}

} // namespace

bool draw_runs(std::span<const std::uint32_t> words, std::uint32_t width,
               unsigned char* line) noexcept
{
    const std::size_t line_bytes = bytes_of_line(width);
    std::memset(line, 0, line_bytes);
    // Pixels with a whole word to the right of them.
    const std::uint64_t limit = line_bytes < word_bytes ? 0 : (line_bytes - word_bytes + 1) * 8;
    std::uint32_t behind = 0; // what was drawn
    for (std::size_t word = 0; word < words.size(); word += 2) {
        const std::uint32_t start = words[word];
        const std::uint32_t end = words[word + 1];
        if (start >= behind && start <= end && end < limit) [[likely]]
            draw_run_in_words(line, start, end);
        else if (!draw_run(line, width, start, end))
            return false;
        behind = std::max(behind, end + 1);
    }
    return true;
}

void QDRLELine::clear() noexcept
{
    reserved_ = 0;
    count_ = 0;
    QDRLE::reset();
}

void QDRLELine::assign(const QDRLELine& other) noexcept
{
    reserved_ = other.reserved_;
    count_ = other.count_;
    std::copy_n(other.runs_, count_, runs_);
}

QDRLELineDecoder::QDRLELineDecoder(const std::uint32_t* runs, std::uint32_t width) noexcept
    : runs_(runs),
      width_(width)
{
    if (!runs || width == 0 || width >= width_limit)
        refuse(QDRLEStatus::bad_argument);
}

bool QDRLELineDecoder::decode(unsigned char* line) noexcept
{
    if (!is_good())
        return refuse(QDRLEStatus::failed_before);
    if (!line)
        return refuse(QDRLEStatus::bad_argument);
    const std::size_t most_words = (std::size_t{width_} + 1) / 2 * 2;
    std::size_t words = 0;
    while (words < most_words && runs_[words] != terminator)
        words += 2;
    if (!draw_runs({runs_, words}, width_, line))
        return refuse(QDRLEStatus::bad_run);
    return runs_[words] == terminator || refuse(QDRLEStatus::cut_short);
}

QDRLEDecoder::QDRLEDecoder(DataInStream* stream, std::uint32_t width) noexcept
    : stream_(stream),
      width_(width),
      line_bytes_(bytes_of_line(width))
{
    if (!stream || width == 0 || width >= width_limit)
        refuse(QDRLEStatus::bad_argument);
}

bool QDRLEDecoder::decode(unsigned char* line)
{
    if (!is_good())
        return refuse(QDRLEStatus::failed_before);
    if (!line)
        return refuse(QDRLEStatus::bad_argument);
    std::memset(line, 0, line_bytes_);
    for (;;) {
        std::uint32_t start = 0;
        std::uint32_t end = 0;
        if (!stream_->read(&start) || !stream_->read(&end))
            return refuse(QDRLEStatus::cut_short);
        if (start == terminator)
            return is_good();
        if (!draw_run(line, width_, start, end))
            return refuse(QDRLEStatus::bad_run);
    }
}

} // namespace nuv
