#pragma once

#include "core/ccitt/codec/nuv_qdccittbitreader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Where the fast path writes a line: words of runs as in QDRLELine, without the terminator.
struct QDCCITTFastLine {
    // Words behind `most` that may be written over: most is looked at once for some lookups.
    static constexpr std::uint32_t spare_words = 45;

    std::uint32_t* words = nullptr;
    std::uint32_t most = 0; // words
    std::uint32_t count = 0;
    std::uint32_t position = 0; // the status of the line has it so
};

// The line before, as the fast path reads it.
struct QDCCITTFastReference {
    const std::uint32_t* words = nullptr;
    std::uint32_t count = 0;

    // Words that stand behind the runs: what is no run, but a change at the end of the line,
    // whatever colour is looked for.
    static constexpr std::uint32_t end_words = 12;

    // Prepares a line for being a reference, where its runs end.
    static void end_line(std::uint32_t* behind, std::uint32_t width) noexcept
    {
        for (std::uint32_t i = 0; i < end_words; i += 2) {
            behind[i] = width;
            behind[i + 1] = width - 1;
        }
    }

    // Of the last `most` words up to `last`, a change at the end of the line: how many stand behind
    // the first such change.
    [[nodiscard]] std::uint32_t changes_behind_end(const std::uint32_t* last, std::uint32_t most,
                                                   std::uint32_t width) const noexcept
    {
        const bool ends_black = count != 0 && words[count - 1] == width - 1;
        const std::uint32_t* const first = words + count - (ends_black ? 1 : 0);
        return static_cast<std::uint32_t>(std::min<std::ptrdiff_t>(last - first, most - 1));
    }
};

// Where a line begins: at the bit at hand, at the next byte, or behind an EOL, with fill in front
// of it or not, which must be there.
enum class QDCCITTLineBegin { here, on_byte, behind_eol };
// How it is coded; tagged lines tell by a bit.
enum class QDCCITTLineCoding { one_dimensional, two_dimensional, tagged };

// Decodes a line of good codes from bytes that lie in a row. Whatever else it meets, it says no and
// leaves the line to the line decoders: nothing is lost, for the reader is where it was. It has no
// recovery and no status, and takes no line that those would read in another way. The words of
// `line` are of no meaning after a no.
[[nodiscard]] bool decode_fast_line(QDCCITTBitReader& reader, QDCCITTLineBegin begin,
                                    QDCCITTLineCoding coding, const QDCCITTFastReference& reference,
                                    std::uint32_t width, QDCCITTFastLine& line) noexcept;

} // namespace nuv
