#pragma once

#include <memory>

#include "python/source/nuv_chain.h"

namespace nuv_python {

// A stored picture: str or os.PathLike for a file, anything with a buffer of bytes, or an object
// whose read() gives bytes, which is read to its end here, up to `most_bytes` (0 for all).
[[nodiscard]] std::shared_ptr<const Source> stored_picture(const py::object& from,
                                                           std::uint64_t most_bytes);

// Samples in a buffer of 2 or 3 dimensions, which stay where they are.
[[nodiscard]] std::shared_ptr<const Source> samples(const py::object& from,
                                                    const py::object& color);

// A path as the system takes it. TypeError for what is none.
[[nodiscard]] std::string path_of(const py::handle& path);

} // namespace nuv_python
