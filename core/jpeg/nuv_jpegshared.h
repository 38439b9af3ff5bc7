#pragma once

#include "framework/base/nuv_object.h"

#include <cstdint>
#include <utility>

namespace nuv {

// An object that several holders share through NUV_JPEGReference.
class NUV_JPEGShared : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

private:
    friend class NUV_JPEGReference;

    std::uint32_t references_ = 0;
};

// One holder of a shared object, or of none. The last one ends it.
class NUV_JPEGReference {
public:
    NUV_JPEGReference() = default;
    // Takes over the object from its maker.
    explicit NUV_JPEGReference(NUV_JPEGShared* object) noexcept : object_(object) { add(); }
    NUV_JPEGReference(const NUV_JPEGReference& other) noexcept : object_(other.object_) { add(); }
    NUV_JPEGReference(NUV_JPEGReference&& other) noexcept
        : object_(std::exchange(other.object_, nullptr))
    {}
    NUV_JPEGReference& operator=(NUV_JPEGReference other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~NUV_JPEGReference() { reset(); }

    void reset() noexcept
    {
        NUV_JPEGShared* const object = std::exchange(object_, nullptr);
        if (object && --object->references_ == 0)
            object->end();
    }
    [[nodiscard]] NUV_JPEGShared* get() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    void add() noexcept
    {
        if (object_)
            ++object_->references_;
    }

    NUV_JPEGShared* object_ = nullptr;
};

} // namespace nuv
