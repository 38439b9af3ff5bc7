#pragma once

#include "core/ccitt/nuv_ccittoption.h"
#include "tests/support/nuv_test.h"

#include <numeric>

namespace nuv::model {

enum class FaxCoding { mh, mr, mmr };

// First and last column of each black run of a line.
using FaxRuns = std::vector<std::pair<std::int64_t, std::int64_t>>;

constexpr int fax_undefined = -9999;

// The values of codes. An index is a code with a 1 before its first bit.
inline std::vector<int> fax_table(const char* hex_codes, int first, const char* make_up)
{
    std::vector<int> table(1 << 14, fax_undefined);
    const auto add = [&](const char* codes, int value, int step) {
        std::istringstream words(codes);
        for (std::size_t code = 0; words >> std::hex >> code; value += step)
            table[code] = value;
    };
    add(hex_codes, first, 1);
    add(make_up, 64, 64);
    return table;
}

// T.4, tables 2 and 3, white and black, and T.6, table 1: vertical modes, horizontal, pass.
// clang-format off
inline const std::vector<int> fax_tables[] = {
    fax_table("135 47 17 18 1B 1C 1E 1F 33 34 27 28 48 43 74 75 6A 6B A7 8C 88 97 83 84 A8 AB 93 A4 98 102 103 11A 11B 112 113 114 115 116 117 128 129 12A 12B 12C 12D 104 105 10A 10B 152 153 154 155 124 125 158 159 15A 15B 14A 14B 132 133 134", 0,
              "3B 32 57 B7 136 137 164 165 168 167 2CC 2CD 2D2 2D3 2D4 2D5 2D6 2D7 2D8 2D9 2DA 2DB 298 299 29A 58 29B 808 80C 80D 1012 1013 1014 1015 1016 1017 101C 101D 101E 101F"),
    fax_table("437 A 7 6 B 13 12 23 45 44 84 85 87 104 107 218 417 418 408 867 868 86C 837 828 817 818 10CA 10CB 10CC 10CD 1068 1069 106A 106B 10D2 10D3 10D4 10D5 10D6 10D7 106C 106D 10DA 10DB 1054 1055 1056 1057 1064 1065 1052 1053 1024 1037 1038 1027 1028 1058 1059 102B 102C 105A 1066 1067", 0,
              "40F 10C8 10C9 105B 1033 1034 1035 206C 206D 204A 204B 204C 204D 2072 2073 2074 2075 2076 2077 2052 2053 2054 2055 205A 205B 2064 2065 808 80C 80D 1012 1013 1014 1015 1016 1017 101C 101D 101E 101F"),
    fax_table("82 42 A 3 B 43 83 9 11", -3, "")};
// clang-format on

// Decodes T.4 and T.6 with one test a bit and one function a step, damaged lines included.
struct FaxModel {
    std::span<const std::uint8_t> data;
    std::vector<std::uint32_t> strips; // in bytes, each data that ends; none is one piece
    FaxCoding coding;
    NUV_CCITTMHOption option;
    std::int64_t width;

    FaxRuns runs = {};
    int code = 1;
    std::int64_t position = 0; // means nothing after good lines
    std::uint64_t at = 0;      // in bits

    struct Code {
        unsigned bits = 0;
        unsigned length = 0; // 0 without a match
    } last = {};
    std::size_t strip = 0;
    FaxRuns reference = {};
    std::int64_t a0 = 0;
    std::int64_t run_start = 0;
    bool is_black = false;

    void decode()
    {
        runs.clear();
        if (code == 11)
            return;
        position = 0;
        code = coding == FaxCoding::mh   ? decode_mh()
               : coding == FaxCoding::mr ? decode_mr()
                                         : decode_mmr();
        code = code == -4 ? 12 : code < 0 ? -code : code;
    }
    // The last line is to come from the next strip: whether there is one, and data for it.
    bool rewind_to_next_strip()
    {
        if (!strips.empty() && strip + 1 == strips.size())
            return false;
        code = 1;
        reference.clear();
        align();
        skip(strips.empty() ? 0 : left());
        const bool is_there = strips.empty() || end() <= data.size();
        strip += is_there ? 1 : 0;
        return is_there;
    }

    // In bytes.
    std::uint64_t end() const
    {
        return strips.empty()
                   ? data.size()
                   : std::accumulate(strips.begin(),
                                     strips.begin() + static_cast<std::ptrdiff_t>(strip) + 1,
                                     std::uint64_t{0});
    }
    std::uint64_t left() const { return std::min<std::uint64_t>(end(), data.size()) * 8 - at; }
    void align() { at = (at + 7) / 8 * 8; }
    void skip(std::uint64_t count) { at += std::min(count, left()); }
    // Zeros behind the end.
    unsigned peek(unsigned count) const
    {
        unsigned bits = 0;
        for (std::uint64_t i = 0; i < count; ++i)
            bits = bits * 2 + (i < left() ? data[(at + i) / 8] >> (7 - (at + i) % 8) & 1U : 0);
        return bits;
    }
    bool take(unsigned count, unsigned bits)
    {
        const bool matches = left() >= count && peek(count) == bits;
        skip(matches ? count : 0);
        return matches;
    }
    bool skip_to_one()
    {
        while (left() > 0 && peek(1) == 0)
            skip(1);
        return take(1, 1);
    }

    // Data that ends inside a code reads as if zeros were behind it, which tells what no code
    // begins with from what might have become one.
    int next_code(unsigned table, unsigned longest, int at_end, int cut)
    {
        const auto count = static_cast<unsigned>(std::min<std::uint64_t>(longest, left()));
        last = {peek(count), 0};
        for (unsigned length = 1; length <= longest && count > 0; ++length) {
            const unsigned bits = peek(length);
            const int value =
                bits == 1 && length == 12 ? -1000 : fax_tables[table][(1U << length) + bits];
            if (value == fax_undefined)
                continue;
            if (length > count)
                return cut;
            skip(length);
            last = {bits, length};
            return value;
        }
        return count == 0 ? at_end : fax_undefined;
    }
    std::int64_t run(bool black)
    {
        std::int64_t total = 0;
        for (int value = 64; value > 63;) {
            value = black ? next_code(1, 13, -1, -1) : next_code(0, 12, -1, -1);
            total = std::min<std::int64_t>(total + value, 0x3FFFFFFF);
        }
        return total;
    }
    void append(std::int64_t start, std::int64_t end)
    {
        end = std::min(end, width - 1);
        if (start > end)
            return;
        if (runs.empty() || start > runs.back().second + 1)
            runs.emplace_back(start, end);
        runs.back().second = end;
    }

    int one_dimensional()
    {
        while (position < width) {
            const std::int64_t white = run(false);
            const std::int64_t start = position + white;
            if (white >= 0 && start >= width)
                return start == width ? 1 : -12;
            const std::int64_t black = white < 0 ? white : run(true);
            if (black < 0)
                return black == -1 ? -4 : last.bits < 2 ? -10 : -12;
            if (start + black > width)
                return -12;
            append(start, start + black - 1);
            position = start + black;
        }
        return 1;
    }

    // Where the reference line next turns to the other colour than the line has, and where back.
    std::pair<std::int64_t, std::int64_t> find_b1() const
    {
        for (std::size_t i = 0; i < reference.size(); ++i) {
            const auto& [start, end] = reference[i];
            if (!is_black && start > a0)
                return {start, end + 1};
            if (is_black && end >= a0)
                return {end + 1, i + 1 < reference.size() ? reference[i + 1].first : width};
        }
        return {width, width};
    }
    int two_dimensional()
    {
        int result = 1;
        a0 = -1;
        is_black = false;
        do {
            const int mode = next_code(2, 7, -9998, fax_undefined);
            const auto [b1, b2] = find_b1();
            if (mode < -3)
                result = mode == -9998 ? -4 : last.bits == 0 ? -10 : -12;
            else if (mode == 5)
                a0 = b2;
            else
                result = mode == 4 ? horizontal() : vertical(b1 + mode);
        } while (result == 1 && a0 < width);
        position = std::max<std::int64_t>(a0, 0);
        return result;
    }
    int vertical(std::int64_t a1)
    {
        if (a1 < 0 || a1 < a0 || a1 > width)
            return -12;
        if (is_black)
            append(run_start, a1 - 1);
        is_black = !is_black;
        a0 = run_start = a1;
        return 1;
    }
    int horizontal()
    {
        const Code mode = last;
        a0 = std::max<std::int64_t>(a0, 0);
        const std::int64_t first = run(is_black);
        const Code first_code = last;
        const std::int64_t second = run(!is_black);
        const std::int64_t a1 = a0 + first;
        if (!is_black && (first < 0 || a1 >= width)) {
            a0 = width;
            return 1;
        }
        if (first < 0)
            last = first_code;
        if (first < 0 || second < 0)
            return -12;
        last = mode;
        a0 = a1 + second;
        append(is_black ? run_start : a1, (is_black ? a1 : a0) - 1);
        run_start = a0;
        return a0 > width ? -12 : 1;
    }

    // To just behind an EOL. All that stands in the first 11 bits counts as zeros.
    bool search_eol()
    {
        const Code culprit = std::exchange(last, {});
        if ((culprit.bits == 1 && culprit.length == 12) || (culprit.length >= 11 && skip_to_one()))
            return true;
        skip(11);
        return skip_to_one();
    }
    // In MR to a tag of 1, which stays.
    bool recover()
    {
        while (search_eol()) {
            if (coding != FaxCoding::mr || peek(1) == 1)
                return true;
            skip(1);
        }
        return false;
    }
    // 1, or what is wrong in place of the EOL.
    int check_eol()
    {
        last = {};
        if (left() < 12)
            return -4;
        if (take(12, 1))
            return 1;
        if (peek(12) == 0)
            return search_eol() ? 1 : -4;
        if (coding == FaxCoding::mh)
            return -12;
        position = recover() ? width : 0;
        return position == 0 ? -4 : 12;
    }

    int decode_mh()
    {
        if (option.eol_present && code < 2)
            check_eol(); // a line without it is read where it stands
        else if (!option.eol_present && option.byte_align)
            align();
        const int result = one_dimensional();
        if (result == 1 || result == -4)
            return result;
        if (option.eol_present && !recover())
            return -4;
        return option.detect_end && take(12, 1) && take(12, 1) ? 11 : result;
    }
    int decode_mr()
    {
        int result = code < 2 ? check_eol() : 1;
        if (result != 1)
            return result;
        const unsigned tag = peek(1);
        skip(1);
        result = tag == 1 ? one_dimensional() : two_dimensional();
        if (result == -4 || (result != 1 && !recover()))
            return -4;
        reference = runs;
        constexpr unsigned two_eols = 0b1'0000'0000'0001'1'0000'0000'0001'1; // each with its tag
        return result != 1 && option.detect_end && take(27, two_eols) ? 11 : result;
    }
    int decode_mmr()
    {
        if (option.byte_align)
            align();
        const int result = two_dimensional();
        if (result == 1)
            reference = runs;
        return result != 1 && option.detect_end && take(12, 1) && take(12, 1) ? 11 : result;
    }
};

// A page of `line_bytes` a line, 1 for black, and whether a decoder is to warn. A line that fails
// where a strip may begin is taken from the next strip.
struct FaxPage {
    Bytes lines;
    bool warns = false;
    std::int64_t first_bad = -1; // line, from 0
};
inline FaxPage fax_page(FaxModel decoder, std::size_t height, std::size_t rows_per_strip)
{
    const auto line_bytes = static_cast<std::size_t>(decoder.width + 7) / 8;
    FaxPage page{Bytes(line_bytes * height)};
    for (std::size_t row = 1; row <= height; ++row) {
        decoder.decode();
        bool passes = decoder.code == 1 || (rows_per_strip > 0 && row % rows_per_strip > 1);
        bool is_late = false;
        if (!passes && rows_per_strip > 0 && decoder.rewind_to_next_strip()) {
            decoder.decode();
            passes = true;
            is_late = row % rows_per_strip == 0 && rows_per_strip > 1;
        }
        page.warns = page.warns || !passes;
        if (page.first_bad < 0 && (!passes || decoder.code != 1 || is_late))
            page.first_bad = static_cast<std::int64_t>(row) - 1;
        for (const auto& [start, end] : decoder.runs) {
            for (auto x = static_cast<std::size_t>(start); x <= static_cast<std::size_t>(end); ++x)
                page.lines[(row - 1) * line_bytes + x / 8] |=
                    static_cast<std::uint8_t>(128U >> x % 8);
        }
    }
    return page;
}

} // namespace nuv::model
