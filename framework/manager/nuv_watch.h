#pragma once

namespace nuv {

// Whoever may end the work of a pipeline from outside.
class NUV_Watch {
public:
    NUV_Watch() = default;
    NUV_Watch(const NUV_Watch&) = delete;
    NUV_Watch& operator=(const NUV_Watch&) = delete;
    virtual ~NUV_Watch() = default;

    // True when the work is to end, and from then on always. Asked before each step of each engine.
    [[nodiscard]] virtual bool wants_end() noexcept = 0;
};

} // namespace nuv
