#pragma once

#include "framework/base/nuv_object.h"
#include "framework/containers/nuv_map.h"

#include <functional>

namespace nuv {

// Decides when an object may die. An object with k others depending on it takes k + 1 calls of
// end(), one from each dependent's death and one from its own holder, in any order.
class NUV_DependMap {
public:
    explicit NUV_DependMap(NUV_Manager& manager) noexcept
        : manager_(&manager),
          depends_(manager),
          counts_(manager)
    {}
    virtual ~NUV_DependMap() = default;
    NUV_DependMap(const NUV_DependMap&) = delete;
    NUV_DependMap& operator=(const NUV_DependMap&) = delete;

    // `on` lives at least as long as `object`. NUV_ERR_ARGUMENT for a null and for an object on
    // itself. After a failure nothing has changed.
    [[nodiscard]] bool depend(const NUV_Object* object, const NUV_Object* on);
    // Takes away one holder; without any other the object dies, and lets go of what it depends on.
    bool end(NUV_Object* object);
    [[nodiscard]] bool is_empty() const noexcept { return depends_.empty() && counts_.empty(); }

private:
    // All keys of one object are neighbours.
    struct KeyType {
        const NUV_Object* object = nullptr;
        unsigned index = 0;

        bool operator<(const KeyType& other) const noexcept
        {
            if (object != other.object)
                return std::less<const NUV_Object*>()(object, other.object);
            return index < other.index;
        }
    };

    void drop_count(const NUV_Object* object) noexcept;
    [[nodiscard]] bool destroy(NUV_Object* object);

    NUV_Manager* manager_;
    NUV_Map<KeyType, const NUV_Object*> depends_;
    NUV_Map<const NUV_Object*, unsigned> counts_; // holders beside the first one
};

} // namespace nuv
