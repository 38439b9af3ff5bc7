#pragma once

#include "framework/base/nuv_utility.h"
#include "framework/containers/nuv_allocator.h"
#include "framework/containers/nuv_guard.h"

#include <cstddef>
#include <list>

namespace nuv {

// std::list with the manager's memory, whose failures are a status and a false.
template <class T>
class NUV_List : public NUV_Utility {
public:
    using Items = std::list<T, NUV_Allocator<T>>;
    using iterator = typename Items::iterator;

    explicit NUV_List(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          items_(NUV_Allocator<T>(manager))
    {}
    NUV_List(const NUV_List&) = delete;
    NUV_List& operator=(const NUV_List&) = delete;

    [[nodiscard]] bool push_back(const T& item)
    {
        const std::size_t before = items_.size();
        return guarded(manager(), "NUV_List<T>::push_back()", false, [&] {
            items_.push_back(item);
            return items_.size() == before + 1;
        });
    }
    iterator erase(iterator at) noexcept { return items_.erase(at); }
    void clear() noexcept { items_.clear(); }

    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    [[nodiscard]] bool empty() const noexcept { return items_.empty(); }
    [[nodiscard]] T& back() noexcept { return items_.back(); }
    // For walking: end() lets go of the list itself.
    [[nodiscard]] Items& items() noexcept { return items_; }
    [[nodiscard]] const Items& items() const noexcept { return items_; }

private:
    Items items_;
};

} // namespace nuv
