#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace nuv {

// A code word as the standard prints it, and what it stands for.
struct QDHuffmanCode {
    std::int16_t value = 0;
    std::string_view word;
};

// The value of T.4's EOL in the tables of runs.
inline constexpr std::int16_t huffman_eol = -1000;
// The value of patterns that begin with no code.
inline constexpr std::int16_t huffman_undefined = -9999;

// Finds the code at the head of `Bits` bits with one access.
template <std::uint32_t Bits>
class QDHuffmanLUT4Decoder {
public:
    struct Entry {
        std::int16_t value = huffman_undefined;
        std::uint8_t length = 0; // of the code, in bits; 0 for patterns that begin with no code
    };

    // No code may be longer than `Bits` or the beginning of another one: is_prefix_free() tells.
    template <std::size_t Count>
    explicit constexpr QDHuffmanLUT4Decoder(const std::array<QDHuffmanCode, Count>& codes) noexcept
    {
        for (const QDHuffmanCode& code : codes) {
            const Slots slots(code.word);
            for (std::size_t i = slots.first; i < slots.behind; ++i) {
                is_prefix_free_ = is_prefix_free_ && entries_[i].length == 0;
                entries_[i] = {code.value, static_cast<std::uint8_t>(code.word.size())};
            }
        }
    }

    [[nodiscard]] constexpr bool is_prefix_free() const noexcept { return is_prefix_free_; }
    [[nodiscard]] constexpr Entry operator[](std::size_t pattern) const noexcept
    {
        return entries_[pattern];
    }

private:
    // The patterns that begin with a code.
    struct Slots {
        std::size_t first = 0;
        std::size_t behind = 0;

        explicit constexpr Slots(std::string_view word) noexcept
        {
            for (const char bit : word)
                first = first << 1 | (bit == '1' ? 1U : 0U);
            const std::size_t rest = Bits - word.size();
            behind = (first + 1) << rest;
            first <<= rest;
        }
    };

    std::array<Entry, std::size_t{1} << Bits> entries_;
    bool is_prefix_free_ = true;
};

} // namespace nuv
