#include "core/colormatrix/source/nuv_colorplanes_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

#    include <algorithm>
#    include <array>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 64;

// Of the 192 bytes of 64 pixels, those from 64 * Part on. A sample stands in its plane where its
// pixel does; bit 6 takes it from the second of two planes.
template <std::size_t Part>
constexpr auto order = [] {
    std::array<std::uint8_t, sizeof(__m512i)> places{};
    for (std::size_t i = 0; i < places.size(); ++i) {
        const std::size_t sample = 64 * Part + i;
        places[i] = static_cast<std::uint8_t>(sample / 3 + (sample % 3 == 1 ? 64 : 0));
    }
    return places;
}();
template <std::size_t Part>
constexpr __mmask64 third_samples = [] {
    __mmask64 mask = 0;
    for (std::size_t i = 0; i < 64; ++i)
        mask |= __mmask64{(64 * Part + i) % 3 == 2} << i;
    return mask;
}();

[[nodiscard]] constexpr __mmask64 first_samples(std::size_t count)
{
    return count < 64 ? (std::uint64_t{1} << count) - 1 : ~__mmask64{0};
}

// Of a row of the matrix, in every 32 bits.
struct Row {
    __m512i factors; // of the second and of the third plane, 16 bits each
    __m512i offset;  // with what rounds
};

// 32 samples of each of these planes, 16 bits each.
struct Chroma {
    __m512i second;
    __m512i third;
};

NUV_TARGET("avx512vbmi,avx512bw")
inline Row load_row(const NUV_MatrixView<std::int32_t>& matrix, std::size_t j)
{
    const std::int32_t* factors = matrix.factors + 3 * j;
    return {_mm512_set1_epi32(factor_pair(factors[1], factors[2])),
            _mm512_set1_epi32(matrix.offsets[j] + NUV_FixedReal::half)};
}

NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i multiply(__m512i pairs, const Row& row)
{
    const __m512i sum = _mm512_add_epi32(_mm512_madd_epi16(pairs, row.factors), row.offset);
    return _mm512_srai_epi32(sum, NUV_FixedReal::fraction_bits);
}

// What they add to the first plane, 16 bits each: what is more than that is limited anyhow.
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i multiply(const Chroma& chroma, const Row& row)
{
    return _mm512_packs_epi32(multiply(_mm512_unpacklo_epi16(chroma.second, chroma.third), row),
                              multiply(_mm512_unpackhi_epi16(chroma.second, chroma.third), row));
}

// The first 32 samples, of `mask` alone.
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i load_wide(__mmask64 mask, const std::uint8_t* from)
{
    return _mm512_cvtepu8_epi16(_mm512_castsi512_si256(_mm512_maskz_loadu_epi8(mask, from)));
}

template <std::size_t Part>
NUV_TARGET("avx512vbmi,avx512bw")
inline void store_part(std::uint8_t* out, const __m512i (&planes)[3], std::size_t count)
{
    const std::size_t behind = 64 * Part;
    const __m512i places = _mm512_loadu_si512(order<Part>.data());
    const __m512i bytes =
        _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(planes[0], places, planes[1]),
                                     third_samples<Part>, places, planes[2]);
    if (count >= behind + 64) [[likely]]
        _mm512_storeu_si512(out + behind, bytes);
    else if (count > behind)
        _mm512_mask_storeu_epi8(out + behind, first_samples(count - behind), bytes);
}

} // namespace

// Samples are unpacked within lanes of 16, and packed again in the same way.
NUV_TARGET("avx512vbmi,avx512bw")
void matrix_planes_avx512(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                          const NUV_MatrixView<std::int32_t>& matrix)
{
    const Row rows[3] = {load_row(matrix, 0), load_row(matrix, 1), load_row(matrix, 2)};
    const __m512i zero = _mm512_setzero_si512();
    for (std::size_t i = 0; i < pixels; i += pixels_at_once) {
        const std::size_t count = std::min(pixels - i, pixels_at_once);
        prefetch_ahead(out + 3 * i, 3 * pixels_at_once);
        const __mmask64 mask = first_samples(count);
        const __m512i luma = _mm512_maskz_loadu_epi8(mask, in + i);
        const __m512i low = _mm512_unpacklo_epi8(luma, zero);
        const __m512i high = _mm512_unpackhi_epi8(luma, zero);
        const std::uint8_t* const others = in + pixels + i / 2;
        const __mmask64 half = first_samples((count + 1) / 2);
        const Chroma chroma = {load_wide(half, others), load_wide(half, others + pixels)};
        __m512i samples[3];
        for (std::size_t j = 0; j < 3; ++j) {
            const __m512i sum = multiply(chroma, rows[j]);
            samples[j] =
                _mm512_packus_epi16(_mm512_adds_epi16(low, _mm512_unpacklo_epi16(sum, sum)),
                                    _mm512_adds_epi16(high, _mm512_unpackhi_epi16(sum, sum)));
        }
        store_part<0>(out + 3 * i, samples, 3 * count);
        store_part<1>(out + 3 * i, samples, 3 * count);
        store_part<2>(out + 3 * i, samples, 3 * count);
    }
}

} // namespace nuv

#endif // NUV_X86
