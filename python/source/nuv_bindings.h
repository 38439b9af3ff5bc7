#pragma once

#include "python/source/nuv_chain.h"

namespace nuv_python {

using ImageClass = py::class_<Image>;

// The parts of the class Image.
void bind_operations(ImageClass& image);
void bind_results(ImageClass& image);

// The form of nuv_as_jpeg(); ValueError for a sampling that has no such name.
[[nodiscard]] std::function<void(nuv_job*)> jpeg_form(int quality, const std::string& sampling);

} // namespace nuv_python
