#include "core/scale/kernels/nuv_scalepp_kernels.h"

#if NUV_X86

#    include <cstring>
#    include <immintrin.h>

namespace nuv {
namespace {

// The four bytes at `from` as 32-bit numbers.
NUV_TARGET("avx2") inline __m128i load_pixel(const std::uint8_t* from) noexcept
{
    std::int32_t bytes = 0;
    std::memcpy(&bytes, from, sizeof(bytes));
    return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes));
}

// area_mean() of four samples.
NUV_TARGET("avx2")
inline __m128i area_means(__m128i first, __m128i whole, __m128i last, __m256d first_share,
                          __m256d last_share, __m256d inverse) noexcept
{
    __m256d sum = _mm256_mul_pd(first_share, _mm256_cvtepi32_pd(first));
    sum = _mm256_add_pd(sum, _mm256_cvtepi32_pd(whole));
    sum = _mm256_add_pd(sum, _mm256_mul_pd(last_share, _mm256_cvtepi32_pd(last)));
    const __m256d mean = _mm256_add_pd(_mm256_mul_pd(sum, inverse), _mm256_set1_pd(0.5));
    return _mm256_cvttpd_epi32(_mm256_min_pd(mean, _mm256_set1_pd(255.0)));
}

// A vector has four bytes, so a pixel of three is read and written with a byte of the next one. The
// last output pixel, which alone touches the last one of the line, is left to the portable form; it
// also writes over the extra byte of the pixel before.
template <int Channels>
NUV_TARGET("avx2")
inline void reduce_area_row(const std::uint8_t* in, const NUV_AreaTaps* taps, std::uint8_t* out,
                            std::size_t pixels, double inverse) noexcept
{
    const __m256d inverses = _mm256_set1_pd(inverse);
    std::size_t k = 0;
    for (; k + 1 < pixels; ++k) {
        const std::size_t begin = taps[k].offset;
        const std::size_t end = taps[k + 1].offset;
        __m128i whole = _mm_setzero_si128();
        for (std::size_t i = begin + Channels; i < end; i += Channels)
            whole = _mm_add_epi32(whole, load_pixel(in + i));
        const __m128i means =
            area_means(load_pixel(in + begin), whole, load_pixel(in + end),
                       _mm256_set1_pd(taps[k].first), _mm256_set1_pd(taps[k].last), inverses);
        const __m128i words = _mm_packus_epi32(means, means);
        const std::int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
        std::memcpy(out + k * Channels, &bytes, sizeof(bytes));
    }
    reduce_area_row_portable<Channels>(in, taps + k, out + k * Channels, pixels - k,
                                       std::size_t{Channels}, inverse);
}

} // namespace

NUV_TARGET("avx2")
void reduce_area_row_3_avx2(const std::uint8_t* in, const NUV_AreaTaps* taps, std::uint8_t* out,
                            std::size_t pixels, std::size_t, double inverse)
{
    reduce_area_row<3>(in, taps, out, pixels, inverse);
}

NUV_TARGET("avx2")
void reduce_area_row_4_avx2(const std::uint8_t* in, const NUV_AreaTaps* taps, std::uint8_t* out,
                            std::size_t pixels, std::size_t, double inverse)
{
    reduce_area_row<4>(in, taps, out, pixels, inverse);
}

NUV_TARGET("avx2")
void reduce_area_lines_avx2(const std::uint8_t* first, const std::int32_t* sums,
                            const std::uint8_t* last, std::uint8_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse)
{
    const __m256d first_share = _mm256_set1_pd(taps.first);
    const __m256d last_share = _mm256_set1_pd(taps.last);
    const __m256d inverses = _mm256_set1_pd(inverse);
    const auto* whole = reinterpret_cast<const __m128i*>(sums);
    std::size_t i = 0;
    for (; i + 16 <= samples; i += 16, whole += 4) {
        __m128i means[4];
        for (std::size_t part = 0; part < 4; ++part) {
            means[part] =
                area_means(load_pixel(first + i + 4 * part), _mm_loadu_si128(whole + part),
                           load_pixel(last + i + 4 * part), first_share, last_share, inverses);
        }
        const __m128i line = _mm_packus_epi16(_mm_packus_epi32(means[0], means[1]),
                                              _mm_packus_epi32(means[2], means[3]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), line);
    }
    reduce_area_lines_portable(first + i, sums + i, last + i, out + i, samples - i, taps, inverse);
}

} // namespace nuv

#endif // NUV_X86
