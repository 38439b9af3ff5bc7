#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// What a target takes its decisions from: the bytes of its input, and zeros behind them.
class NUV_Numbers {
public:
    NUV_Numbers(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

    [[nodiscard]] bool empty() const { return left_.empty(); }
    std::uint32_t byte()
    {
        if (left_.empty())
            return 0;
        const std::uint32_t value = left_.front();
        left_ = left_.subspan(1);
        return value;
    }
    std::uint32_t word()
    {
        const std::uint32_t low = byte();
        return low | byte() << 8;
    }

private:
    std::span<const std::uint8_t> left_;
};

} // namespace nuv
