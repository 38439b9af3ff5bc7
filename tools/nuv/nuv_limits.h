#pragma once

#include "tools/nuv/nuv_commandline.h"

#include <nuv/nuv.h>

#include <cstdint>
#include <optional>
#include <string>

namespace nuv_tool {

// What --max-pixels and --max-memory ask for: numbers, or empty for the library's limits. And how
// long a picture may take.
struct LimitsRequest {
    std::string max_pixels;
    std::string max_memory;
    std::optional<double> timeout_seconds;
};

void add_limits(Command& command, LimitsRequest& request);

// Throws UsageError for what is no number.
[[nodiscard]] nuv_limits limits_of(const LimitsRequest& request);

// Puts the option that moves a nuv_passed_limit, if there is one, into the message about it.
void name_option(std::string& message, std::int32_t limit);

// Of a picture that there was no memory for, outside its job.
inline constexpr const char* no_memory_message =
    "There is not enough memory, or too little is allowed (--max-memory).";

} // namespace nuv_tool
