#include "core/scale/kernels/nuv_nearestbits_kernels.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h"

#    include <cstring>

namespace nuv {
namespace {

using Window = NUV_NearestBits::Window;

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

// The word of the last window, of which the last may have less than eight bytes.
inline void store_last(const NUV_NearestBits& bits, std::uint64_t word, std::uint8_t* out) noexcept
{
    const std::size_t done = (bits.windows.size() - 1) * Window::pixels;
    std::memcpy(out + done / 8, &word, (bits.out_pixels - done + 7) / 8);
}

NUV_TARGET("avx2")
inline __m256i load(const std::uint8_t* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// Each output pixel takes its byte, and asks that for its bit.
NUV_TARGET("avx2")
inline std::uint32_t half_window(const Window& window, std::size_t half, const std::uint8_t* in)
{
    constexpr std::size_t pixels = Window::pixels / 2;
    const std::uint32_t* const begins = window.begins + half * 2;
    const auto* const low = reinterpret_cast<const __m128i*>(in + begins[0]);
    const auto* const high = reinterpret_cast<const __m128i*>(in + begins[1]);
    const __m256i from = _mm256_set_m128i(_mm_loadu_si128(high), _mm_loadu_si128(low));
    const __m256i bytes = _mm256_shuffle_epi8(from, load(window.bytes + half * pixels));
    const __m256i bits = _mm256_and_si256(bytes, load(window.bits + half * pixels));
    const __m256i white = _mm256_cmpeq_epi8(bits, _mm256_setzero_si256());
    return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(white));
}

NUV_TARGET("avx2")
inline std::uint64_t window_word_avx2(const Window& window, const std::uint8_t* in)
{
    return std::uint64_t{half_window(window, 1, in)} << 32 | half_window(window, 0, in);
}

NUV_TARGET("avx512vbmi,avx512bw")
inline std::uint64_t window_word_avx512(const Window& window, const std::uint8_t* in)
{
    const __m512i bytes = _mm512_permutexvar_epi8(_mm512_loadu_si512(window.bytes),
                                                  _mm512_loadu_si512(in + window.begins[0]));
    return _mm512_test_epi8_mask(bytes, _mm512_loadu_si512(window.bits));
}

} // namespace

NUV_TARGET("avx2")
void move_bits_avx2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    const std::size_t last = bits.windows.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
        const std::uint64_t word = window_word_avx2(bits.windows[i], in);
        std::memcpy(out + i * word_bytes, &word, word_bytes);
    }
    store_last(bits, window_word_avx2(bits.windows[last], in), out);
}

NUV_TARGET("avx512vbmi,avx512bw")
void move_bits_avx512(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    const std::size_t last = bits.windows.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
        const std::uint64_t word = window_word_avx512(bits.windows[i], in);
        std::memcpy(out + i * word_bytes, &word, word_bytes);
    }
    store_last(bits, window_word_avx512(bits.windows[last], in), out);
}

// pext() takes bits from the lowest up, so that the order of pixels stands.
NUV_TARGET("bmi2,popcnt")
void move_bits_bmi2(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    std::uint64_t held = 0; // the lowest `count` bits, what is above them does not matter
    unsigned count = 0;
    const std::size_t whole = bits.in_bytes / word_bytes;
    for (std::size_t i = 0; i < bits.masks.size(); ++i) {
        const std::uint8_t* const from = in + i * word_bytes;
        const std::uint64_t mask = bits.masks[i];
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

} // namespace nuv

#endif // NUV_X86
