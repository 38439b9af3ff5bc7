#pragma once

#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegframe.h"
#include "core/jpeg/stream/nuv_jpeginput.h"
#include "core/jpeg/stream/nuv_jpegmarkers.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// The tables of a stream as its segments carry them, by destination.
struct NUV_JPEGStoredTables {
    static constexpr std::size_t destinations = 4;

    struct Quantiser {
        bool defined = false;
        std::array<std::uint8_t, 64> values{}; // in natural order
    };
    struct Huffman {
        bool defined = false;
        std::array<std::uint8_t, 16> counts{}; // of the codes of 1 to 16 bits
        std::array<std::uint8_t, 256> symbols{};

        [[nodiscard]] bool operator==(const Huffman&) const = default;
    };

    std::array<Quantiser, destinations> quantisers;
    std::array<Huffman, destinations> dc;
    std::array<Huffman, destinations> ac;
};

// What an SOS segment says (T.81, B.2.3).
struct NUV_JPEGScanHeader {
    struct Component {
        std::size_t index = 0; // in the frame
        std::uint8_t dc_table = 0;
        std::uint8_t ac_table = 0;
    };

    std::size_t components = 0; // in use of the array below
    std::array<Component, jpeg_most_components> component;
    std::uint8_t first = 0; // Ss: of the spectral band, or the predictor of a lossless scan
    std::uint8_t last = 0;  // Se
    std::uint8_t high = 0;  // Ah: the bit plane that the scan before went down to, 0 for none
    std::uint8_t low = 0;   // Al: the bit plane that this scan goes down to
};

// Reads the segments of a stream and keeps what they say.
class NUV_JPEGHeader {
public:
    // Where next_scan() stopped.
    enum class Stop {
        scan,       // behind an SOS segment
        end,        // at EOI
        data_ended, // before EOI
        foreign,    // at a marker that begins another picture
    };

    NUV_JPEGHeader() = default;
    NUV_JPEGHeader(const NUV_JPEGHeader&) = delete;
    NUV_JPEGHeader& operator=(const NUV_JPEGHeader&) = delete;

    // To be called before the first read.
    void set_allocator(const NUV_JPEGAllocator& allocator) noexcept
    {
        markers_.set_allocator(allocator);
    }
    // Tables for a stream that may lack them.
    void set_tables(const NUV_JPEGStoredTables& tables) noexcept { tables_ = tables; }

    // Everything from SOI to the first SOS, or to EOI. NUV_JPEGCode::no_jpeg without SOI,
    // NUV_JPEGCode::io when the data ends before, NUV_JPEGCode::bad_segment,
    // NUV_JPEGCode::bad_marker, NUV_JPEGCode::unsupported; the warning
    // NUV_JPEGCode::segment_trouble, and what was read until then counts.
    [[nodiscard]] NUV_JPEGCode read(NUV_JPEGInput& input) noexcept;
    // A stream of tables alone, which may end without EOI, behind any segment but no sooner than
    // behind the first table; bytes of 0 and 0xFF behind it fill up. The codes are those of read().
    [[nodiscard]] NUV_JPEGCode read_tables(NUV_JPEGInput& input) noexcept;
    // The segments from the end of a scan to the next SOS. `pending` is a marker that the scan has
    // met, or 0. Application segments are not kept any more.
    [[nodiscard]] NUV_JPEGCode next_scan(NUV_JPEGInput& input, std::uint8_t pending,
                                         Stop& stop) noexcept;

    [[nodiscard]] const NUV_JPEGFrame& frame() const noexcept { return frame_; }
    [[nodiscard]] bool has_frame() const noexcept { return frame_.start_marker != 0; }
    // Of its SOF segment, in the storage.
    [[nodiscard]] std::int32_t frame_offset() const noexcept { return frame_offset_; }
    // The last SOS read, if any.
    [[nodiscard]] const NUV_JPEGScanHeader& scan() const noexcept { return scan_; }
    [[nodiscard]] bool has_scan() const noexcept { return scan_.components != 0; }
    [[nodiscard]] const NUV_JPEGStoredTables& tables() const noexcept { return tables_; }
    [[nodiscard]] const NUV_JPEGMarkerList& markers() const noexcept { return markers_; }
    // Where reading stands: the marker of the last segment, its second byte, or 0, and its offset.
    [[nodiscard]] std::uint8_t last_marker() const noexcept { return last_marker_; }
    [[nodiscard]] std::int32_t last_offset() const noexcept { return segments_end_; }

private:
    using Payload = std::span<const std::uint8_t>;
    enum class Place { header, between_scans };

    [[nodiscard]] NUV_JPEGCode next_marker(NUV_JPEGInput& input, std::uint8_t& marker) noexcept;
    [[nodiscard]] bool is_padded(NUV_JPEGInput& input) const noexcept;
    [[nodiscard]] NUV_JPEGCode read_segments(NUV_JPEGInput& input) noexcept;
    [[nodiscard]] NUV_JPEGCode read_segment(NUV_JPEGInput& input, std::uint8_t marker,
                                            Place place) noexcept;
    [[nodiscard]] NUV_JPEGCode read_first_scan(NUV_JPEGInput& input) noexcept;
    [[nodiscard]] NUV_JPEGCode find_line_count(NUV_JPEGInput& input) noexcept;
    // What a segment says, the whole of which is there.
    [[nodiscard]] NUV_JPEGCode take_segment(std::uint8_t marker, Payload payload,
                                            Place place) noexcept;
    [[nodiscard]] NUV_JPEGCode take_frame(std::uint8_t marker, Payload payload) noexcept;
    [[nodiscard]] NUV_JPEGCode take_scan(Payload payload) noexcept;
    [[nodiscard]] NUV_JPEGCode check_band(const NUV_JPEGScanHeader& scan) const noexcept;
    [[nodiscard]] NUV_JPEGCode take_quantisers(Payload payload) noexcept;
    [[nodiscard]] NUV_JPEGCode take_huffman_tables(Payload payload) noexcept;
    [[nodiscard]] NUV_JPEGCode take_restart_interval(Payload payload) noexcept;
    [[nodiscard]] NUV_JPEGCode take_line_count(Payload payload) noexcept;

    NUV_JPEGFrame frame_;
    NUV_JPEGScanHeader scan_;
    NUV_JPEGStoredTables tables_;
    NUV_JPEGMarkerList markers_;
    std::int32_t frame_offset_ = 0;
    std::int32_t segments_end_ = 0; // behind the last segment that is whole
    std::uint8_t last_marker_ = 0;
    bool has_any_table_ = false;
};

} // namespace nuv
