#pragma once

#include "core/qdrle/nuv_qdrlerun.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {

inline constexpr std::uint32_t page_width = 4960; // A4 at 600 dpi
inline constexpr std::uint32_t page_height = 7016;
inline constexpr std::uint32_t page_margin = 600;
inline constexpr std::uint32_t text_pitch =
    100; // lines of pixels from one line of text to the next
inline constexpr std::uint32_t glyph_width = 42;

// The strokes of a glyph in one line of pixels: none in a space, one or two otherwise, and above
// the small letters only those of some glyphs.
inline void add_strokes(std::vector<NUV_QDRLERun>& runs, std::uint32_t x, std::uint32_t y)
{
    const std::uint32_t glyph = (y / text_pitch * 131 + x / glyph_width) * 2654435761U >> 7;
    const std::uint32_t slice = (glyph + y / 8) * 2246822519U >> 9; // strokes lean and bend
    const bool is_tall = y % text_pitch < 25;
    if (glyph % 7 == 0 || (is_tall && glyph % 4 != 1))
        return;
    const std::uint32_t start = x + slice % 8;
    runs.push_back({start, start + 5 + slice % 3});
    if (!is_tall && slice % 5 == 0)
        runs.push_back({start + 20, start + 26});
}

// A page of 10-point text in run form: ten lines and a blank one in turn within margins of an inch,
// 5 % black, 75 to 100 runs where the small letters are, about 20 above them, none between.
inline std::vector<std::vector<NUV_QDRLERun>> text_page()
{
    std::vector<std::vector<NUV_QDRLERun>> lines(page_height);
    for (std::uint32_t y = page_margin; y < page_height - page_margin; ++y) {
        if (y % text_pitch >= 75 || y / text_pitch % 11 == 10)
            continue;
        for (std::uint32_t x = page_margin; x + glyph_width < page_width - page_margin;
             x += glyph_width)
            add_strokes(lines[y], x, y);
    }
    return lines;
}

// Its lines one behind the other, as runs or as bits.
inline std::vector<std::uint8_t> page_bytes(bool as_runs)
{
    std::vector<std::uint8_t> bytes;
    for (const std::vector<NUV_QDRLERun>& line : text_page()) {
        const std::size_t at = bytes.size();
        bytes.resize(at + (as_runs ? (line.size() + 1) * NUV_QDRLERun::bytes : page_width / 8));
        std::uint8_t* to = bytes.data() + at;
        for (const NUV_QDRLERun& run : line) {
            if (as_runs) {
                store_run(to, run);
                to += NUV_QDRLERun::bytes;
                continue;
            }
            for (std::uint32_t x = run.start; x <= run.end; ++x)
                to[x / 8] = static_cast<std::uint8_t>(to[x / 8] | 0x80U >> x % 8);
        }
        if (as_runs)
            store_run(to, {});
    }
    return bytes;
}

} // namespace nuv
