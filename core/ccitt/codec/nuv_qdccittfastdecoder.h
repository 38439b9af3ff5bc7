#pragma once

#include "core/ccitt/codec/nuv_qdccittbitreader.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Where the fast path writes a line: words of runs as in QDRLELine, without the terminator.
struct QDCCITTFastLine {
    // Words behind `most` that may be written over.
    static constexpr std::uint32_t spare_words = 8;

    std::uint32_t* words = nullptr;
    std::uint32_t most = 0; // words
    std::uint32_t count = 0;
    std::uint32_t position = 0; // the status of the line has it so
};

// The line before, as the fast path reads it.
struct QDCCITTFastReference {
    const std::uint32_t* words = nullptr;
    std::uint32_t count = 0;

    // Prepares a line for being a reference, where its runs end: there begins what is no run, but
    // stands for changes at the end of the line for whatever colour is looked for.
    static void end_line(std::uint32_t* behind, std::uint32_t width) noexcept
    {
        behind[0] = behind[2] = width;
        behind[1] = behind[3] = width - 1;
    }
};

// Decodes lines of good codes from bytes that lie in a row, on a copy of a reader's state. Whatever
// else it meets, it says no and leaves the line to the line decoders: nothing is lost, for the
// reader is where it was. It has no recovery and no status, and must take no line that those would
// read in another way.
class QDCCITTFastDecoder {
public:
    explicit QDCCITTFastDecoder(const QDCCITTBitReader& reader) noexcept;
    QDCCITTFastDecoder(const QDCCITTFastDecoder&) = delete;
    QDCCITTFastDecoder& operator=(const QDCCITTFastDecoder&) = delete;

    // The rest of the byte at hand is done.
    void align() noexcept { take(held_.bits & 7); }
    // An EOL, with fill in front of it or not.
    [[nodiscard]] bool take_eol() noexcept;
    [[nodiscard]] bool take_bit() noexcept;

    // The next line, `width` pixels. What is in `line` is of no meaning after a no.
    [[nodiscard]] bool decode_1d(QDCCITTFastLine& line, std::uint32_t width) noexcept;
    [[nodiscard]] bool decode_2d(QDCCITTFastLine& line, const QDCCITTFastReference& reference,
                                 std::uint32_t width) noexcept;

    // Takes from the reader what was decoded. False, and nothing is taken, when some of that was
    // not there.
    [[nodiscard]] bool store(QDCCITTBitReader& reader) const noexcept;

private:
    static constexpr std::int32_t no_run = -1;

    void take(std::uint32_t count) noexcept
    {
        held_.accumulator <<= count;
        held_.bits -= count;
    }
    void refill() noexcept;
    void enter_tail() noexcept;
    template <class Lookup>
    [[nodiscard]] std::int32_t take_run(const Lookup& lookup, std::int32_t most) noexcept;

    QDCCITTBitReader::Held held_;
    const std::uint8_t* next_;
    const std::uint8_t* end_;
    // The last bytes, with zeros behind them that begin no code.
    std::array<std::uint8_t, 32> tail_ = {};
    const std::uint8_t* tail_end_ = nullptr; // of the bytes; null outside the tail
};

} // namespace nuv
