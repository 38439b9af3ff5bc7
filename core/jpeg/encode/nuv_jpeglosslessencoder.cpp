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

constexpr Difference difference_of(std::uint16_t modulo) noexcept
{
    const std::int32_t value = static_cast<std::int16_t>(modulo);
    const std::int32_t sign = value >> 31; // -1 or 0
    const auto absolute = static_cast<std::uint32_t>((value ^ sign) - sign);
    return {static_cast<std::uint32_t>(std::bit_width(absolute)),
            static_cast<std::uint32_t>(value + sign)};
}

// The difference of samples of 8 bits that has these low 9 bits.
constexpr std::uint16_t small_difference(std::uint32_t low_bits) noexcept
{
    return static_cast<std::uint16_t>(low_bits < 256 ? low_bits : low_bits - 512);
}

constexpr std::size_t small_differences = 512;

template <class Sample>
constexpr bool is_small = sizeof(Sample) == 1;

template <class Sample>
std::uint32_t modulo_difference(Sample sample, Sample prediction) noexcept
{
    return static_cast<std::uint32_t>(sample) - static_cast<std::uint32_t>(prediction);
}

} // namespace

// In several counters, since one after the other often is alike and would wait for the one before.
template <class Sample, std::size_t Components>
void NUV_JPEGLosslessEncoder::count_line(const void* samples, std::size_t width,
                                         std::uint32_t* counters) noexcept
{
    const auto* sample = static_cast<const Sample*>(samples);
    const auto* prediction = sample - Components;
    for (std::size_t i = 0; i < width * Components; ++i) {
        const std::uint32_t difference = modulo_difference(sample[i], prediction[i]);
        std::size_t kind = 0;
        if constexpr (is_small<Sample>)
            kind = difference % small_differences;
        else
            kind = difference_of(static_cast<std::uint16_t>(difference)).category;
        ++counters[kind * lanes + i % lanes];
    }
}

template <class Sample, std::size_t Components>
std::uint8_t* NUV_JPEGLosslessEncoder::put_piece(const void* samples, std::size_t columns,
                                                 const Codes& codes, std::uint8_t* output,
                                                 NUV_JPEGEncodeState& state) noexcept
{
    // Several differences at once, of one pixel or of several, as long as their bits allow.
    constexpr std::size_t group = Components == 1 ? (is_small<Sample> ? 4 : 2) : Components;
    const auto* sample = static_cast<const Sample*>(samples);
    const auto* const line_end = sample + columns * Components;
    NUV_JPEGBitWriter writer(output, state);
    while (sample != line_end) {
        std::uint64_t bits = 0;
        std::uint32_t count = 0;
        const auto* const end =
            line_end - sample < std::ptrdiff_t{group} ? line_end : sample + group;
        for (; sample != end; ++sample) {
            const std::uint32_t modulo =
                modulo_difference(*sample, sample[-std::ptrdiff_t{Components}]);
            std::uint32_t more = 0;
            std::uint32_t more_count = 0;
            if constexpr (is_small<Sample>) {
                const std::uint32_t entry = codes.by_difference[modulo % small_differences];
                more = entry >> 8;
                more_count = entry & 0xFFU;
            } else {
                const Difference difference = difference_of(static_cast<std::uint16_t>(modulo));
                const Code& code = codes.by_category[difference.category];
                more = code.bits | (difference.low & code.low_mask);
                more_count = code.count;
            }
            if (count + more_count > NUV_JPEGBitWriter::most_bits) [[unlikely]] {
                writer.put(bits, count);
                bits = 0;
                count = 0;
            }
            bits = bits << more_count | more;
            count += more_count;
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
    pixel_bytes_ = frame_.components * (frame_.precision / 8U);
    line_bytes_ = (std::size_t{frame_.width} + 1) * pixel_bytes_;
    lines_per_interval_ = frame_.restart_interval / frame_.width;
    lines_ = 0;
    coded_bytes_ = 0;
    primitives_->huffman_encode_state_init(&bits_);
    choose_forms();
    if (!allocate_memory(allocator))
        return NUV_JPEGCode::no_memory;
    if (holds_all())
        return NUV_JPEGCode::good;

    std::array<std::uint8_t, categories> values{};
    std::iota(values.begin(), values.end(), std::uint8_t{0});
    return set_table(standard_counts.data(), values.data()) ? write_header()
                                                            : NUV_JPEGCode::bad_table;
}

void NUV_JPEGLosslessEncoder::choose_forms() noexcept
{
    const auto choose = [this]<class Sample, std::size_t Components>() {
        count_line_ = count_line<Sample, Components>;
        put_piece_ = put_piece<Sample, Components>;
    };
    const bool is_wide = frame_.precision > 8;
    if (frame_.components == 1) {
        is_wide ? choose.template operator()<std::uint16_t, 1>()
                : choose.template operator()<std::uint8_t, 1>();
    } else {
        is_wide ? choose.template operator()<std::uint16_t, most_components>()
                : choose.template operator()<std::uint8_t, most_components>();
    }
}

bool NUV_JPEGLosslessEncoder::allocate_memory(const NUV_JPEGAllocator& allocator) noexcept
{
    const std::uint64_t bytes = std::uint64_t{line_bytes_} * (holds_all() ? frame_.height : 1);
    const std::size_t counters = lanes * (frame_.precision > 8 ? categories : small_differences);
    if (!std::in_range<std::size_t>(bytes))
        return false;
    // Coded lines are seldom longer than twice their samples; else they go out in pieces.
    const std::size_t samples = std::size_t{frame_.width} * frame_.components;
    const bool ok = lines_memory_.allocate(allocator, static_cast<std::size_t>(bytes)) &&
                    (!holds_all() || counters_.allocate(allocator, counters)) &&
                    coded_.allocate(allocator, 4 * samples + most_piece_bytes);
    if (ok && holds_all())
        std::ranges::fill(counters_.items(), 0U);
    return ok;
}

void NUV_JPEGLosslessEncoder::free_memory() noexcept
{
    lines_memory_.free();
    counters_.free();
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
        codes_.by_category[category] = {.bits = code << low_bits,
                                        .low_mask = (1U << low_bits) - 1U,
                                        .count = code_bits == 0 ? 0 : code_bits + low_bits};
    }
    for (std::uint32_t i = 0; i < small_differences; ++i) {
        const Difference difference = difference_of(small_difference(i));
        const Code& code = codes_.by_category[difference.category];
        codes_.by_difference[i] = (code.bits | (difference.low & code.low_mask)) << 8 | code.count;
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

// The first sample of a line.
std::uint8_t* NUV_JPEGLosslessEncoder::samples_of(std::size_t line) noexcept
{
    return lines_memory_.data() + (holds_all() ? line * line_bytes_ : 0) + pixel_bytes_;
}

std::uint8_t* NUV_JPEGLosslessEncoder::next_line() noexcept
{
    return lines_memory_.data() == nullptr ? nullptr : samples_of(lines_);
}

// Whether a restart marker stands before a line.
bool NUV_JPEGLosslessEncoder::starts_interval(std::size_t line) const noexcept
{
    return lines_per_interval_ != 0 && line != 0 && line % lines_per_interval_ == 0;
}

// T.81, H.1.1 and H.1.2.1: the first pixel of a line is predicted from the one above it, but in the
// first line of the picture and of an interval, which has none above.
void NUV_JPEGLosslessEncoder::set_first_prediction() noexcept
{
    std::uint8_t* const first = samples_of(lines_);
    std::uint8_t* const prediction = first - pixel_bytes_;
    const bool has_none_above = lines_ == 0 || starts_interval(lines_);
    if (!has_none_above)
        std::copy_n(pixel_above_.data(), pixel_bytes_, prediction);
    else if (frame_.precision > 8)
        std::fill_n(reinterpret_cast<std::uint16_t*>(prediction), frame_.components, 0x8000);
    else
        std::fill_n(prediction, frame_.components, 0x80);
    std::copy_n(first, pixel_bytes_, pixel_above_.data());
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::encode_line() noexcept
{
    set_first_prediction();
    const std::size_t line = lines_++;
    if (!holds_all())
        return put_line(line);
    count_line_(samples_of(line), frame_.width, counters_.data());
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGLosslessEncoder::put_line(std::size_t line) noexcept
{
    if (starts_interval(line))
        put_marker(
            static_cast<std::uint8_t>(jpeg_marker_rst0 + ((line / lines_per_interval_ - 1) & 7U)));
    const std::size_t width = frame_.width;
    const std::uint8_t* const samples = samples_of(line);
    for (std::size_t x = 0; x < width; x += piece_columns) {
        if (coded_.size() - coded_bytes_ < most_piece_bytes) {
            const NUV_JPEGCode code = write_coded();
            if (!is_good(code))
                return code;
        }
        const std::uint8_t* end =
            put_piece_(samples + x * pixel_bytes_, std::min(piece_columns, width - x), codes_,
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
    if (holds_all())
        code = write_stored_lines();
    if (!is_good(code))
        return code;
    put_marker(jpeg_marker_eoi);
    return write_coded();
}

NUV_JPEGLosslessEncoder::Frequencies NUV_JPEGLosslessEncoder::count_categories() const noexcept
{
    Frequencies frequencies{};
    for (std::size_t i = 0; i < counters_.size(); ++i) {
        const auto kind = static_cast<std::uint32_t>(i / lanes);
        frequencies[frame_.precision > 8 ? kind : difference_of(small_difference(kind)).category] +=
            counters_[i];
    }
    return frequencies;
}

// The second pass: now that the frequencies and the height are known.
NUV_JPEGCode NUV_JPEGLosslessEncoder::write_stored_lines() noexcept
{
    std::array<std::uint8_t, 16> counts{};
    std::array<std::uint8_t, 256> values{};
    if (primitives_->huffman_optimal_table(count_categories().data(), counts.data(),
                                           values.data()) != NUV_JPEGResult::good ||
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
