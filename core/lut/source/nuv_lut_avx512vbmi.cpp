#include "core/lut/source/nuv_lut_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

#    include <algorithm>

namespace nuv {
namespace {

constexpr std::size_t step = sizeof(__m512i);

// A table, whole, in four registers.
struct Table {
    __m512i quarters[4];
};

NUV_TARGET("avx512vbmi,avx512bw")
inline Table load_table(const std::uint8_t* entries)
{
    return {{_mm512_loadu_si512(entries), _mm512_loadu_si512(entries + step),
             _mm512_loadu_si512(entries + 2 * step), _mm512_loadu_si512(entries + 3 * step)}};
}

// A permutation over two registers takes the low seven bits of a sample; the top bit chooses.
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i look_up(__m512i samples, const Table& table)
{
    const __m512i low = _mm512_permutex2var_epi8(table.quarters[0], samples, table.quarters[1]);
    const __m512i high = _mm512_permutex2var_epi8(table.quarters[2], samples, table.quarters[3]);
    return _mm512_mask_mov_epi8(low, _mm512_movepi8_mask(samples), high);
}

// Which of 64 samples are of channel `c`, the first being of channel `first`.
[[nodiscard]] constexpr std::uint64_t places_of(std::size_t c, std::size_t first,
                                                std::size_t channels)
{
    std::uint64_t places = 0;
    for (std::size_t i = 0; i < step; ++i)
        places |= std::uint64_t{(first + i) % channels == c} << i;
    return places;
}

// Looks up to 64 samples up in the tables of all channels; each takes what is its own.
template <std::size_t Channels>
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i
    look_up(__m512i samples, const Table (&tables)[Channels], const __mmask64 (&places)[Channels])
{
    __m512i found = look_up(samples, tables[0]);
    for (std::size_t c = 1; c < Channels; ++c)
        found = _mm512_mask_mov_epi8(found, places[c], look_up(samples, tables[c]));
    return found;
}

template <std::size_t Channels>
NUV_TARGET("avx512vbmi,avx512bw")
void look_up_row(const std::uint8_t* in, std::uint8_t* out, std::size_t count,
                 const std::uint8_t* entries)
{
    Table tables[Channels];
    __mmask64 places[Channels][Channels]; // by the channel of the first sample
    for (std::size_t c = 0; c < Channels; ++c) {
        tables[c] = load_table(entries + 256 * c);
        for (std::size_t first = 0; first < Channels; ++first)
            places[first][c] = places_of(c, first, Channels);
    }
    std::size_t i = 0;
    for (; i + Channels * step <= count; i += Channels * step) {
        for (std::size_t k = 0; k < Channels; ++k) {
            prefetch_ahead(in + i + k * step, step);
            prefetch_ahead(out + i + k * step, step);
            const __m512i samples = _mm512_loadu_si512(in + i + k * step);
            _mm512_storeu_si512(out + i + k * step,
                                look_up(samples, tables, places[k * step % Channels]));
        }
    }
    for (; i < count; i += step) {
        const std::size_t rest = std::min(count - i, step);
        const __mmask64 used = ~std::uint64_t{0} >> (step - rest);
        const __m512i samples = _mm512_maskz_loadu_epi8(used, in + i);
        _mm512_mask_storeu_epi8(out + i, used, look_up(samples, tables, places[i % Channels]));
    }
}

// The low and the high bytes of a table of 16 bits.
struct WideTable {
    Table low;
    Table high;
};

// The low bytes of the words of two registers, in order.
NUV_TARGET("avx512vbmi,avx512bw")
inline __m512i low_bytes(__m512i first, __m512i second)
{
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi16_epi8(first)),
                              _mm512_cvtepi16_epi8(second), 1);
}

NUV_TARGET("avx512vbmi,avx512bw")
inline WideTable load_table(const std::uint16_t* entries)
{
    WideTable table;
    for (std::size_t k = 0; k < 4; ++k, entries += step) {
        const __m512i first = _mm512_loadu_si512(entries);
        const __m512i second = _mm512_loadu_si512(entries + step / 2);
        table.low.quarters[k] = low_bytes(first, second);
        table.high.quarters[k] =
            low_bytes(_mm512_srli_epi16(first, 8), _mm512_srli_epi16(second, 8));
    }
    return table;
}

// Of 64 samples, of which those of `used` are read, and written.
NUV_TARGET("avx512vbmi,avx512bw")
inline void look_up_words(const std::uint8_t* in, std::uint16_t* out, __mmask64 used,
                          const WideTable& table)
{
    // So that interleaving, which works on pieces of 16 bytes, gives the words in order.
    const __m512i apart = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    const __m512i samples = _mm512_permutexvar_epi64(apart, _mm512_maskz_loadu_epi8(used, in));
    const __m512i low = look_up(samples, table.low);
    const __m512i high = look_up(samples, table.high);
    _mm512_mask_storeu_epi16(out, static_cast<__mmask32>(used), _mm512_unpacklo_epi8(low, high));
    _mm512_mask_storeu_epi16(out + step / 2, static_cast<__mmask32>(used >> 32),
                             _mm512_unpackhi_epi8(low, high));
}

} // namespace

NUV_TARGET("avx512vbmi,avx512bw")
void lut_row_to_16_avx512vbmi(const std::uint8_t* in, std::uint16_t* out, std::size_t pixels,
                              std::size_t, const std::uint16_t* entries)
{
    const WideTable table = load_table(entries);
    constexpr __mmask64 all = ~std::uint64_t{0};
    for (; pixels >= step; pixels -= step, in += step, out += step) {
        prefetch_ahead(in, step * sizeof *in);
        prefetch_ahead(out, step * sizeof *out);
        look_up_words(in, out, all, table);
    }
    if (pixels > 0)
        look_up_words(in, out, all >> (step - pixels), table);
}

void lut_row_avx512vbmi(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                        std::size_t channels, const std::uint8_t* tables)
{
    switch (channels) {
    case 1:
        return look_up_row<1>(in, out, pixels, tables);
    case 2:
        return look_up_row<2>(in, out, 2 * pixels, tables);
    case 3:
        return look_up_row<3>(in, out, 3 * pixels, tables);
    default:
        return look_up_row<4>(in, out, 4 * pixels, tables);
    }
}

} // namespace nuv

#endif // NUV_X86
