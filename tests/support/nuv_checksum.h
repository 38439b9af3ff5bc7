#pragma once

#include "tests/support/nuv_test.h"

#include <concepts>

namespace nuv {

// FNV-1a, 64 bits: stands for results that are known to be right and may never change.
class NUV_Checksum {
public:
    // From the lowest byte of each sample on.
    template <std::unsigned_integral T>
    void add(const std::vector<T>& samples) noexcept
    {
        for (const T sample : samples) {
            for (std::size_t shift = 0; shift < 8 * sizeof(T); shift += 8)
                value_ = (value_ ^ (sample >> shift & 0xFF)) * 0x100000001B3;
        }
    }
    [[nodiscard]] std::uint64_t value() const noexcept { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325;
};

} // namespace nuv
