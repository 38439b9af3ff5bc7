#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace nuv_tool {

// The one line that tells why something cannot be done, without the program's name in front and
// without a line end. Nothing when all is well.
using Problem = std::optional<std::string>;

// Words that mean nothing, found out behind their syntax: the program ends with exit_usage.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

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
