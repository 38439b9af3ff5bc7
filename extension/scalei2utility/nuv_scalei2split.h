#pragma once

#include "core/include/nuv_alignedscratch.h"
#include "extension/scalei2utility/nuv_scalei2axis.h"
#include "extension/scalei2utility/nuv_scalei2filter.h"
#include "framework/base/nuv_cpu.h"
#include "framework/base/nuv_held.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace nuv {

// Both passes over 16-bit samples in integers. What a sum in double precision is rounded to is
// known from them unless it lies close to a half; those samples are told, to be made again in
// double precision. Samples s' are those of the picture less 32768, so that they have a sign; the
// weights of a pixel add up to one but for 2^-40, so that all that follows is less 32768, too.
//
// Along a line, w a weight of n:
// - u, w in units of 2^-28 to the nearest, is high x 2^14 + low. The errors of the u make at most
//   n x 2^-29 x 32768 of a sample: `off`.
// - H, the sum of high x s', and L, the sum of low x s', fit 32 bits. The intermediate sample is
//   M = (H + (L >> 14) + 1) >> 1, in units of 2^-13: it is off by at most 2^-14 more.
// Down the lines, v a weight of n:
// - v in units of 2^-30, to the nearest, is a x 2^16 + b. M is A x 2^16 + B, and all four have a
//   sign and fit 16 bits.
// - T, the sum of a x A, and R, the sum of a x B + b x A, fit 32 bits. The result is T + (R >> 16)
//   in units of 2^-11, which is at most one unit too low; left out are the sum of b x B, which is
//   at most the sum of |b| x 2^15 x 2^-43, and what rounding v leaves.
// In double precision some thirty operations on numbers below 2^20 are off by less than 2^-26 in
// all, and what sums of weights are off one makes less than 2^-22. Where everything together is at
// most D units, V = T + (R >> 16) + D lies at most 2 x D above the sum and less than a unit below
// it; the two are rounded alike unless (V + 2^10) mod 2^11 is below 2 x D. Each line has its own D.
inline constexpr std::int32_t most_split_doubt = 4;
inline constexpr int split_line_bits = 11;

inline constexpr std::size_t split_group_pixels = 16;
inline constexpr std::size_t split_step_samples = 32; // that a line of results is made in
inline constexpr std::size_t split_part_groups = 4;   // that are made of a part of a line
inline constexpr std::size_t split_part_pixels = 224; // at most
inline constexpr std::size_t split_window_pixels = 32;
inline constexpr std::size_t most_tap_pairs = scale_i2_most_taps / 2;

// The weights of 16 neighbouring pixels, by pairs of taps: the lower half of 32 bits is the first.
struct NUV_ScaleI2SplitGroup {
    // Of each pixel the four bytes of its first two taps in its window, which begins with the first
    // tap of the first pixel, or in wide groups with that of the eighth for the last eight.
    std::uint8_t order[4 * split_group_pixels];
    // Each pair of all pixels, or of each pixel all pairs, as the form wants it.
    std::uint32_t high[most_tap_pairs * split_group_pixels];
    std::uint32_t low[most_tap_pairs * split_group_pixels];
};

struct NUV_ScaleI2SplitTable {
    const std::int64_t* firsts; // source pixels
    std::span<const NUV_ScaleI2SplitGroup> groups;
    std::size_t begin; // result pixels that groups make; the last group ends with the last one
    std::size_t end;
    std::uint32_t taps;

    [[nodiscard]] std::size_t first_pixel(std::size_t group) const noexcept
    {
        return std::min(begin + group * split_group_pixels, end - split_group_pixels);
    }
    // Source pixels from the first tap of the group that begins with pixel k to that of its last.
    [[nodiscard]] std::size_t spread(std::size_t k) const noexcept
    {
        return static_cast<std::size_t>(firsts[k + split_group_pixels - 1] - firsts[k]);
    }
    // The first source pixel of groups `from` to `to` - 1, and how many they have.
    [[nodiscard]] std::pair<std::int64_t, std::size_t> part(std::size_t from,
                                                            std::size_t to) const noexcept
    {
        const std::int64_t first = firsts[first_pixel(from)];
        const std::int64_t last = firsts[first_pixel(to - 1) + split_group_pixels - 1];
        return {first, static_cast<std::size_t>(last + taps - first)};
    }
};

// The weights of a line of results.
struct NUV_ScaleI2SplitLine {
    std::uint32_t high[scale_i2_most_taps]; // a in the upper half
    std::uint32_t low[scale_i2_most_taps];  // a in the lower half, b in the upper one
    std::int32_t doubt;                     // D
};

// M as such a pair of A and B.
[[nodiscard]] constexpr std::int32_t split_middle(std::int32_t m) noexcept
{
    return (m + 0x8000) ^ 0x8000;
}

// All pixels of the groups, from `line` to intermediate samples. The first sample behind them may
// become anything.
using FilterSplitRow = void (*)(const std::uint16_t* line, const NUV_ScaleI2SplitTable& table,
                                std::int32_t* out);

// Makes `samples` samples of `out`. Intermediate lines have whole steps; each step gets a mask of
// the samples that have to be made again.
using CombineSplitMiddles = void (*)(const std::int32_t* const* lines, std::size_t taps,
                                     const NUV_ScaleI2SplitLine& weights, std::uint16_t* out,
                                     std::size_t samples, std::uint16_t maximum,
                                     std::uint32_t* doubts);

// What its sums of high parts begin with, but for D: 32768 in units of 2^-11, and a half.
inline constexpr std::int32_t split_line_begin =
    (32768 << split_line_bits) + (1 << (split_line_bits - 1));

#if NUV_X86
// Of each pixel all pairs.
template <int Pairs, int Channels>
NUV_TARGET("avx2")
void filter_split_row_avx2(const std::uint16_t* line, const NUV_ScaleI2SplitTable& table,
                           std::int32_t* out);
NUV_TARGET("avx2")
void combine_split_middles_avx2(const std::int32_t* const* lines, std::size_t taps,
                                const NUV_ScaleI2SplitLine& weights, std::uint16_t* out,
                                std::size_t samples, std::uint16_t maximum, std::uint32_t* doubts);
// Each pair of all pixels.
template <int Pairs, int Channels, bool IsWide>
NUV_TARGET("avx512vbmi,avx512bw")
void filter_split_row_avx512(const std::uint16_t* line, const NUV_ScaleI2SplitTable& table,
                             std::int32_t* out);
NUV_TARGET("avx512vbmi,avx512bw")
void combine_split_middles_avx512(const std::int32_t* const* lines, std::size_t taps,
                                  const NUV_ScaleI2SplitLine& weights, std::uint16_t* out,
                                  std::size_t samples, std::uint16_t maximum,
                                  std::uint32_t* doubts);
#endif

// True when this processor has forms for them.
[[nodiscard]] inline bool has_split_forms(const NUV_Cpu& cpu) noexcept
{
    return NUV_X86 && cpu.has_avx2;
}

// Both passes: intermediate lines in the order of the source, and lines of the result from as many
// of them as the mask of the lines has taps.
class NUV_ScaleI2SplitFilter {
public:
    // Both passes in double precision, which have to outlive this, are what it is made of. False
    // after NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager,
                                const NUV_ScaleI2RowFilter<NUV_ScaleI2FloatArithmetic>& row,
                                const NUV_ScaleI2LineFilter<NUV_ScaleI2FloatArithmetic>& column);

    // False when the weights do not allow for it; nothing else is to be called then.
    [[nodiscard]] bool fits() const noexcept { return fits_; }
    // Samples of an intermediate line.
    [[nodiscard]] std::size_t line_samples() const noexcept;

    // `line` has as many pixels as the source.
    void filter(const std::uint16_t* line, std::int32_t* out) const;

    // Line k of the result from intermediate lines, but for samples that are in doubt: how many.
    // Where the weights do not allow for it, all are.
    [[nodiscard]] std::size_t combine(std::size_t k, const std::int32_t* const* middles,
                                      std::uint16_t* out) const;
    // Makes what the last combine(), of line k, left in doubt, from the source lines that the
    // intermediate ones are of.
    void make_again(std::size_t k, const std::uint16_t* const* lines, std::uint16_t* out) const;

private:
    [[nodiscard]] bool set_groups(NUV_Manager& manager);
    [[nodiscard]] bool set_group(std::size_t first, NUV_ScaleI2SplitGroup& group);
    [[nodiscard]] bool set_pixel(std::size_t k, std::size_t place, NUV_ScaleI2SplitGroup& group);
    [[nodiscard]] bool set_line(std::size_t k, NUV_ScaleI2SplitLine& line) const;
    void filter_end(const std::uint16_t* line, std::size_t k, std::int32_t* out) const;
    void make_sample_again(std::size_t k, std::size_t sample, const std::uint16_t* const* lines,
                           std::uint16_t* out) const;

    const NUV_ScaleI2RowFilter<NUV_ScaleI2FloatArithmetic>* row_ = nullptr;
    const NUV_ScaleI2LineFilter<NUV_ScaleI2FloatArithmetic>* column_ = nullptr;
    NUV_AlignedScratch groups_;
    NUV_Scratch<std::uint32_t> doubts_;
    NUV_ScaleI2SplitTable table_{};
    FilterSplitRow filter_ = nullptr;
    CombineSplitMiddles combine_ = nullptr;
    double off_ = 0; // at most, an intermediate sample, in samples
    bool is_wide_ = false;
    bool is_by_pixels_ = false; // the weights of a group
    bool fits_ = false;
};

} // namespace nuv
