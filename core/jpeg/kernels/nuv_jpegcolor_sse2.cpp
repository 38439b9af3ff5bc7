#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include <emmintrin.h>

namespace nuv {
namespace {

constexpr std::ptrdiff_t block_rows = 8;

// Samples of four pixels or cells: first | third << 16, and second, in each 32 bits.
struct Quad {
    __m128i outer, middle;
};

struct Row {
    Quad left, right;
};

NUV_TARGET("sse2")
inline __m128i pair_constants(int low, int high)
{
    return _mm_set1_epi32(
        static_cast<int>(static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high) << 16));
}

// Four packed pixels in the first 12 bytes.
NUV_TARGET("sse2")
inline Quad spread(__m128i bytes)
{
    const __m128i front = _mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3));
    const __m128i back = _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9));
    const __m128i pixels = _mm_unpacklo_epi64(front, back);
    return {_mm_and_si128(pixels, _mm_set1_epi32(0x00FF00FF)),
            _mm_and_si128(_mm_srli_epi32(pixels, 8), _mm_set1_epi32(0xFF))};
}

// Eight pixels, 24 bytes, and nothing beyond them.
NUV_TARGET("sse2")
inline Row load_pixels(const std::uint8_t* source)
{
    const auto load = [](const std::uint8_t* from) NUV_TARGET("sse2") {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    };
    return {spread(load(source)), spread(_mm_srli_si128(load(source + 8), 4))};
}

NUV_TARGET("sse2")
inline Quad add(const Quad& a, const Quad& b)
{
    return {_mm_add_epi16(a.outer, b.outer), _mm_add_epi16(a.middle, b.middle)};
}

NUV_TARGET("sse2")
inline __m128i add_neighbours(__m128i left, __m128i right)
{
    const __m128 a = _mm_castsi128_ps(left);
    const __m128 b = _mm_castsi128_ps(right);
    return _mm_add_epi16(_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                         _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
}

NUV_TARGET("sse2")
inline Quad add_neighbours(const Row& row)
{
    return {add_neighbours(row.left.outer, row.right.outer),
            add_neighbours(row.left.middle, row.right.middle)};
}

NUV_TARGET("sse2")
inline __m128i weigh(const Quad& quad, __m128i outer, __m128i middle)
{
    return _mm_add_epi32(_mm_madd_epi16(quad.outer, outer), _mm_madd_epi16(quad.middle, middle));
}

// The fixed-point weights of the portable form. What does not fit 16 bits is written otherwise:
// 38470 = 65536 - 27066, and the two chroma sums are formed with the opposite sign for their
// 32768.
struct ConvertColor {
    NUV_TARGET("sse2")
    static __m128i luma(const Quad& quad)
    {
        const __m128i sum = weigh(quad, pair_constants(19595, 7471), pair_constants(-27066, 0));
        return _mm_add_epi32(_mm_srai_epi32(sum, 16), quad.middle);
    }
    template <int Shift>
    NUV_TARGET("sse2")
    static __m128i blue_difference(const Quad& quad)
    {
        const __m128i sum = weigh(quad, pair_constants(11059, -32768), pair_constants(21709, 0));
        return _mm_srai_epi32(_mm_sub_epi32(_mm_setzero_si128(), sum), Shift);
    }
    template <int Shift>
    NUV_TARGET("sse2")
    static __m128i red_difference(const Quad& quad)
    {
        const __m128i sum = weigh(quad, pair_constants(-32768, 5329), pair_constants(27439, 0));
        return _mm_srai_epi32(_mm_sub_epi32(_mm_setzero_si128(), sum), Shift);
    }
};

struct SplitColor {
    NUV_TARGET("sse2")
    static __m128i luma(const Quad& quad)
    {
        return _mm_and_si128(quad.outer, _mm_set1_epi32(0xFFFF));
    }
    template <int Shift>
    NUV_TARGET("sse2")
    static __m128i blue_difference(const Quad& quad)
    {
        return _mm_sub_epi32(_mm_srli_epi32(quad.middle, Shift - 16), _mm_set1_epi32(128));
    }
    template <int Shift>
    NUV_TARGET("sse2")
    static __m128i red_difference(const Quad& quad)
    {
        return _mm_sub_epi32(_mm_srli_epi32(quad.outer, Shift), _mm_set1_epi32(128));
    }
};

NUV_TARGET("sse2")
inline void store_8(std::int16_t* to, __m128i left, __m128i right)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packs_epi32(left, right));
}

template <class Color>
NUV_TARGET("sse2")
inline void store_luma(std::int16_t* to, const Row& row)
{
    const __m128i packed = _mm_packs_epi32(Color::luma(row.left), Color::luma(row.right));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_sub_epi16(packed, _mm_set1_epi16(128)));
}

// One row of chroma from 16 x Down pixels, whose luma goes to two blocks.
template <class Color, int Down>
NUV_TARGET("sse2")
inline Row
    convert_two_blocks(const std::uint8_t* source, std::ptrdiff_t row_step, std::int16_t* luma)
{
    Row left = load_pixels(source);
    Row right = load_pixels(source + 24);
    store_luma<Color>(luma, left);
    store_luma<Color>(luma + jpeg_block_size, right);
    if constexpr (Down == 2) {
        const Row left_below = load_pixels(source + row_step);
        const Row right_below = load_pixels(source + row_step + 24);
        store_luma<Color>(luma + block_rows, left_below);
        store_luma<Color>(luma + block_rows + jpeg_block_size, right_below);
        left = {add(left.left, left_below.left), add(left.right, left_below.right)};
        right = {add(right.left, right_below.left), add(right.right, right_below.right)};
    }
    return {add_neighbours(left), add_neighbours(right)};
}

template <class Color, int Across, int Down>
NUV_TARGET("sse2")
NUV_JPEGResult pixels_to_blocks(const std::uint8_t* source, std::int32_t row_step,
                                std::int16_t* first, std::int16_t* second, std::int16_t* third)
{
    const NUV_JPEGResult checked = check_pixel_arguments(source, row_step, first, second, third);
    if (!is_good(checked))
        return checked;

    constexpr int shift = 16 + (Across * Down) / 2; // 1, 2 or 4 pixels in a cell
    const std::ptrdiff_t step = row_step;
    for (std::ptrdiff_t y = 0; y < block_rows; ++y) {
        Row cells;
        if constexpr (Across == 1) {
            cells = load_pixels(source + y * step);
            store_luma<Color>(first + y * block_rows, cells);
        } else {
            // Behind four rows of cells the luma goes on in the lower pair of blocks.
            const std::ptrdiff_t row = y * Down;
            const std::ptrdiff_t lower = row / block_rows * 64;
            cells = convert_two_blocks<Color, Down>(source + row * step, step,
                                                    first + row * block_rows + lower);
        }
        store_8(second + y * block_rows, Color::template blue_difference<shift>(cells.left),
                Color::template blue_difference<shift>(cells.right));
        store_8(third + y * block_rows, Color::template red_difference<shift>(cells.left),
                Color::template red_difference<shift>(cells.right));
    }
    return NUV_JPEGResult::good;
}

} // namespace

void set_sse2_color_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    set_color_forms<ConvertColor, SplitColor>(primitives, []<class Color, int Across, int Down>() {
        return pixels_to_blocks<Color, Across, Down>;
    });
}

} // namespace nuv

#endif // NUV_X86
