#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_root.h"

namespace nuv {

// Base of engines, buffers and storages: what others may depend on. A class with several bases
// names NUV_Object, or the class derived from it, first.
class NUV_Object : public NUV_Root {
public:
    explicit NUV_Object(NUV_Manager& manager) noexcept : manager_(&manager) {}
    NUV_Object(const NUV_Object&) = delete;
    NUV_Object& operator=(const NUV_Object&) = delete;

    // The holder lets go. The object dies only when no other object depends on it any more; until
    // then this answers true and nothing happens.
    bool end() override { return manager_->end(this); }

    // Called once by the dependency map, immediately before the destructor. Frees whatever the
    // object itself made, whether or not it was initiated. Never throws.
    virtual bool cleanup() = 0;

    // True after a successful initiate(): from then on the object owns the buffers it was given.
    [[nodiscard]] bool initiated() const noexcept { return initiated_; }
    void set_initiated() noexcept { initiated_ = true; }

    [[nodiscard]] NUV_Manager& manager() const noexcept { return *manager_; }

private:
    NUV_Manager* manager_;
    bool initiated_ = false;
};

} // namespace nuv
