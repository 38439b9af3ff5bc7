#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace nuv {

// Kernels of the area-weighting reduction. An output sample is
//
//     trunc((first x first weight + whole + last x last weight) x inverse + 0.5)
//
// where `whole` is the integer sum of the samples between the first and the last one. All else is
// in double precision and in this order, which every form keeps.

// What an output pixel covers: the sample where its first pixel begins, and the shares that it has
// of the first and of the last one. The last one is where the next entry begins.
struct NUV_AreaTaps {
    std::size_t offset;
    double first;
    double last;
};

template <IntegerSample T>
[[nodiscard, gnu::always_inline]] inline T area_mean(T first, double whole, T last,
                                                     const NUV_AreaTaps& taps,
                                                     double inverse) noexcept
{
    double sum = taps.first * first;
    sum = sum + whole;
    sum = sum + taps.last * last;
    const double mean = sum * inverse + 0.5;
    constexpr double most = std::numeric_limits<T>::max();
    return static_cast<T>(static_cast<std::int32_t>(mean < most ? mean : most));
}

// `taps` has an entry behind those of the `pixels` output pixels.
template <IntegerSample T>
using ReduceAreaRow = void (*)(const T* in, const NUV_AreaTaps* taps, T* out, std::size_t pixels,
                               std::size_t channels, double inverse);

template <int Channels, IntegerSample T>
void reduce_area_row_portable(const T* __restrict in, const NUV_AreaTaps* __restrict taps,
                              T* __restrict out, std::size_t pixels, std::size_t channels,
                              double inverse)
{
    const std::size_t step = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        for (std::size_t c = 0; c < step; ++c) {
            std::int64_t whole = 0;
            for (std::size_t i = taps[k].offset + step; i < taps[k + 1].offset; i += step)
                whole += in[i + c];
            out[k * step + c] = area_mean(in[taps[k].offset + c], static_cast<double>(whole),
                                          in[taps[k + 1].offset + c], taps[k], inverse);
        }
    }
}

// Gray rows whose pixels cover four samples at most, as sums of four taps whose weights are split:
// see nuv_splitweights.h. A weight is a share times the inverse.
struct NUV_SplitAreaTaps {
    const std::uint32_t* offsets = nullptr;
    // Two weights of 16 bits each, the first in the lower half, of taps 0 and 1, and of 2 and 3.
    const std::int32_t* high[2] = {};
    const std::int32_t* low[2] = {};
};

// Makes what ReduceAreaRow makes of one channel and `taps`, which `split` says in another way.
using ReduceGrayRow = void (*)(const std::uint8_t* in, const NUV_AreaTaps* taps,
                               const NUV_SplitAreaTaps& split, std::uint8_t* out,
                               std::size_t pixels, double inverse);

inline void reduce_gray_row_portable(const std::uint8_t* in, const NUV_AreaTaps* taps,
                                     const NUV_SplitAreaTaps&, std::uint8_t* out,
                                     std::size_t pixels, double inverse)
{
    reduce_area_row_portable<1>(in, taps, out, pixels, 1, inverse);
}

// Bytes from the first sample of a pixel on that the forms of ReduceGrayRow may read and ignore.
inline constexpr std::size_t reduce_gray_row_reach = 16;

// The same for lines: `first`, `sums` of the lines between, `last`. Of samples of 8 bits the sums
// may have 16 bits, of others they have 32 or 64; they are not negative.
template <IntegerSample T, class Sum>
using ReduceAreaLines = void (*)(const T* first, const Sum* sums, const T* last, T* out,
                                 std::size_t samples, const NUV_AreaTaps& taps, double inverse);

template <IntegerSample T, class Sum>
[[gnu::always_inline]] inline void reduce_area_lines_body(const T* __restrict first,
                                                          const Sum* __restrict sums,
                                                          const T* __restrict last,
                                                          T* __restrict out, std::size_t samples,
                                                          const NUV_AreaTaps& taps, double inverse)
{
    const NUV_AreaTaps shares = taps;
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = area_mean(first[i], static_cast<double>(sums[i]), last[i], shares, inverse);
}

template <IntegerSample T, class Sum>
void reduce_area_lines_portable(const T* first, const Sum* sums, const T* last, T* out,
                                std::size_t samples, const NUV_AreaTaps& taps, double inverse)
{
    reduce_area_lines_body(first, sums, last, out, samples, taps, inverse);
}

#if NUV_X86
// Sums of the whole pixels must fit 31 bits.
void reduce_area_row_3_avx2(const std::uint8_t* in, const NUV_AreaTaps* taps, std::uint8_t* out,
                            std::size_t pixels, std::size_t channels, double inverse);
void reduce_area_row_4_avx2(const std::uint8_t* in, const NUV_AreaTaps* taps, std::uint8_t* out,
                            std::size_t pixels, std::size_t channels, double inverse);
void reduce_gray_row_avx2(const std::uint8_t* in, const NUV_AreaTaps* taps,
                          const NUV_SplitAreaTaps& split, std::uint8_t* out, std::size_t pixels,
                          double inverse);
void reduce_area_lines_avx2(const std::uint8_t* first, const std::int32_t* sums,
                            const std::uint8_t* last, std::uint8_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse);
void reduce_area_lines_avx2(const std::uint8_t* first, const std::int16_t* sums,
                            const std::uint8_t* last, std::uint8_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse);
void reduce_area_lines_avx2(const std::uint16_t* first, const std::int32_t* sums,
                            const std::uint16_t* last, std::uint16_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse);
#endif

// The fastest forms that `cpu` can run. `small_sums`: sums of the whole pixels fit 31 bits.
template <IntegerSample T>
[[nodiscard]] ReduceAreaRow<T> choose_reduce_area_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                      std::uint32_t channels,
                                                      [[maybe_unused]] bool small_sums) noexcept
{
#if NUV_X86
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        if (cpu.has_avx2 && small_sums && channels == 3)
            return reduce_area_row_3_avx2;
        if (cpu.has_avx2 && small_sums && channels == 4)
            return reduce_area_row_4_avx2;
    }
#endif
    return visit_channels(channels, []<int Channels>() -> ReduceAreaRow<T> {
        return reduce_area_row_portable<Channels, T>;
    });
}

[[nodiscard]] inline ReduceGrayRow choose_reduce_gray_row(
    [[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if (cpu.has_avx2)
        return reduce_gray_row_avx2;
#endif
    return reduce_gray_row_portable;
}

template <IntegerSample T, class Sum>
[[nodiscard]] ReduceAreaLines<T, Sum> choose_reduce_area_lines(
    [[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if constexpr (!std::is_same_v<Sum, std::int64_t>) {
        if (cpu.has_avx2)
            return reduce_area_lines_avx2;
    }
#endif
    return reduce_area_lines_portable<T, Sum>;
}

} // namespace nuv
