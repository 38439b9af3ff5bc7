#pragma once

#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace nuv {

// out[i] = in[i] times or divided by 2^shift, as O. The rows do not overlap.
template <WideIntegerSample I, WideIntegerSample O>
using ShiftRow = void (*)(const I* in, O* out, std::size_t count, unsigned shift);

// Wide must hold every shifted sample, and every O when Limit asks for the nearest one. Without
// Limit the value is taken modulo the range of O.
template <class I, class O, class Wide, bool Left, bool Limit>
void shift_row(const I* in, O* out, std::size_t count, unsigned shift)
{
    // NOLINTBEGIN(bugprone-signed-char-misuse): samples, not characters
    constexpr auto lowest = static_cast<Wide>(std::numeric_limits<O>::min());
    constexpr auto highest = static_cast<Wide>(std::numeric_limits<O>::max());
    for (std::size_t i = 0; i < count; ++i) {
        auto value = static_cast<Wide>(in[i]);
        // NOLINTEND(bugprone-signed-char-misuse)
        if constexpr (Left)
            value = static_cast<Wide>(value << shift);
        else // the last bit that goes out rounds
            value = static_cast<Wide>((value >> shift) + ((value >> (shift - 1)) & 1));
        if constexpr (Limit)
            value = std::clamp(value, lowest, highest);
        out[i] = static_cast<O>(value);
    }
}

// A shift of -31 to 31; a positive one is to the left.
template <WideIntegerSample I, WideIntegerSample O, bool Limit>
[[nodiscard]] ShiftRow<I, O> choose_shift_row(std::int32_t shift)
{
    constexpr bool both_are_narrow = sizeof(I) < 4 && sizeof(O) < 4;
    // 16 bits shifted by 15 still fit 32.
    constexpr std::int32_t most_in_32_bits = 15;
    if constexpr (both_are_narrow) {
        if (shift < 0)
            return shift_row<I, O, std::int32_t, false, Limit>;
        if (shift <= most_in_32_bits)
            return shift_row<I, O, std::int32_t, true, Limit>;
    }
    if (shift < 0)
        return shift_row<I, O, std::int64_t, false, Limit>;
    return shift_row<I, O, std::int64_t, true, Limit>;
}

} // namespace nuv
