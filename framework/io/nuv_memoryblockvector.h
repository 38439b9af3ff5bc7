#pragma once

#include "framework/base/nuv_sharedpointer.h"
#include "framework/containers/nuv_vector.h"

#include <cstdint>

namespace nuv {

// Bytes in blocks of one size: position p lies in block p / block_bytes(), at p % block_bytes().
class NUV_MemoryBlockVector final : public NUV_Vector<unsigned char*> {
public:
    // `block_bytes` above 0.
    NUV_MemoryBlockVector(NUV_Manager& manager, std::int32_t block_bytes) noexcept
        : NUV_Vector(manager),
          block_bytes_(block_bytes)
    {}
    ~NUV_MemoryBlockVector() override;
    NUV_MemoryBlockVector(const NUV_MemoryBlockVector&) = delete;
    NUV_MemoryBlockVector& operator=(const NUV_MemoryBlockVector&) = delete;

    [[nodiscard]] std::int32_t block_bytes() const noexcept { return block_bytes_; }
    // Bytes written so far.
    [[nodiscard]] std::int32_t content_bytes() const noexcept { return content_bytes_; }

    // Up to `bytes` bytes from `position` on; how many there were.
    [[nodiscard]] std::int32_t read(std::int32_t position, void* into,
                                    std::int32_t bytes) const noexcept;
    // Writes `bytes` bytes, zeros for a null `from`, and appends the blocks that this takes.
    // `position` is at most content_bytes(). How many were written: fewer after NUV_ERR_MEMORY, and
    // where the content would go beyond what positions can tell.
    [[nodiscard]] std::int32_t write(std::int32_t position, const void* from, std::int32_t bytes);

private:
    [[nodiscard]] bool add_block();

    std::int32_t block_bytes_;
    std::int32_t content_bytes_ = 0;
};

// What a memory output and the inputs made from it have in common.
using NUV_MemoryContents = NUV_SharedPointer<NUV_MemoryBlockVector>;

} // namespace nuv
