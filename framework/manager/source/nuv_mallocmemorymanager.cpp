#include "framework/manager/nuv_mallocmemorymanager.h"

#include <cstdlib>
#include <sys/mman.h>

namespace nuv {
namespace {

// Where planes of whole pictures are touched for the first time, and where their lines are far
// apart, pages of 4 KiB cost more than the work on them.
constexpr std::size_t huge_page = std::size_t{2} << 20;
constexpr std::size_t least_bytes_on_huge_pages = 2 * huge_page;

[[nodiscard]] void* allocate_on_huge_pages(std::size_t bytes)
{
    void* memory = nullptr;
    if (posix_memalign(&memory, huge_page, bytes) != 0)
        return nullptr;
#ifdef MADV_HUGEPAGE
    // The last page stays as it is unless it is used whole. It is advice: a system that has no such
    // pages goes on without.
    static_cast<void>(madvise(memory, bytes / huge_page * huge_page, MADV_HUGEPAGE));
#endif
    return memory;
}

} // namespace

void* NUV_MallocMemoryManager::allocate(std::size_t bytes)
{
    return bytes < least_bytes_on_huge_pages ? std::malloc(bytes) : allocate_on_huge_pages(bytes);
}

void NUV_MallocMemoryManager::deallocate(void* pointer)
{
    std::free(pointer);
}

} // namespace nuv
