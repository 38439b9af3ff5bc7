#pragma once

#include "tools/nuv/nuv_commandline.h"
#include "tools/nuv/nuv_conversion.h"
#include "tools/nuv/nuv_limits.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nuv_tool {

// What the commands that write pictures have in common, in the words of the command line.
struct WritingRequest {
    std::string output; // a path, or a pattern of one; empty for none
    std::string write;  // a kind; empty: by the ending of the destination
    OutputSettings settings;
    unsigned threads = 1;
    std::uint32_t page = 0;
    LimitsRequest limits;
    bool strict = false;
    bool force = false;
    bool quiet = false;
    bool verbose = false;
    bool progress = false;
};

// Binds the options of all these to `command`.
void add_writing(Command& command, WritingRequest& request);

// The limits, the page and the settings of a request. Throws UsageError.
[[nodiscard]] Recipe recipe_of(const WritingRequest& request);

// One errand for each source, to the pattern of the request: %s is the name of the source without
// its ending, %d its folder, %n its number from 1, %% a percent sign. Throws UsageError for a
// pattern that means nothing, and for destinations that collide with each other or with a source.
[[nodiscard]] std::vector<Errand> plan(const std::vector<std::string>& sources,
                                       const WritingRequest& request);

// Does the errands, on as many threads as are asked for; those that fail are told, and the rest
// goes on. Of several the last line sums up. Answers an ExitStatus.
[[nodiscard]] int run_errands(const Recipe& recipe, const std::vector<Errand>& errands,
                              const WritingRequest& request);

} // namespace nuv_tool
