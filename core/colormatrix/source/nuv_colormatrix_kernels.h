#pragma once

#include "framework/base/nuv_cpu.h"
#include "framework/base/nuv_prefetch.h"
#include "framework/utility/nuv_fixedreal.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace nuv {

// A matrix in the numbers that sums are made of: doubles, or integers in units of 1 / 4096.
template <class Sum>
struct NUV_MatrixView {
    const Sum* factors = nullptr; // row by row
    const Sum* offsets = nullptr; // one for each row
    std::size_t rows = 0;
    std::size_t columns = 0;
};

// Multiplies `pixels` pixels by a matrix. The rows do not overlap.
template <class T, class Sum>
using MatrixRow = void (*)(const T* in, T* out, std::size_t pixels, const NUV_MatrixView<Sum>&);

// What is not a number becomes 0.
template <class T>
[[nodiscard]] constexpr T matrix_sample(double sum) noexcept
{
    constexpr double maximum = std::numeric_limits<T>::max();
    sum = sum > 0 ? sum : 0;
    sum = sum < maximum ? sum : maximum;
    sum += 0.5;
    return static_cast<T>(static_cast<std::int32_t>(sum));
}

template <class T, std::signed_integral Sum>
[[nodiscard]] constexpr T matrix_sample(Sum sum) noexcept
{
    constexpr Sum maximum = std::numeric_limits<T>::max();
    const auto rounded = static_cast<Sum>((sum + NUV_FixedReal::half) >> 12);
    return static_cast<T>(std::clamp(rounded, Sum{0}, maximum));
}

// Of Rows rows and Columns columns; 0 is what the matrix says. The offset comes first, then the
// columns from the left: sums of doubles depend on it.
template <class T, class Sum, int Rows, int Columns>
void matrix_row_portable(const T* in, T* out, std::size_t pixels, const NUV_MatrixView<Sum>& matrix)
{
    const std::size_t rows = Rows > 0 ? std::size_t{Rows} : matrix.rows;
    const std::size_t columns = Columns > 0 ? std::size_t{Columns} : matrix.columns;
    for (std::size_t i = 0; i < pixels; ++i, in += columns, out += rows) {
        const Sum* factors = matrix.factors;
        for (std::size_t j = 0; j < rows; ++j, factors += columns) {
            Sum sum = matrix.offsets[j];
            for (std::size_t k = 0; k < columns; ++k)
                sum += static_cast<Sum>(in[k]) * factors[k];
            out[j] = matrix_sample<T>(sum);
        }
    }
}

#if NUV_X86
// Three rows of one or three columns, or one row of three; the factors fit 16 bits.
void matrix_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                     const NUV_MatrixView<std::int32_t>& matrix);
// Three rows of three columns; the factors fit 16 bits.
void matrix_row_avx512(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                       const NUV_MatrixView<std::int32_t>& matrix);
// Three rows of one or three columns, or one row of three. The sums are made of the same doubles in
// the same order.
void matrix16_row_avx2(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
                       const NUV_MatrixView<double>& matrix);
void matrix16_row_avx512(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
                         const NUV_MatrixView<double>& matrix);
#endif

// Two factors of 16 bits in the halves of 32.
[[nodiscard]] constexpr std::int32_t factor_pair(std::int32_t low, std::int32_t high) noexcept
{
    const std::uint32_t upper_half = static_cast<std::uint32_t>(high) << 16;
    return static_cast<std::int32_t>(upper_half | (static_cast<std::uint32_t>(low) & 0xFFFF));
}

[[nodiscard]] inline bool factors_fit_16_bits(const NUV_MatrixView<std::int32_t>& matrix) noexcept
{
    return std::all_of(matrix.factors, matrix.factors + matrix.rows * matrix.columns,
                       [](std::int32_t factor) {
                           return factor >= std::numeric_limits<std::int16_t>::min() &&
                                  factor <= std::numeric_limits<std::int16_t>::max();
                       });
}

// The fastest form that `cpu` can run.
template <class T, class Sum>
[[nodiscard]] MatrixRow<T, Sum> choose_matrix_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                  const NUV_MatrixView<Sum>& matrix) noexcept
{
    const bool widens = matrix.rows == 3 && matrix.columns == 1;
    const bool is_square = matrix.rows == 3 && matrix.columns == 3;
    const bool narrows = matrix.rows == 1 && matrix.columns == 3;
#if NUV_X86
    if constexpr (sizeof(T) == 1 && std::is_same_v<Sum, std::int32_t>) {
        if (cpu.has_avx2 && (widens || is_square || narrows) && factors_fit_16_bits(matrix))
            return cpu.has_avx512vbmi && is_square ? matrix_row_avx512 : matrix_row_avx2;
    }
    if constexpr (sizeof(T) == 2 && std::is_same_v<Sum, double>) {
        if (cpu.has_avx2 && (widens || is_square || narrows))
            return cpu.has_avx512vbmi ? matrix16_row_avx512 : matrix16_row_avx2;
    }
#endif
    if (widens)
        return matrix_row_portable<T, Sum, 3, 1>;
    if (is_square)
        return matrix_row_portable<T, Sum, 3, 3>;
    return narrows ? matrix_row_portable<T, Sum, 1, 3> : matrix_row_portable<T, Sum, 0, 0>;
}

} // namespace nuv
