#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv_wrapper.h>

#include <string>

namespace nuv_tool {

// Tells whether the file at `path` is a JPEG of all the lines of `picture`: by the size in its
// frame header, by the end marker as its last two bytes, and by what the library reads back.
[[nodiscard]] Problem check_jpeg(const std::string& path, const ImageParam& picture);

} // namespace nuv_tool
