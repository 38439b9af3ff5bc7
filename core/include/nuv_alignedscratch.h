#pragma once

#include "framework/base/nuv_held.h"
#include "framework/base/nuv_manager.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace nuv {

// Memory of the manager that begins on a line of the cache.
class NUV_AlignedScratch {
public:
    static constexpr std::size_t alignment = 64;

    // Uninitialised, in place of what was held. False after NUV_ERR_MEMORY.
    [[nodiscard]] bool allocate(NUV_Manager& manager, std::size_t count, std::size_t bytes_each)
    {
        constexpr std::size_t limit = std::numeric_limits<std::size_t>::max() - alignment;
        const std::size_t bytes = count > limit / bytes_each ? limit : count * bytes_each;
        if (!memory_.allocate(manager, bytes + alignment))
            return false;
        begin_ = memory_.data();
        std::size_t room = memory_.size();
        std::align(alignment, bytes, begin_, room);
        return true;
    }

    void free() noexcept
    {
        memory_.free();
        begin_ = nullptr;
    }

    template <class T>
    [[nodiscard]] T* as() const noexcept
    {
        static_assert(alignof(T) <= alignment);
        return static_cast<T*>(begin_);
    }

private:
    NUV_Scratch<std::uint8_t> memory_;
    void* begin_ = nullptr;
};

} // namespace nuv
