#include "core/colormatrix/source/nuv_colorplanes_kernels.h"

#if NUV_X86

#    include "core/include/nuv_triples_avx2.h"

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 32;

// Of a row of the matrix, in every 32 bits.
struct Row {
    __m256i factors; // of the second and of the third plane, 16 bits each
    __m256i offset;  // with what rounds
};

// 16 samples of each of these planes, 16 bits each.
struct Chroma {
    __m256i second;
    __m256i third;
};

NUV_TARGET("avx2")
inline Row load_row(const NUV_MatrixView<std::int32_t>& matrix, std::size_t j)
{
    const std::int32_t* factors = matrix.factors + 3 * j;
    return {_mm256_set1_epi32(factor_pair(factors[1], factors[2])),
            _mm256_set1_epi32(matrix.offsets[j] + NUV_FixedReal::half)};
}

NUV_TARGET("avx2")
inline __m256i multiply(__m256i pairs, const Row& row)
{
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(pairs, row.factors), row.offset);
    return _mm256_srai_epi32(sum, NUV_FixedReal::fraction_bits);
}

// What they add to the first plane, 16 bits each: what is more than that is limited anyhow.
NUV_TARGET("avx2")
inline __m256i multiply(const Chroma& chroma, const Row& row)
{
    return _mm256_packs_epi32(multiply(_mm256_unpacklo_epi16(chroma.second, chroma.third), row),
                              multiply(_mm256_unpackhi_epi16(chroma.second, chroma.third), row));
}

NUV_TARGET("avx2")
inline __m256i load(const std::uint8_t* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

NUV_TARGET("avx2")
inline __m256i load_wide(const std::uint8_t* from)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

} // namespace

// Samples are unpacked within lanes of 16, and packed again in the same way.
NUV_TARGET("avx2")
void matrix_planes_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                        const NUV_MatrixView<std::int32_t>& matrix)
{
    const Row rows[3] = {load_row(matrix, 0), load_row(matrix, 1), load_row(matrix, 2)};
    const __m256i zero = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; i + pixels_at_once <= pixels; i += pixels_at_once) {
        prefetch_ahead(out + 3 * i, 3 * pixels_at_once);
        const __m256i luma = load(in + i);
        const __m256i low = _mm256_unpacklo_epi8(luma, zero);
        const __m256i high = _mm256_unpackhi_epi8(luma, zero);
        const std::uint8_t* const others = in + pixels + i / 2;
        const Chroma chroma = {load_wide(others), load_wide(others + pixels)};
        __m256i samples[3];
        for (std::size_t j = 0; j < 3; ++j) {
            const __m256i sum = multiply(chroma, rows[j]);
            samples[j] =
                _mm256_packus_epi16(_mm256_adds_epi16(low, _mm256_unpacklo_epi16(sum, sum)),
                                    _mm256_adds_epi16(high, _mm256_unpackhi_epi16(sum, sum)));
        }
        store_triples(out + 3 * i, samples[0], samples[1], samples[2]);
    }
    matrix_planes_from(i, in, out, pixels, matrix);
}

} // namespace nuv

#endif // NUV_X86
