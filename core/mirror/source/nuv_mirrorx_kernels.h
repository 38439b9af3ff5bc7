#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// out[i] = in[width - 1 - i] for pixels of `pixel_bytes` bytes each; the bytes of a pixel keep
// their order. The rows do not overlap. Every form gives the same bytes and writes nothing past the
// row.
using MirrorRow = void (*)(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                           std::size_t pixel_bytes);

// `PixelBytes` is the size of a pixel, or 0 where `pixel_bytes` says.
template <std::size_t PixelBytes>
void mirror_row_portable(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                         std::size_t pixel_bytes)
{
    const std::size_t bytes = PixelBytes > 0 ? PixelBytes : pixel_bytes;
    const std::uint8_t* from = in + width * bytes;
    for (std::size_t i = 0; i < width; ++i) {
        from -= bytes;
        std::memcpy(out + i * bytes, from, bytes);
    }
}

[[nodiscard]] constexpr MirrorRow mirror_row_portable(std::size_t pixel_bytes) noexcept
{
    switch (pixel_bytes) {
    case 1:
        return mirror_row_portable<1>;
    case 2:
        return mirror_row_portable<2>;
    case 3:
        return mirror_row_portable<3>;
    case 4:
        return mirror_row_portable<4>;
    case 6:
        return mirror_row_portable<6>;
    case 8:
        return mirror_row_portable<8>;
    default:
        return mirror_row_portable<0>;
    }
}

// Null for pixels that have no such form, because the portable one is as fast.
[[nodiscard]] MirrorRow mirror_row_avx2(std::size_t pixel_bytes) noexcept;

// The fastest form that `cpu` can run. Called once per engine, never per line.
[[nodiscard]] inline MirrorRow choose_mirror_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                 std::size_t pixel_bytes) noexcept
{
#if NUV_X86
    if (cpu.has_avx2) {
        if (MirrorRow form = mirror_row_avx2(pixel_bytes))
            return form;
    }
#endif
    return mirror_row_portable(pixel_bytes);
}

} // namespace nuv
