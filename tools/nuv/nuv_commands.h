#pragma once

#include "tools/nuv/nuv_outputs.h"
#include "tools/nuv/nuv_problem.h"

#include <string>
#include <vector>

namespace nuv_tool {

// What `nuv convert` was asked for, in the words of the command line.
struct ConvertRequest {
    std::string source;
    std::string destination;
    std::vector<std::string> operations;
    std::string write;     // a kind; empty: by the ending of the destination
    std::string input_raw; // empty: a stored picture
    bool planar_input = false;
    OutputSettings settings;
};

// Converts. The destination has its new content only when nothing is returned.
[[nodiscard]] Problem convert(const ConvertRequest& request);

// Prints one line for each picture, and to stderr one for each file that is none. True when all are
// pictures.
[[nodiscard]] bool show_info(const std::vector<std::string>& paths);

// Prints `problem` to stderr, as every line of this program.
void report(const std::string& problem);

} // namespace nuv_tool
