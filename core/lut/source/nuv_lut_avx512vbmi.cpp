#include "core/lut/source/nuv_lut_kernels.h"

#if NUV_X86

#    include <algorithm>
#    include <immintrin.h>

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

} // namespace

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
