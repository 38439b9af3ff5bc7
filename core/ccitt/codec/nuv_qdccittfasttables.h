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

    struct Entry {
        std::uint16_t run = 0;
        std::uint8_t length = 0; // in bits; 0 where no run begins
        bool is_whole = false;   // with its terminating code
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
        Entry entry;
        while (!entry.is_whole) {
            const auto code = codes[pattern << entry.length & mask];
            if (code.length == 0 || code.value < 0 || entry.length + code.length > Bits)
                break;
            entry.run = static_cast<std::uint16_t>(entry.run + code.value);
            entry.length = static_cast<std::uint8_t>(entry.length + code.length);
            entry.is_whole = code.value < 64;
        }
        return entry;
    }

    std::array<Entry, std::size_t{1} << Bits> entries_;
};

struct QDCCITTFastTables {
    static const QDCCITTRunLookup<QDMHWhiteTable::bits> white;
    static const QDCCITTRunLookup<QDMHBlackTable::bits> black;
};

} // namespace nuv
