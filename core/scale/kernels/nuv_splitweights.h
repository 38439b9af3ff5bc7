#pragma once

#include "core/scale/kernels/nuv_scalelines_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

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
// - In double precision eight operations on numbers below 2^19 are off by less than 2^-32 of a
//   sample in all.
//
// So the sum in double precision lies between v - 7 and v + 8, and is rounded as v is unless a half
// lies there: if (v + 2^13) mod 2^14 is from 8 to 2^14 - 9.
//
// Weights that are whole multiples of 2^-10 but for a hair put many sums on a half. With all high
// ones multiples of g, 16 or more, and low ones of l at most, what the high ones lack adds up to
// nothing, as 3 x l is less than 2^13, and their sums lack 3 x (l + 1/2) x 65535 units of 2^-28 at
// most, less than 12 x l + 6. Where that is less than g - 2, no sum with such weights is on the
// other side of a half than the sum of high x s, or on one, unless the latter is on a half. Then
// the low ones take the place of what the higher ones lack, in a unit in which these have 13 bits,
// and add up to nothing, too. Of their sum the sign counts alone, so that v is the sum of high x s,
// or 1 less where that is negative: none but those on a half is within 16 of it. It is off by 3 x
// 1/2 x 65535, and double precision by less than 2^-32 of a sample; up to that it is in doubt.
// Where nothing is lacking, nothing in double precision is rounded either, nor where all weights
// are whole multiples of 2^-14: then v is the sum.
struct NUV_SplitWeights {
    std::int32_t high[4]; // these fit 16 bits
    std::int32_t low[4];
    bool counts_sign = false; // alone, of the sum of low x s
    // Close to a half, magnitudes of that sum up to this are in doubt: all, or -1 for none.
    std::int32_t doubtful = std::numeric_limits<std::int32_t>::max();
    bool fits = true; // else nothing holds
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

// Makes the low parts what the weights lack.
inline void take_lost(NUV_SplitWeights& split, const double (&weights)[4]) noexcept
{
    double lost[4] = {};
    double most = 0;
    for (const int i : {0, 2, 3}) {
        lost[i] = weights[i] - std::ldexp(split.high[i], -split_bits);
        most = std::max(most, std::abs(lost[i]));
    }
    split.counts_sign = true;
    split.low[1] = 0;
    if (most == 0) {
        split.doubtful = -1;
        return;
    }
    constexpr double off = 3 * 0.5 * 65535;
    const int scale = 12 - std::ilogb(most);
    for (const int i : {0, 2, 3}) {
        split.low[i] = static_cast<std::int32_t>(std::lround(std::ldexp(lost[i], scale)));
        split.low[1] -= split.low[i];
    }
    const double doubtful = off + std::ldexp(1, scale - 32);
    split.doubtful =
        doubtful < split.doubtful ? static_cast<std::int32_t>(doubtful + 1) : split.doubtful;
}

[[nodiscard]] inline NUV_SplitWeights split_weights(const double (&weights)[4]) noexcept
{
    constexpr double unit = std::int64_t{1} << 2 * split_bits;
    NUV_SplitWeights split{};
    std::int64_t units[4] = {0, std::int64_t{1} << 2 * split_bits, 0, 0};
    std::int64_t magnitude = 0;
    std::int32_t most_low = 0;
    std::int32_t bits = 0; // of any high one
    bool is_exact = true;
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
        is_exact = is_exact && weights[i] * (1 << split_bits) == high;
        most_low = std::max(most_low, std::abs(low));
        bits |= high;
        magnitude += std::abs(high);
    }
    const std::int32_t grain = bits & -bits;
    const bool is_coarse = grain >= 2 * split_doubt && 12 * most_low + 8 < grain;
    const bool is_whole = bits % (1 << split_bits) == 0; // then all sums are far off a half
    if ((is_exact || is_coarse) && !is_whole)
        take_lost(split, weights);
    constexpr std::int64_t most_magnitude = 65000; // so that sums fit 32 bits
    split.fits = magnitude <= most_magnitude;
    return split;
}

} // namespace nuv
