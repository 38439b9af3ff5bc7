#pragma once

#include "framework/base/nuv_utility.h"
#include "framework/containers/nuv_allocator.h"
#include "framework/containers/nuv_guard.h"

#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace nuv {

// std::map with the manager's memory, whose failures are a status and a false.
template <class Key, class T, class Compare = std::less<Key>>
class NUV_Map : public NUV_Utility {
public:
    using Items = std::map<Key, T, Compare, NUV_Allocator<std::pair<const Key, T>>>;
    using iterator = typename Items::iterator;
    using const_iterator = typename Items::const_iterator;

    explicit NUV_Map(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          items_(NUV_Allocator<std::pair<const Key, T>>(manager))
    {}
    NUV_Map(const NUV_Map&) = delete;
    NUV_Map& operator=(const NUV_Map&) = delete;

    // False, without a status, when the key is there already.
    [[nodiscard]] bool insert(const Key& key, const T& value)
    {
        return guarded(manager(), "NUV_Map<Key, T, Compare>::insert()", false,
                       [&] { return items_.emplace(key, value).second; });
    }
    // How many entries went: 0 or 1.
    std::size_t erase(const Key& key)
    {
        return guarded(manager(), "NUV_Map<Key, T, Compare>::erase()", std::size_t{0},
                       [&] { return items_.erase(key); });
    }
    iterator erase(iterator at) noexcept { return items_.erase(at); }
    // The value of `key`, made when it is not there; null when it could not be made.
    [[nodiscard]] T* operator[](const Key& key)
    {
        return guarded(manager(), "NUV_Map<Key, T, Compare>::operator[]()",
                       static_cast<T*>(nullptr), [&] { return &items_[key]; });
    }
    // The value of `key`, or null.
    [[nodiscard]] T* find(const Key& key) noexcept
    {
        const auto at = items_.find(key);
        return at == items_.end() ? nullptr : &at->second;
    }
    [[nodiscard]] const T* find(const Key& key) const noexcept
    {
        const auto at = items_.find(key);
        return at == items_.end() ? nullptr : &at->second;
    }
    void clear() noexcept { items_.clear(); }

    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    [[nodiscard]] bool empty() const noexcept { return items_.empty(); }
    // For walking: end() lets go of the map itself.
    [[nodiscard]] Items& items() noexcept { return items_; }
    [[nodiscard]] const Items& items() const noexcept { return items_; }

private:
    Items items_;
};

} // namespace nuv
