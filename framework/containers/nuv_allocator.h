#pragma once

#include "framework/base/nuv_manager.h"

#include <cstddef>
#include <limits>

namespace nuv {

// Lets a standard container take its memory from the manager. Two are equal only when their
// manager is the same.
template <class T>
class NUV_Allocator {
public:
    using value_type = T;

    explicit NUV_Allocator(NUV_Manager& manager) noexcept : manager_(&manager) {}
    template <class U>
    NUV_Allocator(const NUV_Allocator<U>& other) noexcept : manager_(&other.manager())
    {}

    // Throws a text when the manager has no memory, which it has then raised.
    [[nodiscard]] T* allocate(std::size_t count)
    {
        constexpr std::size_t item = sizeof(T); // NOLINT(bugprone-sizeof-expression): pointers too
        void* memory = nullptr;
        if (count <= std::numeric_limits<std::size_t>::max() / item)
            memory = manager_->allocate(count * item);
        if (!memory) {
            constexpr auto text =
                "NUV_Allocator::allocate() - Cannot allocate memory from NUV_Manager\n";
            throw text; // NOLINT(misc-throw-by-value-catch-by-reference): the text is a literal
        }
        return static_cast<T*>(memory);
    }

    void deallocate(T* memory, std::size_t) noexcept { manager_->deallocate(memory); }

    [[nodiscard]] NUV_Manager& manager() const noexcept { return *manager_; }

    template <class U>
    bool operator==(const NUV_Allocator<U>& other) const noexcept
    {
        return manager_ == &other.manager();
    }

private:
    NUV_Manager* manager_;
};

} // namespace nuv
