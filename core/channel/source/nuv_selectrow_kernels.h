#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// Copies `unit` bytes out of each `stride` bytes. Nothing is touched past the last pixel that `in`
// stands in, which has `stride` bytes: `in` is up to stride - unit bytes behind its begin.
using SelectRow = void (*)(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                           std::size_t stride, std::size_t unit);

// `UnitBytes` is the unit, or 0 where `unit` says.
template <std::size_t UnitBytes>
void select_row_portable(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                         std::size_t stride, std::size_t unit)
{
    const std::size_t bytes = UnitBytes > 0 ? UnitBytes : unit;
    for (std::size_t p = 0; p < width; ++p)
        std::memcpy(out + p * bytes, in + p * stride, bytes);
}

#if NUV_X86
// One of three samples of a byte, and of two bytes.
void select_row_1_of_3_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                            std::size_t stride, std::size_t unit);
void select_row_2_of_6_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                            std::size_t stride, std::size_t unit);
#endif

// The fastest form that `cpu` can run.
[[nodiscard]] inline SelectRow choose_select_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                 [[maybe_unused]] std::size_t stride,
                                                 std::size_t unit) noexcept
{
#if NUV_X86
    if (cpu.has_avx2 && stride == 3 && unit == 1)
        return select_row_1_of_3_avx2;
    if (cpu.has_avx2 && stride == 6 && unit == 2)
        return select_row_2_of_6_avx2;
#endif
    switch (unit) {
    case 1:
        return select_row_portable<1>;
    case 2:
        return select_row_portable<2>;
    case 3:
        return select_row_portable<3>;
    case 4:
        return select_row_portable<4>;
    default:
        return select_row_portable<0>;
    }
}

} // namespace nuv
