#include "framework/manager/nuv_mallocmemorymanager.h"

#include <cstdlib>

namespace nuv {

void* NUV_MallocMemoryManager::allocate(std::size_t bytes)
{
    return std::malloc(bytes);
}

void NUV_MallocMemoryManager::deallocate(void* pointer)
{
    std::free(pointer);
}

} // namespace nuv
