#include "core/jpeg/decode/nuv_jpeglosslessdecoder.h"

#include "core/jpeg/decode/nuv_jpegstore.h"
#include "core/jpeg/kernels/nuv_jpegdifferences.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nuv {
namespace {

constexpr std::uint8_t lost_byte = 0x80;
constexpr std::uint16_t lost_word = 0x8080;
constexpr std::uint32_t most_scans = 1000;
constexpr std::uint32_t piece_columns = 64;

// Every `channels`-th sample of a line, from sample `place` on. The line need not be aligned.
template <class T>
void put_row(const std::uint16_t* row, std::size_t width, std::uint32_t shift, std::size_t channels,
             std::size_t place, std::uint8_t* out) noexcept
{
    for (std::size_t x = 0; x < width; ++x) {
        const auto sample = static_cast<T>(row[x] << shift);
        std::memcpy(out + (channels * x + place) * sizeof(T), &sample, sizeof(T));
    }
}

} // namespace

NUV_JPEGCode NUV_JPEGLosslessDecoder::open(const NUV_JPEGAllocator& allocator,
                                           NUV_JPEGHeader& header, NUV_JPEGInput& input,
                                           std::size_t first, std::size_t delivered,
                                           const NUV_Cpu& cpu) noexcept
{
    header_ = &header;
    input_ = &input;
    primitives_ = &jpeg_primitives(cpu);
    first_ = first;
    delivered_ = delivered;
    line_ = 0;
    is_damaged_ = false;
    scan_.emplace(input);

    const NUV_JPEGFrame& frame = header.frame();
    const std::size_t width = frame.width;
    is_streamed_ = header.scan().components == frame.components;
    NUV_JPEGCode code = tables_.open(allocator);
    if (!is_good(code))
        return code;
    if (!row_memory_.allocate(allocator, 2 * frame.components * width))
        return NUV_JPEGCode::no_memory;
    for (std::size_t i = 0; i < frame.components; ++i) {
        rows_[i] = row_memory_.data() + 2 * i * width;
        previous_[i] = rows_[i] + width;
    }
    if (is_streamed_)
        return begin_scan();

    const std::uint64_t samples = std::uint64_t{width} * frame.height * frame.components;
    const std::uint64_t line_bytes =
        std::uint64_t{width} * frame.components * (frame.precision > 8 ? 2 : 1);
    code = check_stored_size(line_bytes, frame.height, 2 * samples, samples, input.remaining());
    if (!is_good(code))
        return code;
    if (!planes_.allocate(allocator, samples))
        return NUV_JPEGCode::no_memory;
    std::fill(planes_.items().begin(), planes_.items().end(), lost_word);
    return NUV_JPEGCode::good;
}

void NUV_JPEGLosslessDecoder::close() noexcept
{
    tables_.close();
    row_memory_.free();
    planes_.free();
}

// The units of the scan are rows: its intervals must be whole ones (T.81, H.1.1).
NUV_JPEGCode NUV_JPEGLosslessDecoder::begin_scan() noexcept
{
    const NUV_JPEGFrame& frame = header_->frame();
    scan_header_ = header_->scan();
    const NUV_JPEGCode code =
        tables_.build(header_->tables(), scan_header_, NUV_JPEGScanTables::Kinds::dc);
    if (!is_good(code))
        return code;
    if (frame.restart_interval % frame.width != 0)
        return NUV_JPEGCode::bad_segment;
    for (std::size_t i = 0; i < scan_header_.components; ++i)
        row_tables_[i] = &tables_.dc(scan_header_.component[i].dc_table);
    interval_seen_ = scan_->intervals();
    scan_->begin(frame.restart_interval / frame.width, NUV_JPEGScanReader::Restarts::marked);
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGLosslessDecoder::read_line(std::uint8_t* out) noexcept
{
    const NUV_JPEGFrame& frame = header_->frame();
    std::array<const std::uint16_t*, jpeg_most_components> rows{};
    if (is_streamed_) {
        const NUV_JPEGCode code = decode_row();
        if (code == NUV_JPEGCode::damaged_lines) {
            const std::size_t samples = delivered_ * frame.width;
            std::memset(out, lost_byte, frame.precision > 8 ? 2 * samples : samples);
            return code;
        }
        if (!is_good(code))
            return code;
        std::copy(previous_.begin(), previous_.end(), rows.begin());
        deliver(rows, scan_header_.low, out);
        return NUV_JPEGCode::good;
    }
    if (line_ == 0) {
        const NUV_JPEGCode code = decode_all();
        if (!is_good(code))
            return code;
    }
    for (std::size_t i = 0; i < frame.components; ++i)
        rows[i] = plane_line(i, line_);
    ++line_;
    deliver(rows, 0, out);
    return is_damaged_ ? NUV_JPEGCode::damaged_lines : NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGLosslessDecoder::decode_all() noexcept
{
    for (std::uint32_t scans = 1;; ++scans) {
        NUV_JPEGCode code = begin_scan();
        if (is_good(code))
            code = decode_scan_to_planes();
        if (!is_good(code))
            return code;
        is_damaged_ = is_damaged_ || scan_->is_damaged();
        NUV_JPEGHeader::Stop stop = NUV_JPEGHeader::Stop::end;
        code = header_->next_scan(*input_, scan_->marker(), stop);
        if (is_failure(code))
            return code;
        if (stop == NUV_JPEGHeader::Stop::end)
            return NUV_JPEGCode::good;
        if (stop != NUV_JPEGHeader::Stop::scan || scans == most_scans) {
            is_damaged_ = true;
            return NUV_JPEGCode::good;
        }
    }
}

NUV_JPEGCode NUV_JPEGLosslessDecoder::decode_scan_to_planes() noexcept
{
    for (std::uint32_t line = 0; line < header_->frame().height; ++line) {
        const NUV_JPEGCode code = decode_row();
        if (is_good(code))
            keep_in_planes(line);
        else if (code != NUV_JPEGCode::damaged_lines)
            return code;
    }
    return NUV_JPEGCode::good;
}

std::uint16_t* NUV_JPEGLosslessDecoder::plane_line(std::size_t component,
                                                   std::uint32_t line) noexcept
{
    const NUV_JPEGFrame& frame = header_->frame();
    return planes_.data() +
           (component * frame.height + line) * static_cast<std::size_t>(frame.width);
}

void NUV_JPEGLosslessDecoder::keep_in_planes(std::uint32_t line) noexcept
{
    for (std::size_t i = 0; i < scan_header_.components; ++i) {
        const std::uint16_t* const from = previous_[i];
        std::uint16_t* const to = plane_line(scan_header_.component[i].index, line);
        for (std::size_t x = 0; x < header_->frame().width; ++x)
            to[x] = static_cast<std::uint16_t>(from[x] << scan_header_.low);
    }
}

// Leaves the row in previous_, by its place in the scan. NUV_JPEGCode::damaged_lines for a lost
// one, after which nothing more of its interval comes: no row is predicted from it.
NUV_JPEGCode NUV_JPEGLosslessDecoder::decode_row() noexcept
{
    NUV_JPEGCode code = NUV_JPEGCode::good;
    const NUV_JPEGScanReader::Run run = scan_->next_run(1, code);
    if (!is_good(code))
        return code;
    if (run.mode != NUV_JPEGScanReader::Mode::decode)
        return NUV_JPEGCode::damaged_lines;
    code = decode_row_differences();
    if (is_good(code))
        reconstruct();
    return code == NUV_JPEGCode::scan_ended ? NUV_JPEGCode::damaged_lines : code;
}

NUV_JPEGCode NUV_JPEGLosslessDecoder::decode_row_differences() noexcept
{
    constexpr std::int32_t most_bytes_of_piece = 8 * static_cast<std::int32_t>(piece_columns) *
                                                 static_cast<std::int32_t>(jpeg_most_components);

    // A row is one unit of the scan but comes in pieces, each of which may be repeated.
    std::uint32_t column = 0;
    const std::uint32_t width = header_->frame().width;
    std::uint32_t done = 0;
    const std::uint32_t pieces = (width + piece_columns - 1) / piece_columns;
    const NUV_JPEGCode code = decode_run(
        *scan_, pieces, most_bytes_of_piece, done, [&](NUV_JPEGBitReader& bits, std::uint32_t& i) {
            const std::uint32_t end = std::min(column + piece_columns, width);
            const NUV_JPEGResult result = decode_differences(bits, row_tables_.data(), rows_.data(),
                                                             scan_header_.components, column, end);
            if (!is_good(result))
                return result;
            column = end;
            ++i;
            return NUV_JPEGResult::good;
        });
    if (code == NUV_JPEGCode::scan_ended)
        scan_->data_ended(0);
    if (code != NUV_JPEGCode::read_failed)
        return code;
    scan_->data_broken(0);
    return NUV_JPEGCode::scan_ended;
}

void NUV_JPEGLosslessDecoder::reconstruct() noexcept
{
    const auto width = static_cast<std::int32_t>(header_->frame().width);
    const bool is_first = interval_seen_ != scan_->intervals();
    interval_seen_ = scan_->intervals();
    for (std::size_t i = 0; i < scan_header_.components; ++i) {
        if (is_first) {
            static_cast<void>(primitives_->lossless_first_row(
                rows_[i], rows_[i], width, header_->frame().precision, scan_header_.low));
        } else {
            static_cast<void>(primitives_->lossless_other_rows(rows_[i], previous_[i], rows_[i],
                                                               width, scan_header_.first));
        }
        std::swap(rows_[i], previous_[i]);
    }
}

// In a picture of several scans rows are those of the frame's components, else those of the scan.
void NUV_JPEGLosslessDecoder::deliver(
    const std::array<const std::uint16_t*, jpeg_most_components>& rows, std::uint32_t shift,
    std::uint8_t* out) const noexcept
{
    const std::size_t width = header_->frame().width;
    const bool is_wide = header_->frame().precision > 8;
    for (std::size_t i = 0; i < header_->frame().components; ++i) {
        const std::size_t component = is_streamed_ ? scan_header_.component[i].index : i;
        if (component - first_ >= delivered_)
            continue;
        const std::uint16_t* const row = rows[i];
        const std::size_t place = component - first_;
        if (is_wide)
            put_row<std::uint16_t>(row, width, shift, delivered_, place, out);
        else
            put_row<std::uint8_t>(row, width, shift, delivered_, place, out);
    }
}

} // namespace nuv
