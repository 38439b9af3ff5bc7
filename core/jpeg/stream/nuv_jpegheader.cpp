#include "core/jpeg/stream/nuv_jpegheader.h"

#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <utility>

namespace nuv {
namespace {

constexpr std::uint32_t length_bytes = 2; // of the length field, which counts itself

NUV_JPEGCode read_16(NUV_JPEGInput& input, std::uint32_t& value) noexcept
{
    std::array<std::uint8_t, 2> bytes{};
    const NUV_JPEGCode code = input.read(bytes);
    value = std::uint32_t{bytes[0]} << 8 | bytes[1];
    return code;
}

// The bytes of a segment behind its length field.
NUV_JPEGCode read_payload_size(NUV_JPEGInput& input, std::uint32_t& bytes) noexcept
{
    std::uint32_t length = 0;
    const NUV_JPEGCode code = read_16(input, length);
    if (!is_good(code))
        return code;
    if (length < length_bytes)
        return NUV_JPEGCode::bad_segment;
    bytes = length - length_bytes;
    return NUV_JPEGCode::good;
}

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

} // namespace

// T.81, B.1.1.2. Whatever stands before the marker is passed over.
NUV_JPEGCode NUV_JPEGHeader::next_marker(NUV_JPEGInput& input, std::uint8_t& marker) noexcept
{
    const NUV_JPEGCode more = input.want(1);
    if (!is_good(more))
        return more;
    ended_between_segments_ = input.unread() == 0;
    const NUV_JPEGCode code = input.find_marker(marker);
    if (!is_good(code))
        return code;
    return marker != 0 ? NUV_JPEGCode::good : NUV_JPEGCode::io;
}

NUV_JPEGCode NUV_JPEGHeader::read(NUV_JPEGInput& input) noexcept
{
    std::array<std::uint8_t, 2> start{};
    const NUV_JPEGCode code = input.read(start);
    if (!is_good(code))
        return code;
    if (start[0] != 0xFF || start[1] != jpeg_marker_soi)
        return NUV_JPEGCode::no_jpeg;
    return read_segments(input);
}

NUV_JPEGCode NUV_JPEGHeader::read_tables(NUV_JPEGInput& input) noexcept
{
    const NUV_JPEGCode code = read(input);
    const bool is_whole = code == NUV_JPEGCode::io && ended_between_segments_ && has_any_table_;
    return is_whole ? NUV_JPEGCode::good : code;
}

NUV_JPEGCode NUV_JPEGHeader::read_segments(NUV_JPEGInput& input) noexcept
{
    for (;;) {
        std::uint8_t marker = 0;
        NUV_JPEGCode code = next_marker(input, marker);
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
            code = read_scan(input);
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
    if (is_frame_marker(marker))
        return read_frame(input, marker);
    if (is_refused_marker(marker))
        return NUV_JPEGCode::unsupported;
    switch (marker) {
    case jpeg_marker_dht:
        return read_huffman_tables(input);
    case jpeg_marker_dqt:
        return read_quantisers(input);
    case jpeg_marker_dnl:
        return read_line_count(input);
    case jpeg_marker_dri:
        return read_restart_interval(input);
    default:
        break;
    }
    if (marker >= jpeg_marker_app0 && marker <= jpeg_marker_com)
        return place == Place::header ? keep_segment(input, marker) : skip_segment(input);
    if (marker < jpeg_marker_sof0) // reserved
        return skip_segment(input) == NUV_JPEGCode::good ? NUV_JPEGCode::good
                                                         : NUV_JPEGCode::segment_trouble;
    return NUV_JPEGCode::bad_marker;
}

// T.81, B.2.2.
NUV_JPEGCode NUV_JPEGHeader::read_frame(NUV_JPEGInput& input, std::uint8_t marker) noexcept
{
    constexpr std::uint32_t fixed_bytes = 6; // before the components
    constexpr std::uint32_t component_bytes = 3;

    if (has_frame())
        return NUV_JPEGCode::bad_segment;
    std::uint32_t payload = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    std::array<std::uint8_t, fixed_bytes> fields{};
    if (is_good(code))
        code = input.read(fields);
    if (!is_good(code))
        return code;

    if (!is_valid_precision(marker, fields[0]))
        return NUV_JPEGCode::bad_marker;
    const std::size_t components = fields[5];
    if (components > jpeg_most_components)
        return NUV_JPEGCode::unsupported;
    if (components == 0 || payload != fixed_bytes + component_bytes * components)
        return NUV_JPEGCode::bad_segment;
    frame_.precision = fields[0];
    frame_.height = static_cast<std::uint16_t>(fields[1] << 8 | fields[2]);
    frame_.width = static_cast<std::uint16_t>(fields[3] << 8 | fields[4]);
    frame_.components = components;
    code = read_frame_components(input);
    if (is_good(code))
        frame_.start_marker = marker;
    return code;
}

NUV_JPEGCode NUV_JPEGHeader::read_frame_components(NUV_JPEGInput& input) noexcept
{
    constexpr std::uint8_t largest_factor = 4; // T.81, B.2.2

    for (std::size_t i = 0; i < frame_.components; ++i) {
        std::array<std::uint8_t, 3> fields{};
        const NUV_JPEGCode code = input.read(fields);
        if (!is_good(code))
            return code;
        NUV_JPEGComponent& component = frame_.component[i];
        component.id = fields[0];
        component.horizontal = fields[1] >> 4;
        component.vertical = fields[1] & 15U;
        component.quantiser = fields[2];
        if (component.horizontal == 0 || component.horizontal > largest_factor ||
            component.vertical == 0 || component.vertical > largest_factor)
            return NUV_JPEGCode::bad_segment;
    }
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGHeader::read_first_scan(NUV_JPEGInput& input) noexcept
{
    const NUV_JPEGCode code = read_scan(input);
    if (!is_good(code) || frame_.height != 0)
        return code;
    return find_line_count(input);
}

// T.81, B.2.3.
NUV_JPEGCode NUV_JPEGHeader::read_scan(NUV_JPEGInput& input) noexcept
{
    std::uint32_t payload = 0;
    std::uint8_t components = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    if (is_good(code))
        code = input.read_byte(components);
    if (!is_good(code))
        return code;
    if (!has_frame() || components == 0 || components > frame_.components ||
        payload != 4U + 2U * components)
        return NUV_JPEGCode::bad_segment;

    std::array<std::uint8_t, 2 * jpeg_most_components + 3> stored{};
    const std::span<std::uint8_t> fields{stored.data(), 2U * components + 3U};
    code = input.read(fields);
    if (!is_good(code))
        return code;

    NUV_JPEGScanHeader scan;
    scan.components = components;
    std::array<bool, jpeg_most_components> taken{};
    for (std::size_t i = 0; i < components; ++i) {
        // Identifiers may repeat: the components then come in order.
        std::size_t index = 0;
        while (index < frame_.components &&
               (taken[index] || frame_.component[index].id != fields[2 * i]))
            ++index;
        const std::uint8_t tables = fields[2 * i + 1];
        if (index == frame_.components || tables >> 4 > 3 || (tables & 15U) > 3)
            return NUV_JPEGCode::bad_segment;
        taken[index] = true;
        scan.component[i] = {index, static_cast<std::uint8_t>(tables >> 4),
                             static_cast<std::uint8_t>(tables & 15U)};
    }
    const std::span<const std::uint8_t> tail = fields.last(3);
    scan.first = tail[0];
    scan.last = tail[1];
    scan.high = tail[2] >> 4;
    scan.low = tail[2] & 15U;
    code = check_band(scan);
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
NUV_JPEGCode NUV_JPEGHeader::read_quantisers(NUV_JPEGInput& input) noexcept
{
    constexpr std::uint32_t table_bytes = 65;

    std::uint32_t payload = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    if (!is_good(code))
        return code;
    if (payload == 0)
        return NUV_JPEGCode::bad_segment;
    while (payload > 0) {
        std::uint8_t selector = 0;
        code = input.read_byte(selector);
        if (!is_good(code))
            return code;
        if (selector >> 4 > 0) // 16-bit quantisers
            return NUV_JPEGCode::bad_marker;
        if (selector >= NUV_JPEGStoredTables::destinations || payload % table_bytes != 0)
            return NUV_JPEGCode::bad_segment;
        std::array<std::uint8_t, 64> zigzag{};
        code = input.read(zigzag);
        if (!is_good(code))
            return code;
        NUV_JPEGStoredTables::Quantiser& table = tables_.quantisers[selector];
        for (std::size_t i = 0; i < zigzag.size(); ++i)
            table.values[jpeg_zigzag[i]] = zigzag[i];
        table.defined = true;
        has_any_table_ = true;
        payload -= table_bytes;
    }
    return NUV_JPEGCode::good;
}

// T.81, B.2.4.2.
NUV_JPEGCode NUV_JPEGHeader::read_huffman_tables(NUV_JPEGInput& input) noexcept
{
    constexpr std::uint32_t fixed_bytes = 17; // before the symbols
    constexpr std::uint32_t most_symbols = 256;

    std::uint32_t payload = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    if (!is_good(code))
        return code;
    while (payload > 0) {
        std::array<std::uint8_t, fixed_bytes> fields{};
        if (payload < fixed_bytes)
            return NUV_JPEGCode::bad_segment;
        code = input.read(fields);
        if (!is_good(code))
            return code;
        const std::uint32_t symbols = std::accumulate(fields.begin() + 1, fields.end(), 0U);
        const std::uint32_t destination = fields[0] & 15U;
        if (fields[0] >> 4 > 1 || destination >= NUV_JPEGStoredTables::destinations ||
            symbols > most_symbols || symbols > payload - fixed_bytes)
            return NUV_JPEGCode::bad_segment;
        NUV_JPEGStoredTables::Huffman read;
        std::copy(fields.begin() + 1, fields.end(), read.counts.begin());
        code = input.read({read.symbols.data(), symbols});
        if (!is_good(code))
            return code;
        read.defined = true;
        (fields[0] >> 4 == 0 ? tables_.dc : tables_.ac)[destination] = read;
        has_any_table_ = true;
        payload -= fixed_bytes + symbols;
    }
    return NUV_JPEGCode::good;
}

// T.81, B.2.4.4.
NUV_JPEGCode NUV_JPEGHeader::read_restart_interval(NUV_JPEGInput& input) noexcept
{
    std::uint32_t payload = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    if (!is_good(code))
        return code;
    if (payload != 2)
        return NUV_JPEGCode::bad_segment;
    std::uint32_t interval = 0;
    code = read_16(input, interval);
    if (is_good(code))
        frame_.restart_interval = interval;
    return code;
}

// T.81, B.2.5. It counts only where the frame has left the height open.
NUV_JPEGCode NUV_JPEGHeader::read_line_count(NUV_JPEGInput& input) noexcept
{
    std::uint32_t payload = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    if (!is_good(code))
        return code;
    if (payload != 2)
        return NUV_JPEGCode::bad_segment;
    std::uint32_t lines = 0;
    code = read_16(input, lines);
    if (is_good(code) && has_frame() && frame_.height == 0)
        frame_.height = static_cast<std::uint16_t>(lines);
    return code;
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
    if (marker != jpeg_marker_dnl || read_line_count(input) != NUV_JPEGCode::good ||
        frame_.height == 0)
        return NUV_JPEGCode::bad_segment;
    return input.seek(start_of_scan);
}

NUV_JPEGCode NUV_JPEGHeader::keep_segment(NUV_JPEGInput& input, std::uint8_t marker) noexcept
{
    std::uint32_t payload = 0;
    NUV_JPEGCode code = read_payload_size(input, payload);
    if (!is_good(code))
        return code;
    const auto bytes = static_cast<std::int32_t>(payload); // no more than the buffer holds
    code = input.want(bytes);
    if (!is_good(code))
        return code;
    if (input.unread() < bytes)
        return NUV_JPEGCode::io;
    code = markers_.add(marker, {input.data() + input.position(), payload});
    input.position() += bytes;
    return code;
}

NUV_JPEGCode NUV_JPEGHeader::skip_segment(NUV_JPEGInput& input) noexcept
{
    std::uint32_t payload = 0;
    const NUV_JPEGCode code = read_payload_size(input, payload);
    return is_good(code) ? input.skip(payload) : code;
}

} // namespace nuv
