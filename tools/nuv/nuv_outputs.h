#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv.h>

#include <optional>
#include <string>
#include <string_view>

namespace nuv_tool {

// Settings of the kinds that have some; unset ones are left to the library.
struct OutputSettings {
    std::optional<int> quality;           // JPEG, 0 to 100
    std::optional<nuv_sampling> sampling; // JPEG
    bool optimise = false;                // lossless JPEG: a Huffman table made for the picture
};

// A kind of file that can be written.
struct OutputKind {
    std::string_view name; // the value of --write
    // Puts the form of the result behind the chain of `job`. A failure stands in the job, or is
    // answered when it is the tool's own.
    Problem (*append)(nuv_job* job, const OutputSettings& settings);
};

// The kind of `write`, or, where that is empty, the one that the ending of `path` stands for.
// Throws UsageError for a name or an ending that none has, and for settings that serve another
// kind.
[[nodiscard]] const OutputKind& choose_output(const std::string& write, const std::string& path,
                                              const OutputSettings& settings);

// All values of --write with "|" between them.
[[nodiscard]] std::string output_kind_names();

// All endings with ", " between them.
[[nodiscard]] std::string output_endings();

} // namespace nuv_tool
