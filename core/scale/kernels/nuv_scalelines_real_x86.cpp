#include "core/scale/kernels/nuv_scalelines_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"
#    include "core/include/nuv_pixelvectors_avx2.h"
#    include "core/scale/kernels/nuv_doubts.h"
#    include "core/scale/kernels/nuv_splitblend_avx512.h"
#    include "core/scale/kernels/nuv_splitweights_avx512.h"

namespace nuv {
namespace {

// 2^52, in whose lowest bits a sample stands as it is.
constexpr double two_to_52 = 4503599627370496.0;

// ---- AVX2

// Four samples, and 2^52.
NUV_TARGET("avx2") inline __m256d four_above(const std::uint16_t* from) noexcept
{
    const __m256i wide =
        _mm256_cvtepu16_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
    const __m256i above = _mm256_castpd_si256(_mm256_set1_pd(two_to_52));
    return _mm256_castsi256_pd(_mm256_or_si256(wide, above));
}
NUV_TARGET("avx2") inline __m256d four_samples(const std::uint16_t* from) noexcept
{
    return _mm256_sub_pd(four_above(from), _mm256_set1_pd(two_to_52));
}

NUV_TARGET("avx2") inline __m128i truncated(__m256d sums) noexcept
{
    return _mm256_cvttpd_epi32(_mm256_add_pd(sums, _mm256_set1_pd(0.5)));
}

struct NUV_BlendAVX2 {
    __m256d rest;
    __m256d weight;

    NUV_TARGET("avx2")
    __m128i four(const std::uint16_t* upper, const std::uint16_t* lower) const noexcept
    {
        return truncated(_mm256_add_pd(_mm256_mul_pd(four_samples(lower), weight),
                                       _mm256_mul_pd(four_samples(upper), rest)));
    }
    NUV_TARGET("avx2")
    void sixteen(const std::uint16_t* upper, const std::uint16_t* lower,
                 std::uint16_t* out) const noexcept
    {
        for (std::size_t i = 0; i < 16; i += 8)
            _mm_storeu_si128(
                reinterpret_cast<__m128i*>(out + i),
                _mm_packus_epi32(four(upper + i, lower + i), four(upper + i + 4, lower + i + 4)));
    }
};

// The same by integers. `doubt` becomes true of samples that have to be made again.
struct NUV_SplitBlendAVX2 {
    __m256i high;
    __m256i low;
    __m256i up;   // what is added where the lower sample is not the smaller one,
    __m256i down; // and where it is
    __m256i doubtful;

    NUV_TARGET("avx2")
    explicit NUV_SplitBlendAVX2(const NUV_SplitBlend& split) noexcept
        : high(_mm256_set1_epi16(static_cast<std::int16_t>(split.high))),
          low(_mm256_set1_epi16(static_cast<std::int16_t>(split.low))),
          up(_mm256_set1_epi16(split.grows ? 0 : -blend_doubt)),
          down(_mm256_set1_epi16(split.grows != split.flips ? 0 : -blend_doubt)),
          doubtful(_mm256_set1_epi16(static_cast<std::int16_t>(split.doubtful)))
    {}

    NUV_TARGET("avx2") static __m256i is_at_most(__m256i words, __m256i most) noexcept
    {
        return _mm256_cmpeq_epi16(_mm256_min_epu16(words, most), words);
    }
    NUV_TARGET("avx2")
    __m256i sixteen(const std::uint16_t* above, const std::uint16_t* below,
                    bool& doubt) const noexcept
    {
        const __m256i upper = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above));
        const __m256i lower = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(below));
        const __m256i greater = _mm256_max_epu16(upper, lower);
        const __m256i apart = _mm256_sub_epi16(greater, _mm256_min_epu16(upper, lower));
        const __m256i rises = _mm256_cmpeq_epi16(greater, lower);
        const __m256i parts =
            _mm256_avg_epu16(_mm256_mullo_epi16(apart, high), _mm256_mulhi_epu16(apart, low));
        const __m256i moved =
            _mm256_add_epi16(_mm256_srli_epi16(parts, 1), _mm256_set1_epi16(blend_half));
        const __m256i near_half =
            is_at_most(_mm256_and_si256(moved, _mm256_set1_epi16((1 << blend_bits) - 1)),
                       _mm256_set1_epi16(blend_doubt - 1));
        doubt = _mm256_testz_si256(near_half, is_at_most(apart, doubtful)) == 0;
        const __m256i rounded = _mm256_add_epi16(moved, _mm256_blendv_epi8(down, up, rises));
        const __m256i step = _mm256_add_epi16(_mm256_mulhi_epu16(apart, high),
                                              _mm256_srli_epi16(rounded, blend_bits));
        return _mm256_blendv_epi8(_mm256_sub_epi16(upper, step), _mm256_add_epi16(upper, step),
                                  rises);
    }
};

// Sixteen samples in double precision. Packing saturates what is not in the range.
NUV_TARGET("avx2")
inline __m256i combined_by_doubles(const std::uint16_t* const lines[4], std::size_t i,
                                   const NUV_CubicWeights<double>& weights) noexcept
{
    const __m256d w0 = _mm256_set1_pd(weights.tap[0]);
    const __m256d w2 = _mm256_set1_pd(weights.tap[2]);
    const __m256d w3 = _mm256_set1_pd(weights.tap[3]);
    __m128i part[4];
    for (std::size_t p = 0; p < 4; ++p, i += 4) {
        const __m256d center = four_above(lines[1] + i);
        __m256d sum = _mm256_mul_pd(_mm256_sub_pd(four_above(lines[0] + i), center), w0);
        sum =
            _mm256_add_pd(sum, _mm256_mul_pd(_mm256_sub_pd(four_above(lines[2] + i), center), w2));
        sum =
            _mm256_add_pd(sum, _mm256_mul_pd(_mm256_sub_pd(four_above(lines[3] + i), center), w3));
        part[p] = truncated(_mm256_add_pd(sum, _mm256_sub_pd(center, _mm256_set1_pd(two_to_52))));
    }
    return _mm256_set_m128i(_mm_packus_epi32(part[2], part[3]), _mm_packus_epi32(part[0], part[1]));
}

NUV_TARGET("avx2") inline __m256i load_signed(const std::uint16_t* from) noexcept
{
    const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    return _mm256_xor_si256(samples, _mm256_set1_epi16(-32768));
}

// The same by split weights. `doubt` becomes those that have to be made again.
struct NUV_SplitAVX2 {
    __m256i high_upper;
    __m256i high_lower;
    __m256i low_upper;
    __m256i low_lower;
    __m256i doubtful;

    NUV_TARGET("avx2")
    explicit NUV_SplitAVX2(const NUV_SplitWeights& split) noexcept
        : high_upper(weight_pairs(split.high[0], split.high[1])),
          high_lower(weight_pairs(split.high[2], split.high[3])),
          low_upper(weight_pairs(split.low[0], split.low[1])),
          low_lower(weight_pairs(split.low[2], split.low[3])),
          doubtful(_mm256_set1_epi32(split.doubtful))
    {}

    // v + 2^13 + 8, which tells as v + 2^13 does but for those in doubt. Where the sign counts, the
    // latter. `doubt` becomes those that have to be made again.
    template <bool CountsSign>
    NUV_TARGET("avx2")
    __m256i sums(__m256i upper, __m256i lower, __m256i& doubt) const noexcept
    {
        const __m256i low = _mm256_add_epi32(_mm256_madd_epi16(upper, low_upper),
                                             _mm256_madd_epi16(lower, low_lower));
        const __m256i high = _mm256_add_epi32(_mm256_madd_epi16(upper, high_upper),
                                              _mm256_madd_epi16(lower, high_lower));
        const __m256i sums =
            _mm256_add_epi32(high, _mm256_srai_epi32(low, CountsSign ? 31 : split_bits));
        const __m256i moved =
            _mm256_add_epi32(sums, _mm256_set1_epi32((1 << (split_bits - 1)) + split_doubt));
        doubt = _mm256_cmpeq_epi32(
            _mm256_and_si256(moved, _mm256_set1_epi32((1 << split_bits) - 2 * split_doubt)),
            _mm256_setzero_si256());
        if constexpr (!CountsSign)
            return moved;
        const __m256i is_sure = _mm256_cmpgt_epi32(_mm256_abs_epi32(low), doubtful);
        doubt = _mm256_andnot_si256(is_sure, doubt);
        return _mm256_add_epi32(sums, _mm256_set1_epi32(1 << (split_bits - 1)));
    }
    template <bool CountsSign>
    NUV_TARGET("avx2")
    __m256i sixteen(const std::uint16_t* const lines[4], std::size_t i,
                    std::uint32_t& doubt) const noexcept
    {
        const __m256i line0 = load_signed(lines[0] + i);
        const __m256i line1 = load_signed(lines[1] + i);
        const __m256i line2 = load_signed(lines[2] + i);
        const __m256i line3 = load_signed(lines[3] + i);
        __m256i doubts[2];
        const __m256i first = sums<CountsSign>(_mm256_unpacklo_epi16(line0, line1),
                                               _mm256_unpacklo_epi16(line2, line3), doubts[0]);
        const __m256i second = sums<CountsSign>(_mm256_unpackhi_epi16(line0, line1),
                                                _mm256_unpackhi_epi16(line2, line3), doubts[1]);
        doubt = static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(doubts[0])) |
                                           _mm256_movemask_ps(_mm256_castsi256_ps(doubts[1])) << 8);
        const __m256i words = _mm256_packs_epi32(_mm256_srai_epi32(first, split_bits),
                                                 _mm256_srai_epi32(second, split_bits));
        return _mm256_xor_si256(words, _mm256_set1_epi16(-32768));
    }
};

// ---- AVX-512

NUV_AVX512 inline __m512d eight_above(const std::uint16_t* from) noexcept
{
    const __m512i wide =
        _mm512_cvtepu16_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    const __m512i above = _mm512_castpd_si512(_mm512_set1_pd(two_to_52));
    return _mm512_castsi512_pd(_mm512_or_si512(wide, above));
}
NUV_AVX512 inline __m512d eight_samples(const std::uint16_t* from) noexcept
{
    return _mm512_sub_pd(eight_above(from), _mm512_set1_pd(two_to_52));
}
NUV_AVX512 inline __m256i truncated(__m512d sums) noexcept
{
    return _mm512_cvttpd_epi32(_mm512_add_pd(sums, _mm512_set1_pd(0.5)));
}
NUV_AVX512 inline __m256i packed(__m256i first, __m256i second) noexcept
{
    return _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8);
}

struct NUV_BlendAVX512 {
    __m512d rest;
    __m512d weight;

    NUV_AVX512 __m256i eight(const std::uint16_t* upper, const std::uint16_t* lower) const noexcept
    {
        return truncated(_mm512_add_pd(_mm512_mul_pd(eight_samples(lower), weight),
                                       _mm512_mul_pd(eight_samples(upper), rest)));
    }
    NUV_AVX512 void thirty_two(const std::uint16_t* upper, const std::uint16_t* lower,
                               std::uint16_t* out) const noexcept
    {
        for (std::size_t i = 0; i < 32; i += 16)
            _mm256_storeu_si256(
                reinterpret_cast<__m256i*>(out + i),
                packed(eight(upper + i, lower + i), eight(upper + i + 8, lower + i + 8)));
    }
};

NUV_AVX512 inline __m512i combined_by_doubles_avx512(
    const std::uint16_t* const lines[4], std::size_t i,
    const NUV_CubicWeights<double>& weights) noexcept
{
    const __m512d w0 = _mm512_set1_pd(weights.tap[0]);
    const __m512d w2 = _mm512_set1_pd(weights.tap[2]);
    const __m512d w3 = _mm512_set1_pd(weights.tap[3]);
    __m256i part[4];
    for (std::size_t p = 0; p < 4; ++p, i += 8) {
        const __m512d center = eight_above(lines[1] + i);
        __m512d sum = _mm512_mul_pd(_mm512_sub_pd(eight_above(lines[0] + i), center), w0);
        sum =
            _mm512_add_pd(sum, _mm512_mul_pd(_mm512_sub_pd(eight_above(lines[2] + i), center), w2));
        sum =
            _mm512_add_pd(sum, _mm512_mul_pd(_mm512_sub_pd(eight_above(lines[3] + i), center), w3));
        part[p] = truncated(_mm512_add_pd(sum, _mm512_sub_pd(center, _mm512_set1_pd(two_to_52))));
    }
    return _mm512_inserti64x4(_mm512_castsi256_si512(packed(part[0], part[1])),
                              packed(part[2], part[3]), 1);
}

NUV_AVX512 inline __m512i load_signed_avx512(const std::uint16_t* from) noexcept
{
    return _mm512_xor_si512(_mm512_loadu_si512(from), _mm512_set1_epi16(-32768));
}

NUV_AVX512 inline __m512i weight_pairs_avx512(std::int32_t first, std::int32_t second) noexcept
{
    const std::uint32_t low = static_cast<std::uint16_t>(first);
    const std::uint32_t high = static_cast<std::uint16_t>(second);
    return _mm512_set1_epi32(static_cast<std::int32_t>(low | high << 16));
}

// Of weights that put many sums on a half all blocks are made in double precision, once so many
// more have been in doubt than a quarter of those before.
constexpr std::size_t patience = 8;

// A vector of output, past the caches where that is Far and can be.
template <bool Far>
NUV_AVX512 inline void store(std::uint16_t* to, __m512i samples) noexcept
{
    if (Far && reinterpret_cast<std::uintptr_t>(to) % sizeof(samples) == 0)
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to), samples);
    else
        _mm512_storeu_si512(to, samples);
}
template <bool Far>
NUV_TARGET("avx2")
inline void store(std::uint16_t* to, __m256i samples) noexcept
{
    if (Far && reinterpret_cast<std::uintptr_t>(to) % sizeof(samples) == 0)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(to), samples);
    else
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), samples);
}

// By how many of them the second vector begins sooner, so that it and those behind it are whole
// lines of the cache, or halves.
template <std::size_t VectorBytes>
[[nodiscard]] std::size_t misaligned_samples(const std::uint16_t* to) noexcept
{
    return reinterpret_cast<std::uintptr_t>(to) % VectorBytes / sizeof(*to);
}

// A line from four, by one of the classes below.
struct NUV_Combination {
    const std::uint16_t* const* lines;
    const NUV_CubicWeights<double>& weights;
    NUV_SampleLimits<std::uint16_t> limits;
};

template <bool CountsSign>
class NUV_CombinationAVX2 : public NUV_Combination {
public:
    static constexpr std::size_t step = 16;

    NUV_TARGET("avx2")
    NUV_CombinationAVX2(const NUV_Combination& all, const NUV_SplitWeights& split) noexcept
        : NUV_Combination(all),
          integers_(split),
          maximum_(_mm256_set1_epi16(static_cast<std::int16_t>(all.limits.maximum)))
    {}

    // The samples of a vector, from sample i of the lines; those that have to be made again.
    NUV_TARGET("avx2")
    std::uint32_t make(std::size_t i, std::uint16_t* to) const noexcept
    {
        std::uint32_t doubt = 0;
        put(integers_.sixteen<CountsSign>(lines, i, doubt), to);
        return doubt;
    }
    NUV_TARGET("avx2") void make_by_doubles(std::size_t i, std::uint16_t* to) const noexcept
    {
        put(combined_by_doubles(lines, i, weights), to);
    }
    NUV_TARGET("avx2") static void store_far(const std::uint16_t* from, std::uint16_t* to) noexcept
    {
        store<true>(to, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
    }

private:
    NUV_TARGET("avx2") void put(__m256i samples, std::uint16_t* to) const noexcept
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_min_epu16(samples, maximum_));
    }

    NUV_SplitAVX2 integers_;
    __m256i maximum_;
};

template <bool CountsSign>
class NUV_CombinationAVX512 : public NUV_Combination {
public:
    static constexpr std::size_t step = 32;

    NUV_AVX512 NUV_CombinationAVX512(const NUV_Combination& all,
                                     const NUV_SplitWeights& split) noexcept
        : NUV_Combination(all),
          integers_{weight_pairs_avx512(split.high[0], split.high[1]),
                    weight_pairs_avx512(split.high[2], split.high[3]),
                    weight_pairs_avx512(split.low[0], split.low[1]),
                    weight_pairs_avx512(split.low[2], split.low[3]),
                    _mm512_set1_epi32(31),
                    _mm512_set1_epi32(split.doubtful)},
          maximum_(_mm512_set1_epi16(static_cast<std::int16_t>(all.limits.maximum)))
    {}

    NUV_AVX512 std::uint32_t make(std::size_t i, std::uint16_t* to) const noexcept
    {
        std::uint32_t doubt = 0;
        put(combine_words<CountsSign>(
                load_signed_avx512(lines[0] + i), load_signed_avx512(lines[1] + i),
                load_signed_avx512(lines[2] + i), load_signed_avx512(lines[3] + i), integers_,
                integers_, doubt),
            to);
        return doubt;
    }
    NUV_AVX512 void make_by_doubles(std::size_t i, std::uint16_t* to) const noexcept
    {
        put(combined_by_doubles_avx512(lines, i, weights), to);
    }
    NUV_AVX512 static void store_far(const std::uint16_t* from, std::uint16_t* to) noexcept
    {
        store<true>(to, _mm512_loadu_si512(from));
    }

private:
    NUV_AVX512 void put(__m512i samples, std::uint16_t* to) const noexcept
    {
        _mm512_storeu_si512(to, _mm512_min_epu16(samples, maximum_));
    }

    NUV_SplitAVX512 integers_;
    __m512i maximum_;
};

// Makes what is in doubt of vectors that stand from `made` on, the first of them sample `first` of
// the lines; how many samples.
template <class Combination>
[[gnu::always_inline]] inline std::size_t make_again(const Combination& line,
                                                     const NUV_Doubts& doubts, std::size_t first,
                                                     std::uint16_t* made) noexcept
{
    constexpr int few = 3; // single samples are made sooner than all
    std::size_t samples = 0;
    for (std::size_t k = 0; k < doubts.count; ++k) {
        std::uint32_t doubt = doubts.bits[k];
        const std::size_t begin = doubts.begin[k];
        samples += static_cast<std::size_t>(std::popcount(doubt));
        if (std::popcount(doubt) > few) {
            line.make_by_doubles(begin, made + (begin - first));
            continue;
        }
        do {
            const std::size_t i = begin + take_doubt_of_halves<Combination::step / 2>(doubt);
            combine_lines_body<std::uint16_t>(line.lines[0] + i, line.lines[1] + i,
                                              line.lines[2] + i, line.lines[3] + i,
                                              made + (i - first), 1, line.weights, line.limits);
        } while (doubt != 0);
    }
    return samples;
}

// The samples of whole vectors, of which there are so many. It becomes part of a function for the
// processor at hand.
template <bool Far, class Combination>
[[gnu::always_inline]] inline std::size_t combine_split(const Combination& line, std::uint16_t* out,
                                                        std::size_t samples) noexcept
{
    constexpr std::size_t step = Combination::step;
    std::uint16_t near[NUV_Doubts::most_vectors * step]; // what goes past the caches
    std::size_t i = 0;
    for (bool is_sure = true; i + step <= samples && is_sure;) {
        NUV_Doubts doubts;
        std::size_t vectors = std::min((samples - i) / step, NUV_Doubts::most_vectors);
        if (Far && i == 0)
            vectors = 1;
        const std::size_t first = i;
        std::uint16_t* const made = Far ? near : out + first;
        for (const std::size_t end = first + vectors * step; i < end; i += step)
            doubts.note(i, line.make(i, made + (i - first)));
        is_sure = make_again(line, doubts, first, made) <= NUV_Doubts::most_samples;
        for (std::size_t k = 0; Far && k < vectors * step; k += step)
            line.store_far(near + k, out + first + k);
        if (Far && first == 0)
            i -= misaligned_samples<step * sizeof *out>(out + i);
    }
    for (; i + step <= samples; i += step) {
        line.make_by_doubles(i, Far ? near : out + i);
        if (Far)
            line.store_far(near, out + i);
    }
    if (Far)
        _mm_sfence(); // for who reads on another thread
    return i;
}

} // namespace

template <bool Far>
NUV_TARGET("avx2")
void blend_lines_avx2(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t* out,
                      std::size_t samples, double weight)
{
    const NUV_SplitBlend split = split_blend(weight);
    const NUV_SplitBlendAVX2 integers(split);
    const NUV_BlendAVX2 doubles{_mm256_set1_pd(1 - weight), _mm256_set1_pd(weight)};
    constexpr std::size_t step = 16;
    std::size_t doubtful = split.fits ? 0 : samples;
    std::size_t i = 0;
    for (; i + step <= samples; i += step) {
        if (Far && i == step)
            i -= misaligned_samples<sizeof(__m256i)>(out + i);
        bool doubt = doubtful > patience + i / (4 * step);
        if (!doubt) {
            const __m256i line = integers.sixteen(upper + i, lower + i, doubt);
            doubtful += doubt ? 1 : 0;
            if (!doubt)
                store<Far>(out + i, line);
        }
        if (doubt)
            doubles.sixteen(upper + i, lower + i, out + i);
    }
    if (Far)
        _mm_sfence();
    blend_lines_portable(upper + i, lower + i, out + i, samples - i, weight);
}

template <bool Far>
NUV_AVX512 void blend_lines_avx512(const std::uint16_t* upper, const std::uint16_t* lower,
                                   std::uint16_t* out, std::size_t samples, double weight)
{
    const NUV_SplitBlend split = split_blend(weight);
    const NUV_BlendWeightsAVX512 integers(split);
    const NUV_BlendAVX512 doubles{_mm512_set1_pd(1 - weight), _mm512_set1_pd(weight)};
    constexpr std::size_t step = 32;
    std::size_t doubtful = split.fits ? 0 : samples;
    std::size_t i = 0;
    for (; i + step <= samples; i += step) {
        if (Far && i == step)
            i -= misaligned_samples<sizeof(__m512i)>(out + i);
        std::uint32_t doubt = 1;
        if (doubtful <= patience + i / (4 * step)) {
            const __m512i line = blend_words(_mm512_loadu_si512(upper + i),
                                             _mm512_loadu_si512(lower + i), integers, doubt);
            if (doubt == 0)
                store<Far>(out + i, line);
            else
                ++doubtful;
        }
        if (doubt != 0)
            doubles.thirty_two(upper + i, lower + i, out + i);
    }
    if (Far)
        _mm_sfence();
    blend_lines_portable(upper + i, lower + i, out + i, samples - i, weight);
}
template void blend_lines_avx2<false>(const std::uint16_t*, const std::uint16_t*, std::uint16_t*,
                                      std::size_t, double);
template void blend_lines_avx2<true>(const std::uint16_t*, const std::uint16_t*, std::uint16_t*,
                                     std::size_t, double);
template void blend_lines_avx512<false>(const std::uint16_t*, const std::uint16_t*, std::uint16_t*,
                                        std::size_t, double);
template void blend_lines_avx512<true>(const std::uint16_t*, const std::uint16_t*, std::uint16_t*,
                                       std::size_t, double);

template <bool Far>
NUV_TARGET("avx2")
void combine_lines_avx2(const std::uint16_t* const lines[4], std::uint16_t* out,
                        std::size_t samples, const NUV_CubicWeights<double>& weights,
                        NUV_SampleLimits<std::uint16_t> limits)
{
    const NUV_SplitWeights split = split_weights(weights.tap);
    const std::size_t i =
        !split.fits ? 0
        : split.counts_sign
            ? combine_split<Far>(NUV_CombinationAVX2<true>({lines, weights, limits}, split), out,
                                 samples)
            : combine_split<Far>(NUV_CombinationAVX2<false>({lines, weights, limits}, split), out,
                                 samples);
    combine_lines_body<std::uint16_t>(lines[0] + i, lines[1] + i, lines[2] + i, lines[3] + i,
                                      out + i, samples - i, weights, limits);
}

template <bool Far>
NUV_AVX512 void combine_lines_avx512(const std::uint16_t* const lines[4], std::uint16_t* out,
                                     std::size_t samples, const NUV_CubicWeights<double>& weights,
                                     NUV_SampleLimits<std::uint16_t> limits)
{
    const NUV_SplitWeights split = split_weights(weights.tap);
    const std::size_t i =
        !split.fits ? 0
        : split.counts_sign
            ? combine_split<Far>(NUV_CombinationAVX512<true>({lines, weights, limits}, split), out,
                                 samples)
            : combine_split<Far>(NUV_CombinationAVX512<false>({lines, weights, limits}, split), out,
                                 samples);
    combine_lines_body<std::uint16_t>(lines[0] + i, lines[1] + i, lines[2] + i, lines[3] + i,
                                      out + i, samples - i, weights, limits);
}

template void combine_lines_avx2<false>(const std::uint16_t* const[4], std::uint16_t*, std::size_t,
                                        const NUV_CubicWeights<double>&,
                                        NUV_SampleLimits<std::uint16_t>);
template void combine_lines_avx2<true>(const std::uint16_t* const[4], std::uint16_t*, std::size_t,
                                       const NUV_CubicWeights<double>&,
                                       NUV_SampleLimits<std::uint16_t>);
template void combine_lines_avx512<false>(const std::uint16_t* const[4], std::uint16_t*,
                                          std::size_t, const NUV_CubicWeights<double>&,
                                          NUV_SampleLimits<std::uint16_t>);
template void combine_lines_avx512<true>(const std::uint16_t* const[4], std::uint16_t*, std::size_t,
                                         const NUV_CubicWeights<double>&,
                                         NUV_SampleLimits<std::uint16_t>);

} // namespace nuv

#endif // NUV_X86
