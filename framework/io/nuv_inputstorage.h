#pragma once

#include "framework/base/nuv_object.h"

#include <cstdint>

namespace nuv {

// Marks a class as a stream. Always a second base.
class NUV_Stream {
public:
    virtual ~NUV_Stream() = default;

protected:
    NUV_Stream() = default;
    NUV_Stream(const NUV_Stream&) = default;
    NUV_Stream& operator=(const NUV_Stream&) = default;
};

// What can be read forward. All positions, sizes and counts of streams are bytes, from 0 to
// 2^31 - 1. A stream that is closed answers 0, -1 or false to everything.
class NUV_InputStream : public NUV_Object, public NUV_Stream {
public:
    explicit NUV_InputStream(NUV_Manager& manager) noexcept;

    // Closing a closed stream is true.
    virtual bool close() = 0;
    bool cleanup() override { return close(); }
    [[nodiscard]] virtual bool is_closed() const = 0;

    // The next byte, 0 to 255, or -1 at the end.
    [[nodiscard]] virtual std::int32_t get() = 0;
    // Up to `bytes` bytes; how many came, 0 at the end and for `bytes` below 1. A failure besides
    // raises NUV_ERR_IO. Never negative.
    [[nodiscard]] virtual std::int32_t read(void* into, std::int32_t bytes) = 0;
    // Skips; how many were skipped.
    virtual std::int32_t ignore(std::int32_t bytes) = 0;

    // Tells one content from the next: both change when the stream is opened again.
    [[nodiscard]] std::uint32_t change_count() const noexcept { return change_count_; }
    [[nodiscard]] std::int64_t change_time() const noexcept { return change_time_; }

protected:
    void take_stamp() noexcept;

private:
    std::uint32_t change_count_ = 0;
    std::int64_t change_time_ = 0; // ticks of the steady clock
};

// Adds moving.
class NUV_MovableInputStream : public NUV_InputStream {
public:
    using NUV_InputStream::NUV_InputStream;

    std::int32_t ignore(std::int32_t bytes) override { return move(bytes); }
    [[nodiscard]] virtual std::int32_t position() const = 0;
    // Forward, or back for a negative distance; the distance really moved, which ends at both ends
    // of the stream.
    virtual std::int32_t move(std::int32_t bytes) = 0;
    // True at the end, and for an empty stream.
    [[nodiscard]] virtual bool is_end() = 0;
};

// A seekable input.
class NUV_InputStorage : public NUV_MovableInputStream {
public:
    using NUV_MovableInputStream::NUV_MovableInputStream;

    [[nodiscard]] bool is_end() override;
    // Goes on by `bytes`, 0 or above, and tells where those stand that it passes, which they do
    // until the pipeline has ended. Null, without having moved, where not so many are there, or
    // where they have no place of their own: that is so whenever 0 bytes are lent none.
    [[nodiscard]] virtual const std::uint8_t* lend(std::int32_t) { return nullptr; }
    // Goes on by `bytes`, 0 or above, which nobody will read. False, without having moved, where
    // not so many are there, and where going on takes reading.
    [[nodiscard]] virtual bool pass_over(std::int32_t) { return false; }
    // An offset beyond the end goes to the end and is true; a negative one is false and stays.
    [[nodiscard]] virtual bool to(std::int32_t offset);
    // To size() + bytes, with bytes 0 or below, and not before the beginning.
    [[nodiscard]] virtual bool to_from_end(std::int32_t bytes);
    [[nodiscard]] virtual std::int32_t size() const = 0;
    virtual bool to_begin() = 0;
    virtual bool to_end() = 0;
};

} // namespace nuv
