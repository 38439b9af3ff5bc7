#include "extension/scalei2utility/nuv_scalei2split.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"
#    include "framework/base/nuv_prefetch.h"

namespace nuv {
namespace {

#    define NUV_AVX512 NUV_TARGET("avx512vbmi,avx512bw")

constexpr std::size_t lanes = split_group_pixels;
constexpr std::size_t words = 2 * lanes; // of a register

// How the samples of pixels lie in a line.
template <int Channels>
struct NUV_SampleOrder {
    // By channels: the bytes of each sample in a register of the line.
    std::uint8_t bytes[Channels][2 * words];
    // By sixteens in the order of the line: which pixel each is of, and which of them each
    // channel's.
    std::uint32_t pixels[Channels][lanes];
    std::uint16_t of_channel[Channels][Channels];
};

template <int Channels>
constexpr NUV_SampleOrder<Channels> sample_order = [] {
    NUV_SampleOrder<Channels> order{};
    for (std::size_t i = 0; i < words / Channels * Channels; ++i) {
        const std::size_t at = 2 * (i / Channels);
        order.bytes[i % Channels][at] = static_cast<std::uint8_t>(2 * i);
        order.bytes[i % Channels][at + 1] = static_cast<std::uint8_t>(2 * i + 1);
    }
    for (std::size_t i = 0; i < lanes * Channels; ++i) {
        order.pixels[i / lanes][i % lanes] = static_cast<std::uint32_t>(i / Channels);
        order.of_channel[i / lanes][i % Channels] |= static_cast<std::uint16_t>(1 << i % lanes);
    }
    return order;
}();

// What is behind its pixels is anything: weights of 0 come to it.
template <int Channels>
struct NUV_Part {
    std::uint16_t samples[Channels][split_part_pixels + words];
};

// Samples with a sign, by channels.
template <int Channels>
NUV_AVX512 inline void set_part(const std::uint16_t* in, std::size_t pixels,
                                NUV_Part<Channels>& part) noexcept
{
    constexpr std::size_t step = words / Channels;
    for (std::size_t x = 0; x < pixels; x += step) {
        const std::size_t samples = std::min(step, pixels - x) * Channels;
        const auto known = static_cast<__mmask32>(0xFFFFFFFFU >> (words - samples));
        const __m512i line = _mm512_xor_si512(_mm512_maskz_loadu_epi16(known, in + x * Channels),
                                              _mm512_set1_epi16(-32768));
        for (std::size_t c = 0; c < Channels; ++c) {
            const __m512i order = _mm512_loadu_si512(sample_order<Channels>.bytes[c]);
            _mm512_storeu_si512(part.samples[c] + x, _mm512_permutexvar_epi8(order, line));
        }
    }
}

// Intermediate samples of a channel. `in` and, of wide groups, `in_last` are where the windows
// begin.
template <int Pairs, bool IsWide>
NUV_AVX512 inline __m512i filter_channel(const std::uint16_t* in,
                                         [[maybe_unused]] const std::uint16_t* in_last,
                                         const NUV_ScaleI2SplitGroup& group) noexcept
{
    const __m512i window = _mm512_loadu_si512(in);
    __m512i order = _mm512_loadu_si512(group.order);
    __m512i high = _mm512_set1_epi32(0x10001); // see split_middle(), and to round
    __m512i low = _mm512_setzero_si512();
    for (std::size_t i = 0; i < Pairs; ++i) {
        __m512i pairs = _mm512_permutexvar_epi8(order, window);
        if constexpr (IsWide) {
            constexpr __mmask64 last_half = 0xFFFFFFFF00000000;
            pairs =
                _mm512_mask_permutexvar_epi8(pairs, last_half, order, _mm512_loadu_si512(in_last));
        }
        high = _mm512_add_epi32(
            high, _mm512_madd_epi16(pairs, _mm512_loadu_si512(group.high + i * lanes)));
        low = _mm512_add_epi32(low,
                               _mm512_madd_epi16(pairs, _mm512_loadu_si512(group.low + i * lanes)));
        order = _mm512_add_epi8(order, _mm512_set1_epi8(4));
    }
    const __m512i sum = _mm512_add_epi32(high, _mm512_srai_epi32(low, 14));
    return _mm512_xor_si512(_mm512_srai_epi32(sum, 1), _mm512_set1_epi32(0x8000));
}

template <int Channels>
NUV_AVX512 inline void store_pixels(std::int32_t* out, const __m512i (&sums)[Channels]) noexcept
{
    constexpr const NUV_SampleOrder<Channels>& order = sample_order<Channels>;
    for (std::size_t i = 0; i < Channels; ++i) {
        const __m512i pixels = _mm512_loadu_si512(order.pixels[i]);
        __m512i some = _mm512_permutexvar_epi32(pixels, sums[0]);
        for (std::size_t c = 1; c < Channels; ++c)
            some = _mm512_mask_permutexvar_epi32(some, order.of_channel[i][c], pixels, sums[c]);
        _mm512_storeu_si512(out + i * lanes, some);
    }
}

} // namespace

template <int Pairs, int Channels, bool IsWide>
NUV_AVX512 void filter_split_row_avx512(const std::uint16_t* line,
                                        const NUV_ScaleI2SplitTable& table, std::int32_t* out)
{
    const std::int64_t* firsts = table.firsts;
    NUV_Part<Channels> part;
    for (std::size_t begin = 0; begin < table.groups.size(); begin += split_part_groups) {
        const std::size_t end = std::min(begin + split_part_groups, table.groups.size());
        const auto [start, pixels] = table.part(begin, end);
        set_part<Channels>(line + start * Channels, pixels, part);
        for (std::size_t i = begin; i < end; ++i) {
            const std::size_t k = table.first_pixel(i);
            prefetch_ahead(line + firsts[k] * Channels, table.spread(k) * Channels * sizeof(*line));
            __m512i sums[Channels];
            for (std::size_t c = 0; c < Channels; ++c) {
                const std::uint16_t* in = part.samples[c];
                sums[c] = filter_channel<Pairs, IsWide>(in + (firsts[k] - start),
                                                        in + (firsts[k + lanes / 2] - start),
                                                        table.groups[i]);
            }
            store_pixels<Channels>(out + k * Channels, sums);
        }
    }
}

NUV_AVX512 void combine_split_middles_avx512(const std::int32_t* const* lines, std::size_t taps,
                                             const NUV_ScaleI2SplitLine& weights,
                                             std::uint16_t* out, std::size_t samples,
                                             std::uint16_t maximum, std::uint32_t* doubts)
{
    const __m512i begin = _mm512_set1_epi32(split_line_begin + weights.doubt);
    const __m512i fraction = _mm512_set1_epi32((1 << split_line_bits) - 1);
    const __m512i in_doubt = _mm512_set1_epi32(2 * weights.doubt);
    const __m512i most = _mm512_set1_epi16(static_cast<std::int16_t>(maximum));
    const __m512i in_order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    for (std::size_t x = 0; x < samples; x += split_step_samples) {
        __m512i sums[2] = {begin, begin};
        __m512i low[2] = {_mm512_setzero_si512(), _mm512_setzero_si512()};
        for (std::size_t i = 0; i < taps; ++i) {
            const __m512i by_high = _mm512_set1_epi32(static_cast<std::int32_t>(weights.high[i]));
            const __m512i by_low = _mm512_set1_epi32(static_cast<std::int32_t>(weights.low[i]));
            for (std::size_t half = 0; half < 2; ++half) {
                const __m512i in = _mm512_loadu_si512(lines[i] + x + half * lanes);
                sums[half] = _mm512_add_epi32(sums[half], _mm512_madd_epi16(in, by_high));
                low[half] = _mm512_add_epi32(low[half], _mm512_madd_epi16(in, by_low));
            }
        }
        for (std::size_t half = 0; half < 2; ++half)
            sums[half] = _mm512_add_epi32(sums[half], _mm512_srai_epi32(low[half], 16));
        const std::uint32_t known =
            0xFFFFFFFFU >> (split_step_samples - std::min(samples - x, split_step_samples));
        const std::uint32_t low_doubt =
            _mm512_cmplt_epu32_mask(_mm512_and_si512(sums[0], fraction), in_doubt);
        const std::uint32_t high_doubt =
            _mm512_cmplt_epu32_mask(_mm512_and_si512(sums[1], fraction), in_doubt);
        *doubts++ = (low_doubt | high_doubt << lanes) & known;
        const __m512i packed = _mm512_packus_epi32(_mm512_srai_epi32(sums[0], split_line_bits),
                                                   _mm512_srai_epi32(sums[1], split_line_bits));
        const __m512i settled = _mm512_min_epu16(_mm512_permutexvar_epi64(in_order, packed), most);
        _mm512_mask_storeu_epi16(out + x, known, settled);
    }
}

#    define NUV_ROW_FORMS(pairs, channels)                                                         \
        template void filter_split_row_avx512<pairs, channels, false>(                             \
            const std::uint16_t*, const NUV_ScaleI2SplitTable&, std::int32_t*);                    \
        template void filter_split_row_avx512<pairs, channels, true>(                              \
            const std::uint16_t*, const NUV_ScaleI2SplitTable&, std::int32_t*)
#    define NUV_ROW_FORMS_OF(pairs)                                                                \
        NUV_ROW_FORMS(pairs, 1);                                                                   \
        NUV_ROW_FORMS(pairs, 3);                                                                   \
        NUV_ROW_FORMS(pairs, 4)
NUV_ROW_FORMS_OF(2);
NUV_ROW_FORMS_OF(3);
NUV_ROW_FORMS_OF(4);

} // namespace nuv

#endif // NUV_X86
