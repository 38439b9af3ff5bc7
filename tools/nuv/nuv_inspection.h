#pragma once

#include "tools/nuv/nuv_progress.h"

#include <nuv/nuv.h>

#include <cstdint>
#include <optional>
#include <string>

namespace nuv_tool {

// What can be told of a picture, from its headers or from all of it.
struct Inspection {
    bool is_known = false;    // `source` tells what it is
    bool is_verified = false; // every line was asked for
    nuv_source source{};
    std::uint32_t palette_entries = 0; // of a picture of indices that is served
    nuv_failure failure{};             // NUV_OK: nothing is wrong, or it was mended
    std::string message;               // what is wrong, or was mended; may be empty
    std::int64_t damaged_line = 0;     // the first that was mended, from 1; 0 for none
};

struct InspectionOptions {
    std::uint32_t page = 0;                // of the source, from 0
    bool verify = false;                   // runs the decoder
    nuv_limits limits{};                   // a picture beyond them is described
    std::optional<double> timeout_seconds; // for one picture
};

// "-" is the standard input.
[[nodiscard]] Inspection inspect(const std::string& path, const InspectionOptions& options,
                                 ProgressBar::Picture& progress);

} // namespace nuv_tool
