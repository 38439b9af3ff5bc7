#include "core/include/nuv_reversebits_kernels.h"

#include <cstring>

namespace nuv {
namespace {

[[nodiscard]] std::uint64_t load_word(const std::uint8_t* from) noexcept
{
    std::uint64_t word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

// Each byte end for end.
[[nodiscard]] constexpr std::uint64_t reverse_in_bytes(std::uint64_t word) noexcept
{
    word = (word >> 1 & 0x5555555555555555) | (word & 0x5555555555555555) << 1;
    word = (word >> 2 & 0x3333333333333333) | (word & 0x3333333333333333) << 2;
    return (word >> 4 & 0x0F0F0F0F0F0F0F0F) | (word & 0x0F0F0F0F0F0F0F0F) << 4;
}

// The bytes b of `low` with the bits before them: (b >> shift) | (byte before << (8 - shift)),
// where `high` holds the bytes before.
[[nodiscard]] constexpr std::uint64_t shift_bytes(std::uint64_t low, std::uint64_t high,
                                                  unsigned shift) noexcept
{
    constexpr std::uint64_t each_byte = 0x0101010101010101;
    const std::uint64_t kept_of_low = each_byte * (0xFFU >> shift);
    const std::uint64_t kept_of_high = each_byte * (0xFFU << (8 - shift) & 0xFFU);
    return (low >> shift & kept_of_low) | (high << (8 - shift) & kept_of_high);
}

} // namespace

void reverse_bits_portable(const std::uint8_t* in, std::uint8_t* out, std::uint32_t width)
{
    const std::size_t bytes = (std::size_t{width} + 7) >> 3;
    const unsigned pad = static_cast<unsigned>(bytes * 8 - width);
    // Byte i of the output is made of byte bytes-1-i of the input, less its pad bits, and of the
    // lowest bits of the byte before that.
    constexpr std::size_t step = sizeof(std::uint64_t);
    std::size_t i = 0;
    for (; i + step < bytes; i += step) {
        const std::uint8_t* from = in + (bytes - i - step);
        std::uint64_t word = load_word(from);
        if (pad != 0)
            word = shift_bytes(word, load_word(from - 1), pad);
        word = __builtin_bswap64(reverse_in_bytes(word));
        std::memcpy(out + i, &word, sizeof(word));
    }
    for (; i < bytes; ++i) {
        const std::size_t from = bytes - 1 - i;
        const unsigned before = from > 0 ? in[from - 1] : 0U;
        const unsigned byte = (in[from] >> pad | before << (8 - pad)) & 0xFF;
        out[i] = static_cast<std::uint8_t>(reverse_in_bytes(byte));
    }
}

} // namespace nuv
