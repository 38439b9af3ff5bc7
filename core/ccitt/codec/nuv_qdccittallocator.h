#pragma once

#include <cstddef>
#include <cstring>

namespace nuv {

// Where a decoder's memory comes from.
class QDCCITTAllocator {
public:
    virtual ~QDCCITTAllocator() = default;

    // Memory for any object of `bytes` bytes, or null.
    [[nodiscard]] virtual void* allocate(std::size_t bytes) = 0;
    // Null is allowed.
    virtual void free(void* memory) noexcept = 0;
    [[nodiscard]] virtual void* allocate_zeroed(std::size_t bytes)
    {
        void* const memory = allocate(bytes);
        return memory ? std::memset(memory, 0, bytes) : nullptr;
    }

protected:
    QDCCITTAllocator() = default;
    QDCCITTAllocator(const QDCCITTAllocator&) = default;
    QDCCITTAllocator& operator=(const QDCCITTAllocator&) = default;
};

// The same as a source of NUV_Memory.
struct QDCCITTMemorySource {
    QDCCITTAllocator* allocator = nullptr;

    [[nodiscard]] void* take(std::size_t bytes) const { return allocator->allocate(bytes); }
    void give_back(void* memory) const noexcept { allocator->free(memory); }
};

} // namespace nuv
