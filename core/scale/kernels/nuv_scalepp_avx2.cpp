#include "core/include/nuv_pixelvectors_avx2.h"
#include "core/scale/kernels/nuv_scalepp_kernels.h"
#include "core/scale/kernels/nuv_splitweights.h"

#if NUV_X86

#    include <cmath>
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
                          __m256d last_share, __m256d inverse, double most = 255) noexcept
{
    __m256d sum = _mm256_mul_pd(first_share, _mm256_cvtepi32_pd(first));
    sum = _mm256_add_pd(sum, _mm256_cvtepi32_pd(whole));
    sum = _mm256_add_pd(sum, _mm256_mul_pd(last_share, _mm256_cvtepi32_pd(last)));
    const __m256d mean = _mm256_add_pd(_mm256_mul_pd(sum, inverse), _mm256_set1_pd(0.5));
    return _mm256_cvttpd_epi32(_mm256_min_pd(mean, _mm256_set1_pd(most)));
}

// Four samples of 16 bits as 32-bit numbers.
NUV_TARGET("avx2") inline __m128i load_words(const void* from) noexcept
{
    return _mm_cvtepu16_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(from)));
}

NUV_TARGET("avx2") inline __m128i load_four(const std::int32_t* sums) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(sums));
}
NUV_TARGET("avx2") inline __m128i load_four(const std::int16_t* sums) noexcept
{
    return load_words(sums);
}

// Lines of 8-bit samples in double precision.
struct NUV_RealArea {
    __m256d first_share;
    __m256d last_share;
    __m256d inverses;

    NUV_TARGET("avx2")
    NUV_RealArea(const NUV_AreaTaps& taps, double inverse) noexcept
        : first_share(_mm256_set1_pd(taps.first)),
          last_share(_mm256_set1_pd(taps.last)),
          inverses(_mm256_set1_pd(inverse))
    {}

    template <class Sum>
    NUV_TARGET("avx2")
    void sixteen(const std::uint8_t* first, const Sum* sums, const std::uint8_t* last,
                 std::uint8_t* out) const noexcept
    {
        __m128i means[4];
        for (std::size_t part = 0; part < 4; ++part) {
            means[part] =
                area_means(load_pixel(first + 4 * part), load_four(sums + 4 * part),
                           load_pixel(last + 4 * part), first_share, last_share, inverses);
        }
        const __m128i line = _mm_packus_epi16(_mm_packus_epi32(means[0], means[1]),
                                              _mm_packus_epi32(means[2], means[3]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), line);
    }
};

// Lines of 8-bit samples whose sums fit 15 bits, by split weights: see nuv_splitweights.h. A weight
// is a share times the inverse, or the inverse itself. Those are less than a half of 2^-28 off, and
// the samples that they meet, 255, 255 and 32767 at most, make that less than 2 in units of 2^-14;
// so what stands there of a doubt holds here, too.
struct NUV_SplitArea {
    __m256i high_ends; // first and last
    __m256i low_ends;
    __m256i high_sum; // the sum, and 1 for the half
    __m256i low_sum;

    NUV_TARGET("avx2") NUV_SplitArea(const NUV_AreaTaps& taps, double inverse) noexcept
    {
        constexpr double unit = std::int64_t{1} << 2 * split_bits;
        const auto split = [&](double share) {
            return split_units(std::llround(share * inverse * unit));
        };
        const NUV_SplitWeight first = split(taps.first);
        const NUV_SplitWeight last = split(taps.last);
        const NUV_SplitWeight sum = split(1);
        high_ends = weight_pairs(first.high, last.high);
        low_ends = weight_pairs(first.low, last.low);
        high_sum = weight_pairs(sum.high, 1 << (split_bits - 1));
        low_sum = weight_pairs(sum.low, 0);
    }

    NUV_TARGET("avx2") __m256i sums(__m256i ends, __m256i sum_and_one) const noexcept
    {
        const __m256i low = _mm256_add_epi32(_mm256_madd_epi16(ends, low_ends),
                                             _mm256_madd_epi16(sum_and_one, low_sum));
        const __m256i high = _mm256_add_epi32(_mm256_madd_epi16(ends, high_ends),
                                              _mm256_madd_epi16(sum_and_one, high_sum));
        return _mm256_add_epi32(high, _mm256_srai_epi32(low, split_bits));
    }
};

NUV_TARGET("avx2") inline __m256i entries(const void* from) noexcept
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

NUV_TARGET("avx2") inline __m256i above_doubt(__m256i sums) noexcept
{
    const __m256i moved = _mm256_add_epi32(sums, _mm256_set1_epi32(split_doubt));
    return _mm256_and_si256(moved, _mm256_set1_epi32((1 << split_bits) - 1));
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

// The weights of four samples of 255 are less than 2^-19 off together.
NUV_TARGET("avx2")
void reduce_gray_row_avx2(const std::uint8_t* in, const NUV_AreaTaps* taps,
                          const NUV_SplitAreaTaps& split, std::uint8_t* out, std::size_t pixels,
                          double inverse)
{
    const __m256i doubts = _mm256_set1_epi32(2 * split_doubt);
    const __m256i half = _mm256_set1_epi32(1 << (split_bits - 1));
    std::size_t k = 0;
    for (; k + 8 <= pixels; k += 8) {
        const __m256i offsets = entries(split.offsets + k);
        const __m256i samples = load_two(in + split.offsets[k], in + split.offsets[k + 4]);
        const __m256i places = first_bytes<std::uint8_t>(offsets);
        const __m256i first = pairs_at(places, samples, std::uint8_t{});
        const __m256i second =
            pairs_at(_mm256_add_epi8(places, _mm256_set1_epi8(2)), samples, std::uint8_t{});
        const __m256i low = _mm256_add_epi32(_mm256_madd_epi16(first, entries(split.low[0] + k)),
                                             _mm256_madd_epi16(second, entries(split.low[1] + k)));
        const __m256i high =
            _mm256_add_epi32(_mm256_madd_epi16(first, entries(split.high[0] + k)),
                             _mm256_madd_epi16(second, entries(split.high[1] + k)));
        const __m256i sums =
            _mm256_add_epi32(_mm256_add_epi32(high, _mm256_srai_epi32(low, split_bits)), half);
        const bool doubt = _mm256_movemask_epi8(_mm256_cmpgt_epi32(doubts, above_doubt(sums))) != 0;
        if (doubt || !are_near<std::uint8_t, 4>(offsets)) {
            reduce_area_row_portable<1>(in, taps + k, out + k, 8, 1, inverse);
            continue;
        }
        const __m256i means = _mm256_srai_epi32(sums, split_bits);
        const __m256i words = _mm256_packs_epi32(means, means);
        const __m256i bytes = _mm256_packus_epi16(words, words);
        _mm_storel_epi64(
            reinterpret_cast<__m128i*>(out + k),
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1)));
    }
    reduce_area_row_portable<1>(in, taps + k, out + k, pixels - k, 1, inverse);
}

NUV_TARGET("avx2")
void reduce_area_lines_avx2(const std::uint8_t* first, const std::int32_t* sums,
                            const std::uint8_t* last, std::uint8_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse)
{
    const NUV_RealArea area(taps, inverse);
    std::size_t i = 0;
    for (; i + 16 <= samples; i += 16)
        area.sixteen(first + i, sums + i, last + i, out + i);
    reduce_area_lines_portable(first + i, sums + i, last + i, out + i, samples - i, taps, inverse);
}

NUV_TARGET("avx2")
void reduce_area_lines_avx2(const std::uint8_t* first, const std::int16_t* sums,
                            const std::uint8_t* last, std::uint8_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse)
{
    constexpr std::size_t patience = 8; // as of lines that are combined
    const NUV_SplitArea split(taps, inverse);
    const NUV_RealArea area(taps, inverse);
    const __m256i doubts = _mm256_set1_epi32(2 * split_doubt);
    const __m256i ones = _mm256_set1_epi16(1);
    constexpr std::size_t step = 16;
    std::size_t doubtful = 0;
    std::size_t i = 0;
    for (; i + step <= samples && doubtful <= patience + i / (4 * step); i += step) {
        const __m256i firsts =
            _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(first + i)));
        const __m256i lasts =
            _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(last + i)));
        const __m256i whole = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sums + i));
        const __m256i low =
            split.sums(_mm256_unpacklo_epi16(firsts, lasts), _mm256_unpacklo_epi16(whole, ones));
        const __m256i high =
            split.sums(_mm256_unpackhi_epi16(firsts, lasts), _mm256_unpackhi_epi16(whole, ones));
        const __m256i nearest = _mm256_min_epi32(above_doubt(low), above_doubt(high));
        if (_mm256_movemask_epi8(_mm256_cmpgt_epi32(doubts, nearest)) != 0) {
            area.sixteen(first + i, sums + i, last + i, out + i);
            ++doubtful;
            continue;
        }
        const __m256i words = _mm256_packs_epi32(_mm256_srai_epi32(low, split_bits),
                                                 _mm256_srai_epi32(high, split_bits));
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(words, words), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_castsi256_si128(bytes));
    }
    for (; i + step <= samples; i += step)
        area.sixteen(first + i, sums + i, last + i, out + i);
    reduce_area_lines_portable(first + i, sums + i, last + i, out + i, samples - i, taps, inverse);
}

NUV_TARGET("avx2")
void reduce_area_lines_avx2(const std::uint16_t* first, const std::int32_t* sums,
                            const std::uint16_t* last, std::uint16_t* out, std::size_t samples,
                            const NUV_AreaTaps& taps, double inverse)
{
    const __m256d first_share = _mm256_set1_pd(taps.first);
    const __m256d last_share = _mm256_set1_pd(taps.last);
    const __m256d inverses = _mm256_set1_pd(inverse);
    std::size_t i = 0;
    for (; i + 8 <= samples; i += 8) {
        __m128i means[2];
        for (std::size_t part = 0; part < 2; ++part) {
            const std::size_t at = i + 4 * part;
            means[part] =
                area_means(load_words(first + at),
                           _mm_loadu_si128(reinterpret_cast<const __m128i*>(sums + at)),
                           load_words(last + at), first_share, last_share, inverses, 65535);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi32(means[0], means[1]));
    }
    reduce_area_lines_portable(first + i, sums + i, last + i, out + i, samples - i, taps, inverse);
}

} // namespace nuv

#endif // NUV_X86
