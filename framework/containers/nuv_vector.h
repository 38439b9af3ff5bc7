#pragma once

#include "framework/base/nuv_utility.h"
#include "framework/containers/nuv_allocator.h"
#include "framework/containers/nuv_guard.h"

#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace nuv {

// std::vector with the manager's memory, whose failures are a status and a false.
template <class T>
class NUV_Vector : public NUV_Utility {
public:
    using Items = std::vector<T, NUV_Allocator<T>>;

    explicit NUV_Vector(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          items_(NUV_Allocator<T>(manager))
    {}
    NUV_Vector(NUV_Vector&& other) noexcept
        : NUV_Utility(other.manager()),
          items_(std::move(other.items_))
    {}
    NUV_Vector(const NUV_Vector&) = delete;
    NUV_Vector& operator=(const NUV_Vector&) = delete;
    ~NUV_Vector() override = default;

    [[nodiscard]] bool push_back(const T& item)
    {
        const std::size_t before = items_.size();
        return guarded(manager(), "NUV_Vector<T>::push_back()", false, [&] {
            items_.push_back(item);
            return items_.size() == before + 1;
        });
    }
    [[nodiscard]] bool push_back(T&& item)
    {
        const std::size_t before = items_.size();
        return guarded(manager(), "NUV_Vector<T>::push_back()", false, [&] {
            items_.push_back(std::move(item));
            return items_.size() == before + 1;
        });
    }
    // Adds value-initialised items, or drops the last ones.
    [[nodiscard]] bool resize(std::size_t count)
    {
        return guarded(manager(), "NUV_Vector<T>::resize()", false, [&] {
            items_.resize(count);
            return true;
        });
    }
    [[nodiscard]] bool reserve(std::size_t count)
    {
        return guarded(manager(), "NUV_Vector<T>::reserve()", false, [&] {
            items_.reserve(count);
            return true;
        });
    }
    // False leaves this vector empty.
    [[nodiscard]] bool copy(const NUV_Vector& other)
    {
        if (this == &other)
            return true;
        items_.clear();
        if (!reserve(other.size()))
            return false;
        for (const T& item : other.items_) {
            if (!push_back(item)) {
                items_.clear();
                return false;
            }
        }
        return true;
    }

    // Null, and NUV_ERROR, beyond the end.
    [[nodiscard]] T* at(std::size_t index)
    {
        if (index < items_.size())
            return &items_[index];
        return fail(manager(), NUV_ERROR, "NUV_Vector<T>::at() --- out of range");
    }

    // Both vectors must have the same manager.
    void swap(NUV_Vector& other) noexcept { items_.swap(other.items_); }
    void clear() noexcept { items_.clear(); }
    void pop_back() noexcept { items_.pop_back(); }
    // Drops the first `count` items, which must be there; the others keep their order.
    void drop_front(std::size_t count) noexcept
    {
        static_assert(std::is_nothrow_move_assignable_v<T>);
        items_.erase(items_.begin(), items_.begin() + static_cast<std::ptrdiff_t>(count));
    }

    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    [[nodiscard]] bool empty() const noexcept { return items_.empty(); }
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return items_[index]; }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return items_[index]; }
    [[nodiscard]] T& back() noexcept { return items_.back(); }
    [[nodiscard]] T* data() noexcept { return items_.data(); }
    [[nodiscard]] const T* data() const noexcept { return items_.data(); }
    // For walking: end() lets go of the vector itself.
    [[nodiscard]] std::span<T> items() noexcept { return items_; }
    [[nodiscard]] std::span<const T> items() const noexcept { return items_; }

private:
    Items items_;
};

} // namespace nuv
