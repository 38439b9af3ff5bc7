#pragma once

#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_memoryblockvector.h"

#include <cstdint>

namespace nuv {

// Reads what a memory output has written, and goes on writing.
class NUV_MemoryInputStorage final : public NUV_InputStorage {
public:
    using NUV_InputStorage::NUV_InputStorage;

    // Shares the content. NUV_ERR_ARGUMENT when there is none.
    [[nodiscard]] bool initiate(const NUV_MemoryContents& contents);

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return !contents_; }
    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override;
    bool to_begin() override;
    bool to_end() override;

private:
    std::int32_t position_ = 0;
    NUV_MemoryContents contents_;
};

} // namespace nuv
