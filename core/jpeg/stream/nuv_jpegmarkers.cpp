#include "core/jpeg/stream/nuv_jpegmarkers.h"

#include <algorithm>
#include <memory>
#include <new>

namespace nuv {

bool NUV_JPEGMarkerList::grow() noexcept
{
    constexpr std::size_t first_capacity = 8;
    const std::size_t capacity = capacity_ == 0 ? first_capacity : 2 * capacity_;
    void* memory = allocator_.take(capacity * sizeof(NUV_JPEGMarker));
    if (memory == nullptr)
        return false;
    auto* markers = static_cast<NUV_JPEGMarker*>(memory);
    std::uninitialized_copy_n(markers_, count_, markers);
    allocator_.give_back(markers_);
    markers_ = markers;
    capacity_ = capacity;
    return true;
}

NUV_JPEGCode NUV_JPEGMarkerList::add(std::uint8_t id,
                                     std::span<const std::uint8_t> payload) noexcept
{
    if (payload.size() > jpeg_largest_payload)
        return NUV_JPEGCode::bad_parameter;
    if (count_ == capacity_ && !grow())
        return NUV_JPEGCode::no_memory;
    std::uint8_t* copy = nullptr;
    if (!payload.empty()) {
        copy = static_cast<std::uint8_t*>(allocator_.take(payload.size()));
        if (copy == nullptr)
            return NUV_JPEGCode::no_memory;
        std::ranges::copy(payload, copy);
    }
    ::new (markers_ + count_) NUV_JPEGMarker{id, {copy, payload.size()}};
    ++count_;
    return NUV_JPEGCode::good;
}

void NUV_JPEGMarkerList::clear() noexcept
{
    if (markers_ == nullptr)
        return;
    for (const NUV_JPEGMarker& marker : items())
        allocator_.give_back(const_cast<std::uint8_t*>(marker.payload.data()));
    allocator_.give_back(markers_);
    markers_ = nullptr;
    count_ = 0;
    capacity_ = 0;
}

void NUV_JPEGSegmentWriter::put(std::size_t byte) noexcept
{
    if (position_ < output_.size())
        output_[position_] = static_cast<std::uint8_t>(byte);
    ++position_;
}

void NUV_JPEGSegmentWriter::put_16(std::size_t value) noexcept
{
    put(value >> 8);
    put(value & 0xFF);
}

void NUV_JPEGSegmentWriter::put_marker(std::uint8_t id) noexcept
{
    put(0xFF);
    put(id);
}

void NUV_JPEGSegmentWriter::put_segment(std::uint8_t id, std::size_t bytes) noexcept
{
    constexpr std::size_t length_field = 2;
    put_marker(id);
    put_16(length_field + bytes);
}

void NUV_JPEGSegmentWriter::put_huffman_tables(
    std::span<const NUV_JPEGHuffmanSegment> tables) noexcept
{
    std::size_t bytes = 0;
    for (const NUV_JPEGHuffmanSegment& table : tables)
        bytes += 1 + table.counts.size() + table.values.size();
    put_segment(jpeg_marker_dht, bytes);
    for (const NUV_JPEGHuffmanSegment& table : tables) {
        put(table.selector);
        for (const std::uint8_t count : table.counts)
            put(count);
        for (const std::uint8_t value : table.values)
            put(value);
    }
}

void NUV_JPEGSegmentWriter::put_quantisers(std::span<const NUV_JPEGQuantisers> tables) noexcept
{
    put_segment(jpeg_marker_dqt, tables.size() * (1 + sizeof(NUV_JPEGQuantisers)));
    for (std::size_t i = 0; i < tables.size(); ++i) {
        put(i); // Pq 0: values of 8 bits
        for (const std::uint8_t value : tables[i])
            put(value);
    }
}

void NUV_JPEGSegmentWriter::put_restart_interval(std::uint32_t interval) noexcept
{
    put_segment(jpeg_marker_dri, 2);
    put_16(interval);
}

std::size_t NUV_JPEGSegmentWriter::put_frame(const NUV_JPEGFrame& frame) noexcept
{
    put_segment(frame.start_marker, 6 + 3 * frame.components);
    put(frame.precision);
    const std::size_t height_position = position_;
    put_16(frame.height);
    put_16(frame.width);
    put(frame.components);
    for (std::size_t i = 0; i < frame.components; ++i) {
        const NUV_JPEGComponent& component = frame.component[i];
        put(component.id);
        put(static_cast<std::size_t>(component.horizontal << 4 | component.vertical));
        put(component.quantiser);
    }
    return height_position;
}

void NUV_JPEGSegmentWriter::put_scan(const NUV_JPEGFrame& frame, std::uint8_t first,
                                     std::uint8_t last, std::uint8_t approximation) noexcept
{
    put_segment(jpeg_marker_sos, 4 + 2 * frame.components);
    put(frame.components);
    for (std::size_t i = 0; i < frame.components; ++i) {
        const NUV_JPEGComponent& component = frame.component[i];
        put(component.id);
        put(static_cast<std::size_t>(component.dc_table << 4 | component.ac_table));
    }
    put(first);         // Ss
    put(last);          // Se
    put(approximation); // Ah and Al
}

} // namespace nuv
