#include "tests/support/nuv_failingheap.h"

#include "framework/manager/nuv_mallocmemorymanager.h"

#include <algorithm>
#include <cstdlib>

namespace nuv {

void* NUV_MallocMemoryManager::allocate(std::size_t bytes)
{
    heap_largest = std::max(heap_largest, bytes);
    if (heap_allocations++ == heap_fails_at)
        return nullptr;
    void* memory = std::malloc(bytes);
    heap_live += memory ? 1 : 0;
    return memory;
}

void NUV_MallocMemoryManager::deallocate(void* pointer)
{
    heap_live -= pointer ? 1 : 0;
    std::free(pointer);
}

} // namespace nuv
