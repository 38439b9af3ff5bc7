#include "core/lut/source/nuv_lut_kernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr int pieces = 16;       // of 16 entries each
constexpr int half = pieces / 2; // those of samples below 128

// The table as differences: piece k holds entries 16k to 16k + 15, combined by exclusive or with
// the piece below it, if that is of the same half.
struct Pieces {
    __m256i of[pieces];
};

NUV_TARGET("avx2")
inline Pieces differences(const std::uint8_t* table)
{
    Pieces made;
    __m256i below = _mm256_setzero_si256();
    for (int k = 0; k < pieces; ++k) {
        const auto* entries = reinterpret_cast<const __m128i*>(table + std::ptrdiff_t{16} * k);
        const __m256i piece = _mm256_broadcastsi128_si256(_mm_loadu_si128(entries));
        made.of[k] = k == half ? piece : _mm256_xor_si256(piece, below);
        below = piece;
    }
    return made;
}

// A shuffle looks up the low four bits of a byte, and gives 0 for a byte with its top bit set. So
// with the sample lowered by 16 from piece to piece, a sample of piece h meets the differences 0
// to h, which make up piece h, and zeros from then on. Samples of the upper half do the same with
// their top bit inverted.
NUV_TARGET("avx2")
inline __m256i look_up(__m256i samples, const Pieces& table)
{
    const __m256i sixteen = _mm256_set1_epi8(16);
    __m256i low = samples;
    __m256i high = _mm256_xor_si256(samples, _mm256_set1_epi8(-128));
    __m256i found = _mm256_setzero_si256();
    __m256i found_high = _mm256_setzero_si256();
    for (int k = 0; k < half; ++k) {
        found = _mm256_xor_si256(found, _mm256_shuffle_epi8(table.of[k], low));
        found_high = _mm256_xor_si256(found_high, _mm256_shuffle_epi8(table.of[k + half], high));
        low = _mm256_subs_epi8(low, sixteen); // saturating: what is negative stays negative
        high = _mm256_subs_epi8(high, sixteen);
    }
    return _mm256_xor_si256(found, found_high);
}

} // namespace

NUV_TARGET("avx2")
void lut_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels, std::size_t,
                  const std::uint8_t* tables)
{
    const Pieces pieces_of_table = differences(tables);
    constexpr std::size_t step = sizeof(__m256i);
    std::size_t i = 0;
    for (; i + 2 * step <= pixels; i += 2 * step) {
        prefetch_ahead(in + i, 2 * step);
        prefetch_ahead(out + i, 2 * step);
        const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
        const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i + step));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), look_up(first, pieces_of_table));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i + step),
                            look_up(second, pieces_of_table));
    }
    lut_row_portable<std::uint8_t, std::uint8_t, 1>(in + i, out + i, pixels - i, 1, tables);
}

} // namespace nuv

#endif // NUV_X86
