#include "core/dib/source/nuv_dibrow_kernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

// One field of 16 pixels.
struct Field {
    __m256i mask;
    __m128i right;
    __m128i left;
};

NUV_TARGET("avx2") inline Field field_of(const NUV_BitFields& fields, std::size_t c)
{
    return {_mm256_set1_epi16(static_cast<std::int16_t>(fields.masks[c])),
            _mm_cvtsi32_si128(static_cast<int>(fields.right[c])),
            _mm_cvtsi32_si128(static_cast<int>(fields.left[c]))};
}

NUV_TARGET("avx2") inline __m256i samples_of(__m256i pixels, const Field& field)
{
    const __m256i bits = _mm256_and_si256(pixels, field.mask);
    return _mm256_sll_epi16(_mm256_srl_epi16(bits, field.right), field.left);
}

NUV_TARGET("avx2") inline void store_16(std::uint8_t* to, __m128i bytes)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}

NUV_TARGET("avx2") inline void store_8(std::uint8_t* to, __m128i bytes)
{
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), bytes);
}

} // namespace

// 16 pixels at a time. Each half of a vector has 8 of them, and becomes 24 bytes: 16 in `front` and
// 8 in `back`.
NUV_TARGET("avx2")
void fields_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                     const NUV_BitFields& fields)
{
    const Field red = field_of(fields, 0);
    const Field green = field_of(fields, 1);
    const Field blue = field_of(fields, 2);
    const __m256i low_bytes = _mm256_set1_epi16(0xFF);
    // Red and green lie in pairs, blue in the lower byte of a pair.
    const __m256i front_pairs = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, -1, 2, 3, -1, 4, 5, -1, 6, 7, -1, 8, 9, -1, 10));
    const __m256i front_blues = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(-1, -1, 0, -1, -1, 2, -1, -1, 4, -1, -1, 6, -1, -1, 8, -1));
    const __m256i back_pairs = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(11, -1, 12, 13, -1, 14, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    const __m256i back_blues = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(-1, 10, -1, -1, 12, -1, -1, 14, -1, -1, -1, -1, -1, -1, -1, -1));

    for (; pixels >= 16; pixels -= 16, in += 32, out += 48) {
        const __m256i stored = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        const __m256i pairs = _mm256_or_si256(_mm256_and_si256(samples_of(stored, red), low_bytes),
                                              _mm256_slli_epi16(samples_of(stored, green), 8));
        const __m256i blues = samples_of(stored, blue);
        const __m256i front = _mm256_or_si256(_mm256_shuffle_epi8(pairs, front_pairs),
                                              _mm256_shuffle_epi8(blues, front_blues));
        const __m256i back = _mm256_or_si256(_mm256_shuffle_epi8(pairs, back_pairs),
                                             _mm256_shuffle_epi8(blues, back_blues));
        store_16(out, _mm256_castsi256_si128(front));
        store_8(out + 16, _mm256_castsi256_si128(back));
        store_16(out + 24, _mm256_extracti128_si256(front, 1));
        store_8(out + 40, _mm256_extracti128_si256(back, 1));
    }
    fields_row_portable<std::uint16_t, std::uint8_t>(in, out, pixels, fields);
}

// Eight pixels at a time become 24 bytes in one store of 32, which runs on into bytes that are
// still to be made.
NUV_TARGET("avx2")
void whole_bytes_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                          const NUV_BitFields& fields)
{
    constexpr std::uint8_t zero = 0x80;
    alignas(16) std::uint8_t order[16];
    for (std::size_t i = 0; i < 16; ++i) {
        const std::size_t c = i % 3;
        const bool is_made = i < 12 && fields.masks[c] != 0;
        order[i] = is_made ? static_cast<std::uint8_t>(i / 3 * 4 + fields.right[c] / 8) : zero;
    }
    const __m256i four_pixels =
        _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(order)));
    const __m256i gathered = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);

    constexpr std::size_t least = 11; // pixels with 32 bytes to store
    for (; pixels >= least; pixels -= 8, in += 32, out += 24) {
        const __m256i stored = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        const __m256i samples = _mm256_shuffle_epi8(stored, four_pixels);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                            _mm256_permutevar8x32_epi32(samples, gathered));
    }
    fields_row_portable<std::uint32_t, std::uint8_t>(in, out, pixels, fields);
}

} // namespace nuv

#endif // NUV_X86
