#pragma once

#include "core/ccitt/codec/nuv_qdhuffmanlut4decoder.h"

#include <array>
#include <cstdint>

namespace nuv {

// The codes of T.4 and T.6 and their lookups: immutable, built by the compiler, one for all
// decoders.

// White runs: T.4, tables 2, 3a and 3b.
struct QDMHWhiteTable {
    static constexpr std::uint32_t bits = 12; // of the longest code
    static const QDHuffmanLUT4Decoder<bits> lookup;
};

// Black runs, likewise.
struct QDMHBlackTable {
    static constexpr std::uint32_t bits = 13;
    static const QDHuffmanLUT4Decoder<bits> lookup;
};

// Coding modes: T.6, table 1, without its extensions. Vertical modes have their offset as value.
struct QDMRModeTable {
    static constexpr std::uint32_t bits = 7;
    static constexpr std::int32_t most_left = -3;
    static constexpr std::int32_t most_right = 3;
    static constexpr std::int32_t horizontal = 4;
    static constexpr std::int32_t pass = 5;
    static const QDHuffmanLUT4Decoder<bits> lookup;
};

} // namespace nuv
