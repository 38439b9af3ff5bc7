#pragma once

#include "framework/io/nuv_memoryblockvector.h"
#include "framework/io/nuv_outputstorage.h"

#include <cstdint>

namespace nuv {

// Memory of the manager that grows by whole blocks. Ends at 2 GiB: a write that would go beyond
// stops there with NUV_ERR_IO.
class NUV_MemoryOutputStorage final : public NUV_OutputStorage {
public:
    using NUV_OutputStorage::NUV_OutputStorage;

    // An empty content. NUV_ERR_ARGUMENT for `block_bytes` below 1.
    [[nodiscard]] bool initiate(std::int32_t block_bytes);

    // Lets go of the content, which lives on in the inputs made from it.
    bool close() override;
    [[nodiscard]] bool is_closed() const override { return !contents_; }
    std::int32_t put(std::uint8_t byte) override;
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    // Passes over what is there and adds zeros behind it.
    std::int32_t fill(std::int32_t bytes) override;
    // An input on the same content: it sees what is written later too.
    [[nodiscard]] NUV_InputStorage* create_input_storage() override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return position_; }
    [[nodiscard]] std::int32_t size() override;
    bool to_begin() override;
    bool to_end() override;

private:
    [[nodiscard]] std::int32_t append(const void* from, std::int32_t bytes);

    std::int32_t position_ = 0;
    NUV_MemoryContents contents_;
};

} // namespace nuv
