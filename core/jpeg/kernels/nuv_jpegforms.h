#pragma once

// The forms that nuv_jpegprimitives.cpp puts into its tables. The contracts stand in
// nuv_jpegprimitives.h; each set below overrides what it has of the set above it.

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <cstdint>

namespace nuv {

// The checks that all primitives on pixels begin with.
[[nodiscard]] inline NUV_JPEGResult check_pixel_arguments(const std::uint8_t* source,
                                                          std::int32_t row_step,
                                                          const std::int16_t* first,
                                                          const std::int16_t* second,
                                                          const std::int16_t* third) noexcept
{
    if (source == nullptr || first == nullptr || second == nullptr || third == nullptr)
        return NUV_JPEGResult::null_pointer;
    return row_step < 1 ? NUV_JPEGResult::bad_row_step : NUV_JPEGResult::good;
}

void set_portable_color_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_portable_transform_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_portable_huffman_table_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_portable_huffman_encode_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_portable_huffman_decode_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_portable_lossless_forms(NUV_JPEGPrimitives& primitives) noexcept;

#if NUV_X86
void set_sse2_color_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_sse2_transform_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_sse2_huffman_encode_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_sse2_lossless_forms(NUV_JPEGPrimitives& primitives) noexcept;

void set_avx2_color_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_avx2_transform_forms(NUV_JPEGPrimitives& primitives) noexcept;
#endif

} // namespace nuv
