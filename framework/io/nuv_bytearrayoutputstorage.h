#pragma once

#include "framework/base/nuv_callermemory.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/io/nuv_outputstorage.h"

#include <cstdint>

namespace nuv {

// Memory of the caller, which stays where it is and alive as long as the storage and the inputs
// made from it.
class NUV_ByteArrayOutputStorage final : public NUV_OutputStorage {
public:
    using NUV_OutputStorage::NUV_OutputStorage;

    // NUV_ERR_ARGUMENT for a null and for `bytes` below 1.
    [[nodiscard]] bool initiate(std::uint8_t* data, std::int32_t bytes);
    // The memory from `begin` up to `end`.
    [[nodiscard]] bool initiate(std::uint8_t* begin, std::uint8_t* end);

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return !data_; }
    // NUV_ERR_IO when no room is left.
    std::int32_t put(std::uint8_t byte) override;
    // As many as there is room for; NUV_ERR_IO only when that is none.
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    // Unless an input of the pipeline may read it.
    [[nodiscard]] std::uint8_t* lend_room(std::int32_t bytes) override;
    // Leaves the bytes that it passes as they were.
    std::int32_t fill(std::int32_t bytes) override;
    // An input over the whole of the memory, written or not.
    [[nodiscard]] NUV_InputStorage* create_input_storage() override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    [[nodiscard]] std::int32_t size() override { return written_; }
    bool to_begin() override;
    bool to_end() override;

private:
    void advance(std::int32_t bytes) noexcept;
    [[nodiscard]] NUV_Diagnosis is_full() const noexcept;

    std::uint8_t* data_ = nullptr;
    std::int32_t position_ = 0;
    std::int32_t capacity_ = 0;
    std::int32_t written_ = 0;
    NUV_CallerMemory memory_{manager()};
};

} // namespace nuv
