#pragma once

#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegbytes.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace nuv {

// T.81, F.2.2.1: EXTEND. The value that `count` (1 to 16) low bits stand for.
[[nodiscard]] constexpr std::int32_t extend_sign(std::uint32_t bits, std::uint32_t count) noexcept
{
    const auto value = static_cast<std::int32_t>(bits);
    const bool negative = (bits >> (count - 1)) == 0;
    return negative ? value + 1 - (std::int32_t{1} << count) : value;
}

// Takes bits out of entropy-coded data, the most significant first, dropping the 0 byte behind
// each 0xFF and stopping at a marker (T.81, F.2.2.5). It works on copies of position and state;
// store() puts them back.
class NUV_JPEGBitReader {
public:
    // 0 <= position <= size, and at most 64 bits in the state.
    NUV_JPEGBitReader(const std::uint8_t* input, std::int32_t size, std::int32_t position,
                      std::uint8_t* marker, const NUV_JPEGDecodeState& state) noexcept
        : input_(input),
          end_(*marker == 0 ? input + size : input + position),
          next_(input + position),
          bits_(state.bits),
          accumulator_(state.accumulator),
          marker_(marker)
    {}

    // Whether `count` bits (at most 48) are held, after reading on when they are not.
    [[nodiscard]] bool holds(std::uint32_t count) noexcept
    {
        if (bits_ >= count) [[likely]]
            return true;
        refill();
        return bits_ >= count;
    }

    // Why holds() said no.
    [[nodiscard]] NUV_JPEGResult shortage() const noexcept
    {
        return *marker_ != 0 ? NUV_JPEGResult::no_code : NUV_JPEGResult::out_of_data;
    }

    // Reads on until 56 bits or more are held, unless the data does not go on.
    void fill() noexcept
    {
        if (bits_ <= 56) [[likely]]
            refill();
    }

    // What is held, the next bit highest; what lies below is not defined.
    [[nodiscard]] std::uint64_t held_bits() const noexcept { return accumulator_; }
    // Puts back what is left of held_bits() after taking `count` bits.
    void keep(std::uint64_t left, std::uint32_t count) noexcept
    {
        accumulator_ = left;
        bits_ -= count;
    }

    // Bits that were read and not taken.
    [[nodiscard]] std::uint32_t held() const noexcept { return bits_; }
    // Bytes of the input that are not taken yet; none behind a marker.
    [[nodiscard]] std::int64_t unread() const noexcept { return end_ - next_; }

    // The next `count` bits, 1 to 32, which must be held.
    [[nodiscard]] std::uint32_t peek(std::uint32_t count) const noexcept
    {
        return static_cast<std::uint32_t>(accumulator_ >> (64 - count));
    }

    void skip(std::uint32_t count) noexcept
    {
        accumulator_ <<= count;
        bits_ -= count;
    }

    [[nodiscard]] std::uint32_t take(std::uint32_t count) noexcept
    {
        const std::uint32_t bits = peek(count);
        skip(count);
        return bits;
    }

    // The same for 0 to 32 bits.
    [[nodiscard]] std::uint32_t take_some(std::uint32_t count) noexcept
    {
        const auto bits = static_cast<std::uint32_t>(accumulator_ >> 1 >> (63 - count));
        skip(count);
        return bits;
    }

    // The value that the next `count` bits, 0 to 16 and held, stand for (T.81, F.2.2.1: EXTEND), 0
    // for no bits. Without a branch, for signs come as they like.
    [[nodiscard]] std::int32_t take_extended(std::uint32_t count) noexcept
    {
        const auto value = static_cast<std::int32_t>(accumulator_ >> 1 >> (63 - count));
        const auto negative =
            ~static_cast<std::int32_t>(static_cast<std::int64_t>(accumulator_) >> 63);
        skip(count);
        return value + ((1 - (std::int32_t{1} << count)) & negative);
    }

    // T.81, F.2.2.3: DECODE. `symbol` is 0 when the answer is not good.
    [[nodiscard]] NUV_JPEGResult read_symbol(const NUV_JPEGDecodeTable& table,
                                             std::uint32_t& symbol) noexcept
    {
        std::uint32_t length = 1;
        if (holds(8)) [[likely]] {
            const NUV_JPEGDecodeTable::Entry entry = table.first_level[peek(8)];
            if (entry.length != 0) [[likely]] {
                skip(entry.length);
                symbol = entry.symbol;
                return NUV_JPEGResult::good;
            }
            length = 9;
        }
        return search_symbol(table, length, symbol);
    }

    void store(std::int32_t& position, NUV_JPEGDecodeState& state) const noexcept
    {
        position = static_cast<std::int32_t>(next_ - input_);
        state.accumulator = accumulator_;
        state.bits = bits_;
    }

private:
    // Holds 56 bits or more afterwards unless the data does not go on.
    void refill() noexcept
    {
        if (end_ - next_ >= 8) [[likely]] {
            const std::uint64_t bytes = load_eight_bytes(next_);
            if (!has_byte_ff(bytes)) [[likely]] {
                // The bits of a byte that finds only half a place are left there: the byte is
                // read again by the next refill, to the same place.
                accumulator_ |= bytes >> bits_;
                next_ += (63 - bits_) >> 3;
                bits_ |= 56;
                return;
            }
        }
        // A copy, so that the reader itself can stay in registers.
        NUV_JPEGBitReader copy = *this;
        copy.refill_with_ff();
        *this = copy;
    }

    // Drops the 0 behind each 0xFF of eight bytes at once. Where a 0xFF is something else, and near
    // the end of the data, byte by byte.
    [[gnu::noinline]] void refill_with_ff() noexcept
    {
        if (end_ - next_ < 8 || bits_ > 56)
            return refill_by_bytes();
        std::uint64_t bytes = load_eight_bytes(next_);
        std::uint64_t found = find_bytes_ff(bytes);
        std::uint32_t taken = (63 - bits_) >> 3; // of what is left without the 0 bytes
        std::uint32_t dropped = 0;
        for (;;) {
            const auto place = static_cast<std::uint32_t>(std::countl_zero(found)) / 8;
            if (place >= taken)
                break;
            const std::uint64_t behind = ~std::uint64_t{0} >> (8 * place + 8);
            if ((bytes & behind) >> (48 - 8 * place) != 0)
                return refill_by_bytes();
            bytes = (bytes & ~behind) | (bytes << 8 & behind);
            found = found << 8 & behind;
            ++dropped;
            // What follows the last byte is not seen.
            taken = std::min(taken, std::max(7 - dropped, place + 1));
        }
        if (taken != 0)
            accumulator_ |= (bytes & ~std::uint64_t{0} << (64 - 8 * taken)) >> bits_;
        next_ += taken + dropped;
        bits_ += 8 * taken;
    }

    void refill_by_bytes() noexcept
    {
        while (bits_ <= 56 && next_ != end_) {
            std::uint64_t byte = *next_;
            if (byte == 0xFF) {
                if (!pass_byte_ff())
                    return;
            } else {
                ++next_;
            }
            accumulator_ |= byte << (56 - bits_);
            bits_ += 8;
        }
    }

    // At a 0xFF: whether it is data, and then goes behind its 0. Fill bytes are passed over, a
    // marker is kept, and a 0xFF that ends the input waits for what follows.
    bool pass_byte_ff() noexcept
    {
        while (end_ - next_ >= 2 && next_[1] == 0xFF)
            ++next_;
        if (end_ - next_ < 2)
            return false;
        const std::uint8_t follower = next_[1];
        next_ += 2;
        if (follower == 0)
            return true;
        *marker_ = follower;
        end_ = next_;
        return false;
    }

    NUV_JPEGResult search_symbol(const NUV_JPEGDecodeTable& table, std::uint32_t length,
                                 std::uint32_t& symbol) noexcept
    {
        symbol = 0;
        for (; length <= 16; ++length) {
            if (!holds(length))
                return shortage();
            const std::uint32_t code = peek(length);
            if (table.largest[length] == NUV_JPEGDecodeTable::no_codes ||
                code > table.largest[length])
                continue;
            skip(length);
            symbol = table.symbols[table.first_index[length] + code - table.smallest[length]];
            return NUV_JPEGResult::good;
        }
        return NUV_JPEGResult::no_code;
    }

    // g++ keeps pairs of neighbours that change in one vector register, so these are none.
    const std::uint8_t* input_;
    const std::uint8_t* end_;
    const std::uint8_t* next_;
    std::uint32_t bits_;        // held
    std::uint64_t accumulator_; // left justified
    std::uint8_t* marker_;
};

} // namespace nuv
