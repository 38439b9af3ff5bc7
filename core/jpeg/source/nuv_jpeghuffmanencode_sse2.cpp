#include "core/jpeg/source/nuv_jpegforms.h"
#include "core/jpeg/source/nuv_jpeghuffman.h"

#if NUV_X86

#    include <cstddef>
#    include <emmintrin.h>

namespace nuv {
namespace {

NUV_TARGET("sse2")
std::uint64_t non_zero_mask(const std::int16_t* block) noexcept
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

NUV_JPEGResult huffman_encode_block_sse2(const std::int16_t* block, std::uint8_t* output,
                                         std::int32_t size, std::int32_t* position,
                                         std::int16_t* previous_dc,
                                         const NUV_JPEGEncodeTable* dc_table,
                                         const NUV_JPEGEncodeTable* ac_table,
                                         NUV_JPEGEncodeState* state, bool flush)
{
    const NUV_JPEGEncodeArguments call = {block,    output,   size,  position, previous_dc,
                                          dc_table, ac_table, state, flush,    nullptr};
    const NUV_JPEGResult checked = check_encode_arguments(call);
    if (checked != jpeg_good)
        return checked;
    return encode_masked_block(call, flush ? 0 : non_zero_mask(block));
}

NUV_JPEGResult huffman_encode_block_wide_sse2(const std::int16_t* block, std::uint8_t* output,
                                              std::int32_t size, std::int32_t* position,
                                              std::int16_t* previous_dc,
                                              const NUV_JPEGEncodeTable* dc_table,
                                              const NUV_JPEGWideEncodeTable* ac_table,
                                              NUV_JPEGEncodeState* state, bool flush)
{
    if (ac_table == nullptr)
        return jpeg_null_pointer;
    const NUV_JPEGEncodeArguments call = {block,    output,           size,  position, previous_dc,
                                          dc_table, &ac_table->plain, state, flush,    ac_table};
    const NUV_JPEGResult checked = check_encode_arguments(call);
    if (checked != jpeg_good)
        return checked;
    return encode_masked_block(call, flush ? 0 : non_zero_mask(block));
}

} // namespace

void set_sse2_huffman_encode_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.huffman_encode_block = huffman_encode_block_sse2;
    primitives.huffman_encode_block_wide = huffman_encode_block_wide_sse2;
}

} // namespace nuv

#endif // NUV_X86
