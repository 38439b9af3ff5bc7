#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nuv_tool {

// The one line that tells why something cannot be done, without the program's name in front and
// without a line end. Nothing when all is well.
using Problem = std::optional<std::string>;

// `text` between quotation marks.
[[nodiscard]] inline std::string quoted(std::string_view text)
{
    return std::string{"'"}.append(text).append("'");
}
// Or std::quoted() would be the nearer one.
[[nodiscard]] inline std::string quoted(const std::string& text)
{
    return quoted(std::string_view{text});
}

} // namespace nuv_tool
