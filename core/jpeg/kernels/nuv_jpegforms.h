#pragma once

// How sets of forms are put together, level by level, and what the sets of the primitives are. The
// contracts stand in nuv_jpegprimitives.h and nuv_jpegsamples.h.

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace nuv {

// The forms for each level of the processor. Every level begins with what the one below it has, and
// its setters override of that what they have.
template <class Forms>
class NUV_JPEGFormLevels {
public:
    using Setters = std::initializer_list<void (*)(Forms&) noexcept>;

    NUV_JPEGFormLevels(Setters portable, Setters sse2, Setters avx2, Setters avx512) noexcept
    {
        Forms forms{};
        std::size_t level = 0;
        for (const Setters& setters : {portable, sse2, avx2, avx512}) {
            for (const auto set : setters)
                set(forms);
            levels_[level++] = forms;
        }
    }

    [[nodiscard]] const Forms& of(const NUV_Cpu& cpu) const noexcept
    {
        if (!cpu.has_sse2)
            return levels_[0];
        if (!cpu.has_avx2)
            return levels_[1];
        return levels_[cpu.has_avx512vbmi ? 3 : 2];
    }

private:
    std::array<Forms, 4> levels_;
};

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

// The six primitives on pixels, from forms.operator()<Color, Across, Down>(): that for an area of
// 8 x Across by 8 x Down pixels, of one of two kinds of colour.
template <class ConvertColor, class SplitColor, class Forms>
void set_color_forms(NUV_JPEGPrimitives& primitives, Forms forms) noexcept
{
    primitives.convert_rgb_ycc_444 = forms.template operator()<ConvertColor, 1, 1>();
    primitives.convert_rgb_ycc_422 = forms.template operator()<ConvertColor, 2, 1>();
    primitives.convert_rgb_ycc_420 = forms.template operator()<ConvertColor, 2, 2>();
    primitives.split_444 = forms.template operator()<SplitColor, 1, 1>();
    primitives.split_422 = forms.template operator()<SplitColor, 2, 1>();
    primitives.split_420 = forms.template operator()<SplitColor, 2, 2>();
}

// Which coefficients of a block are not zero, in its natural order.
[[nodiscard]] std::uint64_t non_zero_mask(const std::int16_t* block) noexcept;
#if NUV_X86
NUV_TARGET("sse2")
std::uint64_t non_zero_mask_sse2(const std::int16_t* block) noexcept;
#endif

// The same of a mask in zig-zag order.
[[nodiscard]] std::uint64_t mask_in_zigzag(std::uint64_t natural_mask) noexcept;

// transform_blocks from the primitive on one of them.
template <auto transform_one, auto find_non_zero>
void transform_each(const std::int16_t* samples, std::size_t count, const std::uint16_t* table,
                    std::int16_t* coefficients, std::uint64_t* masks)
{
    std::copy_n(samples, count * jpeg_block_size, coefficients);
    for (std::size_t i = 0; i < count; ++i, coefficients += jpeg_block_size) {
        static_cast<void>(transform_one(coefficients, table));
        masks[i] = mask_in_zigzag(find_non_zero(coefficients));
    }
}

// The inverse transforms, for the forms of others that go on from their samples.
NUV_JPEGResult idct_dequant(const std::int16_t* coefficients, std::int16_t* output,
                            const std::int16_t* table);
#if NUV_X86
NUV_TARGET("sse2")
NUV_JPEGResult idct_dequant_sse2(const std::int16_t* coefficients, std::int16_t* output,
                                 const std::int16_t* table);
NUV_TARGET("avx2")
NUV_JPEGResult idct_dequant_avx2(const std::int16_t* coefficients, std::int16_t* output,
                                 const std::int16_t* table);
#endif

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
void set_avx2_forward_forms(NUV_JPEGPrimitives& primitives) noexcept;
void set_avx2_transform_forms(NUV_JPEGPrimitives& primitives) noexcept;

void set_avx512_transform_forms(NUV_JPEGPrimitives& primitives) noexcept;
#endif

} // namespace nuv
