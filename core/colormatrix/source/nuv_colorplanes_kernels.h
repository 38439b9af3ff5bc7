#pragma once

#include "core/colormatrix/source/nuv_colormatrix_kernels.h"

namespace nuv {

// These multiply pixels whose samples come in three planes, each as many samples behind the one
// before as there are pixels, by a matrix of three rows and three columns. With `Halves` a sample
// of the second and of the third plane is for two pixels.
using MatrixPlanes = MatrixRow<std::uint8_t, std::int32_t>;

// Pixel `i` of them and those behind it.
template <bool Halves>
void matrix_planes_from(std::size_t i, const std::uint8_t* in, std::uint8_t* out,
                        std::size_t pixels, const NUV_MatrixView<std::int32_t>& matrix)
{
    for (; i < pixels; ++i) {
        const std::uint8_t* const others = in + pixels + (Halves ? i / 2 : i);
        const std::uint8_t pixel[] = {in[i], others[0], others[pixels]};
        matrix_row_portable<std::uint8_t, std::int32_t, 3, 3>(pixel, out + 3 * i, 1, matrix);
    }
}

template <bool Halves>
void matrix_planes_portable(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                            const NUV_MatrixView<std::int32_t>& matrix)
{
    matrix_planes_from<Halves>(0, in, out, pixels, matrix);
}

#if NUV_X86
// For matrices that keeps_first_plane() is true of.
template <bool Halves>
NUV_TARGET("avx2")
void matrix_planes_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                        const NUV_MatrixView<std::int32_t>& matrix);
template <bool Halves>
NUV_TARGET("avx512vbmi,avx512bw")
void matrix_planes_avx512(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                          const NUV_MatrixView<std::int32_t>& matrix);
#endif

// Whether each row adds something of the other two to the first sample as it is, as from YCbCr to
// RGB, by factors of 16 bits. What is added is then rounded by itself, once for all pixels that
// share it.
[[nodiscard]] inline bool keeps_first_plane(const NUV_MatrixView<std::int32_t>& matrix) noexcept
{
    return matrix.rows == 3 && matrix.columns == 3 && factors_fit_16_bits(matrix) &&
           matrix.factors[0] == NUV_FixedReal::one && matrix.factors[3] == NUV_FixedReal::one &&
           matrix.factors[6] == NUV_FixedReal::one;
}

// Whether there are forms that are faster than what makes pixels and multiplies these.
[[nodiscard]] inline bool has_planes_form(const NUV_Cpu& cpu,
                                          const NUV_MatrixView<std::int32_t>& matrix) noexcept
{
    return NUV_X86 && cpu.has_avx2 && keeps_first_plane(matrix);
}

// The fastest form that `cpu` can run.
template <bool Halves>
[[nodiscard]] MatrixPlanes choose_matrix_planes(const NUV_Cpu& cpu,
                                                const NUV_MatrixView<std::int32_t>& matrix) noexcept
{
#if NUV_X86
    if (has_planes_form(cpu, matrix))
        return cpu.has_avx512vbmi ? matrix_planes_avx512<Halves> : matrix_planes_avx2<Halves>;
#endif
    return matrix_planes_portable<Halves>;
}

} // namespace nuv
