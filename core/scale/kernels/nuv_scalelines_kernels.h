#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace nuv {

// Kernels of the height passes: an output line from lines of the source, sample by sample. The
// output overlaps no input. Every form of a kernel gives the same bytes and touches nothing outside
// the `samples` samples of each line.

// A line between two lines, `weight` of the way down: out = upper x (1 - weight) + lower x weight.
// In double precision the weight may be a hair below 0 or above 1.
template <IntegerSample T, class Weight>
using BlendLines = void (*)(const T* upper, const T* lower, T* out, std::size_t samples,
                            Weight weight);

// `weight` in units of 1 / 4096, 0 to 4096.
template <IntegerSample T>
[[gnu::always_inline]] inline void blend_lines_body(const T* __restrict upper,
                                                    const T* __restrict lower, T* __restrict out,
                                                    std::size_t samples, std::int32_t weight)
{
    const std::int32_t rest = NUV_FixedReal::one - weight;
    for (std::size_t i = 0; i < samples; ++i) {
        const std::int32_t sum = upper[i] * rest + lower[i] * weight;
        out[i] = static_cast<T>(round_fixed<T>(sum));
    }
}

template <IntegerSample T>
[[gnu::always_inline]] inline void blend_lines_body(const T* __restrict upper,
                                                    const T* __restrict lower, T* __restrict out,
                                                    std::size_t samples, double weight)
{
    const double rest = 1 - weight;
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = round_real<T>(lower[i] * weight + upper[i] * rest);
}

template <IntegerSample T, class Weight>
void blend_lines_portable(const T* upper, const T* lower, T* out, std::size_t samples,
                          Weight weight)
{
    blend_lines_body<T>(upper, lower, out, samples, weight);
}

// Weights of the four lines of a cubic, topmost first. They add up to one, which fixed-point
// weights do in units of 1 / 4096.
template <class Weight>
struct NUV_CubicWeights {
    Weight tap[4];
};

// A line from four lines. The limits hold for the rounded result.
template <IntegerSample T, class Weight>
using CombineLines = void (*)(const T* const lines[4], T* out, std::size_t samples,
                              const NUV_CubicWeights<Weight>& weights, NUV_SampleLimits<T> limits);

// The sums are those of the differences from the second line, which holds the remainder of the
// weights; in integers that is the plain sum. Sum must hold them.
template <IntegerSample T, class Sum>
[[gnu::always_inline]] inline void combine_lines_body(
    const T* __restrict line0, const T* __restrict line1, const T* __restrict line2,
    const T* __restrict line3, T* __restrict out, std::size_t samples,
    const NUV_CubicWeights<std::int32_t>& weights, NUV_SampleLimits<T> limits)
{
    const Sum w0 = weights.tap[0];
    const Sum w1 = weights.tap[1];
    const Sum w2 = weights.tap[2];
    const Sum w3 = weights.tap[3];
    for (std::size_t i = 0; i < samples; ++i)
        out[i] =
            round_fixed<T>(line0[i] * w0 + line1[i] * w1 + line2[i] * w2 + line3[i] * w3, limits);
}

// In double precision the order of the additions is part of the result.
template <IntegerSample T>
[[gnu::always_inline]] inline void combine_lines_body(
    const T* __restrict line0, const T* __restrict line1, const T* __restrict line2,
    const T* __restrict line3, T* __restrict out, std::size_t samples,
    const NUV_CubicWeights<double>& weights, NUV_SampleLimits<T> limits)
{
    const double w0 = weights.tap[0];
    const double w2 = weights.tap[2];
    const double w3 = weights.tap[3];
    for (std::size_t i = 0; i < samples; ++i) {
        const std::int32_t centre = +line1[i];
        const double sum =
            (line0[i] - centre) * w0 + (line2[i] - centre) * w2 + (line3[i] - centre) * w3 + centre;
        out[i] = round_real<T>(sum, limits);
    }
}

template <IntegerSample T, class Sum>
void combine_lines_fixed_portable(const T* const lines[4], T* out, std::size_t samples,
                                  const NUV_CubicWeights<std::int32_t>& weights,
                                  NUV_SampleLimits<T> limits)
{
    combine_lines_body<T, Sum>(lines[0], lines[1], lines[2], lines[3], out, samples, weights,
                               limits);
}

template <IntegerSample T>
void combine_lines_real_portable(const T* const lines[4], T* out, std::size_t samples,
                                 const NUV_CubicWeights<double>& weights,
                                 NUV_SampleLimits<T> limits)
{
    combine_lines_body<T>(lines[0], lines[1], lines[2], lines[3], out, samples, weights, limits);
}

#if NUV_X86
void blend_lines_avx2(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out,
                      std::size_t samples, std::int32_t weight);
void blend_lines_avx2(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t* out,
                      std::size_t samples, std::int32_t weight);
// Fixed-point weights must fit 16 bits.
void combine_lines_avx2(const std::uint8_t* const lines[4], std::uint8_t* out, std::size_t samples,
                        const NUV_CubicWeights<std::int32_t>& weights,
                        NUV_SampleLimits<std::uint8_t> limits);
void combine_lines_avx2(const std::uint16_t* const lines[4], std::uint16_t* out,
                        std::size_t samples, const NUV_CubicWeights<std::int32_t>& weights,
                        NUV_SampleLimits<std::uint16_t> limits);
// Far: what is written goes past the caches.
template <bool Far>
NUV_TARGET("avx2")
void blend_lines_avx2(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t* out,
                      std::size_t samples, double weight);
template <bool Far>
NUV_TARGET("avx2")
void combine_lines_avx2(const std::uint16_t* const lines[4], std::uint16_t* out,
                        std::size_t samples, const NUV_CubicWeights<double>& weights,
                        NUV_SampleLimits<std::uint16_t> limits);
template <bool Far>
NUV_TARGET("avx512vbmi,avx512bw,avx512vnni")
void blend_lines_avx512(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t* out,
                        std::size_t samples, double weight);
template <bool Far>
NUV_TARGET("avx512vbmi,avx512bw,avx512vnni")
void combine_lines_avx512(const std::uint16_t* const lines[4], std::uint16_t* out,
                          std::size_t samples, const NUV_CubicWeights<double>& weights,
                          NUV_SampleLimits<std::uint16_t> limits);
#endif

// The fastest forms that `cpu` can run. Called once per engine.

template <IntegerSample T, class Weight>
[[nodiscard]] BlendLines<T, Weight> choose_blend_lines([[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    constexpr bool is_fixed_byte =
        std::is_same_v<T, std::uint8_t> && !std::is_same_v<Weight, double>;
    if constexpr (std::is_same_v<T, std::uint16_t> && std::is_same_v<Weight, double>) {
        if (cpu.has_avx512vbmi)
            return blend_lines_avx512<false>;
        if (cpu.has_avx2)
            return blend_lines_avx2<false>;
    } else if constexpr (is_fixed_byte || std::is_same_v<T, std::uint16_t>) {
        if (cpu.has_avx2)
            return blend_lines_avx2;
    }
#endif
    return blend_lines_portable<T, Weight>;
}

// What takes the place of a form where nobody looks at the output before it has left the caches.
// What is stored the usual way is read first.
template <class Form>
[[nodiscard]] Form far_form(Form form) noexcept
{
#if NUV_X86
    if constexpr (std::is_same_v<Form, BlendLines<std::uint16_t, double>>) {
        return form == blend_lines_avx512<false> ? blend_lines_avx512<true>
               : form == blend_lines_avx2<false> ? blend_lines_avx2<true>
                                                 : form;
    } else if constexpr (std::is_same_v<Form, CombineLines<std::uint16_t, double>>) {
        return form == combine_lines_avx512<false> ? combine_lines_avx512<true>
               : form == combine_lines_avx2<false> ? combine_lines_avx2<true>
                                                   : form;
    }
#endif
    return form;
}

// `narrow`: the weights are those of a moderate free parameter, so that they fit 16 bits and sums
// of 16-bit samples fit 32.
template <IntegerSample T, class Weight>
[[nodiscard]] CombineLines<T, Weight> choose_combine_lines([[maybe_unused]] const NUV_Cpu& cpu,
                                                           [[maybe_unused]] bool narrow) noexcept
{
    if constexpr (std::is_same_v<Weight, double>) {
#if NUV_X86
        if constexpr (std::is_same_v<T, std::uint16_t>) {
            if (cpu.has_avx512vbmi)
                return combine_lines_avx512<false>;
            if (cpu.has_avx2)
                return combine_lines_avx2<false>;
        }
#endif
        return combine_lines_real_portable<T>;
    } else {
#if NUV_X86
        if constexpr (std::is_unsigned_v<T>) {
            if (narrow && cpu.has_avx2)
                return combine_lines_avx2;
        }
#endif
        return narrow ? combine_lines_fixed_portable<T, std::int32_t>
                      : combine_lines_fixed_portable<T, std::int64_t>;
    }
}

} // namespace nuv
