#pragma once

#include "core/include/nuv_scaleframe.h"
#include "extension/scalei2utility/nuv_scalei2arithmetic.h"
#include "extension/scalei2utility/nuv_scalei2axis.h"
#include "framework/base/nuv_cpu.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace nuv {

// Kernels of the mask scalers. Every form of a kernel gives the same bytes and touches nothing
// outside the lines that it is given.

// Calls visit.operator()<Taps>() with a count of 4 to 8.
template <class Visit>
auto visit_taps(std::uint32_t taps, Visit&& visit)
{
    switch (taps) {
    case 4:
        return visit.template operator()<4>();
    case 5:
        return visit.template operator()<5>();
    case 6:
        return visit.template operator()<6>();
    case 7:
        return visit.template operator()<7>();
    default:
        return visit.template operator()<8>();
    }
}

// forms(taps) for each of them: where a file makes the forms that are templates of it.
#define NUV_SCALE_I2_FORMS(forms)                                                                  \
    forms(4);                                                                                      \
    forms(5);                                                                                      \
    forms(6);                                                                                      \
    forms(7);                                                                                      \
    forms(8)

// ---- Along a line: result pixels from a line of the picture.

template <class A>
struct NUV_ScaleI2RowTable {
    const std::int64_t* firsts;        // source pixels
    const typename A::Weight* weights; // of each result pixel, NUV_ScaleI2Axis<>::stride of them
    // Those of set_weights_by_taps(), from the first pixel on that is to be made. Only for forms
    // that take them.
    const typename A::Weight* by_taps = nullptr;
};

inline constexpr std::size_t scale_i2_group_pixels = 8;

// The weights of a whole number of groups of result pixels, in groups, too: each tap's together.
template <class Weight>
void set_weights_by_taps(const Weight* weights, std::size_t pixels, Weight* by_taps)
{
    constexpr std::size_t stride = NUV_ScaleI2Axis<Weight>::stride;
    constexpr std::size_t group = scale_i2_group_pixels;
    for (std::size_t k = 0; k < pixels; ++k) {
        for (std::size_t i = 0; i < stride; ++i)
            by_taps[(k / group * stride + i) * group + k % group] = weights[k * stride + i];
    }
}

// Makes result pixels `begin` to `end` - 1 of the line `out`. All their taps lie inside `line`, and
// so does what the form reads, see NUV_ScaleI2RowForm.
template <class A>
using FilterRow = void (*)(const typename A::Sample* line, const NUV_ScaleI2RowTable<A>& table,
                           typename A::Middle* out, std::size_t begin, std::size_t end);

// A sum of the horizontal pass as intermediate sample. It overshoots on both sides of the range.
[[nodiscard]] inline std::int16_t settle_middle(std::int32_t sum) noexcept
{
    constexpr int shift =
        NUV_ScaleI2FixedArithmetic::weight_bits - NUV_ScaleI2FixedArithmetic::middle_bits;
    return static_cast<std::int16_t>((sum + (1 << (shift - 1))) >> shift);
}
[[nodiscard]] inline double settle_middle(double sum) noexcept
{
    return sum;
}

// Double precision adds in the order of the taps.
template <class A>
using RowSum =
    std::conditional_t<std::is_same_v<A, NUV_ScaleI2FixedArithmetic>, std::int32_t, double>;

template <class A, int Taps, int Channels>
[[gnu::always_inline]] inline void filter_row_body(const typename A::Sample* __restrict line,
                                                   const NUV_ScaleI2RowTable<A>& table,
                                                   typename A::Middle* __restrict out,
                                                   std::size_t begin, std::size_t end)
{
    constexpr std::size_t stride = NUV_ScaleI2Axis<typename A::Weight>::stride;
    for (std::size_t k = begin; k < end; ++k) {
        const auto* in = line + table.firsts[k] * Channels;
        const auto* weights = table.weights + k * stride;
        for (std::size_t c = 0; c < Channels; ++c) {
            RowSum<A> sum = 0;
            for (std::size_t i = 0; i < Taps; ++i)
                sum += static_cast<RowSum<A>>(in[i * Channels + c]) * weights[i];
            out[k * Channels + c] = settle_middle(sum);
        }
    }
}

template <class A, int Taps, int Channels>
void filter_row_portable(const typename A::Sample* line, const NUV_ScaleI2RowTable<A>& table,
                         typename A::Middle* out, std::size_t begin, std::size_t end)
{
    filter_row_body<A, Taps, Channels>(line, table, out, begin, end);
}

// One result pixel, for the ends of a line: taps outside it are its outermost pixels.
template <class A>
void filter_end_pixel(const typename A::Sample* line, std::int64_t first,
                      const typename A::Weight* weights, typename A::Middle* out,
                      std::uint32_t taps, std::uint32_t channels, std::uint32_t width)
{
    for (std::uint32_t c = 0; c < channels; ++c) {
        RowSum<A> sum = 0;
        for (std::uint32_t i = 0; i < taps; ++i) {
            const std::int64_t x = std::clamp<std::int64_t>(first + i, 0, std::int64_t{width} - 1);
            sum += static_cast<RowSum<A>>(line[x * channels + c]) * weights[i];
        }
        out[c] = settle_middle(sum);
    }
}

// Weights with a larger sum of magnitudes are left to the portable form, whose results wrap where
// those of the others would saturate.
inline constexpr int most_packed_row_weight = ((32768 << 6) - 33) / 255;

#if NUV_X86
// Two groups of four taps where there are more than four.
template <int Taps, int Channels>
NUV_TARGET("avx2")
void filter_row_avx2(const std::uint8_t* line,
                     const NUV_ScaleI2RowTable<NUV_ScaleI2FixedArithmetic>& table,
                     std::int16_t* out, std::size_t begin, std::size_t end);
// In the order of the taps, as the portable form.
template <int Taps, int Channels>
NUV_TARGET("avx2")
void filter_row_avx2(const std::uint16_t* line,
                     const NUV_ScaleI2RowTable<NUV_ScaleI2FloatArithmetic>& table, double* out,
                     std::size_t begin, std::size_t end);
template <int Taps, int Channels>
NUV_TARGET("avx512vbmi,avx512bw")
void filter_row_avx512(const std::uint16_t* line,
                       const NUV_ScaleI2RowTable<NUV_ScaleI2FloatArithmetic>& table, double* out,
                       std::size_t begin, std::size_t end);
#endif

// A form, and how many samples from a result pixel's first tap on it reads.
template <class A>
struct NUV_ScaleI2RowForm {
    FilterRow<A> filter;
    std::uint32_t reach;
    bool takes_weights_by_taps = false;
};

// The fastest form that `cpu` can run, for 1, 3 or 4 channels. Called once per engine.
template <class A>
[[nodiscard]] NUV_ScaleI2RowForm<A> choose_filter_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                      std::uint32_t taps, std::uint32_t channels,
                                                      [[maybe_unused]] double most_weight)
{
    const auto choose = [&]<int Taps, int Channels>() -> NUV_ScaleI2RowForm<A> {
#if NUV_X86
        if constexpr (std::is_same_v<A, NUV_ScaleI2FixedArithmetic>) {
            // Each load takes 16 bytes, or the 8 that eight taps of one channel are.
            constexpr std::uint32_t second = Taps > 4 ? 4 * Channels : 0;
            constexpr std::uint32_t reach = Channels == 1 ? 8 : second + 16;
            if (cpu.has_avx2 && most_weight <= most_packed_row_weight)
                return {filter_row_avx2<Taps, Channels>, reach};
        } else {
            // Each load takes four samples, or the eight that eight taps of one channel are.
            constexpr std::uint32_t reach =
                Channels == 1 ? 8 : (std::uint32_t{Taps} - 1) * Channels + 4;
            if (cpu.has_avx512vbmi)
                return {filter_row_avx512<Taps, Channels>, reach, true};
            if (cpu.has_avx2)
                return {filter_row_avx2<Taps, Channels>, reach};
        }
#endif
        return {filter_row_portable<A, Taps, Channels>, Taps * Channels};
    };
    return visit_taps(taps, [&]<int Taps>() {
        switch (channels) {
        case 1:
            return choose.template operator()<Taps, 1>();
        case 3:
            return choose.template operator()<Taps, 3>();
        default:
            return choose.template operator()<Taps, 4>();
        }
    });
}

// ---- Down the lines: a line of the result from intermediate lines.

// Makes `samples` samples of `out` from as many lines as the mask has taps. Results above `maximum`
// become `maximum`.
template <class A>
using CombineMiddles = void (*)(const typename A::Middle* const* lines,
                                const typename A::Weight* weights, typename A::Sample* out,
                                std::size_t samples, typename A::Sample maximum);

template <std::signed_integral Sum>
[[nodiscard]] inline std::uint8_t settle_sample(Sum sum, std::uint8_t maximum) noexcept
{
    constexpr int shift =
        NUV_ScaleI2FixedArithmetic::weight_bits + NUV_ScaleI2FixedArithmetic::middle_bits;
    const Sum value = (sum + (Sum{1} << (shift - 1))) >> shift;
    return static_cast<std::uint8_t>(std::clamp<Sum>(value, 0, maximum));
}
[[nodiscard]] inline std::uint16_t settle_sample(double sum, std::uint16_t maximum) noexcept
{
    return round_real<std::uint16_t>(sum, {.minimum = 0, .maximum = maximum});
}

template <class A, class Sum, int Taps>
[[gnu::always_inline]] inline void combine_middles_body(const typename A::Middle* const* lines,
                                                        const typename A::Weight* weights,
                                                        typename A::Sample* __restrict out,
                                                        std::size_t samples,
                                                        typename A::Sample maximum)
{
    const typename A::Middle* in[Taps];
    Sum by[Taps];
    std::copy_n(lines, Taps, in);
    std::copy_n(weights, Taps, by);
    for (std::size_t x = 0; x < samples; ++x) {
        Sum sum = 0;
        for (std::size_t i = 0; i < Taps; ++i)
            sum += in[i][x] * by[i];
        out[x] = settle_sample(sum, maximum);
    }
}

template <class A, class Sum, int Taps>
void combine_middles_portable(const typename A::Middle* const* lines,
                              const typename A::Weight* weights, typename A::Sample* out,
                              std::size_t samples, typename A::Sample maximum)
{
    combine_middles_body<A, Sum, Taps>(lines, weights, out, samples, maximum);
}

// With weights of a larger sum of magnitudes 32 bits do not hold the sums.
inline constexpr double most_narrow_line_weight = 65535;

#if NUV_X86
template <int Taps>
NUV_TARGET("avx2")
void combine_middles_avx2(const std::int16_t* const* lines, const std::int16_t* weights,
                          std::uint8_t* out, std::size_t samples, std::uint8_t maximum);
template <int Taps>
NUV_TARGET("avx2")
void combine_middles_avx2(const double* const* lines, const double* weights, std::uint16_t* out,
                          std::size_t samples, std::uint16_t maximum);
template <int Taps>
NUV_TARGET("avx512vbmi,avx512bw")
void combine_middles_avx512(const double* const* lines, const double* weights, std::uint16_t* out,
                            std::size_t samples, std::uint16_t maximum);
#endif

template <class A>
[[nodiscard]] CombineMiddles<A> choose_combine_middles([[maybe_unused]] const NUV_Cpu& cpu,
                                                       std::uint32_t taps,
                                                       [[maybe_unused]] double most_weight)
{
    return visit_taps(taps, [&]<int Taps>() -> CombineMiddles<A> {
        constexpr bool is_fixed = std::is_same_v<A, NUV_ScaleI2FixedArithmetic>;
        if constexpr (is_fixed) {
            if (most_weight > most_narrow_line_weight)
                return combine_middles_portable<A, std::int64_t, Taps>;
        }
#if NUV_X86
        if constexpr (!is_fixed) {
            if (cpu.has_avx512vbmi)
                return combine_middles_avx512<Taps>;
        }
        if (cpu.has_avx2)
            return combine_middles_avx2<Taps>;
#endif
        using Sum = std::conditional_t<is_fixed, std::int32_t, double>;
        return combine_middles_portable<A, Sum, Taps>;
    });
}

} // namespace nuv
