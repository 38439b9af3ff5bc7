#pragma once

#include "tools/nuv/nuv_operations.h"
#include "tools/nuv/nuv_problem.h"

#include <string_view>

namespace nuv_tool {

// The words that change samples. Each turns the text behind its "=" into the operation.

// "rgb": the colour space to convert to.
[[nodiscard]] Problem parse_color(std::string_view argument, Operation& operation);
// "curve.bin:8": a file of entries, and their bits. Its table serves all samples from 0 on.
[[nodiscard]] Problem parse_lut(std::string_view argument, Operation& operation);
// "0.5:0:8": slope, offset, and the bits of the result.
[[nodiscard]] Problem parse_convert(std::string_view argument, Operation& operation);

} // namespace nuv_tool
