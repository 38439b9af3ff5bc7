#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_manager.h"
#include "framework/manager/nuv_mallocmemorymanager.h"

#include <cstddef>

namespace nuv {

// What a pipeline may take of the heap and what it takes, in bytes as they are asked for.
struct NUV_MemoryCount {
    std::size_t limit = 0; // 0 for none
    std::size_t used = 0;
    std::size_t peak = 0;
    std::size_t refused = 0; // the request that went beyond the limit, or 0
};

// The heap up to a limit.
class NUV_CountedMemoryManager final : public NUV_MemoryManager {
public:
    // `count` outlives the manager and all that it gave out.
    explicit NUV_CountedMemoryManager(NUV_MemoryCount& count) noexcept : count_(&count) {}

    void* allocate(std::size_t bytes) override;
    void deallocate(void* pointer) override;

    // Why the last null was answered.
    [[nodiscard]] NUV_Diagnosis refusal() const noexcept;

private:
    NUV_MallocMemoryManager heap_;
    NUV_MemoryCount* count_;
};

} // namespace nuv
