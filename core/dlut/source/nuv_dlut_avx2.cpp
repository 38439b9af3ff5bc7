#include "core/dlut/source/nuv_dlut_kernels.h"
#include "core/include/nuv_pixelvectors_avx2.h"

#if NUV_X86

#    include <immintrin.h>
#    include <limits>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 8;

// Eight pixels, one in each 32-bit lane.
struct Axis {
    __m256i offset;   // of the grid point below, in points
    __m256i fraction; // from it on
};

struct Corners {
    __m256i points[4];
    __m256i weights[2]; // of the first and second, the third and fourth: 16 bits each
};

NUV_TARGET("avx2")
inline Axis locate(__m256i samples, __m256i stride, const std::uint32_t* places)
{
    const __m256i place = _mm256_i32gather_epi32(reinterpret_cast<const int*>(places), samples, 4);
    return {_mm256_mullo_epi32(_mm256_srli_epi32(place, dlut_fraction_bits), stride),
            _mm256_and_si256(place, _mm256_set1_epi32(dlut_fraction_mask))};
}

NUV_TARGET("avx2")
inline __m256i pair(__m256i low, __m256i high)
{
    return _mm256_or_si256(low, _mm256_slli_epi32(high, 16));
}

// The way through the cell goes along the axis of the largest fraction, then to the corner before
// the axis of the smallest, then to the far one. Where fractions are equal the weights between
// them are 0, whichever axes are taken.
NUV_TARGET("avx2")
inline Corners find_corners(const Axis (&axes)[3], const __m256i (&strides)[3])
{
    const __m256i f0 = axes[0].fraction;
    const __m256i f1 = axes[1].fraction;
    const __m256i f2 = axes[2].fraction;
    const __m256i largest = _mm256_max_epi32(_mm256_max_epi32(f0, f1), f2);
    const __m256i smallest = _mm256_min_epi32(_mm256_min_epi32(f0, f1), f2);
    const __m256i sum = _mm256_add_epi32(_mm256_add_epi32(f0, f1), f2);
    const __m256i middle = _mm256_sub_epi32(_mm256_sub_epi32(sum, largest), smallest);

    __m256i first = _mm256_blendv_epi8(strides[2], strides[1], _mm256_cmpeq_epi32(f1, largest));
    first = _mm256_blendv_epi8(first, strides[0], _mm256_cmpeq_epi32(f0, largest));
    __m256i last = _mm256_blendv_epi8(strides[0], strides[1], _mm256_cmpeq_epi32(f1, smallest));
    last = _mm256_blendv_epi8(last, strides[2], _mm256_cmpeq_epi32(f2, smallest));

    const __m256i near =
        _mm256_add_epi32(_mm256_add_epi32(axes[0].offset, axes[1].offset), axes[2].offset);
    const __m256i all = _mm256_add_epi32(_mm256_add_epi32(strides[0], strides[1]), strides[2]);
    const __m256i far = _mm256_add_epi32(near, all);

    const __m256i one = _mm256_set1_epi32(dlut_one);
    return {{near, _mm256_add_epi32(near, first), _mm256_sub_epi32(far, last), far},
            {pair(_mm256_sub_epi32(one, largest), _mm256_sub_epi32(largest, middle)),
             pair(_mm256_sub_epi32(middle, smallest), smallest)}};
}

// Weighs the pixel in lane `Lane` of both halves. Each half of `first` and `second` holds its four
// samples of two points, interleaved.
template <int Lane>
NUV_TARGET("avx2")
inline __m256i weigh(const Corners& corners, __m256i first, __m256i second)
{
    constexpr int broadcast = Lane * 0x55;
    const __m256i sum = _mm256_add_epi32(
        _mm256_madd_epi16(first, _mm256_shuffle_epi32(corners.weights[0], broadcast)),
        _mm256_madd_epi16(second, _mm256_shuffle_epi32(corners.weights[1], broadcast)));
    return _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(dlut_half)), dlut_shift);
}

NUV_TARGET("avx2")
inline __m256i gather(const std::uint8_t* samples, __m256i points)
{
    return _mm256_i32gather_epi32(reinterpret_cast<const int*>(samples), points, 4);
}

// Four bytes for each of the eight pixels.
NUV_TARGET("avx2")
inline __m256i interpolate(const Corners& corners, const std::uint8_t* samples)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i first = gather(samples, corners.points[0]);
    const __m256i second = gather(samples, corners.points[1]);
    const __m256i third = gather(samples, corners.points[2]);
    const __m256i fourth = gather(samples, corners.points[3]);
    const __m256i a01 = _mm256_unpacklo_epi8(first, second);
    const __m256i a23 = _mm256_unpackhi_epi8(first, second);
    const __m256i b01 = _mm256_unpacklo_epi8(third, fourth);
    const __m256i b23 = _mm256_unpackhi_epi8(third, fourth);
    const __m256i p0 =
        weigh<0>(corners, _mm256_unpacklo_epi8(a01, zero), _mm256_unpacklo_epi8(b01, zero));
    const __m256i p1 =
        weigh<1>(corners, _mm256_unpackhi_epi8(a01, zero), _mm256_unpackhi_epi8(b01, zero));
    const __m256i p2 =
        weigh<2>(corners, _mm256_unpacklo_epi8(a23, zero), _mm256_unpacklo_epi8(b23, zero));
    const __m256i p3 =
        weigh<3>(corners, _mm256_unpackhi_epi8(a23, zero), _mm256_unpackhi_epi8(b23, zero));
    return _mm256_packus_epi16(_mm256_packs_epi32(p0, p1), _mm256_packs_epi32(p2, p3));
}

// Writes up to four bytes past the eight pixels.
NUV_TARGET("avx2")
inline void store(std::uint8_t* out, __m256i quads, std::size_t outputs)
{
    if (outputs == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), quads);
        return;
    }
    const __m256i three = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,
                                           0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i one =
        _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4, 8, 12,
                         -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i packed = _mm256_shuffle_epi8(quads, outputs == 3 ? three : one);
    const __m128i low = _mm256_castsi256_si128(packed);
    const __m128i high = _mm256_extracti128_si256(packed, 1);
    if (outputs == 3) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 12), high);
        return;
    }
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi32(low, high));
}

// Samples of 16 bits. Pixels stand in another order in the lanes: 0, 1, 4, 5, 2, 3, 6, 7.

// Four samples of 16 bits of four points, for the pixels 0 to 3 or 4 to 7, one after the other.
template <int Half>
NUV_TARGET("avx2")
inline __m256i gather(const std::uint16_t* samples, __m256i points)
{
    const __m128i low = _mm256_castsi256_si128(points);
    const __m128i high = _mm256_extracti128_si256(points, 1);
    const __m128i four = Half == 0 ? _mm_unpacklo_epi64(low, high) : _mm_unpackhi_epi64(low, high);
    return _mm256_i32gather_epi64(reinterpret_cast<const long long*>(samples), four, 8);
}

// Four samples for each of four pixels. Half of the range is taken from each sample, so that it has
// a sign, and as weights sum up to one it is missing from the result, too.
template <int Half>
NUV_TARGET("avx2")
inline __m256i interpolate(const Corners& corners, const std::uint16_t* samples)
{
    const __m256i middle = _mm256_set1_epi16(std::numeric_limits<std::int16_t>::min());
    const __m256i a = _mm256_xor_si256(gather<Half>(samples, corners.points[0]), middle);
    const __m256i b = _mm256_xor_si256(gather<Half>(samples, corners.points[1]), middle);
    const __m256i c = _mm256_xor_si256(gather<Half>(samples, corners.points[2]), middle);
    const __m256i d = _mm256_xor_si256(gather<Half>(samples, corners.points[3]), middle);
    const __m256i even =
        weigh<2 * Half>(corners, _mm256_unpacklo_epi16(a, b), _mm256_unpacklo_epi16(c, d));
    const __m256i odd =
        weigh<2 * Half + 1>(corners, _mm256_unpackhi_epi16(a, b), _mm256_unpackhi_epi16(c, d));
    return _mm256_xor_si256(_mm256_packs_epi32(even, odd), middle);
}

// The sample of `axis` of each pixel in 32 bits.
NUV_TARGET("avx2")
inline __m256i samples_of(__m256i first_four, __m256i second_four, int axis)
{
    // Pixels 0 and 1 stand in the lower half of four, 2 and 3 in the last 12 bytes of the upper.
    const __m256i none = _mm256_set1_epi8(-1);
    const __m256i low =
        _mm256_setr_epi8(0, 1, -1, -1, 6, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 4, 5, -1, -1,
                         10, 11, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i is_none = _mm256_cmpeq_epi8(low, none);
    const __m256i step = _mm256_set1_epi8(static_cast<char>(2 * axis));
    const __m256i order = _mm256_or_si256(_mm256_add_epi8(low, step), is_none);
    return _mm256_or_si256(_mm256_shuffle_epi8(first_four, order),
                           _mm256_slli_si256(_mm256_shuffle_epi8(second_four, order), 8));
}

// Writes up to four bytes past the four pixels.
NUV_TARGET("avx2")
inline void store(std::uint16_t* out, __m256i quads, std::size_t outputs)
{
    if (outputs == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), quads);
        return;
    }
    const __m256i three = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
    const __m256i one = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 8, 9, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    const __m256i packed = _mm256_shuffle_epi8(quads, outputs == 3 ? three : one);
    const __m128i low = _mm256_castsi256_si128(packed);
    const __m128i high = _mm256_extracti128_si256(packed, 1);
    if (outputs == 3) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 6), high);
        return;
    }
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi32(low, high));
}

// Of the three axes, in points, which have four samples.
template <class T>
NUV_TARGET("avx2")
inline __m256i stride_of(const NUV_DLutGrid<T>& grid, std::size_t axis)
{
    return _mm256_set1_epi32(static_cast<int>(grid.strides[axis] / 4));
}

} // namespace

NUV_TARGET("avx2")
void dlut_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                   const NUV_DLutGrid<std::uint8_t>& grid)
{
    const __m256i strides[3] = {stride_of(grid, 0), stride_of(grid, 1), stride_of(grid, 2)};
    __m256i shuffles[3];
    for (int axis = 0; axis < 3; ++axis) {
        // Bytes 0, 3, 6 and 9 behind `axis`, each with three zeros behind it.
        const int zeros = static_cast<int>(0x80808000U);
        shuffles[axis] = _mm256_broadcastsi128_si256(
            _mm_setr_epi32(zeros + axis, zeros + axis + 3, zeros + axis + 6, zeros + axis + 9));
    }
    // Each step reads and may write four bytes past its eight pixels: two more must follow.
    std::size_t i = 0;
    for (; i + pixels_at_once + 2 <= pixels; i += pixels_at_once) {
        const std::uint8_t* from = in + 3 * i;
        prefetch_ahead(from, 3 * pixels_at_once);
        prefetch_ahead(out + grid.outputs * i, 3 * pixels_at_once);
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 12));
        const __m256i both = _mm256_set_m128i(high, low);
        const Axis axes[3] = {
            locate(_mm256_shuffle_epi8(both, shuffles[0]), strides[0], grid.places),
            locate(_mm256_shuffle_epi8(both, shuffles[1]), strides[1], grid.places),
            locate(_mm256_shuffle_epi8(both, shuffles[2]), strides[2], grid.places)};
        const __m256i quads = interpolate(find_corners(axes, strides), grid.samples);
        store(out + grid.outputs * i, quads, grid.outputs);
    }
    dlut_row_portable<std::uint8_t, 3>(in + 3 * i, out + grid.outputs * i, pixels - i, grid);
}

NUV_TARGET("avx2")
void dlut_row_avx2(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
                   const NUV_DLutGrid<std::uint16_t>& grid)
{
    const __m256i strides[3] = {stride_of(grid, 0), stride_of(grid, 1), stride_of(grid, 2)};
    // Each step may write four bytes past its eight pixels: one more must follow.
    std::size_t i = 0;
    for (; i + pixels_at_once + 1 <= pixels; i += pixels_at_once) {
        const std::uint16_t* from = in + 3 * i;
        prefetch_ahead(from, 3 * pixels_at_once * sizeof *in);
        prefetch_ahead(out + grid.outputs * i, 3 * pixels_at_once * sizeof *out);
        const __m256i first = load_two(from, from + 4);
        const __m256i second = load_two(from + 12, from + 16);
        const Axis axes[3] = {locate(samples_of(first, second, 0), strides[0], grid.places),
                              locate(samples_of(first, second, 1), strides[1], grid.places),
                              locate(samples_of(first, second, 2), strides[2], grid.places)};
        const Corners corners = find_corners(axes, strides);
        std::uint16_t* to = out + grid.outputs * i;
        store(to, interpolate<0>(corners, grid.samples), grid.outputs);
        store(to + 4 * grid.outputs, interpolate<1>(corners, grid.samples), grid.outputs);
    }
    dlut_row_portable<std::uint16_t, 3>(in + 3 * i, out + grid.outputs * i, pixels - i, grid);
}

} // namespace nuv

#endif // NUV_X86
