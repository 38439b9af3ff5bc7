#include "tools/nuv/nuv_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <vector>

namespace nuv_tool {

namespace {

// Bytes of the character of UTF-8 that `text` begins with; 0 when it begins with none, or with one
// that controls a terminal. C1 are U+0080 to U+009F; marks of direction reorder what stands around.
std::size_t printable_bytes(std::string_view text)
{
    struct Form {
        unsigned char mask, lead;
        unsigned smallest;
    };
    static constexpr std::array forms{Form{0x80, 0x00, 0}, Form{0xE0, 0xC0, 0x80},
                                      Form{0xF0, 0xE0, 0x800}, Form{0xF8, 0xF0, 0x10000}};
    const auto first = static_cast<unsigned char>(text.front());
    for (std::size_t more = 0; more < forms.size() && more < text.size(); ++more) {
        const Form& form = forms[more];
        if ((first & form.mask) != form.lead)
            continue;
        unsigned code = first & static_cast<unsigned char>(~form.mask);
        for (std::size_t i = 1; i <= more; ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if ((byte & 0xC0) != 0x80)
                return 0;
            code = code << 6 | (byte & 0x3FU);
        }
        const bool is_control = code < 0x20 || (code >= 0x7F && code < 0xA0) ||
                                (code >= 0x202A && code <= 0x202E) ||
                                (code >= 0x2066 && code <= 0x2069);
        const bool is_character =
            code >= form.smallest && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        return is_character && !is_control ? more + 1 : 0;
    }
    return 0;
}

// How many letters have to be put in, left out, exchanged, or swapped with the next one.
std::size_t distance(std::string_view from, std::string_view to)
{
    std::vector<std::size_t> before(to.size() + 1);
    std::vector<std::size_t> above(to.size() + 1);
    std::iota(above.begin(), above.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::vector<std::size_t> line(to.size() + 1, i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            line[j + 1] =
                std::min({above[j + 1] + 1, line[j] + 1, above[j] + (from[i] == to[j] ? 0U : 1U)});
            if (i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j])
                line[j + 1] = std::min(line[j + 1], before[j - 1] + 1);
        }
        before = std::move(above);
        above = std::move(line);
    }
    return above.back();
}

} // namespace

std::string escaped(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string shown;
    while (!text.empty()) {
        const std::size_t bytes = printable_bytes(text);
        if (text.front() == '\\') {
            shown.append("\\\\");
        } else if (bytes > 0) {
            shown.append(text.substr(0, bytes));
        } else if (text.front() == '\n') {
            shown.append("\\n");
        } else if (text.front() == '\t') {
            shown.append("\\t");
        } else {
            const auto byte = static_cast<unsigned char>(text.front());
            shown.append("\\x").append(1, digits[byte / 16]).append(1, digits[byte % 16]);
        }
        text.remove_prefix(std::max(bytes, std::size_t{1}));
    }
    return shown;
}

std::string_view near_word(std::string_view mistyped, std::span<const std::string_view> words)
{
    constexpr std::size_t longest = 64; // longer ones are no words
    std::string_view nearest;
    std::string small{mistyped};
    for (char& letter : small)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    std::size_t least = std::min(mistyped.size(), longest) / 3;
    for (const std::string_view word : words) {
        if (mistyped.size() > longest)
            break;
        const bool begins = mistyped.size() >= 3 && word.starts_with(small);
        const std::size_t apart = begins ? 1U : distance(small, word);
        if (apart <= least && (nearest.empty() || apart < least)) {
            least = apart;
            nearest = word;
        }
    }
    return nearest;
}

std::string unknown_word(std::string_view what, std::string_view mistyped,
                         std::span<const std::string_view> words)
{
    std::string text{"unknown "};
    text.append(what).append(" '").append(mistyped).append("'");
    const std::string_view near = near_word(mistyped, words);
    if (!near.empty())
        text.append(": did you mean ").append(near).append("?");
    return text;
}

} // namespace nuv_tool
