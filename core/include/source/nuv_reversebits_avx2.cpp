#include "core/include/nuv_reversebits_kernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t vector_bytes = sizeof(__m256i);

NUV_TARGET("avx2")
inline __m256i load_vector(const std::uint8_t* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// All 256 bits end for end.
NUV_TARGET("avx2")
inline __m256i reverse_vector(__m256i bits)
{
    const __m256i low_nibbles = _mm256_set1_epi8(0x0F);
    // By nibble, its bits in the opposite order.
    const __m256i reversed = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15));
    const __m256i low = _mm256_shuffle_epi8(reversed, _mm256_and_si256(bits, low_nibbles));
    const __m256i high =
        _mm256_shuffle_epi8(reversed, _mm256_and_si256(_mm256_srli_epi16(bits, 4), low_nibbles));
    bits = _mm256_or_si256(_mm256_slli_epi16(low, 4), high);
    const __m256i end_for_end = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(bits, end_for_end), 0x4E);
}

} // namespace

NUV_TARGET("avx2")
void reverse_bits_avx2(const std::uint8_t* in, std::uint8_t* out, std::uint32_t width)
{
    const std::size_t bytes = (std::size_t{width} + 7) >> 3;
    const auto pad = static_cast<int>(bytes * 8 - width);
    // As in the portable form: bytes less their pad bits, and the lowest bits of those before them.
    const __m128i down = _mm_cvtsi32_si128(pad);
    const __m128i up = _mm_cvtsi32_si128(8 - pad);
    const __m256i kept = _mm256_set1_epi8(static_cast<char>(0xFF >> pad));
    std::size_t i = 0;
    for (; i + vector_bytes < bytes; i += vector_bytes) {
        const std::uint8_t* const from = in + (bytes - i - vector_bytes);
        const __m256i own = _mm256_and_si256(_mm256_srl_epi16(load_vector(from), down), kept);
        const __m256i before =
            _mm256_andnot_si256(kept, _mm256_sll_epi16(load_vector(from - 1), up));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            reverse_vector(_mm256_or_si256(own, before)));
    }
    reverse_bits_portable(in, out + i, width - static_cast<std::uint32_t>(8 * i));
}

} // namespace nuv

#endif // NUV_X86
