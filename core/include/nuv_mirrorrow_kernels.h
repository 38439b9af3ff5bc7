#pragma once

#include "core/include/nuv_pixelcopy.h"
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

// Copies bytes end for end.
inline void reverse_bytes(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept
{
    constexpr std::size_t step = sizeof(std::uint64_t);
    for (; count >= step; count -= step, out += step) {
        std::uint64_t word;
        std::memcpy(&word, in + count - step, step);
        word = __builtin_bswap64(word);
        std::memcpy(out, &word, step);
    }
    for (; count > 0; --count)
        *out++ = in[count - 1];
}

// `PixelBytes` is the size of a pixel, or 0 where `pixel_bytes` says.
template <std::size_t PixelBytes>
void mirror_row_portable(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                         std::size_t pixel_bytes)
{
    if constexpr (PixelBytes == 1)
        return reverse_bytes(in, out, width);
    const std::size_t bytes = PixelBytes > 0 ? PixelBytes : pixel_bytes;
    const std::uint8_t* from = in + width * bytes;
    for (std::size_t i = 0; i < width; ++i) {
        from -= bytes;
        copy_pixel<PixelBytes>(out + i * bytes, from, bytes);
    }
}

#if NUV_X86
// Pixels of 1, 2, 3 and 6 bytes; of other sizes the portable form is as fast.
template <std::size_t PixelBytes>
NUV_TARGET("avx2")
void mirror_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                     std::size_t pixel_bytes);
#endif

// The fastest form that `cpu` can run. Called once per engine, never per line.
[[nodiscard]] inline MirrorRow choose_mirror_row([[maybe_unused]] const NUV_Cpu& cpu,
                                                 std::size_t pixel_bytes) noexcept
{
    return visit_pixel_bytes(pixel_bytes, [&]<std::size_t Bytes>() -> MirrorRow {
#if NUV_X86
        if constexpr (Bytes == 1 || Bytes == 2 || Bytes == 3 || Bytes == 6) {
            if (cpu.has_avx2)
                return mirror_row_avx2<Bytes>;
        }
#endif
        return mirror_row_portable<Bytes>;
    });
}

} // namespace nuv
