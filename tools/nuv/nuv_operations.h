#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv_wrapper.h>

#include <functional>
#include <string>
#include <vector>

namespace nuv_tool {

// One operation of a command line, its argument already understood.
struct Operation {
    // Adds the operation to `job`. `picture` tells what comes in, and is made to tell what goes
    // out. A problem when such a picture is not served; the job is then of no further use.
    std::function<Problem(NuvWrapperClass& job, ImageParam& picture)> append;
};

// Understands `words`, as "mirror-x", and puts them into `operations` in the order given. A problem
// names the first word that is not an operation or has a wrong argument.
[[nodiscard]] Problem parse_operations(const std::vector<std::string>& words,
                                       std::vector<Operation>& operations);

// One line for each operation that exists, for the help text.
[[nodiscard]] std::string operations_help();

} // namespace nuv_tool
