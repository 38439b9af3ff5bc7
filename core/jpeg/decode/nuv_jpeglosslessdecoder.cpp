#include "core/jpeg/decode/nuv_jpeglosslessdecoder.h"

#include "core/jpeg/decode/nuv_jpegstore.h"
#include "core/jpeg/kernels/nuv_jpegdifferences.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <utility>

namespace nuv {
namespace {

constexpr std::uint8_t lost_byte = 0x80;
constexpr std::uint16_t lost_word = 0x8080;
constexpr std::uint32_t piece_columns = 64;

using Rows = std::array<const std::uint16_t*, jpeg_most_components>;

// A line, which need not be aligned, of the samples of `channels` rows, as many as `Channels` says
// where that is not 0.
template <class T, std::size_t Channels>
void put_line(const Rows& rows, std::size_t width, std::size_t channels, std::uint32_t shift,
              std::uint8_t* out) noexcept
{
    for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t i = 0; i < (Channels == 0 ? channels : Channels); ++i) {
            const auto sample = static_cast<T>(rows[i][x] << (Channels == 0 ? shift : 0));
            std::memcpy(out, &sample, sizeof(T));
            out += sizeof(T);
        }
    }
}

// The usual kinds of lines have loops of their own.
template <class T>
void put_any_line(const Rows& rows, std::size_t width, std::size_t channels, std::uint32_t shift,
                  std::uint8_t* out) noexcept
{
    if (shift == 0 && channels == 1)
        put_line<T, 1>(rows, width, channels, shift, out);
    else if (shift == 0 && channels == 3)
        put_line<T, 3>(rows, width, channels, shift, out);
    else
        put_line<T, 0>(rows, width, channels, shift, out);
}

} // namespace

NUV_JPEGCode NUV_JPEGLosslessDecoder::open(const NUV_JPEGAllocator& allocator,
                                           NUV_JPEGHeader& header, NUV_JPEGInput& input,
                                           std::size_t first, std::size_t delivered,
                                           std::uint32_t restart_rows, const NUV_Cpu& cpu) noexcept
{
    header_ = &header;
    primitives_ = &jpeg_primitives(cpu);
    first_ = first;
    delivered_ = delivered;
    line_ = 0;
    restart_rows_ = restart_rows;
    scans_.open(header, input, false);

    const NUV_JPEGFrame& frame = header.frame();
    const std::size_t width = frame.width;
    is_streamed_ = header.scan().components == frame.components;
    if (!tables_.allocate(allocator, NUV_JPEGStoredTables::destinations) ||
        !row_memory_.allocate(allocator, 2 * frame.components * width))
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
    const NUV_JPEGCode code =
        check_stored_size(line_bytes, frame.height, 2 * samples, samples, input.remaining());
    if (!is_good(code))
        return code;
    if (!planes_.allocate(allocator, samples))
        return NUV_JPEGCode::no_memory;
    std::fill(planes_.items().begin(), planes_.items().end(), lost_word);
    return NUV_JPEGCode::good;
}

void NUV_JPEGLosslessDecoder::close() noexcept
{
    tables_.free();
    row_memory_.free();
    planes_.free();
}

// The units of the scan are rows: its intervals must be whole ones (T.81, H.1.1).
NUV_JPEGCode NUV_JPEGLosslessDecoder::begin_scan() noexcept
{
    const NUV_JPEGFrame& frame = header_->frame();
    scan_header_ = header_->scan();
    NUV_JPEGScanReader& reader = scans_.reader();
    interval_seen_ = reader.intervals();
    if (frame.restart_interval != 0)
        reader.begin(frame.restart_interval / frame.width, NUV_JPEGScanReader::Restarts::marked);
    else
        reader.begin(restart_rows_, NUV_JPEGScanReader::Restarts::optional);
    const NUV_JPEGCode code = build_tables();
    if (!is_good(code))
        return code;
    if (frame.restart_interval % frame.width != 0)
        return NUV_JPEGCode::bad_segment;
    scans_.note_planes(scan_header_);
    return NUV_JPEGCode::good;
}

// NUV_JPEGCode::bad_segment for a table that is missing or inconsistent.
NUV_JPEGCode NUV_JPEGLosslessDecoder::build_tables() noexcept
{
    std::bitset<NUV_JPEGStoredTables::destinations> built;
    for (std::size_t i = 0; i < scan_header_.components; ++i) {
        const std::size_t place = scan_header_.component[i].dc_table;
        const NUV_JPEGStoredTables::Huffman& stored = header_->tables().dc[place];
        row_tables_[i] = &tables_[place];
        if (built[place])
            continue;
        built[place] = true;
        if (!stored.defined || !is_good(huffman_decode_difference_init(
                                   stored.counts.data(), stored.symbols.data(), &tables_[place])))
            return NUV_JPEGCode::bad_segment;
    }
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGLosslessDecoder::read_line(std::uint8_t* out) noexcept
{
    const NUV_JPEGFrame& frame = header_->frame();
    std::array<const std::uint16_t*, jpeg_most_components> rows{};
    if (is_streamed_) {
        const NUV_JPEGCode code = decode_row();
        if (++line_ == frame.height)
            scans_.reader().end();
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
        const NUV_JPEGCode code = scans_.decode([this] { return decode_scan_to_planes(); });
        if (!is_good(code))
            return code;
    }
    for (std::size_t i = 0; i < frame.components; ++i)
        rows[i] = plane_line(i, line_);
    ++line_;
    deliver(rows, 0, out);
    return scans_.is_damaged() ? NUV_JPEGCode::damaged_lines : NUV_JPEGCode::good;
}

std::optional<std::uint32_t> NUV_JPEGLosslessDecoder::take_left_over() noexcept
{
    if (!is_streamed_)
        return scans_.take_left_over() ? std::optional(0U) : std::nullopt;
    const auto line = scans_.reader().take_left_over();
    return line ? std::optional(static_cast<std::uint32_t>(*line)) : std::nullopt;
}

NUV_JPEGCode NUV_JPEGLosslessDecoder::decode_scan_to_planes() noexcept
{
    const NUV_JPEGCode begun = begin_scan();
    if (!is_good(begun))
        return begun;
    scans_.note_stored();
    for (std::uint32_t line = 0; line < header_->frame().height; ++line) {
        const NUV_JPEGCode code = decode_row();
        if (is_failure(code))
            return code;
        if (is_good(code))
            keep_in_planes(line);
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
    const std::size_t width = header_->frame().width;
    const std::uint32_t shift = scan_header_.low;
    for (std::size_t i = 0; i < scan_header_.components; ++i) {
        const std::uint16_t* const from = previous_[i];
        std::uint16_t* const to = plane_line(scan_header_.component[i].index, line);
        for (std::size_t x = 0; x < width; ++x)
            to[x] = static_cast<std::uint16_t>(from[x] << shift);
    }
}

// Leaves the row in previous_, by its place in the scan. NUV_JPEGCode::damaged_lines for a lost
// one, after which nothing more of its interval comes: no row is predicted from it.
NUV_JPEGCode NUV_JPEGLosslessDecoder::decode_row() noexcept
{
    const auto decode = [this](auto...) {
        const NUV_JPEGCode code = decode_row_differences();
        if (code != NUV_JPEGCode::read_failed)
            return code;
        scans_.reader().data_broken(0);
        return NUV_JPEGCode::damaged_lines;
    };
    const NUV_JPEGCode code = walk_units(scans_.reader(), 1, decode, [](auto...) {});
    if (is_good(code))
        reconstruct();
    return code;
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
    return decode_run(scans_.reader(), pieces, most_bytes_of_piece, done,
                      [&](NUV_JPEGBitReader& bits, std::uint32_t& i) {
                          const std::uint32_t end = std::min(column + piece_columns, width);
                          const NUV_JPEGResult result = decode_differences(
                              bits, row_tables_.data(), rows_.data(), scan_header_.components,
                              header_->frame().precision > 8, column, end);
                          if (!is_good(result))
                              return result;
                          column = end;
                          ++i;
                          return NUV_JPEGResult::good;
                      });
}

void NUV_JPEGLosslessDecoder::reconstruct() noexcept
{
    const auto width = static_cast<std::int32_t>(header_->frame().width);
    const bool is_first = interval_seen_ != scans_.reader().intervals();
    interval_seen_ = scans_.reader().intervals();
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
    const NUV_JPEGFrame& frame = header_->frame();
    Rows delivered{};
    for (std::size_t i = 0; i < frame.components; ++i) {
        const std::size_t component = is_streamed_ ? scan_header_.component[i].index : i;
        if (component - first_ < delivered_)
            delivered[component - first_] = rows[i];
    }
    const auto put = frame.precision > 8 ? put_any_line<std::uint16_t> : put_any_line<std::uint8_t>;
    put(delivered, frame.width, delivered_, shift, out);
}

} // namespace nuv
