#pragma once

#include "core/jpeg/source/nuv_jpegprimitives.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace nuv {

// Bytes at `bytes`, which needs no alignment, as a number, the first byte highest.
[[nodiscard]] inline std::uint64_t load_be64_bytes(const std::uint8_t* bytes) noexcept
{
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof(value));
    if constexpr (std::endian::native == std::endian::little)
        value = __builtin_bswap64(value);
    return value;
}

inline void store_be64_bytes(std::uint8_t* bytes, std::uint64_t value) noexcept
{
    if constexpr (std::endian::native == std::endian::little)
        value = __builtin_bswap64(value);
    std::memcpy(bytes, &value, sizeof(value));
}

[[nodiscard]] constexpr bool has_byte_ff(std::uint64_t bytes) noexcept
{
    constexpr std::uint64_t ones = 0x0101010101010101;
    return (bytes & ~(bytes + ones) & (ones << 7)) != 0;
}

// Puts bits into entropy-coded data, the most significant first, with a 0 byte behind each 0xFF
// (T.81, F.1.2.3). It does not look at the end of its output: whoever writes makes sure that 2
// bytes are free for each 8 bits, held ones included.
class NUV_JPEGBitWriter {
public:
    NUV_JPEGBitWriter(std::uint8_t* output, const NUV_JPEGEncodeState& state) noexcept :
        output_(output), accumulator_(state.accumulator), free_(64 - static_cast<int>(state.bits))
    {
    }

    // `count` is 0 to 32; no bit of `bits` above these is set.
    void put(std::uint64_t bits, int count) noexcept
    {
        free_ -= count;
        if (free_ > 0) {
            accumulator_ = accumulator_ << count | bits;
            return;
        }
        // As much as fits, which may be all of it; the top bits of what stays behind in the
        // accumulator are already written and are shifted out before they count again.
        emit(accumulator_ << (count + free_) | bits >> -free_);
        accumulator_ = bits;
        free_ += 64;
    }

    // Writes the held bits, padded with ones to a whole byte.
    void flush() noexcept
    {
        put(0x7F, 7);
        for (int held = 64 - free_; held >= 8; held -= 8)
            put_byte(static_cast<std::uint8_t>(accumulator_ >> (held - 8)));
        accumulator_ = 0;
        free_ = 64;
    }

    [[nodiscard]] std::uint8_t* output() const noexcept { return output_; }

    void store(NUV_JPEGEncodeState& state) const noexcept
    {
        state.accumulator = accumulator_;
        state.bits = static_cast<std::uint32_t>(64 - free_);
    }

private:
    void put_byte(std::uint8_t byte) noexcept
    {
        *output_++ = byte;
        if (byte == 0xFF)
            *output_++ = 0;
    }

    void emit(std::uint64_t bytes) noexcept
    {
        if (!has_byte_ff(bytes)) {
            store_be64_bytes(output_, bytes);
            output_ += sizeof(bytes);
            return;
        }
        for (int shift = 56; shift >= 0; shift -= 8)
            put_byte(static_cast<std::uint8_t>(bytes >> shift));
    }

    std::uint8_t* output_;
    std::uint64_t accumulator_;
    int free_; // bits, 1 to 64
};

} // namespace nuv
