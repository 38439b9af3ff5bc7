#pragma once

#include <span>
#include <string>
#include <string_view>

namespace nuv_tool {

// `text` as it may go to a terminal: control characters, and bytes that are no UTF-8, as \n, \t or
// \x1b. Names of files and texts out of pictures are printed by way of this, and of nothing else.
[[nodiscard]] std::string escaped(std::string_view text);

// The word of `words` that `mistyped` was probably meant to be; empty when none comes near.
[[nodiscard]] std::string_view near_word(std::string_view mistyped,
                                         std::span<const std::string_view> words);

// "unknown WHAT 'roate': did you mean rotate?", or without the question when no word comes near.
[[nodiscard]] std::string unknown_word(std::string_view what, std::string_view mistyped,
                                       std::span<const std::string_view> words);

} // namespace nuv_tool
