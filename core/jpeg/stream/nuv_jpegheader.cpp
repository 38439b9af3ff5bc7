#include "core/jpeg/stream/nuv_jpegheader.h"

#include "core/jpeg/stream/nuv_jpegtables.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <utility>

namespace nuv {
namespace {

// T.81, table B.1: SOF0 to SOF15 without those numbers that are other markers.
bool is_frame_marker(std::uint8_t marker) noexcept
{
    return marker >= jpeg_marker_sof0 && marker <= jpeg_marker_sof15 && marker != jpeg_marker_dht &&
           marker != jpeg_marker_jpg && marker != jpeg_marker_dac;
}

bool is_restart_marker(std::uint8_t marker) noexcept
{
    return marker >= jpeg_marker_rst0 && marker <= jpeg_marker_rst7;
}

bool is_refused_marker(std::uint8_t marker) noexcept
{
    return marker == jpeg_marker_jpg || marker == jpeg_marker_dac || marker == jpeg_marker_dhp ||
           marker == jpeg_marker_exp;
}

bool is_valid_precision(std::uint8_t marker, std::uint32_t precision) noexcept
{
    if (marker == jpeg_marker_sof0)
        return precision == 8;
    if (marker == jpeg_marker_sof1 || marker == jpeg_marker_sof2)
        return precision == 8 || precision == 12;
    return precision >= 2 && precision <= 16;
}

// False for a factor beyond T.81, B.2.2.
bool take_component(std::span<const std::uint8_t> fields, NUV_JPEGComponent& component) noexcept
{
    constexpr std::uint8_t largest_factor = 4;

    component.id = fields[0];
    component.horizontal = fields[1] >> 4;
    component.vertical = fields[1] & 15U;
    component.quantiser = fields[2];
    return component.horizontal != 0 && component.horizontal <= largest_factor &&
           component.vertical != 0 && component.vertical <= largest_factor;
}

} // namespace

// T.81, B.1.1.2. Whatever stands before the marker is passed over.
NUV_JPEGCode NUV_JPEGHeader::next_marker(NUV_JPEGInput& input, std::uint8_t& marker) noexcept
{
    const NUV_JPEGCode code = input.find_marker(marker);
    if (!is_good(code))
        return code;
    return marker != 0 ? NUV_JPEGCode::good : NUV_JPEGCode::io;
}

NUV_JPEGCode NUV_JPEGHeader::read(NUV_JPEGInput& input) noexcept
{
    Payload start;
    const NUV_JPEGCode code = input.read(2, start);
    if (!is_good(code))
        return code;
    if (start[0] != 0xFF || start[1] != jpeg_marker_soi)
        return NUV_JPEGCode::no_jpeg;
    return read_segments(input);
}

NUV_JPEGCode NUV_JPEGHeader::read_tables(NUV_JPEGInput& input) noexcept
{
    const NUV_JPEGCode code = read(input);
    const bool is_whole = !is_good(code) && has_any_table_ && is_padded(input);
    return is_whole ? NUV_JPEGCode::good : code;
}

// Nothing, or bytes that fill up, behind the last whole segment.
bool NUV_JPEGHeader::is_padded(NUV_JPEGInput& input) const noexcept
{
    if (!is_good(input.seek(segments_end_)))
        return false;
    for (;;) {
        if (!is_good(input.want(1)))
            return false;
        if (input.unread() == 0)
            return true;
        std::span<const std::uint8_t> byte;
        if (!is_good(input.read(1, byte)) || (byte[0] != 0 && byte[0] != 0xFF))
            return false;
    }
}

NUV_JPEGCode NUV_JPEGHeader::read_segments(NUV_JPEGInput& input) noexcept
{
    for (;;) {
        std::uint8_t marker = 0;
        segments_end_ = input.offset();
        NUV_JPEGCode code = next_marker(input, marker);
        last_marker_ = marker;
        if (!is_good(code))
            return code;
        if (marker == jpeg_marker_eoi)
            return NUV_JPEGCode::good;
        if (marker == jpeg_marker_tem)
            return NUV_JPEGCode::segment_trouble;
        if (marker == jpeg_marker_sos)
            return read_first_scan(input);
        code = read_segment(input, marker, Place::header);
        if (!is_good(code))
            return code;
    }
}

NUV_JPEGCode NUV_JPEGHeader::next_scan(NUV_JPEGInput& input, std::uint8_t pending,
                                       Stop& stop) noexcept
{
    for (;;) {
        std::uint8_t marker = std::exchange(pending, std::uint8_t{0});
        NUV_JPEGCode code = marker != 0 ? NUV_JPEGCode::good : next_marker(input, marker);
        if (marker == jpeg_marker_sos) {
            stop = Stop::scan;
            code = read_segment(input, marker, Place::between_scans);
        } else if (marker == jpeg_marker_eoi) {
            stop = Stop::end;
            return NUV_JPEGCode::good;
        } else if (marker == jpeg_marker_soi || is_frame_marker(marker)) {
            stop = Stop::foreign;
            return NUV_JPEGCode::good;
        } else if (is_good(code) && marker != jpeg_marker_tem && !is_restart_marker(marker)) {
            code = read_segment(input, marker, Place::between_scans);
        }
        if (code == NUV_JPEGCode::io || code == NUV_JPEGCode::segment_trouble) {
            stop = Stop::data_ended;
            return NUV_JPEGCode::good;
        }
        if (!is_good(code) || marker == jpeg_marker_sos)
            return code;
    }
}

NUV_JPEGCode NUV_JPEGHeader::read_segment(NUV_JPEGInput& input, std::uint8_t marker,
                                          Place place) noexcept
{
    if (is_refused_marker(marker))
        return NUV_JPEGCode::unsupported;
    if (marker >= jpeg_marker_rst0 && marker <= jpeg_marker_eoi)
        return NUV_JPEGCode::bad_marker;
    Payload payload;
    const NUV_JPEGCode code = input.read_payload(payload);
    if (marker < jpeg_marker_sof0) // reserved
        return is_good(code) ? code : NUV_JPEGCode::segment_trouble;
    return is_good(code) ? take_segment(marker, payload, place) : code;
}

NUV_JPEGCode NUV_JPEGHeader::take_segment(std::uint8_t marker, Payload payload,
                                          Place place) noexcept
{
    if (is_frame_marker(marker))
        return take_frame(marker, payload);
    switch (marker) {
    case jpeg_marker_dht:
        return take_huffman_tables(payload);
    case jpeg_marker_dqt:
        return take_quantisers(payload);
    case jpeg_marker_dnl:
        return take_line_count(payload);
    case jpeg_marker_dri:
        return take_restart_interval(payload);
    case jpeg_marker_sos:
        return take_scan(payload);
    default: // APP0 to COM
        return place == Place::header ? markers_.add(marker, payload) : NUV_JPEGCode::good;
    }
}

// T.81, B.2.2.
NUV_JPEGCode NUV_JPEGHeader::take_frame(std::uint8_t marker, Payload payload) noexcept
{
    constexpr std::size_t fixed_bytes = 6; // before the components
    constexpr std::size_t component_bytes = 3;

    if (has_frame() || payload.size() < fixed_bytes)
        return NUV_JPEGCode::bad_segment;
    if (!is_valid_precision(marker, payload[0]))
        return NUV_JPEGCode::bad_marker;
    const std::size_t components = payload[5];
    if (components > jpeg_most_components)
        return NUV_JPEGCode::unsupported;
    if (components == 0 || payload.size() != fixed_bytes + component_bytes * components)
        return NUV_JPEGCode::bad_segment;
    frame_.precision = payload[0];
    frame_.height = load_be16(&payload[1]);
    frame_.width = load_be16(&payload[3]);
    frame_.components = components;
    for (std::size_t i = 0; i < components; ++i) {
        if (!take_component(payload.subspan(fixed_bytes + component_bytes * i),
                            frame_.component[i]))
            return NUV_JPEGCode::bad_segment;
    }
    frame_.start_marker = marker;
    frame_offset_ = segments_end_;
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGHeader::read_first_scan(NUV_JPEGInput& input) noexcept
{
    const NUV_JPEGCode code = read_segment(input, jpeg_marker_sos, Place::header);
    if (!is_good(code) || frame_.height != 0)
        return code;
    return find_line_count(input);
}

// T.81, B.2.3.
NUV_JPEGCode NUV_JPEGHeader::take_scan(Payload payload) noexcept
{
    if (payload.empty())
        return NUV_JPEGCode::bad_segment;
    const std::size_t components = payload[0];
    if (!has_frame() || components == 0 || components > frame_.components ||
        payload.size() != 4 + 2 * components)
        return NUV_JPEGCode::bad_segment;

    NUV_JPEGScanHeader scan;
    scan.components = components;
    std::array<bool, jpeg_most_components> taken{};
    for (std::size_t i = 0; i < components; ++i) {
        // Identifiers may repeat: the components then come in order.
        const std::uint8_t id = payload[1 + 2 * i];
        const std::uint8_t tables = payload[2 + 2 * i];
        std::size_t index = 0;
        while (index < frame_.components && (taken[index] || frame_.component[index].id != id))
            ++index;
        if (index == frame_.components || tables >> 4 > 3 || (tables & 15U) > 3)
            return NUV_JPEGCode::bad_segment;
        taken[index] = true;
        scan.component[i] = {index, static_cast<std::uint8_t>(tables >> 4),
                             static_cast<std::uint8_t>(tables & 15U)};
    }
    const Payload tail = payload.last(3);
    scan.first = tail[0];
    scan.last = tail[1];
    scan.high = tail[2] >> 4;
    scan.low = tail[2] & 15U;
    const NUV_JPEGCode code = check_band(scan);
    if (is_good(code))
        scan_ = scan;
    return code;
}

// T.81, table B.3. Sequential scans hold everything, whatever they say.
NUV_JPEGCode NUV_JPEGHeader::check_band(const NUV_JPEGScanHeader& scan) const noexcept
{
    constexpr std::uint8_t lowest_plane = 13;
    bool valid = true;
    if (frame_.start_marker == jpeg_marker_sof2) {
        const bool band = scan.first == 0
                              ? scan.last == 0
                              : scan.first <= scan.last && scan.last <= 63 && scan.components == 1;
        valid = band && scan.low <= lowest_plane && (scan.high == 0 || scan.high == scan.low + 1);
    } else if (frame_.start_marker == jpeg_marker_sof3) {
        valid = scan.first >= 1 && scan.first <= 7 && scan.high == 0 && scan.low < frame_.precision;
    }
    return valid ? NUV_JPEGCode::good : NUV_JPEGCode::bad_segment;
}

// T.81, B.2.4.1.
NUV_JPEGCode NUV_JPEGHeader::take_quantisers(Payload payload) noexcept
{
    constexpr std::size_t table_bytes = 65;

    if (payload.empty())
        return NUV_JPEGCode::bad_segment;
    for (; !payload.empty(); payload = payload.subspan(table_bytes)) {
        const std::uint8_t selector = payload[0];
        if (selector >> 4 > 0) // 16-bit quantisers
            return NUV_JPEGCode::bad_marker;
        if (selector >= NUV_JPEGStoredTables::destinations || payload.size() % table_bytes != 0)
            return NUV_JPEGCode::bad_segment;
        NUV_JPEGStoredTables::Quantiser& table = tables_.quantisers[selector];
        for (std::size_t i = 0; i < table.values.size(); ++i)
            table.values[jpeg_zigzag[i]] = payload[1 + i];
        table.defined = true;
        has_any_table_ = true;
    }
    return NUV_JPEGCode::good;
}

// T.81, B.2.4.2.
NUV_JPEGCode NUV_JPEGHeader::take_huffman_tables(Payload payload) noexcept
{
    constexpr std::size_t fixed_bytes = 17; // before the symbols
    constexpr std::size_t most_symbols = 256;

    while (!payload.empty()) {
        if (payload.size() < fixed_bytes)
            return NUV_JPEGCode::bad_segment;
        const std::uint8_t selector = payload[0];
        const Payload counts = payload.subspan(1, fixed_bytes - 1);
        const std::size_t symbols = std::accumulate(counts.begin(), counts.end(), std::size_t{0});
        const std::size_t destination = selector & 15U;
        payload = payload.subspan(fixed_bytes);
        if (selector >> 4 > 1 || destination >= NUV_JPEGStoredTables::destinations ||
            symbols > most_symbols || symbols > payload.size())
            return NUV_JPEGCode::bad_segment;
        NUV_JPEGStoredTables::Huffman& table =
            (selector >> 4 == 0 ? tables_.dc : tables_.ac)[destination];
        table = {.defined = true};
        std::ranges::copy(counts, table.counts.begin());
        std::ranges::copy(payload.first(symbols), table.symbols.begin());
        has_any_table_ = true;
        payload = payload.subspan(symbols);
    }
    return NUV_JPEGCode::good;
}

// T.81, B.2.4.4.
NUV_JPEGCode NUV_JPEGHeader::take_restart_interval(Payload payload) noexcept
{
    if (payload.size() != 2)
        return NUV_JPEGCode::bad_segment;
    frame_.restart_interval = load_be16(payload.data());
    return NUV_JPEGCode::good;
}

// T.81, B.2.5. It counts only where the frame has left the height open.
NUV_JPEGCode NUV_JPEGHeader::take_line_count(Payload payload) noexcept
{
    if (payload.size() != 2)
        return NUV_JPEGCode::bad_segment;
    if (has_frame() && frame_.height == 0)
        frame_.height = load_be16(payload.data());
    return NUV_JPEGCode::good;
}

// The DNL segment that stands behind the first scan; the input then goes back to the scan.
NUV_JPEGCode NUV_JPEGHeader::find_line_count(NUV_JPEGInput& input) noexcept
{
    const std::int32_t start_of_scan = input.offset();
    std::uint8_t marker = 0;
    do {
        const NUV_JPEGCode code = input.find_marker(marker);
        if (!is_good(code))
            return code;
    } while (is_restart_marker(marker));
    if (marker != jpeg_marker_dnl || !is_good(read_segment(input, marker, Place::header)) ||
        frame_.height == 0)
        return NUV_JPEGCode::bad_segment;
    return input.seek(start_of_scan);
}

} // namespace nuv
