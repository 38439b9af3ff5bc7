#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv.h>

#include <functional>
#include <string_view>

namespace nuv_tool {

// The words that change samples. Each turns the text behind its "=" into what it does to a job, as
// in Operation, and throws as parse_operations().

[[nodiscard]] std::function<Problem(nuv_job*)> parse_invert(std::string_view argument);
// "2": the third channel.
[[nodiscard]] std::function<Problem(nuv_job*)> parse_channel(std::string_view argument);
// "rgb": the colour space to convert to.
[[nodiscard]] std::function<Problem(nuv_job*)> parse_color(std::string_view argument);
// "curve.bin:8": a file of entries, and their bits. Its table serves all samples from 0 on.
[[nodiscard]] std::function<Problem(nuv_job*)> parse_lut(std::string_view argument);
// "0.5:0:8": slope, offset, and the bits of the result.
[[nodiscard]] std::function<Problem(nuv_job*)> parse_convert(std::string_view argument);

} // namespace nuv_tool
