#pragma once

namespace nuv {

// Whoever may end the work of a pipeline from outside.
class NUV_Watch {
public:
    NUV_Watch() = default;
    NUV_Watch(const NUV_Watch&) = delete;
    NUV_Watch& operator=(const NUV_Watch&) = delete;
    virtual ~NUV_Watch() = default;

    // True when the work is to end, and from then on always. Asked before each step of each engine,
    // which costs nothing as long as nobody watches.
    [[nodiscard]] bool wants_end() noexcept { return is_awake_ && looks_for_end(); }

protected:
    void is_awake(bool is) noexcept { is_awake_ = is; }
    [[nodiscard]] virtual bool looks_for_end() noexcept = 0;

private:
    bool is_awake_ = false;
};

} // namespace nuv
