#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// Kernels that move the pixels of a row. The row is made a window at a time: a stretch of input of
// as many bytes as a vector has, of which a permutation makes some bytes of the output.
struct NUV_PixelWindow {
    std::uint32_t begin; // byte of the input
    std::uint32_t bytes; // of the output, at most as many as the window has
};

struct NUV_PixelWindows {
    const NUV_PixelWindow* windows = nullptr;
    // For each window, as many indices into it as it has bytes.
    const std::uint8_t* orders = nullptr;
    std::size_t count = 0;
};

// Makes `out_bytes` bytes of `out`, which is what the windows make together. Every form of a kernel
// writes nothing else, and reads what the windows cover.
using MovePixelWindows = void (*)(const std::uint8_t* in, const NUV_PixelWindows& row,
                                  std::uint8_t* out, std::size_t out_bytes);

template <std::size_t WindowBytes>
void move_pixel_windows_portable(const std::uint8_t* in, const NUV_PixelWindows& row,
                                 std::uint8_t* out, std::size_t)
{
    for (std::size_t w = 0; w < row.count; ++w) {
        const std::uint8_t* from = in + row.windows[w].begin;
        const std::uint8_t* order = row.orders + w * WindowBytes;
        for (std::size_t i = 0; i < row.windows[w].bytes; ++i)
            *out++ = from[order[i]];
    }
}

#if NUV_X86
void move_pixel_windows_avx2(const std::uint8_t* in, const NUV_PixelWindows& row, std::uint8_t* out,
                             std::size_t out_bytes);
void move_pixel_windows_avx512(const std::uint8_t* in, const NUV_PixelWindows& row,
                               std::uint8_t* out, std::size_t out_bytes);
#endif

// The window for which `cpu` has a form, 0 where it has none.
[[nodiscard]] constexpr std::size_t pixel_window_bytes(const NUV_Cpu& cpu) noexcept
{
    if (!NUV_X86 || !cpu.has_avx2)
        return 0;
    return cpu.has_avx512vbmi ? 64 : 16;
}

// The fastest form for windows of that size.
template <std::size_t WindowBytes>
[[nodiscard]] MovePixelWindows choose_move_pixel_windows(
    [[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if (WindowBytes == pixel_window_bytes(NUV_Cpu::avx512vbmi) && cpu.has_avx512vbmi)
        return move_pixel_windows_avx512;
    if (WindowBytes == pixel_window_bytes(NUV_Cpu::avx2) && cpu.has_avx2)
        return move_pixel_windows_avx2;
#endif
    return move_pixel_windows_portable<WindowBytes>;
}

} // namespace nuv
