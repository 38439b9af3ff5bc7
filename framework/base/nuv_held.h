#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_root.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace nuv {

struct NUV_EndCall {
    void operator()(NUV_Root* object) const { object->end(); }
};

// Owns an object until it is handed on with release(): whatever return a function takes before
// that, the object is ended, and once only.
template <class T>
using NUV_Held = std::unique_ptr<T, NUV_EndCall>;

// Memory from the manager, then the constructor. Empty when there was no memory, in which case the
// manager has raised NUV_ERR_MEMORY. The caller still has to call initiate().
template <class T, class... Args>
[[nodiscard]] NUV_Held<T> make_object(NUV_Manager& manager, Args&&... args)
{
    static_assert(alignof(T) <= alignof(std::max_align_t), "more than the manager aligns to");
    void* memory = manager.allocate(sizeof(T));
    return NUV_Held<T>{memory ? ::new (memory) T(manager, std::forward<Args>(args)...) : nullptr};
}

// make_object, then initiate(args...). Empty when either failed.
template <class T, class... Args>
[[nodiscard]] NUV_Held<T> make_initiated(NUV_Manager& manager, Args&&... args)
{
    NUV_Held<T> object = make_object<T>(manager);
    if (!object || !object->initiate(std::forward<Args>(args)...))
        return {};
    object->set_initiated();
    return object;
}

// Work memory of an engine: allocated in initiate(), given back with the engine. Not zeroed.
template <class T>
class NUV_Scratch {
    static_assert(std::is_trivially_copyable_v<T>, "goes away without destructors");

public:
    NUV_Scratch() = default;
    NUV_Scratch(const NUV_Scratch&) = delete;
    NUV_Scratch& operator=(const NUV_Scratch&) = delete;

    ~NUV_Scratch() { free(); }

    // False after NUV_ERR_MEMORY; what was held before is gone either way.
    [[nodiscard]] bool allocate(NUV_Manager& manager, std::size_t count)
    {
        free();
        // What no allocator has, it refuses under its own name; here we only keep from wrapping.
        constexpr auto limit = std::numeric_limits<std::size_t>::max();
        const std::size_t bytes = count > limit / sizeof(T) ? limit : count * sizeof(T);
        void* memory = manager.allocate(bytes);
        if (!memory)
            return false;
        manager_ = &manager;
        items_ = {static_cast<T*>(memory), count};
        return true;
    }

    void free() noexcept
    {
        if (manager_)
            manager_->deallocate(items_.data());
        manager_ = nullptr;
        items_ = {};
    }

    [[nodiscard]] std::span<T> items() const noexcept { return items_; }
    [[nodiscard]] T* data() const noexcept { return items_.data(); }
    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    [[nodiscard]] T& operator[](std::size_t i) const noexcept { return items_[i]; }

private:
    NUV_Manager* manager_ = nullptr;
    std::span<T> items_;
};

} // namespace nuv
