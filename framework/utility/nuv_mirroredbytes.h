#pragma once

#include <array>
#include <cstdint>

namespace nuv {

// Each byte with its bits in the opposite order.
inline constexpr std::array<std::uint8_t, 256> mirrored_bytes = [] {
    std::array<std::uint8_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        unsigned mirrored = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            mirrored |= (byte >> bit & 1U) << (7 - bit);
        table[byte] = static_cast<std::uint8_t>(mirrored);
    }
    return table;
}();

} // namespace nuv
