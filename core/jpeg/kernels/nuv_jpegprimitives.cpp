#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include "core/jpeg/kernels/nuv_jpegforms.h"

namespace nuv {

const NUV_JPEGPrimitives& jpeg_primitives(const NUV_Cpu& cpu) noexcept
{
    static const NUV_JPEGFormLevels<NUV_JPEGPrimitives> levels(
        {set_portable_color_forms, set_portable_transform_forms, set_portable_huffman_table_forms,
         set_portable_huffman_encode_forms, set_portable_huffman_decode_forms,
         set_portable_lossless_forms},
#if NUV_X86
        {set_sse2_color_forms, set_sse2_transform_forms, set_sse2_huffman_encode_forms,
         set_sse2_lossless_forms},
        {set_avx2_color_forms, set_avx2_forward_forms, set_avx2_transform_forms},
        {set_avx512_transform_forms}
#else
        {}, {}, {}
#endif
    );
    return levels.of(cpu);
}

} // namespace nuv
