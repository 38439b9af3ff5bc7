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

NUV_TARGET("avx2")
inline void store_reversed(std::uint8_t* to, __m256i bits)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), reverse_vector(bits));
}

// Each byte is that before it, and the first one 0.
NUV_TARGET("avx2")
inline __m256i bytes_before(__m256i bits)
{
    const __m256i low_above = _mm256_permute2x128_si256(bits, bits, 0x08);
    return _mm256_alignr_epi8(bits, low_above, 15);
}

// A line of `bytes` without pad bits. What is left at the begin is part of a whole vector again.
NUV_TARGET("avx2")
void reverse_whole_bytes(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes)
{
    std::size_t i = 0;
    for (; i + vector_bytes <= bytes; i += vector_bytes)
        store_reversed(out + i, load_vector(in + (bytes - i - vector_bytes)));
    if (i < bytes)
        store_reversed(out + (bytes - vector_bytes), load_vector(in));
}

// Bytes less their pad bits, and the lowest bits of those before them.
struct PadBits {
    __m128i count;
    __m128i others; // of a byte
    __m256i kept;   // bits of a byte of its own

    NUV_TARGET("avx2")
    explicit PadBits(int pad)
        : count(_mm_cvtsi32_si128(pad)),
          others(_mm_cvtsi32_si128(8 - pad)),
          kept(_mm256_set1_epi8(static_cast<char>(0xFF >> pad)))
    {}
    [[nodiscard]] NUV_TARGET("avx2") __m256i drop(__m256i own, __m256i before) const
    {
        return _mm256_or_si256(_mm256_and_si256(_mm256_srl_epi16(own, count), kept),
                               _mm256_andnot_si256(kept, _mm256_sll_epi16(before, others)));
    }
};

// A line whose last byte has so many pad bits.
NUV_TARGET("avx2")
void reverse_padded_bytes(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes, int pad)
{
    const PadBits pad_bits(pad);
    for (std::size_t i = 0; i + vector_bytes < bytes; i += vector_bytes) {
        const std::uint8_t* const from = in + (bytes - i - vector_bytes);
        store_reversed(out + i, pad_bits.drop(load_vector(from), load_vector(from - 1)));
    }
    const __m256i first = load_vector(in);
    store_reversed(out + (bytes - vector_bytes), pad_bits.drop(first, bytes_before(first)));
}

} // namespace

NUV_TARGET("avx2")
void reverse_bits_avx2(const std::uint8_t* in, std::uint8_t* out, std::uint32_t width)
{
    const std::size_t bytes = (std::size_t{width} + 7) >> 3;
    if (bytes < vector_bytes)
        reverse_bits_portable(in, out, width);
    else if (width % 8 == 0)
        reverse_whole_bytes(in, out, bytes);
    else
        reverse_padded_bytes(in, out, bytes, static_cast<int>(8 - width % 8));
}

} // namespace nuv

#endif // NUV_X86
