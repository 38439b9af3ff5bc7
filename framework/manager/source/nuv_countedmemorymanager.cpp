#include "framework/manager/nuv_countedmemorymanager.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace nuv {
namespace {

// In front of each block stands its size; what follows stays aligned for any object.
constexpr std::size_t head_bytes = alignof(std::max_align_t);
static_assert(head_bytes >= sizeof(std::size_t));

} // namespace

void* NUV_CountedMemoryManager::allocate(std::size_t bytes)
{
    const std::size_t limit =
        count_->limit != 0 ? count_->limit : std::numeric_limits<std::size_t>::max() - head_bytes;
    count_->refused = 0;
    if (bytes > limit - std::min(count_->used, limit)) {
        count_->refused = bytes;
        return nullptr;
    }
    auto* const block = static_cast<unsigned char*>(heap_.allocate(bytes + head_bytes));
    if (!block)
        return nullptr;
    std::memcpy(block, &bytes, sizeof(bytes));
    count_->used += bytes;
    count_->peak = std::max(count_->peak, count_->used);
    return block + head_bytes;
}

void NUV_CountedMemoryManager::deallocate(void* pointer)
{
    if (!pointer)
        return;
    unsigned char* const block = static_cast<unsigned char*>(pointer) - head_bytes;
    std::size_t bytes = 0;
    std::memcpy(&bytes, block, sizeof(bytes));
    count_->used -= bytes;
    heap_.deallocate(block);
}

NUV_Diagnosis NUV_CountedMemoryManager::refusal() const noexcept
{
    NUV_Diagnosis why;
    if (count_->refused != 0) {
        why.because(NUV_Cause::limit)
            .says("%zu bytes of memory beside the %zu in use, of %zu that are allowed",
                  count_->refused, count_->used, count_->limit);
    }
    return why;
}

} // namespace nuv
