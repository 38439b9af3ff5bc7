#include "core/jpeg/kernels/nuv_jpegsamples.h"

#if NUV_X86

#    include <immintrin.h>

namespace nuv {
namespace {

// Of 16 pixels, the 16 bytes from byte 16 * Part on: each comes from one of three rows.
struct Spread {
    alignas(16) std::int8_t from[3][16];
};

constexpr Spread spread(int part)
{
    Spread indexes{};
    for (int i = 0; i < 16; ++i) {
        const int byte = 16 * part + i;
        for (int row = 0; row < 3; ++row)
            indexes.from[row][i] = static_cast<std::int8_t>(byte % 3 == row ? byte / 3 : -1);
    }
    return indexes;
}

constexpr Spread spreads[3] = {spread(0), spread(1), spread(2)};

NUV_TARGET("avx2")
inline __m128i load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

NUV_TARGET("avx2")
inline __m128i gather(const Spread& indexes, __m128i a, __m128i b, __m128i c)
{
    return _mm_or_si128(_mm_shuffle_epi8(a, load(indexes.from[0])),
                        _mm_or_si128(_mm_shuffle_epi8(b, load(indexes.from[1])),
                                     _mm_shuffle_epi8(c, load(indexes.from[2]))));
}

NUV_TARGET("avx2")
void interleave_3_avx2(const std::uint8_t* const* in, std::uint8_t* out, std::size_t count)
{
    constexpr std::size_t step = 16;
    const std::uint8_t* const rows[3] = {in[0], in[1], in[2]};
    std::size_t i = 0;
    for (; i + step <= count; i += step) {
        const __m128i a = load(rows[0] + i);
        const __m128i b = load(rows[1] + i);
        const __m128i c = load(rows[2] + i);
        auto* to = reinterpret_cast<__m128i*>(out + 3 * i);
        for (std::size_t part = 0; part < 3; ++part)
            _mm_storeu_si128(to + part, gather(spreads[part], a, b, c));
    }
    for (; i < count; ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            out[3 * i + c] = rows[c][i];
    }
}

} // namespace

void set_avx2_sample_forms(NUV_JPEGSampleForms& forms) noexcept
{
    forms.interleave_3 = interleave_3_avx2;
}

} // namespace nuv

#endif // NUV_X86
