#include "core/jpeg/encode/nuv_jpeglosslessencoder.h"

#include "core/jpeg/kernels/nuv_jpegbitwriter.h"
#include "core/jpeg/stream/nuv_jpegmarkers.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <span>
#include <utility>

namespace nuv {
namespace {

constexpr std::uint8_t predictor = 1;       // T.81, table H.1: the sample to the left
constexpr std::uint8_t point_transform = 0; // Pt

// The most that a piece needs: 7 held bits and 64 pixels of 3 differences of 16 + 15 bits are 745
// bytes, twice that when all are 0xFF and stuffed, 8 for the writer and 2 for a marker.
constexpr std::size_t piece_columns = 64;
constexpr std::size_t most_piece_bytes = 2048;

// The table for all pictures: 17 categories in their order.
constexpr std::array<std::uint8_t, 16> standard_counts = {0, 2, 2, 3, 1, 1, 1, 1,
                                                          1, 1, 1, 1, 1, 1, 0, 0};

// T.81, table H.2: the category SSSS of a difference modulo 65536, and its low bits, those of a
// negative one from the difference - 1. Nothing but 32768 has category 16.
struct Difference {
    std::uint32_t category;
    std::uint32_t low;
};

Difference difference_of(std::uint16_t modulo) noexcept
{
    const std::int32_t value = static_cast<std::int16_t>(modulo);
    const std::int32_t sign = value >> 31; // -1 or 0
    const auto absolute = static_cast<std::uint32_t>((value ^ sign) - sign);
    return {static_cast<std::uint32_t>(std::bit_width(absolute)),
            static_cast<std::uint32_t>(value + sign)};
}

} // namespace

template <class Sample, std::size_t Components>
void NUV_JPEGLosslessEncoder::split_line(const void* line, std::size_t width,
                                         std::uint16_t* rows) noexcept
{
    const auto* samples = static_cast<const Sample*>(line);
    for (std::size_t component = 0; component < Components; ++component) {
        for (std::size_t x = 0; x < width; ++x)
            rows[component * width + x] = samples[x * Components + component];
    }
}

template <std::size_t Components>
std::uint8_t* NUV_JPEGLosslessEncoder::put_piece(const DifferenceRows& rows, std::size_t columns,
                                                 const Codes& codes, std::uint8_t* output,
                                                 NUV_JPEGEncodeState& state) noexcept
{
    // Several differences at once, of one pixel or of two, as long as their bits allow.
    constexpr std::size_t group = Components == 1 ? 2 : 1; // pixels
    NUV_JPEGBitWriter writer(output, state);
    for (std::size_t x = 0; x < columns;) {
        std::uint64_t bits = 0;
        std::uint32_t count = 0;
        for (const std::size_t end = std::min(x + group, columns); x < end; ++x) {
            for (std::size_t component = 0; component < Components; ++component) {
                const Difference difference = difference_of(rows[component][x]);
                const Code& code = codes[difference.category];
                if (count + code.count > NUV_JPEGBitWriter::most_bits) [[unlikely]] {
                    writer.put(bits, count);
                    bits = 0;
                    count = 0;
                }
                bits = bits << code.count | code.bits | (difference.low & code.low_mask);
                count += code.count;
            }
        }
        writer.put(bits, count);
    }
    return writer.finish(state);
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::start(const NUV_JPEGFrame& frame, NUV_JPEGLosslessTable table,
                                            const NUV_JPEGAllocator& allocator,
                                            const NUV_JPEGOutput& output,
                                            const NUV_JPEGPrimitives& primitives) noexcept
{
    if ((frame.precision != 8 && frame.precision != 16) ||
        frame.restart_interval % frame.width != 0) // T.81, H.1.1: an interval is whole lines
        return NUV_JPEGCode::bad_parameter;
    frame_ = frame;
    table_ = table;
    output_ = output;
    primitives_ = &primitives;
    row_samples_ = frame_.width * frame_.components;
    lines_per_interval_ = frame_.restart_interval / frame_.width;
    lines_ = 0;
    coded_bytes_ = 0;
    frequencies_ = {};
    primitives_->huffman_encode_state_init(&bits_);
    choose_forms();
    if (!allocate_memory(allocator))
        return NUV_JPEGCode::no_memory;
    if (table_ == NUV_JPEGLosslessTable::optimal)
        return NUV_JPEGCode::good;

    std::array<std::uint8_t, categories> values{};
    std::iota(values.begin(), values.end(), std::uint8_t{0});
    return set_table(standard_counts.data(), values.data()) ? write_header()
                                                            : NUV_JPEGCode::bad_table;
}

void NUV_JPEGLosslessEncoder::choose_forms() noexcept
{
    const bool is_wide = frame_.precision > 8;
    if (frame_.components == 1) {
        put_piece_ = put_piece<1>;
        split_line_ = is_wide ? nullptr : split_line<std::uint8_t, 1>;
        return;
    }
    put_piece_ = put_piece<most_components>;
    split_line_ = is_wide ? split_line<std::uint16_t, most_components>
                          : split_line<std::uint8_t, most_components>;
}

bool NUV_JPEGLosslessEncoder::allocate_memory(const NUV_JPEGAllocator& allocator) noexcept
{
    const bool holds_all = table_ == NUV_JPEGLosslessTable::optimal;
    const std::uint64_t differences = std::uint64_t{row_samples_} * (holds_all ? frame_.height : 1);
    if (!std::in_range<std::size_t>(differences))
        return false;
    // Coded lines are seldom longer than twice their samples; else they go out in pieces.
    const bool ok = (split_line_ == nullptr || line_.allocate(allocator, row_samples_)) &&
                    rows_.allocate(allocator, 2 * row_samples_) &&
                    differences_.allocate(allocator, static_cast<std::size_t>(differences)) &&
                    coded_.allocate(allocator, 4 * row_samples_ + most_piece_bytes);
    row_ = rows_.data();
    previous_row_ = ok ? row_ + row_samples_ : nullptr;
    return ok;
}

void NUV_JPEGLosslessEncoder::free_memory() noexcept
{
    line_.free();
    rows_.free();
    row_ = nullptr;
    previous_row_ = nullptr;
    differences_.free();
    coded_.free();
}

// Keeps a table and makes the codes of its categories.
bool NUV_JPEGLosslessEncoder::set_table(const std::uint8_t* counts,
                                        const std::uint8_t* values) noexcept
{
    NUV_JPEGEncodeTable table;
    if (primitives_->huffman_encode_spec_init(counts, values, &table) != NUV_JPEGResult::good)
        return false;
    std::copy_n(counts, counts_.size(), counts_.begin());
    value_count_ = std::accumulate(counts_.begin(), counts_.end(), std::size_t{0});
    std::copy_n(values, value_count_, values_.begin());

    for (std::uint32_t category = 0; category < categories; ++category) {
        const std::uint32_t low_bits = category < 16 ? category : 0;
        const std::uint32_t code = table.words[category] & 0xFFFFU;
        const std::uint32_t code_bits = table.words[category] >> 16;
        codes_[category] = {.bits = code << low_bits,
                            .low_mask = (1U << low_bits) - 1U,
                            .count = code_bits == 0 ? 0 : code_bits + low_bits};
    }
    return true;
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::write_header() noexcept
{
    std::array<std::uint8_t, 512> header; // the segments take 77 bytes at most
    const NUV_JPEGHuffmanSegment table = {
        .selector = 0, .counts = counts_, .values = std::span(values_).first(value_count_)};
    NUV_JPEGSegmentWriter writer(header);
    writer.put_marker(jpeg_marker_soi);
    writer.put_huffman_tables({&table, 1});
    if (frame_.restart_interval != 0)
        writer.put_restart_interval(frame_.restart_interval);
    const std::size_t height_offset = writer.put_frame(frame_);
    writer.put_scan(frame_, predictor, 0, point_transform);

    const std::int32_t begin = output_.position(output_.storage);
    const auto bytes = static_cast<std::int32_t>(writer.position());
    if (!output_.write(output_.storage, header.data(), bytes))
        return NUV_JPEGCode::io;
    height_position_ = begin + static_cast<std::int32_t>(height_offset);
    return NUV_JPEGCode::good;
}

std::uint8_t* NUV_JPEGLosslessEncoder::next_line() noexcept
{
    void* line = split_line_ == nullptr ? row_ : line_.data();
    return static_cast<std::uint8_t*>(line);
}

// Whether a restart marker stands before a line.
bool NUV_JPEGLosslessEncoder::starts_interval(std::size_t line) const noexcept
{
    return lines_per_interval_ != 0 && line != 0 && line % lines_per_interval_ == 0;
}

std::uint16_t* NUV_JPEGLosslessEncoder::differences_of(std::size_t line) const noexcept
{
    const bool holds_all = table_ == NUV_JPEGLosslessTable::optimal;
    return differences_.data() + (holds_all ? line * row_samples_ : 0);
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::encode_line() noexcept
{
    if (split_line_ != nullptr)
        split_line_(line_.data(), frame_.width, row_);
    std::uint16_t* differences = differences_of(lines_);
    if (!take_differences(differences))
        return NUV_JPEGCode::bad_parameter;
    std::swap(row_, previous_row_);
    ++lines_;
    if (table_ == NUV_JPEGLosslessTable::standard)
        return put_line(lines_ - 1);
    count_categories(differences);
    return NUV_JPEGCode::good;
}

// T.81, H.1.1 and H.1.2.1: the first line of the picture and of an interval has none above.
bool NUV_JPEGLosslessEncoder::take_differences(std::uint16_t* differences) noexcept
{
    const bool is_first = lines_ == 0 || starts_interval(lines_);
    const std::size_t width = frame_.width;
    const auto columns = static_cast<std::int32_t>(width);
    bool ok = true;
    for (std::size_t start = 0; start < row_samples_; start += width) {
        ok &= is_good(
            is_first
                ? primitives_->lossless_diff_first_row(row_ + start, differences + start, columns,
                                                       frame_.precision, point_transform)
                : primitives_->lossless_diff_other_rows(row_ + start, previous_row_ + start,
                                                        differences + start, columns, predictor));
    }
    return ok;
}

// In several counters, since one after the other often has the same category and would wait for
// the one before.
void NUV_JPEGLosslessEncoder::count_categories(const std::uint16_t* differences) noexcept
{
    constexpr std::size_t lanes = 4;
    std::array<std::array<std::uint32_t, categories>, lanes> counts{};
    for (std::size_t i = 0; i < row_samples_; ++i)
        ++counts[i % lanes][difference_of(differences[i]).category];
    for (const auto& lane : counts) {
        for (std::size_t category = 0; category < categories; ++category)
            frequencies_[category] += lane[category];
    }
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::put_line(std::size_t line) noexcept
{
    if (starts_interval(line))
        put_marker(
            static_cast<std::uint8_t>(jpeg_marker_rst0 + ((line / lines_per_interval_ - 1) & 7U)));
    const std::size_t width = frame_.width;
    const std::uint16_t* differences = differences_of(line);
    for (std::size_t x = 0; x < width; x += piece_columns) {
        if (coded_.size() - coded_bytes_ < most_piece_bytes) {
            const NUV_JPEGCode code = write_coded();
            if (!is_good(code))
                return code;
        }
        DifferenceRows rows{};
        for (std::size_t component = 0; component < frame_.components; ++component)
            rows[component] = differences + component * width + x;
        const std::uint8_t* end = put_piece_(rows, std::min(piece_columns, width - x), codes_,
                                             coded_.data() + coded_bytes_, bits_);
        coded_bytes_ = static_cast<std::size_t>(end - coded_.data());
    }
    return write_coded();
}

// Behind the bits that are still held, which are padded with ones. The coded bytes are few here:
// each line is written at its end.
void NUV_JPEGLosslessEncoder::put_marker(std::uint8_t id) noexcept
{
    NUV_JPEGBitWriter writer(coded_.data() + coded_bytes_, bits_);
    writer.flush();
    std::uint8_t* end = writer.finish(bits_);
    *end++ = 0xFF;
    *end++ = id;
    coded_bytes_ = static_cast<std::size_t>(end - coded_.data());
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::close() noexcept
{
    NUV_JPEGCode code = NUV_JPEGCode::good;
    if (table_ == NUV_JPEGLosslessTable::optimal)
        code = write_stored_lines();
    if (!is_good(code))
        return code;
    put_marker(jpeg_marker_eoi);
    return write_coded();
}

// The second pass: now that the frequencies and the height are known.
NUV_JPEGCode NUV_JPEGLosslessEncoder::write_stored_lines() noexcept
{
    std::array<std::uint8_t, 16> counts{};
    std::array<std::uint8_t, 256> values{};
    if (primitives_->huffman_optimal_table(frequencies_.data(), counts.data(), values.data()) !=
            NUV_JPEGResult::good ||
        !set_table(counts.data(), values.data()))
        return NUV_JPEGCode::bad_table;
    frame_.height = static_cast<std::uint16_t>(lines_);
    NUV_JPEGCode code = write_header();
    for (std::size_t line = 0; line < lines_ && is_good(code); ++line)
        code = put_line(line);
    return code;
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::write_coded() noexcept
{
    const auto bytes = static_cast<std::int32_t>(coded_bytes_);
    coded_bytes_ = 0;
    return output_.write(output_.storage, coded_.data(), bytes) ? NUV_JPEGCode::good
                                                                : NUV_JPEGCode::io;
}

} // namespace nuv
