#include "core/lut/source/nuv_lineartable.h"

#include "framework/base/nuv_prefetch.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t samples_at_once = 16;

// A line in every lane of 32 bits.
struct Line {
    __m256i factor;
    __m256i least;
    __m256i most;
    __m256i offset;
    __m256i maximum; // of an entry
    __m128i shift;
};

NUV_TARGET("avx2")
inline __m256i all(std::uint32_t value)
{
    return _mm256_set1_epi32(static_cast<int>(value));
}

NUV_TARGET("avx2")
inline __m256i load_eight(const std::uint8_t* in)
{
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(in)));
}

NUV_TARGET("avx2")
inline __m256i load_eight(const std::uint16_t* in)
{
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)));
}

NUV_TARGET("avx2")
inline __m256i entries(__m256i samples, const Line& line)
{
    const __m256i product = _mm256_mullo_epi32(samples, line.factor);
    const __m256i limited = _mm256_min_epu32(_mm256_max_epu32(product, line.least), line.most);
    const __m256i sum = _mm256_srl_epi32(_mm256_add_epi32(limited, line.offset), line.shift);
    return _mm256_min_epu32(sum, line.maximum);
}

// Of 16 bits each, in order.
NUV_TARGET("avx2")
inline __m256i pack(__m256i first, __m256i second)
{
    return _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8);
}

NUV_TARGET("avx2")
inline void store_sixteen(std::uint16_t* out, __m256i values)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), values);
}

NUV_TARGET("avx2")
inline void store_sixteen(std::uint8_t* out, __m256i values)
{
    const __m128i bytes =
        _mm_packus_epi16(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
}

// True where the lower halves of the products say nothing: the offset has nothing in its own, and
// the limits only keep the sum from wrapping around.
[[nodiscard]] bool is_upper_half_enough(const NUV_LinearTable& line)
{
    constexpr std::uint32_t limit = std::numeric_limits<std::uint32_t>::max();
    const bool adds = line.least == 0 && line.most == limit - line.offset;
    const bool subtracts = line.least == 0 - line.offset && line.most == limit;
    return line.shift >= 16 && line.factor <= std::numeric_limits<std::uint16_t>::max() &&
           (line.offset & 0xFFFF) == 0 && (adds || subtracts);
}

NUV_TARGET("avx2")
std::size_t by_upper_halves(const std::uint16_t* in, std::uint8_t* out, std::size_t count,
                            const NUV_LinearTable& line)
{
    const auto upper_half = [](std::uint32_t value) { return static_cast<short>(value >> 16); };
    const __m256i factor = _mm256_set1_epi16(static_cast<short>(line.factor));
    const __m256i less = _mm256_set1_epi16(upper_half(line.least));
    const __m256i more = _mm256_set1_epi16(line.least == 0 ? upper_half(line.offset) : short{0});
    const __m128i shift = _mm_cvtsi32_si128(line.shift - 16);
    const __m256i maximum = _mm256_set1_epi16(std::numeric_limits<std::uint8_t>::max());
    std::size_t i = 0;
    for (; i + samples_at_once <= count; i += samples_at_once) {
        prefetch_ahead(in + i, samples_at_once * sizeof *in);
        prefetch_ahead(out + i, samples_at_once * sizeof *out);
        const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
        const __m256i product = _mm256_mulhi_epu16(samples, factor);
        const __m256i sum = _mm256_adds_epu16(_mm256_subs_epu16(product, less), more);
        store_sixteen(out + i, _mm256_min_epu16(_mm256_srl_epi16(sum, shift), maximum));
    }
    return i;
}

} // namespace

template <class I, class O>
NUV_TARGET("avx2")
void linear_row_avx2(const I* in, O* out, std::size_t count, const NUV_LinearTable& table)
{
    const Line line{all(table.factor),
                    all(table.least),
                    all(table.most),
                    all(table.offset),
                    all(std::numeric_limits<O>::max()),
                    _mm_cvtsi32_si128(table.shift)};
    std::size_t i = 0;
    if constexpr (sizeof(O) == 1) {
        if (is_upper_half_enough(table))
            i = by_upper_halves(in, out, count, table);
    }
    for (; i + samples_at_once <= count; i += samples_at_once) {
        prefetch_ahead(in + i, samples_at_once * sizeof *in);
        prefetch_ahead(out + i, samples_at_once * sizeof *out);
        const __m256i first = entries(load_eight(in + i), line);
        const __m256i second = entries(load_eight(in + i + samples_at_once / 2), line);
        store_sixteen(out + i, pack(first, second));
    }
    linear_row_portable(in + i, out + i, count - i, table);
}

template void linear_row_avx2(const std::uint8_t*, std::uint16_t*, std::size_t,
                              const NUV_LinearTable&);
template void linear_row_avx2(const std::uint16_t*, std::uint8_t*, std::size_t,
                              const NUV_LinearTable&);

} // namespace nuv

#endif // NUV_X86
