#pragma once

#include "tools/nuv/nuv_outputs.h"

#include <optional>
#include <string>

#include "python/source/nuv_bindings.h"
#include "python/source/nuv_running.h"

namespace nuv_python {

using nuv_tool::OutputSettings;

// Throws what Python calls a wrong argument.
[[nodiscard]] OutputSettings output_settings(std::optional<int> quality,
                                             const std::optional<std::string>& sampling,
                                             bool optimise);

// The form of a file by the tool's name for it; where that is empty, by the ending of `path`.
// Throws as above.
[[nodiscard]] Form form_of(const std::string& format, const std::string& path,
                           const OutputSettings& settings);

// What understands words: Image.apply(), and checks that need no picture.
void bind_words(py::module_& module, ImageClass& image);

} // namespace nuv_python
