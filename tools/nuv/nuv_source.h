#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv_wrapper.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nuv_tool {

// Why the file at `path` cannot be a source at all: not there, not readable, not a regular file,
// or too large. The text begins with the path.
[[nodiscard]] Problem check_source(const std::string& path);

// Fills `picture` with what the stored picture at `path` is. The text of a problem begins with the
// path.
[[nodiscard]] Problem describe_source(const std::string& path, ImageParam& picture);

// The kind of file that the one at `path` begins like, as "TIFF"; empty for none that is known.
[[nodiscard]] std::string_view file_kind(const std::string& path);

// What ReadRaster() answers for the stored picture at `path`: 0 when it can be read.
[[nodiscard]] int try_reading(const std::string& path);

// Words for what ReadRaster() answers, of a picture whose kind is known or not.
[[nodiscard]] std::string_view reading_problem(int result, bool is_known);

// Understands "WxHxCxBITS", with ":" and a colour behind it if it likes, as "640x480x3x8:rgb".
// Without a colour one channel is gray, three are RGB, and others have none.
[[nodiscard]] Problem parse_raw_picture(std::string_view text, ImageParam& picture);

// A colour that can be named on the command line: its ColorType code, and how many channels it has.
struct ColorCode {
    std::int32_t code = 0;
    std::uint16_t channels = 0;
};

// Nothing for a word that names no colour.
[[nodiscard]] std::optional<ColorCode> color_of(std::string_view name);

} // namespace nuv_tool
