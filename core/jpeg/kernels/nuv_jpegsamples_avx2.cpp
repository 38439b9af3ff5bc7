#include "core/jpeg/kernels/nuv_jpegsamples.h"

#if NUV_X86

#    include "core/include/nuv_triples_avx2.h"

#    include <immintrin.h>

namespace nuv {
namespace {

NUV_TARGET("avx2")
inline __m256i load(const std::uint8_t* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

NUV_TARGET("avx2")
void interleave_3_avx2(const std::uint8_t* const* in, std::uint8_t* out, std::size_t count)
{
    constexpr std::size_t step = 32;
    const std::uint8_t* const rows[3] = {in[0], in[1], in[2]};
    std::size_t i = 0;
    for (; i + step <= count; i += step)
        store_triples(out + 3 * i, load(rows[0] + i), load(rows[1] + i), load(rows[2] + i));
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
