#include "core/include/nuv_mirrorrow_kernels.h"

#if NUV_X86

#    include <array>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t vector_bytes = sizeof(__m128i);

// As many whole pixels as fit are turned by one shuffle. Where they do not fill the 16 bytes (five
// pixels of 3 bytes do not), the load begins before the first of them.
template <std::size_t PixelBytes>
constexpr auto mirror_order = [] {
    constexpr std::size_t pixels = vector_bytes / PixelBytes;
    constexpr std::size_t unused = vector_bytes - pixels * PixelBytes;
    std::array<std::uint8_t, vector_bytes> order{};
    for (std::size_t i = 0; i < pixels * PixelBytes; ++i) {
        const std::size_t pixel = pixels - 1 - i / PixelBytes;
        order[i] = static_cast<std::uint8_t>(unused + pixel * PixelBytes + i % PixelBytes);
    }
    return order;
}();

} // namespace

template <std::size_t PixelBytes>
NUV_TARGET("avx2")
void mirror_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t width, std::size_t)
{
    constexpr std::size_t pixels = vector_bytes / PixelBytes;
    constexpr std::size_t step = pixels * PixelBytes;
    const __m128i order =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(mirror_order<PixelBytes>.data()));

    std::size_t left = width * PixelBytes;
    // While there are 16 bytes, for the load as for the store, which runs on behind the pixels into
    // bytes that are still to be written.
    for (; left >= vector_bytes; left -= step, out += step) {
        const auto* from = reinterpret_cast<const __m128i*>(in + left - vector_bytes);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         _mm_shuffle_epi8(_mm_loadu_si128(from), order));
    }
    mirror_row_portable<PixelBytes>(in, out, left / PixelBytes, PixelBytes);
}

template void mirror_row_avx2<1>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void mirror_row_avx2<2>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void mirror_row_avx2<3>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void mirror_row_avx2<6>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);

} // namespace nuv

#endif // NUV_X86
