#include "core/scale/kernels/nuv_pixelwindows_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

namespace nuv {

// A store of a whole vector writes over what the next window makes; the last windows, which have
// none behind them, go by way of a copy.
NUV_TARGET("avx2")
void move_pixel_windows_avx2(const std::uint8_t* in, const NUV_PixelWindows& row, std::uint8_t* out,
                             std::size_t out_bytes)
{
    constexpr std::size_t window_bytes = sizeof(__m128i);
    const std::uint8_t* const end = out + out_bytes;
    for (std::size_t w = 0; w < row.count; ++w) {
        const auto* from = reinterpret_cast<const __m128i*>(in + row.windows[w].begin);
        const auto* order = reinterpret_cast<const __m128i*>(row.orders + w * window_bytes);
        const __m128i moved = _mm_shuffle_epi8(_mm_loadu_si128(from), _mm_loadu_si128(order));
        const std::size_t bytes = row.windows[w].bytes;
        if (window_bytes <= static_cast<std::size_t>(end - out)) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), moved);
        } else {
            std::uint8_t made[window_bytes];
            _mm_storeu_si128(reinterpret_cast<__m128i*>(made), moved);
            std::memcpy(out, made, bytes);
        }
        out += bytes;
    }
}

NUV_TARGET("avx512vbmi,avx512bw")
void move_pixel_windows_avx512(const std::uint8_t* in, const NUV_PixelWindows& row,
                               std::uint8_t* out, std::size_t out_bytes)
{
    constexpr std::size_t window_bytes = sizeof(__m512i);
    const std::uint8_t* const end = out + out_bytes;
    for (std::size_t w = 0; w < row.count; ++w) {
        const __m512i order = _mm512_loadu_si512(row.orders + w * window_bytes);
        const __m512i moved =
            _mm512_permutexvar_epi8(order, _mm512_loadu_si512(in + row.windows[w].begin));
        const std::size_t bytes = row.windows[w].bytes;
        if (window_bytes <= static_cast<std::size_t>(end - out))
            _mm512_storeu_si512(out, moved);
        else
            _mm512_mask_storeu_epi8(out, ~__mmask64{0} >> (window_bytes - bytes), moved);
        out += bytes;
    }
}

} // namespace nuv

#endif // NUV_X86
