#pragma once

#include "framework/base/nuv_held.h"

#include <cstdint>
#include <new>
#include <utility>

namespace nuv {

// One of several holders of a T, a NUV_Utility or a NUV_Object. The last one ends it.
template <class T>
class NUV_SharedPointer {
public:
    NUV_SharedPointer() = default;
    NUV_SharedPointer(const NUV_SharedPointer& other) noexcept
        : object_(other.object_),
          holders_(other.holders_)
    {
        if (holders_)
            ++*holders_;
    }
    NUV_SharedPointer& operator=(NUV_SharedPointer other) noexcept
    {
        std::swap(object_, other.object_);
        std::swap(holders_, other.holders_);
        return *this;
    }
    ~NUV_SharedPointer() { reset(); }

    // Becomes the first holder. False after NUV_ERR_MEMORY, or for an empty `object`; this is then
    // empty.
    [[nodiscard]] bool own(NUV_Held<T> object)
    {
        reset();
        void* memory = object ? object->manager().allocate(sizeof(std::uint32_t)) : nullptr;
        if (!memory)
            return false;
        holders_ = ::new (memory) std::uint32_t{1};
        object_ = object.release();
        return true;
    }
    void reset() noexcept
    {
        if (holders_ && --*holders_ == 0) {
            object_->manager().deallocate(holders_);
            object_->end();
        }
        object_ = nullptr;
        holders_ = nullptr;
    }

    explicit operator bool() const noexcept { return object_ != nullptr; }
    [[nodiscard]] T* operator->() const noexcept { return object_; }

private:
    T* object_ = nullptr;
    std::uint32_t* holders_ = nullptr;
};

} // namespace nuv
