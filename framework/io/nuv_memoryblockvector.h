#pragma once

#include "framework/base/nuv_held.h"
#include "framework/containers/nuv_vector.h"

#include <cstdint>
#include <new>
#include <utility>

namespace nuv {

// Bytes in blocks of one size: position p lies in block p / block_bytes(), at p % block_bytes().
class NUV_MemoryBlockVector final : public NUV_Vector<unsigned char*> {
public:
    // `block_bytes` above 0.
    NUV_MemoryBlockVector(NUV_Manager& manager, std::int32_t block_bytes) noexcept
        : NUV_Vector(manager),
          block_bytes_(block_bytes)
    {}
    ~NUV_MemoryBlockVector() override;
    NUV_MemoryBlockVector(const NUV_MemoryBlockVector&) = delete;
    NUV_MemoryBlockVector& operator=(const NUV_MemoryBlockVector&) = delete;

    [[nodiscard]] std::int32_t block_bytes() const noexcept { return block_bytes_; }
    // Bytes written so far.
    [[nodiscard]] std::int32_t content_bytes() const noexcept { return content_bytes_; }

    // Up to `bytes` bytes from `position` on; how many there were.
    [[nodiscard]] std::int32_t read(std::int32_t position, void* into,
                                    std::int32_t bytes) const noexcept;
    // Writes `bytes` bytes, zeros for a null `from`, and appends the blocks that this takes.
    // `position` is at most content_bytes(). How many were written: fewer after NUV_ERR_MEMORY, and
    // where the content would go beyond what positions can tell.
    [[nodiscard]] std::int32_t write(std::int32_t position, const void* from, std::int32_t bytes);

private:
    [[nodiscard]] bool add_block();

    std::int32_t block_bytes_;
    std::int32_t content_bytes_ = 0;
};

// One of several holders of a T, which must be a NUV_Utility. The last one ends it.
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

// What a memory output and the inputs made from it have in common.
using NUV_MemoryContents = NUV_SharedPointer<NUV_MemoryBlockVector>;

} // namespace nuv
