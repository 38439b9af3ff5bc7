#include "core/dlut/source/nuv_dlut_kernels.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t pixels_at_once = 8;

// Eight pixels, one in each 32-bit lane.
struct Axis {
    __m256i offset;   // of the grid point below, in points
    __m256i fraction; // from it on
};

struct Corners {
    __m256i samples[4]; // four bytes of each of the four points
    __m256i weights[2]; // of the first and second, the third and fourth: 16 bits each
};

// `shuffle` puts the sample of one channel alone into each lane.
NUV_TARGET("avx2")
inline Axis locate(__m256i pixels, __m256i shuffle, __m256i stride, const std::uint32_t* places)
{
    const __m256i samples = _mm256_shuffle_epi8(pixels, shuffle);
    const __m256i place = _mm256_i32gather_epi32(reinterpret_cast<const int*>(places), samples, 4);
    return {_mm256_mullo_epi32(_mm256_srli_epi32(place, dlut_fraction_bits), stride),
            _mm256_and_si256(place, _mm256_set1_epi32(dlut_fraction_mask))};
}

NUV_TARGET("avx2")
inline __m256i gather(const std::uint8_t* samples, __m256i points)
{
    return _mm256_i32gather_epi32(reinterpret_cast<const int*>(samples), points, 4);
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
inline Corners find_corners(const Axis (&axes)[3], const __m256i (&strides)[3],
                            const std::uint8_t* samples)
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
    return {{gather(samples, near), gather(samples, _mm256_add_epi32(near, first)),
             gather(samples, _mm256_sub_epi32(far, last)), gather(samples, far)},
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
    return _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(dlut_half)), dlut_shift);
}

// Four bytes for each of the eight pixels.
NUV_TARGET("avx2")
inline __m256i interpolate(const Corners& corners)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i a01 = _mm256_unpacklo_epi8(corners.samples[0], corners.samples[1]);
    const __m256i a23 = _mm256_unpackhi_epi8(corners.samples[0], corners.samples[1]);
    const __m256i b01 = _mm256_unpacklo_epi8(corners.samples[2], corners.samples[3]);
    const __m256i b23 = _mm256_unpackhi_epi8(corners.samples[2], corners.samples[3]);
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

} // namespace

NUV_TARGET("avx2")
void dlut_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                   const NUV_DLutGrid<std::uint8_t>& grid)
{
    __m256i strides[3];
    __m256i shuffles[3];
    for (int axis = 0; axis < 3; ++axis) {
        // In points, which have four samples.
        strides[axis] =
            _mm256_set1_epi32(static_cast<int>(grid.strides[static_cast<std::size_t>(axis)] / 4));
        // Bytes 0, 3, 6 and 9 behind `axis`, each with three zeros behind it.
        const int zeros = static_cast<int>(0x80808000U);
        shuffles[axis] = _mm256_broadcastsi128_si256(
            _mm_setr_epi32(zeros + axis, zeros + axis + 3, zeros + axis + 6, zeros + axis + 9));
    }
    // Each step reads and may write four bytes past its eight pixels: two more must follow.
    std::size_t i = 0;
    for (; i + pixels_at_once + 2 <= pixels; i += pixels_at_once) {
        const std::uint8_t* from = in + 3 * i;
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 12));
        const __m256i both = _mm256_set_m128i(high, low);
        const Axis axes[3] = {locate(both, shuffles[0], strides[0], grid.places),
                              locate(both, shuffles[1], strides[1], grid.places),
                              locate(both, shuffles[2], strides[2], grid.places)};
        const __m256i quads = interpolate(find_corners(axes, strides, grid.samples));
        store(out + grid.outputs * i, quads, grid.outputs);
    }
    dlut_row_portable<std::uint8_t, 3>(in + 3 * i, out + grid.outputs * i, pixels - i, grid);
}

} // namespace nuv

#endif // NUV_X86
