#include "core/include/nuv_reversetriples_kernels.h"

#if NUV_X86

#    include "core/include/nuv_pixelvectors_avx2.h"

namespace nuv {

// Ten pixels at a time, five from 16 bytes. The last of them stays where it is: it is the first of
// the pixel behind, or one that the next store makes.
NUV_TARGET("avx2")
void reverse_triples_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels)
{
    constexpr std::size_t half = 15;
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15));

    for (; pixels > 10; pixels -= 10, in += 2 * half, out += 2 * half) {
        const __m256i turned = _mm256_shuffle_epi8(load_two(in, in + half), order);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(turned));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + half),
                         _mm256_extracti128_si256(turned, 1));
    }
    reverse_triples_portable(in, out, pixels);
}

} // namespace nuv

#endif // NUV_X86
