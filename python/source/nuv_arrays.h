#pragma once

#include <cstdint>
#include <pybind11/numpy.h>

#include "python/source/nuv_running.h"

namespace nuv_python {

// How samples lie in an array: (lines, columns), with a third axis for more than one channel.
struct Layout {
    py::dtype type;
    std::uint32_t lines;
    std::uint32_t columns;
    std::uint16_t channels;
    std::size_t line_bytes;
};

// Of a picture whose samples are bytes or more, or bits that to_bytes() has spread; those are bool.
[[nodiscard]] Layout layout_of(const nuv_picture& is);

// Bits to bytes of 0 and 1, where the picture has bits.
void to_bytes(nuv_job* job);

// What leaves the chain, run once: a view of the result, which lives as long as the array.
[[nodiscard]] py::array array(Image& image, bool planar, const py::object& progress);

// The lines of a chain as they come, in bands of so many lines: an iterator.
class Lines {
public:
    // Of an Image.
    Lines(py::object image, std::uint32_t lines);
    // The next band, an array of its own. Throws StopIteration behind the last one.
    [[nodiscard]] py::array next();

private:
    py::object image_; // goes behind the job
    nuv::JobHandle job_;
    Layout layout_;
    std::uint32_t lines_;
    bool is_reading_ = false;
};

} // namespace nuv_python
