#pragma once

#include "framework/base/nuv_manager.h"

namespace nuv {

// The C library's heap.
class NUV_MallocMemoryManager final : public NUV_MemoryManager {
public:
    void* allocate(std::size_t bytes) override;
    void deallocate(void* pointer) override;
};

} // namespace nuv
