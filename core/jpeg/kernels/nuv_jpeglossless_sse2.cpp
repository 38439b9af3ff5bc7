#include "core/jpeg/kernels/nuv_jpeglossless.h"

#include "core/jpeg/kernels/nuv_jpegforms.h"

#if NUV_X86

#    include <emmintrin.h>

namespace nuv {
namespace {

NUV_TARGET("sse2")
inline __m128i load_8(const std::uint16_t* from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

// What predictors 1, 4 and 5 add to the sample on the left, for eight columns. With that taken out
// the row is a running sum of terms that do not depend on each other.
template <int Predictor>
NUV_TARGET("sse2")
inline __m128i
    step_from_left([[maybe_unused]] const std::uint16_t* previous, [[maybe_unused]] std::int32_t i)
{
    if constexpr (Predictor == 1) {
        return _mm_setzero_si128();
    } else {
        const __m128i above = load_8(previous + i);
        const __m128i corner = load_8(previous + i - 1);
        if constexpr (Predictor == 4)
            return _mm_sub_epi16(above, corner);
        // (b - c) >> 1 of 17 bits: the rounding mean of b and 65535 - c is 32768 more than that.
        const __m128i mean = _mm_avg_epu16(above, _mm_xor_si128(corner, _mm_set1_epi16(-1)));
        return _mm_xor_si128(mean, _mm_set1_epi16(-32768));
    }
}

// output[i] = differences[i] + step + output[i - 1] for i from 1; output[0] stands.
template <int Predictor>
NUV_TARGET("sse2")
void sum_up_row(const std::uint16_t* differences, const std::uint16_t* previous,
                std::uint16_t* output, std::int32_t columns)
{
    std::int32_t i = 1;
    __m128i left = _mm_set1_epi16(static_cast<std::int16_t>(output[0]));
    for (; i + 8 <= columns; i += 8) {
        __m128i sums =
            _mm_add_epi16(load_8(differences + i), step_from_left<Predictor>(previous, i));
        sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 2));
        sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 4));
        sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 8));
        sums = _mm_add_epi16(sums, left);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output + i), sums);
        // The last of the eight everywhere.
        left = _mm_shuffle_epi32(_mm_shufflehi_epi16(sums, 0xFF), 0xFF);
    }
    sum_up_from<Predictor>(i, differences, previous, output, columns);
}

// The other predictors either need no form of their own or cannot have one.
struct Sums {
    template <int Predictor>
    static void row(const std::uint16_t* differences, const std::uint16_t* previous,
                    std::uint16_t* output, std::int32_t columns)
    {
        if constexpr (Predictor == 1 || Predictor == 4 || Predictor == 5)
            sum_up_row<Predictor>(differences, previous, output, columns);
        else
            sum_up_from<Predictor>(1, differences, previous, output, columns);
    }
};

} // namespace

void set_sse2_lossless_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.lossless_first_row = lossless_first_row<Sums>;
    primitives.lossless_other_rows = lossless_other_rows<Sums>;
}

} // namespace nuv

#endif // NUV_X86
