#pragma once

#include "framework/base/nuv_manager.h"

namespace nuv {

class NUV_Engine;

// A place for readers and decoders from a loadable module. No module is ever attached, so every
// entry point is missing.
class NUV_LibLoader {
public:
    explicit NUV_LibLoader(NUV_Manager& manager) noexcept : loader_manager_(&manager) {}
    virtual ~NUV_LibLoader() = default;

protected:
    NUV_LibLoader(const NUV_LibLoader&) = default;
    NUV_LibLoader& operator=(const NUV_LibLoader&) = default;

    using EntryPoint = NUV_Engine* (*)();

    // Looks up the module's entry point and calls it; null without a module or an entry point.
    [[nodiscard]] virtual NUV_Engine* load_engine() = 0;

    // The entry point with that name, or null.
    [[nodiscard]] EntryPoint find_entry_point(const char*) const noexcept { return nullptr; }

private:
    NUV_Manager* loader_manager_;
};

} // namespace nuv
