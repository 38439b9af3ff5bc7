#pragma once

namespace nuv {

class NUV_Engine;

// A place for readers and decoders from a loadable module. No module is ever attached, so every
// entry point is missing.
class NUV_LibLoader {
public:
    virtual ~NUV_LibLoader() = default;

protected:
    NUV_LibLoader() = default;
    NUV_LibLoader(const NUV_LibLoader&) = default;
    NUV_LibLoader& operator=(const NUV_LibLoader&) = default;

    // Looks up the module's entry point and calls it; null without a module or an entry point.
    [[nodiscard]] virtual NUV_Engine* load_engine() = 0;

    // The module's function with that name, or null.
    template <class Function>
    [[nodiscard]] Function* find_entry_point(const char*) const noexcept
    {
        return nullptr;
    }
};

} // namespace nuv
