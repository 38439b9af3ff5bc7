#pragma once

#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegframe.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// A segment that the coder keeps but doesn't interpret.
struct NUV_JPEGMarker {
    std::uint8_t id = 0;                   // second byte of the marker
    std::span<const std::uint8_t> payload; // what follows the length field
};

// Segments in the order of adding. It owns copies of their payloads.
class NUV_JPEGMarkerList {
public:
    NUV_JPEGMarkerList() = default;
    NUV_JPEGMarkerList(const NUV_JPEGMarkerList&) = delete;
    NUV_JPEGMarkerList& operator=(const NUV_JPEGMarkerList&) = delete;
    ~NUV_JPEGMarkerList() { clear(); }

    // To be called before the first add().
    void set_allocator(const NUV_JPEGAllocator& allocator) noexcept { allocator_ = allocator; }

    // NUV_JPEGCode::bad_parameter for a payload that no segment holds, NUV_JPEGCode::no_memory.
    [[nodiscard]] NUV_JPEGCode add(std::uint8_t id, std::span<const std::uint8_t> payload) noexcept;
    [[nodiscard]] std::span<const NUV_JPEGMarker> items() const noexcept
    {
        return {markers_, count_};
    }
    void clear() noexcept;

private:
    [[nodiscard]] bool grow() noexcept;

    NUV_JPEGAllocator allocator_;
    NUV_JPEGMarker* markers_ = nullptr;
    std::size_t count_ = 0;
    std::size_t capacity_ = 0;
};

// A Huffman table as DHT carries it.
struct NUV_JPEGHuffmanSegment {
    std::uint8_t selector = 0;            // class (0 DC, 1 AC) in the high half, destination below
    std::span<const std::uint8_t> counts; // of the codes of 1 to 16 bits
    std::span<const std::uint8_t> values; // as many as the counts add up to
};

// 64 quantisers in zig-zag order.
using NUV_JPEGQuantisers = std::array<std::uint8_t, 64>;

// Writes header segments (T.81, B.2) into memory. What does not fit is counted and not written, so
// the caller compares position() with its room.
class NUV_JPEGSegmentWriter {
public:
    explicit NUV_JPEGSegmentWriter(std::span<std::uint8_t> output) noexcept : output_(output) {}

    [[nodiscard]] std::size_t position() const noexcept { return position_; }

    void put_marker(std::uint8_t id) noexcept;
    // Marker and length field of a segment with `bytes` of payload.
    void put_segment(std::uint8_t id, std::size_t bytes) noexcept;
    // One DHT segment.
    void put_huffman_tables(std::span<const NUV_JPEGHuffmanSegment> tables) noexcept;
    // One DQT segment of 8-bit tables for the destinations 0, 1 and so on.
    void put_quantisers(std::span<const NUV_JPEGQuantisers> tables) noexcept;
    void put_restart_interval(std::uint32_t interval) noexcept;
    // The SOF segment; the position of its height field.
    std::size_t put_frame(const NUV_JPEGFrame& frame) noexcept;
    // The SOS segment of one scan of all components.
    void put_scan(const NUV_JPEGFrame& frame, std::uint8_t first, std::uint8_t last,
                  std::uint8_t approximation) noexcept;

private:
    void put(std::size_t byte) noexcept;
    void put_16(std::size_t value) noexcept;

    std::span<std::uint8_t> output_;
    std::size_t position_ = 0;
};

} // namespace nuv
