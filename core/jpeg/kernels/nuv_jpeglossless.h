#pragma once

// What the forms of the lossless primitives share.

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <cstdint>

namespace nuv {

inline constexpr std::int32_t first_predictor = 1;
inline constexpr std::int32_t last_predictor = 7;

// The checks that all four primitives on one row begin with.
[[nodiscard]] inline NUV_JPEGResult check_row(const std::uint16_t* in, const std::uint16_t* out,
                                              std::int32_t columns) noexcept
{
    if (in == nullptr || out == nullptr)
        return NUV_JPEGResult::null_pointer;
    return columns < 1 ? NUV_JPEGResult::bad_size : NUV_JPEGResult::good;
}

// Those on a first row. T.81, H.1.2.1: `middle` is the prediction of the first sample, half of what
// the precision holds; it is set when the answer is good.
[[nodiscard]] inline NUV_JPEGResult check_first_row(const std::uint16_t* in,
                                                    const std::uint16_t* out, std::int32_t columns,
                                                    std::int32_t precision,
                                                    std::int32_t point_transform,
                                                    std::uint16_t& middle) noexcept
{
    const NUV_JPEGResult checked = check_row(in, out, columns);
    if (!is_good(checked))
        return checked;
    if (precision < 2 || precision > 16 || point_transform < 0 || point_transform >= precision)
        return NUV_JPEGResult::bad_parameter;
    middle = static_cast<std::uint16_t>(1U << (precision - point_transform - 1));
    return NUV_JPEGResult::good;
}

// T.81, table H.1: `a` is the sample to the left, `b` the one above, `c` above and to the left.
template <int Predictor>
[[nodiscard]] constexpr std::int32_t predict(std::int32_t a, std::int32_t b,
                                             std::int32_t c) noexcept
{
    static_assert(Predictor >= first_predictor && Predictor <= last_predictor);
    if constexpr (Predictor == 1)
        return a;
    else if constexpr (Predictor == 2)
        return b;
    else if constexpr (Predictor == 3)
        return c;
    else if constexpr (Predictor == 4)
        return a + b - c;
    else if constexpr (Predictor == 5)
        return a + ((b - c) >> 1);
    else if constexpr (Predictor == 6)
        return b + ((a - c) >> 1);
    else
        return (a + b) >> 1;
}

// Calls work.operator()<Predictor>() for the predictor given at run time.
template <class Work>
NUV_JPEGResult with_predictor(std::int32_t predictor, Work work)
{
    switch (predictor) {
    case 1:
        work.template operator()<1>();
        return NUV_JPEGResult::good;
    case 2:
        work.template operator()<2>();
        return NUV_JPEGResult::good;
    case 3:
        work.template operator()<3>();
        return NUV_JPEGResult::good;
    case 4:
        work.template operator()<4>();
        return NUV_JPEGResult::good;
    case 5:
        work.template operator()<5>();
        return NUV_JPEGResult::good;
    case 6:
        work.template operator()<6>();
        return NUV_JPEGResult::good;
    case 7:
        work.template operator()<7>();
        return NUV_JPEGResult::good;
    default:
        return NUV_JPEGResult::bad_parameter;
    }
}

// output[i] = differences[i] + its prediction, modulo 65536, from column `i` on, which is not the
// first. Predictor 1 needs no row above.
template <int Predictor>
void sum_up_from(std::int32_t i, const std::uint16_t* differences,
                 [[maybe_unused]] const std::uint16_t* previous, std::uint16_t* output,
                 std::int32_t columns)
{
    for (std::uint16_t left = output[i - 1]; i < columns; ++i) {
        std::int32_t prediction = left;
        if constexpr (Predictor != 1)
            prediction = predict<Predictor>(left, previous[i], previous[i - 1]);
        left = static_cast<std::uint16_t>(differences[i] + prediction);
        output[i] = left;
    }
}

// The two primitives that make samples, where Sums::row<Predictor>(differences, previous, output,
// columns) makes those of all columns but the first.
template <class Sums>
NUV_JPEGResult lossless_first_row(const std::uint16_t* differences, std::uint16_t* output,
                                  std::int32_t columns, std::int32_t precision,
                                  std::int32_t point_transform)
{
    std::uint16_t middle = 0;
    const NUV_JPEGResult checked =
        check_first_row(differences, output, columns, precision, point_transform, middle);
    if (!is_good(checked))
        return checked;

    output[0] = static_cast<std::uint16_t>(differences[0] + middle);
    Sums::template row<1>(differences, nullptr, output, columns);
    return NUV_JPEGResult::good;
}

template <class Sums>
NUV_JPEGResult lossless_other_rows(const std::uint16_t* differences, const std::uint16_t* previous,
                                   std::uint16_t* output, std::int32_t columns,
                                   std::int32_t predictor)
{
    if (previous == nullptr)
        return NUV_JPEGResult::null_pointer;
    const NUV_JPEGResult checked = check_row(differences, output, columns);
    if (!is_good(checked))
        return checked;

    return with_predictor(predictor, [=]<int Predictor>() {
        output[0] = static_cast<std::uint16_t>(differences[0] + previous[0]);
        Sums::template row<Predictor>(differences, previous, output, columns);
    });
}

} // namespace nuv
