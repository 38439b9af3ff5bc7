#include "core/rotate/source/nuv_rotate90_1_kernels.h"

#if NUV_X86

#    include "core/rotate/source/nuv_transpose_sse2.h"

#    include <emmintrin.h>

namespace nuv {
namespace {

constexpr std::uint32_t chunk_bytes = 16; // of source lines, 128 columns

// Two groups, 128 columns.
NUV_TARGET("sse2")
void rotate_chunk(const Rotate90Group& a, const Rotate90Group& b, std::size_t from,
                  const Rotate90Lines& lines)
{
    // The sign bits of 16 bytes are gathered with the first byte in the lowest bit, but the first
    // row of a group belongs in the top bit of its byte.
    __m128i rows[16];
    for (std::size_t i = 0; i < 8; ++i) {
        rows[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a.rows[7 - i] + from));
        rows[i + 8] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b.rows[7 - i] + from));
    }
    transpose_bytes(rows);
    std::uint8_t* out = lines.out + static_cast<std::ptrdiff_t>(from * 8) * lines.out_step;
    for (__m128i bits : rows) {
        for (int i = 0; i < 8; ++i, out += lines.out_step) {
            const auto gathered = static_cast<unsigned>(_mm_movemask_epi8(bits));
            bits = _mm_add_epi8(bits, bits);
            const unsigned joined_a = a.joins ? out[a.column] : 0U;
            const unsigned joined_b = b.joins ? out[b.column] : 0U;
            out[a.column] = static_cast<std::uint8_t>(joined_a | gathered);
            out[b.column] = static_cast<std::uint8_t>(joined_b | gathered >> 8);
        }
    }
}

} // namespace

NUV_TARGET("sse2")
void rotate90groups_sse2(std::span<const Rotate90Group> groups, const Rotate90Lines& lines)
{
    // Whole chunks of pairs of groups here, what is left of either in the portable form.
    const std::uint32_t chunks = lines.width / (chunk_bytes * 8);
    const std::span<const Rotate90Group> pairs = groups.first(groups.size() & ~std::size_t{1});
    for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
        for (std::size_t i = 0; i < pairs.size(); i += 2)
            rotate_chunk(pairs[i], pairs[i + 1], std::size_t{chunk} * chunk_bytes, lines);
    }
    if (pairs.size() < groups.size())
        rotate90groups_portable(groups.subspan(pairs.size()), lines);

    rotate90groups_from(pairs, lines, chunks * chunk_bytes * 8);
}

} // namespace nuv

#endif // NUV_X86
