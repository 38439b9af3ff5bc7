#include "core/scale/kernels/nuv_scaletaps_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"
#    include "core/scale/kernels/nuv_splitweights.h"

namespace nuv {
namespace {

#    define NUV_AVX512 NUV_TARGET("avx512vbmi,avx512bw")

using RealTable = NUV_TapTable<NUV_CubicTaps<double>>;

constexpr std::size_t lanes = 16;          // samples at once, each in 32 bits
constexpr std::size_t window_samples = 64; // that their taps are taken from

template <int Channels>
void convolve_by_doubles(const std::uint16_t* line, const RealTable& table, std::uint16_t* out,
                         std::size_t pixels, NUV_SampleLimits<std::uint16_t> limits)
{
    const RealTable rest{.taps = table.taps};
    if constexpr (Channels == 1)
        convolve_row_portable<1, double>(line, rest, out, pixels, 1, limits);
    else
        convolve_real_avx2<Channels>(line, rest, out, pixels, Channels, limits);
}

// Of 16 samples, the first of which is channel `First` of a pixel: which pixel each belongs to,
// counted from that one, and which channel it is.
struct NUV_LaneOrder {
    std::int32_t pixel[lanes];
    std::int32_t channel[lanes];
};

template <int Channels>
constexpr auto lane_orders = [] {
    struct {
        NUV_LaneOrder of[Channels];
    } orders{};
    for (int first = 0; first < Channels; ++first) {
        for (int i = 0; i < static_cast<int>(lanes); ++i) {
            orders.of[first].pixel[i] = (first + i) / Channels;
            orders.of[first].channel[i] = (first + i) % Channels;
        }
    }
    return orders;
}();

// Two samples of each lane, at `places` of the two halves of the window, less 32768.
NUV_AVX512 inline __m512i take_pairs(__m512i low, __m512i places, __m512i high) noexcept
{
    return _mm512_permutex2var_epi16(low, places, high);
}

NUV_AVX512 inline __m512i load_signed(const std::uint16_t* from) noexcept
{
    return _mm512_xor_si512(_mm512_loadu_si512(from), _mm512_set1_epi16(-32768));
}

// Entries from the one of pixel `k` on, by lanes.
NUV_AVX512 inline __m512i spread(const void* entries, std::size_t k, __m512i pixels) noexcept
{
    const auto* from = static_cast<const std::uint32_t*>(entries) + k;
    return _mm512_permutexvar_epi32(pixels, _mm512_loadu_si512(from));
}

} // namespace

template <int Channels>
NUV_AVX512 void convolve_split_avx512(const std::uint16_t* line, const RealTable& table,
                                      std::uint16_t* out, std::size_t pixels, std::size_t,
                                      NUV_SampleLimits<std::uint16_t> limits)
{
    constexpr std::size_t patience = 8; // as of lines
    const __m512i doubts = _mm512_set1_epi32(table.is_exact ? 0 : 2 * split_doubt);
    const __m512i maximum = _mm512_set1_epi32(limits.maximum);
    const __m512i farthest =
        _mm512_set1_epi32(static_cast<std::int32_t>(window_samples) - 3 * Channels - 1);
    const __m512i second = _mm512_set1_epi32(Channels << 16);
    const __m512i two_on = _mm512_set1_epi32((2 * Channels) << 16 | 2 * Channels);
    std::size_t doubtful = 0;
    std::size_t k = 0;
    std::size_t begin = 0; // sample, of pixel k
    for (; k + lanes <= pixels && doubtful <= patience + begin / (4 * lanes); begin += lanes) {
        const std::size_t first_channel = begin - k * Channels;
        const NUV_LaneOrder& order = lane_orders<Channels>.of[first_channel];
        const __m512i lane_pixels = _mm512_loadu_si512(order.pixel);
        const __m512i first_tap =
            _mm512_set1_epi32(static_cast<std::int32_t>(table.packed.offsets[k]));
        const __m512i behind = _mm512_add_epi32(
            _mm512_sub_epi32(spread(table.packed.offsets, k, lane_pixels), first_tap),
            _mm512_loadu_si512(order.channel));
        const __m512i places =
            _mm512_add_epi32(_mm512_or_si512(behind, _mm512_slli_epi32(behind, 16)), second);
        const std::uint16_t* in = line + table.packed.offsets[k];
        const __m512i low_half = load_signed(in);
        const __m512i high_half = load_signed(in + window_samples / 2);
        const __m512i earlier = take_pairs(low_half, places, high_half);
        const __m512i later = take_pairs(low_half, _mm512_add_epi32(places, two_on), high_half);
        const __m512i high = _mm512_add_epi32(
            _mm512_madd_epi16(earlier, spread(table.packed.first_pairs, k, lane_pixels)),
            _mm512_madd_epi16(later, spread(table.packed.second_pairs, k, lane_pixels)));
        const __m512i low = _mm512_add_epi32(
            _mm512_madd_epi16(earlier, spread(table.low.first_pairs, k, lane_pixels)),
            _mm512_madd_epi16(later, spread(table.low.second_pairs, k, lane_pixels)));
        const __m512i sums =
            _mm512_add_epi32(_mm512_add_epi32(high, _mm512_srai_epi32(low, split_bits)),
                             _mm512_set1_epi32(1 << (split_bits - 1)));
        const __m512i distances =
            _mm512_and_si512(_mm512_add_epi32(sums, _mm512_set1_epi32(split_doubt)),
                             _mm512_set1_epi32((1 << split_bits) - 1));
        const __mmask16 doubt = _mm512_cmpgt_epi32_mask(doubts, distances);
        const __mmask16 far = _mm512_cmpgt_epu32_mask(behind, farthest);
        if ((doubt | far) != 0) {
            // All pixels of which there are samples; the others of these are made twice.
            const std::size_t end = (begin + lanes - 1) / Channels + 1;
            convolve_by_doubles<Channels>(line, {.taps = table.taps + k}, out + k * Channels,
                                          end - k, limits);
            ++doubtful;
        } else {
            const __m512i samples =
                _mm512_add_epi32(_mm512_srai_epi32(sums, split_bits), _mm512_set1_epi32(32768));
            const __m512i limited =
                _mm512_min_epi32(_mm512_max_epi32(samples, _mm512_setzero_si512()), maximum);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + begin),
                                _mm512_cvtepi32_epi16(limited));
        }
        k = (begin + lanes) / Channels;
    }
    convolve_by_doubles<Channels>(line, {.taps = table.taps + k}, out + k * Channels, pixels - k,
                                  limits);
}

template void convolve_split_avx512<1>(const std::uint16_t*, const RealTable&, std::uint16_t*,
                                       std::size_t, std::size_t, NUV_SampleLimits<std::uint16_t>);
template void convolve_split_avx512<3>(const std::uint16_t*, const RealTable&, std::uint16_t*,
                                       std::size_t, std::size_t, NUV_SampleLimits<std::uint16_t>);
template void convolve_split_avx512<4>(const std::uint16_t*, const RealTable&, std::uint16_t*,
                                       std::size_t, std::size_t, NUV_SampleLimits<std::uint16_t>);

} // namespace nuv

#endif // NUV_X86
