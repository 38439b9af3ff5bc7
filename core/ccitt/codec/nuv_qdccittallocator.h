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

} // namespace nuv
