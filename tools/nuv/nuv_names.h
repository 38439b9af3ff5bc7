#pragma once

#include <nuv/nuv.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace nuv_tool {

// A colour by the name that it has on the command line and in what is printed.
struct ColorName {
    std::string_view name;
    nuv_color code;
    std::uint16_t channels;
    std::string_view help;
};

// All of them, but for NUV_COLOR_OTHER.
[[nodiscard]] std::span<const ColorName> colors();

// Null for a name that none has.
[[nodiscard]] const ColorName* find_color(std::string_view name);

// "other" for a code that none has.
[[nodiscard]] std::string_view color_name(std::int32_t code);

// The sampling of the name "444", "422", "420" or "411".
[[nodiscard]] std::optional<nuv_sampling> find_sampling(std::string_view name);

// As "4:2:2" for a nuv_sampling; "other" for one without a name, and nothing for 0.
[[nodiscard]] std::string_view sampling_name(std::int32_t sampling);

} // namespace nuv_tool
