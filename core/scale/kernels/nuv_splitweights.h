#pragma once

#include "core/scale/kernels/nuv_scalelines_kernels.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace nuv {

// The four weights of a sum in double precision, as integers that 16-bit multiplications take: a
// weight is about high / 2^14 + low / 2^28. A form calculates in these, and again in double
// precision only what is too close to a half to tell how it rounds. All is in units of 2^-14, s are
// 16-bit samples, and those less 32768, which have a sign, go into the multiplications:
//
// - The integers W of the four weights w, in units of 2^-28, add up to 2^28, as the weights add up
//   to one. So their errors add up to nothing, and may be taken with the differences from the
//   second sample, whose own falls out. The other three are rounded to the nearest: 3 x 1/2 x 65535
//   units of 2^-28 at most, which is less than 6.
// - v = sum of high x s + ((sum of low x s) >> 14) is less than 1 below the sum with W.
// - In double precision eight operations on numbers below 2^19 are off by less than 2^-20 in all.
//
// So the sum in double precision lies between v - 7 and v + 8, and is rounded as v is unless a half
// lies there: if (v + 2^13) mod 2^14 is from 8 to 2^14 - 9. Where all weights are whole multiples
// of 2^-14, v is the sum, and so is what double precision gives, for nothing in it is rounded.
struct NUV_SplitWeights {
    std::int32_t high[4]; // these fit 16 bits
    std::int32_t low[4];
    bool is_exact;
    bool is_nearly_exact; // but for a hair, and not whole numbers, whose sums are far off a half
    bool fits;            // else nothing holds
};

inline constexpr int split_bits = 14;

// How far off a half both ways a v has to be; see above.
inline constexpr std::int32_t split_doubt = 8;

// One weight, in units of 2^-28.
struct NUV_SplitWeight {
    std::int32_t high;
    std::int32_t low;
};

[[nodiscard]] constexpr NUV_SplitWeight split_units(std::int64_t units) noexcept
{
    constexpr std::int64_t half = std::int64_t{1} << (split_bits - 1);
    const std::int64_t high = (units + half) >> split_bits;
    return {static_cast<std::int32_t>(high),
            static_cast<std::int32_t>(units - (high << split_bits))};
}

[[nodiscard]] inline NUV_SplitWeights split_weights(const double (&weights)[4]) noexcept
{
    constexpr double unit = std::int64_t{1} << 2 * split_bits;
    NUV_SplitWeights split{{}, {}, true, true, true};
    std::int64_t units[4] = {0, std::int64_t{1} << 2 * split_bits, 0, 0};
    std::int64_t magnitude = 0;
    bool is_whole = true;
    for (const int i : {0, 2, 3, 1}) {
        if (!(std::abs(weights[i]) < 1.99)) {
            split.fits = false;
            return split;
        }
        if (i != 1) {
            units[i] = std::llround(weights[i] * unit);
            units[1] -= units[i];
        }
        const auto [high, low] = split_units(units[i]);
        split.high[i] = high;
        split.low[i] = low;
        split.is_nearly_exact = split.is_nearly_exact && low == 0;
        split.is_exact = split.is_exact && low == 0 && weights[i] * (1 << split_bits) == high;
        is_whole = is_whole && high % (1 << split_bits) == 0;
        magnitude += std::abs(high);
    }
    split.is_nearly_exact = split.is_nearly_exact && !split.is_exact && !is_whole;
    constexpr std::int64_t most_magnitude = 65000; // so that sums fit 32 bits
    split.fits = magnitude <= most_magnitude;
    return split;
}

} // namespace nuv
