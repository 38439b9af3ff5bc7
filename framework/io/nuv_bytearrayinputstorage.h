#pragma once

#include "framework/base/nuv_callermemory.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// Bytes of the caller, which stay where they are and alive as long as the storage, and the chain
// that reads it.
class NUV_ByteArrayInputStorage final : public NUV_InputStorage {
public:
    using NUV_InputStorage::NUV_InputStorage;

    // NUV_ERR_ARGUMENT for a null and for `bytes` below 1.
    [[nodiscard]] bool initiate(const std::uint8_t* data, std::int32_t bytes);
    // The bytes from `begin` up to `end`.
    [[nodiscard]] bool initiate(const std::uint8_t* begin, const std::uint8_t* end);

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return !data_; }
    // -1 and NUV_ERR_IO at the end: parsers for which the end is no fault read() one byte instead.
    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    // Unless an output of the pipeline may write over them.
    [[nodiscard]] const std::uint8_t* lend(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override { return size_; }
    bool to_begin() override;
    bool to_end() override;

private:
    const std::uint8_t* data_ = nullptr;
    std::int32_t position_ = 0;
    std::int32_t size_ = 0;
    NUV_CallerMemory memory_{manager()};
};

} // namespace nuv
