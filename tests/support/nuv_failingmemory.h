#pragma once

#include "framework/base/nuv_manager.h"
#include "tests/support/nuv_test.h"

#include <malloc.h>

namespace nuv {

// The heap, counted, with one allocation that fails on request, and each that is larger than any
// test needs: what a machine would do with it is its own affair. A memory policy of the manager.
class NUV_FailingMemory final : public NUV_MemoryManager {
public:
    static constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

    void* allocate(std::size_t bytes) override
    {
        largest_ = std::max(largest_, bytes);
        if (allocations_++ == fail_at_ || bytes > most_bytes)
            return nullptr;
        void* memory = std::malloc(bytes);
        if (!memory)
            return nullptr;
        std::memset(memory, poison, std::min(bytes, most_poisoned_bytes));
        ++live_;
        live_bytes_ += malloc_usable_size(memory);
        most_live_bytes_ = std::max(most_live_bytes_, live_bytes_);
        return memory;
    }
    void deallocate(void* pointer) override
    {
        live_ -= pointer ? 1 : 0;
        live_bytes_ -= malloc_usable_size(pointer); // 0 of a null
        std::free(pointer);
    }

    // The allocation with this number, counted from now on, fails.
    void fail_at(std::size_t number) noexcept
    {
        allocations_ = 0;
        fail_at_ = number;
    }
    // Allocations asked for since the last fail_at().
    [[nodiscard]] std::size_t allocations() const noexcept { return allocations_; }
    [[nodiscard]] std::size_t live() const noexcept { return live_; }
    // The largest request so far, in bytes, whether or not it was granted.
    [[nodiscard]] std::size_t largest() const noexcept { return largest_; }
    // The most bytes that were held at once.
    [[nodiscard]] std::size_t most_live_bytes() const noexcept { return most_live_bytes_; }

private:
    // What is not written shows, in the first bytes of each block.
    static constexpr int poison = 0xA5;
    static constexpr std::size_t most_poisoned_bytes = std::size_t{1} << 16;
    static constexpr std::size_t most_bytes = std::size_t{1} << 30;

    std::size_t allocations_ = 0;
    std::size_t fail_at_ = never;
    std::size_t live_ = 0;
    std::size_t largest_ = 0;
    std::size_t live_bytes_ = 0;
    std::size_t most_live_bytes_ = 0;
};

} // namespace nuv
