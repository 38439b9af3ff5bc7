#pragma once

#include "framework/base/nuv_manager.h"

namespace nuv {

// Keeps the name of what a storage stands for. Always a second base.
template <class String>
class NUV_NamableImpl {
public:
    // Empty before initiate().
    [[nodiscard]] const auto* name() const noexcept { return name_.c_str(); }

protected:
    explicit NUV_NamableImpl(NUV_Manager& manager) noexcept : name_(manager) {}
    ~NUV_NamableImpl() = default;

    String name_;
};

} // namespace nuv
