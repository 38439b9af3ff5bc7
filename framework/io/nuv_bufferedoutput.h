#pragma once

#include "framework/base/nuv_held.h"
#include "framework/io/nuv_decorator.h"

#include <cstdint>

namespace nuv {

// The memory of a stream that collects bytes.
class NUV_StreamBuffer {
protected:
    NUV_StreamBuffer() = default;
    ~NUV_StreamBuffer() = default;

    // NUV_ERR_ARGUMENT for `bytes` below 1, NUV_ERR_MEMORY.
    [[nodiscard]] bool initial_allocate(NUV_Manager& manager, std::int32_t bytes);
    void free_buffer() noexcept;
    [[nodiscard]] std::int32_t buffer_bytes() const noexcept { return buffer_bytes_; }
    [[nodiscard]] std::uint8_t* buffer() const noexcept { return buffer_.data(); }

private:
    NUV_Scratch<std::uint8_t> buffer_;
    std::int32_t buffer_bytes_ = 0;
};

// Collects small writes to a storage. Nobody else may move that storage meanwhile. What is
// buffered reaches it when the buffer is full, before a move out of the buffered stretch, and with
// flush() and close().
class NUV_OutputStorageBuffer : public NUV_OutputStorageDecorator, protected NUV_StreamBuffer {
public:
    explicit NUV_OutputStorageBuffer(NUV_Manager& manager) noexcept
        : NUV_OutputStorageDecorator(manager)
    {}

    // NUV_ERR_ARGUMENT for a null, a closed storage, and `buffer_bytes` below 1; NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_OutputStorage* inner, std::int32_t buffer_bytes);

    // Writes what is buffered, and stands behind it. NUV_ERR_IO when the inner storage takes less;
    // the rest is then lost, and this storage stands where the inner one does.
    bool flush();

    bool close() override;
    [[nodiscard]] bool is_closed() const override;
    std::int32_t put(std::uint8_t byte) override;
    // What was accepted before a flush failed.
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    std::int32_t fill(std::int32_t bytes) override;
    [[nodiscard]] NUV_InputStorage* create_input_storage() override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    [[nodiscard]] std::int32_t size() override;
    bool to_begin() override;
    bool to_end() override;

private:
    [[nodiscard]] std::int32_t room() const noexcept;
    [[nodiscard]] std::int32_t write_through(const std::uint8_t* from, std::int32_t bytes);
    [[nodiscard]] bool flush_in_place();
    void stand_at(std::int32_t offset) noexcept;

    // Offsets in the stream. The buffer begins at start_ and holds the bytes up to valid_end_, and
    // while it holds any, the inner storage stands at start_.
    std::int32_t start_ = 0;
    std::int32_t position_ = 0;
    std::int32_t valid_end_ = 0;
    std::int32_t size_ = 0; // of the inner storage
};

// The same with a buffer of ordinary size.
class NUV_BufferedOutput final : public NUV_OutputStorageBuffer {
public:
    using NUV_OutputStorageBuffer::initiate;
    using NUV_OutputStorageBuffer::NUV_OutputStorageBuffer;

    static constexpr std::int32_t default_buffer_bytes = 1024;

    [[nodiscard]] bool initiate(NUV_OutputStorage* inner)
    {
        return initiate(inner, default_buffer_bytes);
    }
};

} // namespace nuv
