#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv.h>

#include <functional>
#include <string>
#include <vector>

namespace nuv_tool {

// One word of a command line that does something to a picture, its argument already understood. It
// may serve several jobs at once.
struct Operation {
    std::string word; // as it was written, for messages
    // Puts the operation behind the chain of `job`. A failure stands in the job, or is answered
    // when it is the word's own.
    std::function<Problem(nuv_job* job)> append;
};

// Understands words as "mirror-x", in the order given. Throws UsageError for what is no word or has
// a wrong argument, and std::runtime_error for a file of an argument that cannot be read.
[[nodiscard]] std::vector<Operation> parse_operations(const std::vector<std::string>& words);

// What leaves the chain of `job`; zeros behind a failure.
[[nodiscard]] nuv_picture look(nuv_job* job);

// Puts samples behind the chain that new values can be made of: colours in the place of indices,
// and bytes in the place of bits. A failure stands in the job.
void make_scalable(nuv_job* job);

} // namespace nuv_tool
