#pragma once

#include "framework/base/nuv_held.h"
#include "framework/io/nuv_outputstorage.h"

#include <cstddef>
#include <cstdint>

#include "api/source/nuv_api.h"

namespace nuv {

// Bytes in one piece of memory of the manager, which grows as it is written.
class NUV_GrowingOutputStorage final : public NUV_OutputStorage {
public:
    using NUV_OutputStorage::NUV_OutputStorage;

    // Room for so many bytes at first. NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(std::size_t first_bytes);

    [[nodiscard]] const std::uint8_t* data() const noexcept { return bytes_.data(); }

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return !bytes_.data(); }
    std::int32_t put(std::uint8_t byte) override { return write(&byte, 1) == 1 ? byte : -1; }
    // NUV_ERR_IO beyond 2 GiB, NUV_ERR_MEMORY; then nothing of it is written.
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    // Where it need not grow for it.
    [[nodiscard]] std::uint8_t* lend_room(std::int32_t bytes) override;
    std::int32_t fill(std::int32_t bytes) override;
    // None: what is written next may move what is there.
    [[nodiscard]] NUV_InputStorage* create_input_storage() override { return nullptr; }
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    [[nodiscard]] std::int32_t size() override { return size_; }
    bool to_begin() override;
    bool to_end() override;

private:
    // Room for so many more from the position on, and the place for them; null without.
    [[nodiscard]] std::uint8_t* extend(std::int32_t bytes);

    NUV_Scratch<std::uint8_t> bytes_;
    std::int32_t position_ = 0;
    std::int32_t size_ = 0;
};

// Hands each piece to a function of the caller. There is no way back.
class NUV_CallbackOutputStorage final : public NUV_OutputStorage {
public:
    using NUV_OutputStorage::NUV_OutputStorage;

    [[nodiscard]] bool initiate(nuv_write function, void* user);

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return write_ == nullptr; }
    std::int32_t put(std::uint8_t byte) override { return write(&byte, 1) == 1 ? byte : -1; }
    // NUV_ERR_IO when the function refuses, and beyond 2 GiB.
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    std::int32_t fill(std::int32_t bytes) override;
    [[nodiscard]] NUV_InputStorage* create_input_storage() override { return nullptr; }
    std::int32_t move(std::int32_t) override { return 0; }
    [[nodiscard]] std::int32_t position() const override { return position_; }
    [[nodiscard]] std::int32_t worthwhile_bytes() const override { return piece_bytes; }
    [[nodiscard]] std::int32_t size() override { return position_; }
    bool to_begin() override { return position_ == 0; }
    bool to_end() override { return true; }

private:
    static constexpr std::int32_t piece_bytes = 16384;

    nuv_write write_ = nullptr;
    void* user_ = nullptr;
    std::int32_t position_ = 0;
};

} // namespace nuv
