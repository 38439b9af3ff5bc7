#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace nuv_tool {

// The whole of `text` as a number, if it is one.
template <class Number>
[[nodiscard]] std::optional<Number> number_of(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return number;
}

} // namespace nuv_tool
