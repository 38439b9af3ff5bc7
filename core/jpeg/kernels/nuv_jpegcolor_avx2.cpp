#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::ptrdiff_t block_rows = 8;

// Samples of eight pixels or cells: first | second << 16 and second | third << 16 in each 32 bits,
// ready to be multiplied in pairs.
struct Octet {
    __m256i front, back;
};

NUV_TARGET("avx2")
inline __m256i pair_constants(int low, int high)
{
    return _mm256_set1_epi32(
        static_cast<int>(static_cast<unsigned>(low & 0xFFFF) | static_cast<unsigned>(high) << 16));
}

// Eight pixels, 24 bytes, and nothing beyond them: 0 to 3 from the first 16 bytes, 4 to 7 from the
// last.
NUV_TARGET("avx2")
inline Octet load_pixels(const std::uint8_t* source)
{
    const __m256i bytes = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 8)), 1);
    const __m256i front =
        _mm256_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1, //
                         4, -1, 5, -1, 7, -1, 8, -1, 10, -1, 11, -1, 13, -1, 14, -1);
    const __m256i back =
        _mm256_setr_epi8(1, -1, 2, -1, 4, -1, 5, -1, 7, -1, 8, -1, 10, -1, 11, -1, //
                         5, -1, 6, -1, 8, -1, 9, -1, 11, -1, 12, -1, 14, -1, 15, -1);
    return {_mm256_shuffle_epi8(bytes, front), _mm256_shuffle_epi8(bytes, back)};
}

NUV_TARGET("avx2")
inline Octet add(const Octet& a, const Octet& b)
{
    return {_mm256_add_epi16(a.front, b.front), _mm256_add_epi16(a.back, b.back)};
}

// Sums of pixels 2 i and 2 i + 1 of 16, in the order 0 1 4 5 2 3 6 7.
NUV_TARGET("avx2")
inline __m256i add_neighbours(__m256i left, __m256i right)
{
    const __m256 a = _mm256_castsi256_ps(left);
    const __m256 b = _mm256_castsi256_ps(right);
    return _mm256_add_epi16(_mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                            _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
}

// The fixed-point weights of the portable form. What does not fit 16 bits is written otherwise:
// 38470 in two halves, and 32768 as less -32768.
struct ConvertColor {
    NUV_TARGET("avx2")
    static __m256i luma(const Octet& octet)
    {
        const __m256i sum =
            _mm256_add_epi32(_mm256_madd_epi16(octet.front, pair_constants(19595, 19235)),
                             _mm256_madd_epi16(octet.back, pair_constants(19235, 7471)));
        return _mm256_srai_epi32(sum, 16);
    }
    template <int Shift>
    NUV_TARGET("avx2")
    static __m256i blue_difference(const Octet& octet)
    {
        const __m256i sum =
            _mm256_sub_epi32(_mm256_madd_epi16(octet.front, pair_constants(-11059, -21709)),
                             _mm256_madd_epi16(octet.back, pair_constants(0, -32768)));
        return _mm256_srai_epi32(sum, Shift);
    }
    template <int Shift>
    NUV_TARGET("avx2")
    static __m256i red_difference(const Octet& octet)
    {
        const __m256i sum =
            _mm256_sub_epi32(_mm256_madd_epi16(octet.back, pair_constants(-27439, -5329)),
                             _mm256_madd_epi16(octet.front, pair_constants(-32768, 0)));
        return _mm256_srai_epi32(sum, Shift);
    }
};

struct SplitColor {
    NUV_TARGET("avx2")
    static __m256i luma(const Octet& octet)
    {
        return _mm256_and_si256(octet.front, _mm256_set1_epi32(0xFFFF));
    }
    template <int Shift>
    NUV_TARGET("avx2")
    static __m256i blue_difference(const Octet& octet)
    {
        return _mm256_sub_epi32(_mm256_srli_epi32(octet.front, Shift), _mm256_set1_epi32(128));
    }
    template <int Shift>
    NUV_TARGET("avx2")
    static __m256i red_difference(const Octet& octet)
    {
        return _mm256_sub_epi32(_mm256_srli_epi32(octet.back, Shift), _mm256_set1_epi32(128));
    }
};

NUV_TARGET("avx2")
inline void store_16(std::int16_t* to, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

// Two times eight values, each in order, to 16 bits.
NUV_TARGET("avx2")
inline __m256i pack(__m256i lower, __m256i upper)
{
    return _mm256_permute4x64_epi64(_mm256_packs_epi32(lower, upper), 0xD8);
}

template <class Color>
NUV_TARGET("avx2")
inline __m256i pack_luma(const Octet& lower, const Octet& upper)
{
    return _mm256_sub_epi16(pack(Color::luma(lower), Color::luma(upper)), _mm256_set1_epi16(128));
}

template <class Color>
NUV_TARGET("avx2")
inline void convert_444(const std::uint8_t* source, std::ptrdiff_t row_step, std::int16_t* first,
                        std::int16_t* second, std::int16_t* third)
{
    for (std::ptrdiff_t y = 0; y < block_rows; y += 2) {
        const Octet upper = load_pixels(source + y * row_step);
        const Octet lower = load_pixels(source + (y + 1) * row_step);
        store_16(first + y * block_rows, pack_luma<Color>(upper, lower));
        store_16(second + y * block_rows, pack(Color::template blue_difference<16>(upper),
                                               Color::template blue_difference<16>(lower)));
        store_16(third + y * block_rows, pack(Color::template red_difference<16>(upper),
                                              Color::template red_difference<16>(lower)));
    }
}

// One row of luma in two blocks.
template <class Color>
NUV_TARGET("avx2")
inline void store_luma(std::int16_t* to, const Octet& left, const Octet& right)
{
    const __m256i row = pack_luma<Color>(left, right);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(row));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + jpeg_block_size),
                     _mm256_extracti128_si256(row, 1));
}

// One row of cells, in the order of add_neighbours(), from 16 x Down pixels, whose luma goes to
// two blocks.
template <class Color, int Down>
NUV_TARGET("avx2")
inline Octet sum_cells(const std::uint8_t* source, std::ptrdiff_t row_step, std::int16_t* luma)
{
    Octet left = load_pixels(source);
    Octet right = load_pixels(source + 24);
    store_luma<Color>(luma, left, right);
    if constexpr (Down == 2) {
        const Octet left_below = load_pixels(source + row_step);
        const Octet right_below = load_pixels(source + row_step + 24);
        store_luma<Color>(luma + block_rows, left_below, right_below);
        left = add(left, left_below);
        right = add(right, right_below);
    }
    return {add_neighbours(left.front, right.front), add_neighbours(left.back, right.back)};
}

// Two rows in the order of add_neighbours() to 16 bits in natural order.
NUV_TARGET("avx2")
inline __m256i pack_cells(__m256i upper, __m256i lower)
{
    return _mm256_permutevar8x32_epi32(_mm256_packs_epi32(upper, lower),
                                       _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

template <class Color, int Down>
NUV_TARGET("avx2")
inline void convert_cells(const std::uint8_t* source, std::ptrdiff_t row_step, std::int16_t* first,
                          std::int16_t* second, std::int16_t* third)
{
    constexpr int shift = 16 + Down; // 2 or 4 pixels in a cell
    for (std::ptrdiff_t y = 0; y < block_rows; y += 2) {
        // Behind four rows of cells the luma goes on in the lower pair of blocks.
        const std::ptrdiff_t row = y * Down;
        const std::ptrdiff_t below = row + Down;
        std::int16_t* luma = first + row * block_rows + row / block_rows * 64;
        const Octet upper = sum_cells<Color, Down>(source + row * row_step, row_step, luma);
        const Octet lower =
            sum_cells<Color, Down>(source + below * row_step, row_step, luma + Down * block_rows);
        store_16(second + y * block_rows,
                 pack_cells(Color::template blue_difference<shift>(upper),
                            Color::template blue_difference<shift>(lower)));
        store_16(third + y * block_rows, pack_cells(Color::template red_difference<shift>(upper),
                                                    Color::template red_difference<shift>(lower)));
    }
}

template <class Color, int Across, int Down>
NUV_TARGET("avx2")
NUV_JPEGResult pixels_to_blocks(const std::uint8_t* source, std::int32_t row_step,
                                std::int16_t* first, std::int16_t* second, std::int16_t* third)
{
    const NUV_JPEGResult checked = check_pixel_arguments(source, row_step, first, second, third);
    if (!is_good(checked))
        return checked;

    if constexpr (Across == 1)
        convert_444<Color>(source, row_step, first, second, third);
    else
        convert_cells<Color, Down>(source, row_step, first, second, third);
    return NUV_JPEGResult::good;
}

} // namespace

void set_avx2_color_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    set_color_forms<ConvertColor, SplitColor>(primitives, []<class Color, int Across, int Down>() {
        return pixels_to_blocks<Color, Across, Down>;
    });
}

} // namespace nuv

#endif // NUV_X86
