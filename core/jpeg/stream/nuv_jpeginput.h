#pragma once

#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegmemory.h"

#include <cstdint>
#include <span>

namespace nuv {

// Where the coded stream comes from; `storage` is handed to each call.
struct NUV_JPEGSource {
    void* storage = nullptr;
    // Up to `count` bytes; how many came, 0 at the end.
    std::int32_t (*read)(void* storage, std::uint8_t* into, std::int32_t count) = nullptr;
    // To an absolute position.
    bool (*to)(void* storage, std::int32_t position) = nullptr;
    std::int32_t (*position)(void* storage) = nullptr;
    std::int32_t (*size)(void* storage) = nullptr;
};

// The coded stream through a buffer. Others may move the storage between two calls: its place is
// compared before every read, and put right.
class NUV_JPEGInput {
public:
    static constexpr std::int32_t buffer_bytes = 65536;

    NUV_JPEGInput() = default;
    NUV_JPEGInput(const NUV_JPEGInput&) = delete;
    NUV_JPEGInput& operator=(const NUV_JPEGInput&) = delete;

    // The stream begins where the storage stands.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator,
                                    const NUV_JPEGSource& source) noexcept;

    // For headers: the next `bytes` (up to buffer_bytes), there until the next call that reads.
    // NUV_JPEGCode::io when the stream does not go on so far, or cannot be read.
    [[nodiscard]] NUV_JPEGCode read(std::int32_t bytes,
                                    std::span<const std::uint8_t>& read) noexcept;
    // What follows the length field of a segment (T.81, B.1.1.4), in the same way.
    // NUV_JPEGCode::bad_segment for a length that does not count itself.
    [[nodiscard]] NUV_JPEGCode read_payload(std::span<const std::uint8_t>& payload) noexcept;

    // Passes over all bytes up to the next marker, and over the marker; `marker` is 0 at the end.
    // A 0xFF with a 0 or with more of its kind behind it is no marker.
    [[nodiscard]] NUV_JPEGCode find_marker(std::uint8_t& marker) noexcept;

    // Of the next unread byte, from the beginning of the storage.
    [[nodiscard]] std::int32_t offset() const noexcept { return next_offset_ - unread(); }
    [[nodiscard]] NUV_JPEGCode seek(std::int32_t offset) noexcept;
    // Leaves the storage at offset().
    [[nodiscard]] NUV_JPEGCode settle() noexcept;
    // Bytes from offset() to the end of the storage.
    [[nodiscard]] std::int64_t remaining() const noexcept;

    // For entropy-coded data, which is taken out of the buffer directly.
    [[nodiscard]] const std::uint8_t* data() const noexcept { return buffer_.data(); }
    [[nodiscard]] std::int32_t size() const noexcept { return size_; }
    [[nodiscard]] std::int32_t& position() noexcept { return position_; }
    [[nodiscard]] std::int32_t unread() const noexcept { return size_ - position_; }
    // The buffer holds the last bytes of the storage.
    [[nodiscard]] bool at_end() const noexcept { return at_end_; }
    // Has `bytes` (up to buffer_bytes) unread bytes in the buffer, unless the storage ends first.
    [[nodiscard]] NUV_JPEGCode want(std::int32_t bytes) noexcept;
    // Has at least one more unread byte, unless the storage ends. A buffer full of entropy-coded
    // data that is all wanted makes room by dropping fill bytes; NUV_JPEGCode::read_failed when it
    // has none. Only at_end() and unread() tell what came.
    [[nodiscard]] NUV_JPEGCode want_more() noexcept;

private:
    // Of many streams no more than the header is read, or there is hardly more.
    static constexpr std::int32_t first_piece_bytes = 4096;

    [[nodiscard]] NUV_JPEGCode fill() noexcept;
    void move_to_front() noexcept;
    void drop_fill_bytes() noexcept;

    NUV_JPEGSource source_;
    NUV_JPEGMemory<std::uint8_t> buffer_;
    std::int32_t position_ = 0;    // of the next unread byte in the buffer
    std::int32_t size_ = 0;        // of what is in the buffer
    std::int32_t next_offset_ = 0; // of the byte behind it in the storage
    std::int32_t piece_ = 0;       // bytes that are read at once
    bool at_end_ = false;
};

} // namespace nuv
