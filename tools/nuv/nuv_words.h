#pragma once

#include <span>
#include <string>
#include <string_view>

namespace nuv_tool {

// A word of a command line that does something to a picture: what --help, `nuv help WORD` and the
// completions of shells tell of it.
struct Word {
    std::string_view name;
    std::string_view argument; // what stands behind "="; empty for none
    std::string_view help;     // in a few words
    std::string_view details;  // in sentences; lines end where they should
};

// All of them, in the order in which help shows them.
[[nodiscard]] std::span<const Word> words();

// Null for a name that no word has.
[[nodiscard]] const Word* find_word(std::string_view name);

// The names of all words, as near_word() wants them.
[[nodiscard]] std::span<const std::string_view> word_names();

// The word that `text`, as "resize=50%" or "gray", was probably meant to be; empty when none comes
// near.
[[nodiscard]] std::string meant_word(std::string_view text);
// "unknown word 'roate': did you mean rotate?", or, when no word comes near, where they all stand.
[[nodiscard]] std::string unknown_operation(std::string_view text);

// "rotate=DEGREES"
[[nodiscard]] std::string usage_of(const Word& word);

// What a SIZE is, in lines.
[[nodiscard]] std::string_view size_help();

// One line for each word, and what a SIZE is.
[[nodiscard]] std::string words_help();

} // namespace nuv_tool
