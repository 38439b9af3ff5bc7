#pragma once

#include "core/colormatrix/source/nuv_colormatrix_kernels.h"

namespace nuv {

// These multiply pixels whose samples come in three planes, each as many bytes behind the one
// before as there are pixels, by a matrix of three rows and three columns. A sample of the second
// and of the third plane is for two pixels.
using MatrixPlanes = MatrixRow<std::uint8_t, std::int32_t>;

// Pixel `i` of them and those behind it.
inline void matrix_planes_from(std::size_t i, const std::uint8_t* in, std::uint8_t* out,
                               std::size_t pixels, const NUV_MatrixView<std::int32_t>& matrix)
{
    for (; i < pixels; ++i) {
        const std::uint8_t* const chroma = in + pixels + i / 2;
        const std::uint8_t pixel[] = {in[i], chroma[0], chroma[pixels]};
        matrix_row_portable<std::uint8_t, std::int32_t, 3, 3>(pixel, out + 3 * i, 1, matrix);
    }
}

inline void matrix_planes_portable(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                                   const NUV_MatrixView<std::int32_t>& matrix)
{
    matrix_planes_from(0, in, out, pixels, matrix);
}

#if NUV_X86
// For matrices that keeps_first_plane() is true of.
void matrix_planes_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                        const NUV_MatrixView<std::int32_t>& matrix);
void matrix_planes_avx512(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                          const NUV_MatrixView<std::int32_t>& matrix);
#endif

// Whether each row adds something of the other two to the first sample as it is, as from YCbCr to
// RGB, by factors of 16 bits. What is added is then rounded by itself, once for both pixels.
[[nodiscard]] inline bool keeps_first_plane(const NUV_MatrixView<std::int32_t>& matrix) noexcept
{
    return matrix.rows == 3 && matrix.columns == 3 && factors_fit_16_bits(matrix) &&
           matrix.factors[0] == NUV_FixedReal::one && matrix.factors[3] == NUV_FixedReal::one &&
           matrix.factors[6] == NUV_FixedReal::one;
}

// The fastest form that `cpu` can run. The portable one is slower than to put pixels together and
// to multiply these.
[[nodiscard]] inline MatrixPlanes choose_matrix_planes(
    [[maybe_unused]] const NUV_Cpu& cpu,
    [[maybe_unused]] const NUV_MatrixView<std::int32_t>& matrix) noexcept
{
#if NUV_X86
    if (cpu.has_avx2 && keeps_first_plane(matrix))
        return cpu.has_avx512vbmi ? matrix_planes_avx512 : matrix_planes_avx2;
#endif
    return matrix_planes_portable;
}

} // namespace nuv
