#pragma once

#include "core/ccitt/codec/nuv_qdccitttables.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// What the head of `Bits` bits says of a run of one colour: its whole length where the make-up
// codes and the terminating code fit in, else as much of it as does.
template <std::uint32_t Bits>
class QDCCITTRunLookup {
public:
    static constexpr std::uint32_t bits = Bits;

    // In one word, which is taken apart where it is used.
    class Entry {
    public:
        constexpr Entry() = default;
        constexpr Entry(std::uint32_t run, std::uint32_t length, bool is_whole) noexcept
            : word_(length | (is_whole ? whole : 0U) | run << 16)
        {}

        [[nodiscard]] constexpr std::int32_t run() const noexcept
        {
            return static_cast<std::int32_t>(word_ >> 16);
        }
        // In bits; 0 where no run begins.
        [[nodiscard]] constexpr std::uint32_t length() const noexcept { return word_ & 0xFF; }
        // With its terminating code.
        [[nodiscard]] constexpr bool is_whole() const noexcept { return (word_ & whole) != 0; }

    private:
        static constexpr std::uint32_t whole = 0x100;

        std::uint32_t word_ = 0;
    };

    explicit constexpr QDCCITTRunLookup(const QDHuffmanLUT4Decoder<Bits>& codes) noexcept
    {
        for (std::size_t pattern = 0; pattern < entries_.size(); ++pattern)
            entries_[pattern] = find(codes, pattern);
    }

    [[nodiscard]] constexpr Entry operator[](std::size_t pattern) const noexcept
    {
        return entries_[pattern];
    }

private:
    [[nodiscard]] static constexpr Entry find(const QDHuffmanLUT4Decoder<Bits>& codes,
                                              std::size_t pattern) noexcept
    {
        constexpr std::size_t mask = (std::size_t{1} << Bits) - 1;
        std::uint32_t run = 0;
        std::uint32_t length = 0;
        bool is_whole = false;
        while (!is_whole) {
            const auto code = codes[pattern << length & mask];
            if (code.length == 0 || code.value < 0 || length + code.length > Bits)
                break;
            run += static_cast<std::uint32_t>(code.value);
            length += code.length;
            is_whole = code.value < 64;
        }
        return {run, length, is_whole};
    }

    std::array<Entry, std::size_t{1} << Bits> entries_;
};

// Two short runs of alternate colours, where both fit in.
class QDCCITTPairLookup {
public:
    static constexpr std::uint32_t bits = 12;

    // In one word, which is taken apart where it is used.
    class Entry {
    public:
        constexpr Entry() = default;
        constexpr Entry(std::uint32_t first, std::uint32_t second, std::uint32_t length) noexcept
            : word_(length | first << 8 | second << 16)
        {}

        // Of both, in bits; 0 where they do not fit in.
        [[nodiscard]] constexpr std::uint32_t length() const noexcept { return word_ & 0xFF; }
        [[nodiscard]] constexpr std::int32_t first() const noexcept
        {
            return static_cast<std::int32_t>(word_ >> 8 & 0xFF);
        }
        [[nodiscard]] constexpr std::int32_t second() const noexcept
        {
            return static_cast<std::int32_t>(word_ >> 16);
        }

    private:
        std::uint32_t word_ = 0;
    };

    template <std::uint32_t FirstBits, std::uint32_t SecondBits>
    constexpr QDCCITTPairLookup(const QDHuffmanLUT4Decoder<FirstBits>& first_codes,
                                const QDHuffmanLUT4Decoder<SecondBits>& second_codes) noexcept
    {
        for (std::size_t pattern = 0; pattern < entries_.size(); ++pattern) {
            const auto first = first_codes[pattern << FirstBits >> bits];
            if (!is_short(first))
                continue;
            constexpr std::size_t mask = (std::size_t{1} << SecondBits) - 1;
            const auto second =
                second_codes[(pattern << first.length << SecondBits >> bits) & mask];
            const std::uint32_t length = std::uint32_t{first.length} + second.length;
            if (is_short(second) && length <= bits)
                entries_[pattern] = {static_cast<std::uint32_t>(first.value),
                                     static_cast<std::uint32_t>(second.value), length};
        }
    }

    [[nodiscard]] constexpr Entry operator[](std::size_t pattern) const noexcept
    {
        return entries_[pattern];
    }

private:
    template <class Code>
    [[nodiscard]] static constexpr bool is_short(const Code& code) noexcept
    {
        return code.value >= 0 && code.value < 64;
    }

    std::array<Entry, std::size_t{1} << bits> entries_;
};

// What the head of bits says of a line coded two-dimensionally: some V0, and then a mode that is
// none, where that fits in.
class QDCCITTModeLookup {
public:
    static constexpr std::uint32_t bits = 11;
    static constexpr std::uint32_t most_copies = 8; // of V0 in one entry

    // The first of them are numbered by the changes of the reference that they pass.
    enum class Next : std::uint8_t { vertical = 1, pass, horizontal, no_code };

    // In one word, which is taken apart where it is used.
    class Entry {
    public:
        constexpr Entry() = default;
        constexpr Entry(std::uint32_t length, std::uint32_t copies, Next next,
                        std::int32_t offset) noexcept
            : word_(length | copies << 8 | static_cast<std::uint32_t>(next) << 16 |
                    static_cast<std::uint32_t>(offset) << 24)
        {}

        // Of all, in bits.
        [[nodiscard]] constexpr std::uint32_t length() const noexcept { return word_ & 0xFF; }
        // V0.
        [[nodiscard]] constexpr std::uint32_t copies() const noexcept { return word_ >> 8 & 0xFF; }
        // By a vertical mode or a pass behind those.
        [[nodiscard]] constexpr bool passes_reference() const noexcept
        {
            return next() < Next::horizontal;
        }
        [[nodiscard]] constexpr bool is_horizontal() const noexcept
        {
            return next() == Next::horizontal;
        }
        // Changes of the reference, then.
        [[nodiscard]] constexpr std::int32_t passed() const noexcept
        {
            return static_cast<std::int32_t>(next());
        }
        // Of a vertical mode; else 0.
        [[nodiscard]] constexpr std::int32_t offset() const noexcept
        {
            return static_cast<std::int32_t>(word_) >> 24;
        }

    private:
        [[nodiscard]] constexpr Next next() const noexcept
        {
            return static_cast<Next>(word_ >> 16 & 0xFF);
        }

        std::uint32_t word_ = 0;
    };

    explicit constexpr QDCCITTModeLookup(
        const QDHuffmanLUT4Decoder<QDMRModeTable::bits>& modes) noexcept
    {
        for (std::size_t pattern = 0; pattern < entries_.size(); ++pattern)
            entries_[pattern] = find(modes, pattern);
    }

    [[nodiscard]] constexpr Entry operator[](std::size_t pattern) const noexcept
    {
        return entries_[pattern];
    }

private:
    [[nodiscard]] static constexpr Entry find(
        const QDHuffmanLUT4Decoder<QDMRModeTable::bits>& modes, std::size_t pattern) noexcept
    {
        std::uint32_t copies = 0;
        while (copies < most_copies && (pattern >> (bits - 1 - copies) & 1) != 0)
            ++copies;
        constexpr std::size_t mask = (std::size_t{1} << bits) - 1;
        const auto mode = modes[(pattern << copies & mask) >> (bits - QDMRModeTable::bits)];
        const bool fits = mode.length != 0 && copies + mode.length <= bits && mode.value != 0;
        if (!fits && copies == 0)
            return {0, 0, Next::no_code, 0};
        if (!fits) // the last V0 is what follows
            return {copies, copies - 1, Next::vertical, 0};
        const Next next = next_of(mode.value);
        const std::int32_t offset = next == Next::vertical ? mode.value : 0;
        return {copies + mode.length, copies, next, offset};
    }

    [[nodiscard]] static constexpr Next next_of(std::int32_t mode) noexcept
    {
        if (mode == QDMRModeTable::pass)
            return Next::pass;
        return mode == QDMRModeTable::horizontal ? Next::horizontal : Next::vertical;
    }

    std::array<Entry, std::size_t{1} << bits> entries_;
};

struct QDCCITTFastTables {
    static const QDCCITTModeLookup modes;
    static const QDCCITTPairLookup white_black;
    static const QDCCITTPairLookup black_white;
    static const QDCCITTRunLookup<QDMHWhiteTable::bits> white;
    static const QDCCITTRunLookup<QDMHBlackTable::bits> black;
};

} // namespace nuv
