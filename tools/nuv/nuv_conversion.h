#pragma once

#include "tools/nuv/nuv_operations.h"
#include "tools/nuv/nuv_outputs.h"
#include "tools/nuv/nuv_progress.h"

#include <nuv/nuv.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nuv_tool {

// What is done with a picture, whichever it is.
struct Recipe {
    nuv_limits limits{};                   // all of them set
    std::optional<double> timeout_seconds; // for one picture
    std::uint32_t page = 0;                // of the source
    std::optional<nuv_picture> raw;        // the source has nothing but such samples
    bool planar_input = false;             // and those plane by plane
    std::vector<Operation> operations;
    OutputSettings settings;
    bool verbose = false;
};

// One picture on its way. "-" stands for the standard streams.
struct Errand {
    std::string source;
    std::string destination;
    const OutputKind* kind = nullptr;
};

enum class Outcome { done, mended, failed };

// Does it, and reports what there is to tell. Without `tell_mending` that is failures alone. What
// stood at the destination is replaced when the whole result is there, and else stays.
[[nodiscard]] Outcome convert(const Recipe& recipe, const Errand& errand, bool tell_mending,
                              ProgressBar::Picture& progress);

// True when the file at `path` is a picture that can be told of; not for one of 2 GiB and more.
[[nodiscard]] bool is_stored_picture(const std::string& path);

} // namespace nuv_tool
