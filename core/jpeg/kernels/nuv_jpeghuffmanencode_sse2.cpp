#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"

#if NUV_X86

#    include <cstddef>
#    include <emmintrin.h>

namespace nuv {

NUV_TARGET("sse2")
std::uint64_t non_zero_mask_sse2(const std::int16_t* block) noexcept
{
    const __m128i zero = _mm_setzero_si128();
    std::uint64_t zeros = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const auto* rows = reinterpret_cast<const __m128i*>(block + 16 * i);
        const __m128i upper = _mm_cmpeq_epi16(_mm_loadu_si128(rows), zero);
        const __m128i lower = _mm_cmpeq_epi16(_mm_loadu_si128(rows + 1), zero);
        const int mask = _mm_movemask_epi8(_mm_packs_epi16(upper, lower));
        zeros |= static_cast<std::uint64_t>(mask) << (16 * i);
    }
    return ~zeros;
}

void set_sse2_huffman_encode_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    set_huffman_encode_form<non_zero_mask_sse2>(primitives);
}

} // namespace nuv

#endif // NUV_X86
