#pragma once

#include "framework/base/nuv_cpu.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>

namespace nuv {

// A table whose entries can be calculated, in 32 bits without a sign: the product of a sample and
// the factor is limited, so that the sum with the offset stays within them.
struct NUV_LinearTable {
    std::uint32_t factor = 0;
    std::uint32_t least = 0; // of the product
    std::uint32_t most = 0;
    std::uint32_t offset = 0; // may be that of a negative number, which the sum wraps around
    int shift = 0;
};

template <class O>
[[nodiscard]] constexpr O linear_entry(std::uint32_t sample, const NUV_LinearTable& line) noexcept
{
    constexpr auto maximum = static_cast<std::uint32_t>(std::numeric_limits<O>::max());
    const std::uint32_t product = std::clamp(sample * line.factor, line.least, line.most);
    return static_cast<O>(std::min((product + line.offset) >> line.shift, maximum));
}

// The line of a table of I, if all its entries are rounded results of in x slope + offset that come
// out the same in 32 bits.
template <class I, class O>
[[nodiscard]] std::optional<NUV_LinearTable> find_linear_table(const O* entries, double slope,
                                                               double offset)
{
    constexpr std::uint32_t samples = std::uint32_t{std::numeric_limits<I>::max()} + 1;
    constexpr std::uint32_t limit = std::numeric_limits<std::uint32_t>::max();
    constexpr std::uint32_t most_factor = limit / (samples - 1);
    constexpr double most_offset = 1U << 31;
    constexpr int most_shift = 24;

    // As many fractional bits as there is room for, beside the factor, the offset, and the largest
    // entry.
    const double largest = std::min(slope * (samples - 1) + std::abs(offset) + 1,
                                    static_cast<double>(std::numeric_limits<O>::max()) + 1);
    const auto has_room = [&](int shift) {
        return std::ldexp(slope, shift) <= most_factor &&
               std::ldexp(largest, shift) <= std::ldexp(1, 32) &&
               std::ldexp(std::abs(offset) + 1, shift) <= most_offset;
    };
    int shift = most_shift;
    while (shift > 0 && !has_room(shift))
        --shift;
    const double factor = std::round(std::ldexp(slope, shift));
    const double sum = std::round(std::ldexp(offset + 0.5, shift));
    if (!(factor > 0 && factor <= most_factor && std::abs(sum) <= most_offset))
        return std::nullopt;
    const auto magnitude = static_cast<std::uint32_t>(std::abs(sum));
    const NUV_LinearTable line{.factor = static_cast<std::uint32_t>(factor),
                               .least = sum < 0 ? magnitude : 0,
                               .most = sum < 0 ? limit : limit - magnitude,
                               .offset = sum < 0 ? 0 - magnitude : magnitude,
                               .shift = shift};
    for (std::uint32_t i = 0; i < samples; ++i) {
        if (linear_entry<O>(i, line) != entries[i])
            return std::nullopt;
    }
    return line;
}

// out[i] is the entry of in[i], i < count. The rows do not overlap.
template <class I, class O>
using LinearRow = void (*)(const I* in, O* out, std::size_t count, const NUV_LinearTable& line);

template <class I, class O>
void linear_row_portable(const I* in, O* out, std::size_t count, const NUV_LinearTable& line)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = linear_entry<O>(in[i], line);
}

#if NUV_X86
// From 8 to 16 bits and from 16 to 8.
template <class I, class O>
NUV_TARGET("avx2")
void linear_row_avx2(const I* in, O* out, std::size_t count, const NUV_LinearTable& line);
#endif

// The form that is faster than the table, or null where none is.
template <class I, class O>
[[nodiscard]] LinearRow<I, O> choose_linear_row([[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if constexpr (sizeof(I) + sizeof(O) == 3) {
        const bool has_faster_table = sizeof(I) == 1 && cpu.has_avx512vbmi;
        if (cpu.has_avx2 && !has_faster_table)
            return linear_row_avx2<I, O>;
    }
#endif
    return nullptr;
}

} // namespace nuv
