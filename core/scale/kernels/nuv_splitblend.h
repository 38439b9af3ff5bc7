#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

namespace nuv {

// The weight w of the lower of two 16-bit samples, as integers that 16-bit multiplications take. A
// form adds round(d x w) to the upper sample, or takes it away, where d is how far the two are
// apart, and does again in double precision what it cannot tell from a half.
//
// - w is (high x 2^16 + low) / 2^32 and at most 2^-32 more, also where it is a hair beyond 0 or 1.
// - d x high = h x 2^16 + l, and m is the upper half of d x low. Then d x w, in units of 2^-14, is
//   h x 2^14 + t with t = (l + m + 1) / 4 rounded down, less 1/2 at least and 1.1 more at most.
// - In double precision 1 - w is off by 2^-54 at most, the products, sums of less than 2^16, by
//   1.5 x 2^-38 together, and the two additions by 1.5 x 2^-38: less than 2^-36 in all.
//
// So t tells how a sum is rounded unless it is within 8 of a half, 2^13. Scales by simple ratios
// put many sums there: those of a fraction p / q are on a half, or 1 / (2 x q) or more off it.
// Where w is less than 2^-18 / q from the fraction, d x w is 1 / (4 x q) at most from that, which
// leaves 16 with q up to 256: t does tell. What is on a half of the fraction's is rounded as the
// sign of w - p / q says, when d times that is 2^-36 or more. Where w is p / q, and q a power of
// two, nothing in double precision is rounded, and halves become the greater sample.
struct NUV_SplitBlend {
    std::uint16_t high = 0;
    std::uint16_t low = 0;
    // Whether a step that is within 8 of a half is rounded up, towards the lower sample. Where it
    // `flips`, that is so the other way round of lower samples that are the smaller ones.
    bool grows = true;
    bool flips = false;
    std::uint16_t doubtful = 65535; // of what is within 8 of a half, d up to this is in doubt
    bool fits = false;              // else nothing holds
};

// How t + blend_half tells: below blend_doubt, modulo 2^14, it is within 8 of a half, and the part
// above is whole steps; what rounds down there has blend_doubt taken away before.
inline constexpr int blend_bits = 14;
inline constexpr std::int16_t blend_doubt = 16;
inline constexpr std::int16_t blend_half = (1 << (blend_bits - 1)) + blend_doubt / 2;

// Of a weight that is p / q and `off` / q more, where off is rounded by 2^-46 at most.
inline void settle_halves(NUV_SplitBlend& split, double q, double off) noexcept
{
    const auto whole_q = static_cast<std::uint32_t>(q);
    if (whole_q % 2 != 0 || (std::has_single_bit(whole_q) && off == 0)) {
        split.doubtful = 0; // no sum is on a half, or all are as they should be
        split.flips = true;
    } else if (std::abs(off) > 0x1p-44) {
        const double most = 0x1p-36 * q / (std::abs(off) - 0x1p-46);
        split.doubtful = static_cast<std::uint16_t>(std::min(most, 65535.0));
        split.grows = off > 0;
    }
}

[[nodiscard]] inline NUV_SplitBlend split_blend(double weight) noexcept
{
    constexpr double hair = 0x1p-34;
    NUV_SplitBlend split;
    if (!(weight >= -hair && weight <= 1 + hair))
        return split;
    split.fits = true;
    const auto units = static_cast<std::uint32_t>(std::clamp(weight * 0x1p32, 0.0, 0x1p32 - 1));
    split.high = static_cast<std::uint16_t>(units >> 16);
    split.low = static_cast<std::uint16_t>(units);

    // The terms of a fraction that close to a number are those of a convergent of it.
    constexpr double most_q = 256;
    double p = 1;
    double q = 0;
    double last_p = 0;
    double last_q = 1;
    for (double rest = weight;;) {
        const double whole = std::floor(rest);
        last_p = std::exchange(p, whole * p + last_p);
        last_q = std::exchange(q, whole * q + last_q);
        if (q > most_q)
            return split;
        const double off = q * weight - p;
        if (std::abs(off) < 0x1p-18) {
            settle_halves(split, q, off);
            return split;
        }
        rest = 1 / (rest - whole);
    }
}

} // namespace nuv
