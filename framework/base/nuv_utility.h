#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_root.h"

namespace nuv {

// A small helper that belongs to one holder: a creator, a container, a header. One that lives on
// the stack or in another object is simply destroyed; end() is for one whose memory came from the
// manager.
class NUV_Utility : public NUV_Root {
public:
    explicit NUV_Utility(NUV_Manager& manager) noexcept : manager_(&manager) {}

    // Runs the destructor and gives the memory back at once.
    bool end() override
    {
        NUV_Manager& manager = *manager_;
        void* memory = dynamic_cast<void*>(this);
        this->~NUV_Utility();
        manager.deallocate(memory);
        return true;
    }

    [[nodiscard]] NUV_Manager& manager() const noexcept { return *manager_; }

private:
    NUV_Manager* manager_;
};

} // namespace nuv
