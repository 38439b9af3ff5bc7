#include "core/rotate/source/nuv_rotate90_1_kernels.h"

#if NUV_X86

#    include <cstring>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::uint32_t chunk_bytes = 16; // of source lines, 128 columns
constexpr std::size_t octet = 8;          // groups whose bytes make a word of an output line

using Octet = std::span<const Rotate90Group, octet>;

NUV_TARGET("avx2")
inline __m256i load_rows(const std::uint8_t* low, const std::uint8_t* high)
{
    return _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(high)),
                            _mm_loadu_si128(reinterpret_cast<const __m128i*>(low)));
}

// 32 rows of 16 bytes, of four groups, to 16 columns. The sign bits of a column are gathered with
// the first byte in the lowest bit, but the first row of a group belongs in the top bit of its
// byte.
NUV_TARGET("avx2")
inline void load_columns(std::span<const Rotate90Group, octet / 2> groups, std::size_t from,
                         __m256i (&columns)[chunk_bytes])
{
    for (std::size_t i = 0; i < 8; ++i) {
        columns[i] = load_rows(groups[0].rows[7 - i] + from, groups[2].rows[7 - i] + from);
        columns[i + 8] = load_rows(groups[1].rows[7 - i] + from, groups[3].rows[7 - i] + from);
    }
    // As in transpose_bytes(), in both halves.
    for (int round = 0; round < 4; ++round) {
        __m256i mixed[chunk_bytes];
        for (std::size_t i = 0; i < 8; ++i) {
            mixed[2 * i] = _mm256_unpacklo_epi8(columns[i], columns[i + 8]);
            mixed[2 * i + 1] = _mm256_unpackhi_epi8(columns[i], columns[i + 8]);
        }
        for (std::size_t i = 0; i < chunk_bytes; ++i)
            columns[i] = mixed[i];
    }
}

// The bytes that a band before this one has begun.
[[nodiscard]] std::uint64_t joined_bytes(Octet groups) noexcept
{
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < octet; ++i)
        mask |= groups[i].joins ? std::uint64_t{0xFF} << (8 * i) : 0;
    return mask;
}

// Eight groups, 128 columns. `joined` is what joined_bytes() says, Joins that it is not 0.
template <bool Joins>
NUV_TARGET("avx2")
void rotate_chunk(Octet groups, std::size_t from, const Rotate90Lines& lines,
                  [[maybe_unused]] std::uint64_t joined)
{
    __m256i low[chunk_bytes];
    __m256i high[chunk_bytes];
    load_columns(groups.first<octet / 2>(), from, low);
    load_columns(groups.last<octet / 2>(), from, high);
    std::uint8_t* out =
        lines.out + groups[0].column + static_cast<std::ptrdiff_t>(from * 8) * lines.out_step;
    const std::ptrdiff_t step = lines.out_step;
    for (std::size_t byte = 0; byte < chunk_bytes; ++byte) {
        __m256i upper = low[byte];
        __m256i lower = high[byte];
        for (int i = 0; i < 8; ++i, out += step) {
            const auto first = static_cast<std::uint32_t>(_mm256_movemask_epi8(upper));
            const auto last = static_cast<std::uint32_t>(_mm256_movemask_epi8(lower));
            upper = _mm256_add_epi8(upper, upper);
            lower = _mm256_add_epi8(lower, lower);
            std::uint64_t word = std::uint64_t{last} << 32 | first;
            if constexpr (Joins) {
                std::uint64_t begun;
                std::memcpy(&begun, out, sizeof(begun));
                word |= begun & joined;
            }
            std::memcpy(out, &word, sizeof(word));
        }
    }
}

} // namespace

NUV_TARGET("avx2")
void rotate90groups_avx2(std::span<const Rotate90Group> groups, const Rotate90Lines& lines)
{
    // Eight groups at a time here, what is left in the other forms.
    const std::uint32_t chunks = lines.width / (chunk_bytes * 8);
    const auto octets = groups.first(groups.size() / octet * octet);
    for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
        const std::size_t from = std::size_t{chunk} * chunk_bytes;
        for (std::size_t i = 0; i < octets.size(); i += octet) {
            const Octet eight = octets.subspan(i).first<octet>();
            const std::uint64_t joined = joined_bytes(eight);
            const auto rotate = joined != 0 ? rotate_chunk<true> : rotate_chunk<false>;
            rotate(eight, from, lines, joined);
        }
    }
    rotate90groups_from(octets, lines, chunks * chunk_bytes * 8);
    rotate90groups_sse2(groups.subspan(octets.size()), lines);
}

} // namespace nuv

#endif // NUV_X86
