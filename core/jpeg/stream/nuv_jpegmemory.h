#pragma once

#include "core/jpeg/stream/nuv_jpegframe.h"

#include <cstddef>
#include <limits>
#include <span>
#include <type_traits>

namespace nuv {

// Work memory of the coder, from the allocator that it was given. Not cleared.
template <class T>
class NUV_JPEGMemory {
    static_assert(std::is_trivially_copyable_v<T>, "goes away without destructors");

public:
    NUV_JPEGMemory() = default;
    NUV_JPEGMemory(const NUV_JPEGMemory&) = delete;
    NUV_JPEGMemory& operator=(const NUV_JPEGMemory&) = delete;
    ~NUV_JPEGMemory() { free(); }

    // False when there is none; what was held before is gone either way.
    [[nodiscard]] bool allocate(const NUV_JPEGAllocator& allocator, std::size_t count) noexcept
    {
        free();
        constexpr auto limit = std::numeric_limits<std::size_t>::max();
        const std::size_t bytes = count > limit / sizeof(T) ? limit : count * sizeof(T);
        void* memory = allocator.allocate(allocator.owner, bytes);
        if (memory == nullptr)
            return false;
        allocator_ = allocator;
        items_ = {static_cast<T*>(memory), count};
        return true;
    }
    void free() noexcept
    {
        if (items_.data() != nullptr)
            allocator_.deallocate(allocator_.owner, items_.data());
        items_ = {};
    }

    [[nodiscard]] std::span<T> items() const noexcept { return items_; }
    [[nodiscard]] T* data() const noexcept { return items_.data(); }
    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    [[nodiscard]] T& operator[](std::size_t i) const noexcept { return items_[i]; }

private:
    NUV_JPEGAllocator allocator_;
    std::span<T> items_;
};

} // namespace nuv
