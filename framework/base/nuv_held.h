#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_memory.h"
#include "framework/base/nuv_root.h"

#include <cstddef>
#include <memory>
#include <new>
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

// Memory of a manager, which raises NUV_ERR_MEMORY where there is none.
class NUV_ManagerMemory {
public:
    NUV_ManagerMemory() = default;
    // Implicit: an engine asks its work memory of the manager as such.
    NUV_ManagerMemory(NUV_Manager& manager) noexcept : manager_(&manager) {}

    [[nodiscard]] void* take(std::size_t bytes) const { return manager_->allocate(bytes); }
    void give_back(void* memory) const noexcept { manager_->deallocate(memory); }

private:
    NUV_Manager* manager_ = nullptr;
};

// Work memory of an engine: allocated in initiate() from the manager, given back with the engine.
template <class T>
using NUV_Scratch = NUV_Memory<T, NUV_ManagerMemory>;

} // namespace nuv
