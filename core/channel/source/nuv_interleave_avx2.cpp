#include "core/channel/source/nuv_interleave_kernels.h"
#include "framework/base/nuv_prefetch.h"

#if NUV_X86

#    include "core/include/nuv_triples_avx2.h"

#    include <immintrin.h>

namespace nuv {

template <class T>
NUV_TARGET("avx2")
void interleave_triples_avx2(const T* first, const T* second, const T* third, T* out,
                             std::size_t pixels)
{
    constexpr std::size_t group = sizeof(__m256i) / sizeof(T); // pixels
    const auto make_group = [&]() NUV_TARGET("avx2") {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second));
        const __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(third));
        store_triples(out, a, b, c);
        first += group;
        second += group;
        third += group;
        out += 3 * group;
    };
    for (; pixels >= 2 * group; pixels -= 2 * group) {
        prefetch_ahead(first, 2 * sizeof(__m256i));
        prefetch_ahead(second, 2 * sizeof(__m256i));
        prefetch_ahead(third, 2 * sizeof(__m256i));
        prefetch_ahead(out, 6 * sizeof(__m256i));
        make_group();
        make_group();
    }
    interleave_triples_portable(first, second, third, out, pixels);
}

template void interleave_triples_avx2(const std::uint8_t*, const std::uint8_t*, const std::uint8_t*,
                                      std::uint8_t*, std::size_t);
template void interleave_triples_avx2(const std::uint16_t*, const std::uint16_t*,
                                      const std::uint16_t*, std::uint16_t*, std::size_t);

} // namespace nuv

#endif // NUV_X86
