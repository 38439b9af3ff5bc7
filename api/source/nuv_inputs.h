#pragma once

#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

#include "api/source/nuv_api.h"

namespace nuv {

// Lines that a function of the caller gives, for a reader that takes one after the other. There is
// no way back.
class NUV_LineInputStorage final : public NUV_InputStorage {
public:
    using NUV_InputStorage::NUV_InputStorage;

    // `lines` of `line_bytes` bytes each, which together have to be a count of a stream.
    [[nodiscard]] bool initiate(nuv_give_line function, void* user, std::uint32_t line_bytes,
                                std::uint32_t lines);

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return give_ == nullptr; }
    [[nodiscard]] std::int32_t get() override { return -1; }
    // One whole line, and 0 for less room than that. NUV_ERR_IO when the function fails.
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    std::int32_t move(std::int32_t) override { return 0; }
    [[nodiscard]] bool to(std::int32_t offset) override { return offset == position_; }
    [[nodiscard]] std::int32_t size() const override { return size_; }
    bool to_begin() override { return position_ == 0; }
    bool to_end() override { return position_ == size_; }

private:
    nuv_give_line give_ = nullptr;
    void* user_ = nullptr;
    std::int32_t line_bytes_ = 0;
    std::int32_t position_ = 0;
    std::int32_t size_ = 0;
};

} // namespace nuv
