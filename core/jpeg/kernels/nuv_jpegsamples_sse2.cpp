#include "core/jpeg/kernels/nuv_jpegsamples.h"

#if NUV_X86

#    include "core/jpeg/kernels/nuv_jpegforms.h"

#    include <emmintrin.h>

namespace nuv {
namespace {

// Two rows of a block at a time. Packing limits to -128..127, which is 0..255 with the top bit
// turned.
inline void put_two_rows(const std::int16_t* samples, std::uint8_t* out, std::size_t stride)
{
    const auto* in = reinterpret_cast<const __m128i*>(samples);
    const __m128i packed = _mm_packs_epi16(_mm_load_si128(in), _mm_load_si128(in + 1));
    const __m128i levels = _mm_xor_si128(packed, _mm_set1_epi8(-128));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), levels);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + stride), _mm_unpackhi_epi64(levels, levels));
}

void block_to_samples_sse2(const std::int16_t* coefficients, const std::int16_t* table,
                           std::uint8_t* out, std::size_t stride)
{
    alignas(32) std::int16_t samples[jpeg_block_size];
    static_cast<void>(idct_dequant_sse2(coefficients, samples, table));
    for (std::size_t y = 0; y < 8; y += 2)
        put_two_rows(samples + 8 * y, out + stride * y, stride);
}

} // namespace

void set_sse2_sample_forms(NUV_JPEGSampleForms& forms) noexcept
{
    forms.block_to_samples = block_to_samples_sse2;
    forms.short_block_to_samples = block_to_samples_sse2;
}

} // namespace nuv

#endif // NUV_X86
