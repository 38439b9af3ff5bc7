#include "core/tiff/source/nuv_chromaunits_kernels.h"

#if NUV_X86

#    include "core/include/nuv_pixelvectors_avx2.h"

#    include <array>

namespace nuv {
namespace {

constexpr std::size_t made = 12; // bytes, four pixels, by a shuffle of 16
constexpr std::size_t read = 16;

// Which bytes of the units at hand become four pixels of a row of theirs.
template <std::size_t Across, std::size_t Down>
constexpr auto orders = [] {
    std::array<std::array<std::int8_t, read>, Down> table{};
    for (std::size_t row = 0; row < Down; ++row) {
        for (std::size_t i = 0; i < read; ++i) {
            const std::size_t pixel = i / 3;
            const std::size_t begin = pixel / Across * chroma_unit_bytes<Across, Down>;
            const std::size_t sample =
                i % 3 == 0 ? row * Across + pixel % Across : Across * Down + i % 3 - 1;
            table[row][i] = i < made ? static_cast<std::int8_t>(begin + sample) : std::int8_t{-1};
        }
    }
    return table;
}();

} // namespace

// Eight pixels at a time, from two places. The four bytes behind each four pixels are made by the
// next store.
template <std::size_t Across, std::size_t Down>
NUV_TARGET("avx2")
void expand_chroma_units_avx2(const std::uint8_t* units, std::uint8_t* out, std::size_t width,
                              std::size_t row)
{
    constexpr std::size_t step = 4 / Across * chroma_unit_bytes<Across, Down>;
    constexpr std::size_t least = 16; // pixels whose units and bytes both hold what is touched
    static_assert(least / Across * chroma_unit_bytes<Across, Down> >= step + read);
    static_assert(least * 3 >= made + read);

    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(orders<Across, Down>[row].data())));
    for (; width >= least; width -= 8, units += 2 * step, out += 2 * made) {
        const __m256i pixels = _mm256_shuffle_epi8(load_two(units, units + step), order);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(pixels));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + made),
                         _mm256_extracti128_si256(pixels, 1));
    }
    expand_chroma_units_portable<Across, Down>(units, out, width, row);
}

template void expand_chroma_units_avx2<2, 1>(const std::uint8_t*, std::uint8_t*, std::size_t,
                                             std::size_t);
template void expand_chroma_units_avx2<2, 2>(const std::uint8_t*, std::uint8_t*, std::size_t,
                                             std::size_t);
template void expand_chroma_units_avx2<4, 1>(const std::uint8_t*, std::uint8_t*, std::size_t,
                                             std::size_t);

} // namespace nuv

#endif // NUV_X86
