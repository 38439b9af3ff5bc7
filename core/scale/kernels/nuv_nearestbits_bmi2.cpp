#include "core/scale/kernels/nuv_nearestbits_kernels.h"

#if NUV_X86

#    include <algorithm>
#    include <bit>
#    include <cstring>
#    include <immintrin.h>

namespace nuv {
namespace {

constexpr std::size_t word_bytes = sizeof(std::uint64_t);

// Eight bytes with the first one highest, of which `count` are there; the others are 0.
[[nodiscard]] inline std::uint64_t load_bytes(const std::uint8_t* from, std::size_t count) noexcept
{
    std::uint64_t word = 0;
    std::memcpy(&word, from, count);
    return __builtin_bswap64(word);
}

inline void store_bytes(std::uint8_t* to, std::uint64_t word, std::size_t count) noexcept
{
    word = __builtin_bswap64(word);
    std::memcpy(to, &word, count);
}

// Each bit together with all above it, by exclusive or.
[[nodiscard]] constexpr std::uint64_t sum_from_top(std::uint64_t bits) noexcept
{
    for (unsigned step = 1; step < 64; step *= 2)
        bits ^= bits >> step;
    return bits;
}

} // namespace

// pext() and pdep() take and put bits from the lowest up, so that the order of pixels stands.
NUV_TARGET("bmi2,popcnt")
void shrink_bits_bmi2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    std::uint64_t held = 0; // the lowest `count` bits, what is above them does not matter
    unsigned count = 0;
    const std::size_t whole = bits.in_bytes / word_bytes;
    for (std::size_t i = 0; i < bits.words.size(); ++i) {
        const std::uint8_t* const from = in + i * word_bytes;
        const std::uint64_t mask = bits.words[i].mask;
        const std::uint64_t word = i < whole ? load_bytes(from, word_bytes)
                                             : load_bytes(from, bits.in_bytes - i * word_bytes);
        const std::uint64_t taken = _pext_u64(word, mask);
        const unsigned all = count + static_cast<unsigned>(_mm_popcnt_u64(mask));
        if (all < 64) {
            held = held << (all - count) | taken;
            count = all;
            continue;
        }
        store_bytes(out, held << 1 << (63 - count) | taken >> (all - 64), word_bytes);
        out += word_bytes;
        held = taken;
        count = all - 64;
    }
    store_bytes(out, held << 1 << (63 - count), (count + 7) / 8);
}

// The changes of colour of the source, put where the output goes on to the next pixel: from these
// follow the colours.
NUV_TARGET("bmi2,popcnt")
void enlarge_bits_bmi2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    std::size_t left = bits.pixels.size();
    for (const NUV_NearestBits::Word& word : bits.words) {
        const std::size_t at = word.first / 8;
        const unsigned shift = word.first % 8;
        const std::size_t there = std::min(bits.in_bytes - at, word_bytes);
        std::uint64_t source =
            (there == word_bytes ? load_bytes(in + at, word_bytes) : load_bytes(in + at, there))
            << shift;
        if (bits.in_bytes - at > word_bytes)
            source |= in[at + word_bytes] >> (8 - shift);
        const std::uint64_t changes = source ^ source >> 1; // the first pixel is changed from 0
        const auto count = static_cast<unsigned>(_mm_popcnt_u64(word.mask));
        std::uint64_t pixels = sum_from_top(_pdep_u64(changes >> (64 - count), word.mask));
        if (left >= 64) {
            store_bytes(out, pixels, word_bytes);
            out += word_bytes;
            left -= 64;
        } else {
            pixels &= ~(~std::uint64_t{0} >> left);
            store_bytes(out, pixels, (left + 7) / 8);
        }
    }
}

} // namespace nuv

#endif // NUV_X86
