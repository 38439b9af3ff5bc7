#pragma once

#include <bit>
#include <cstddef>
#include <pybind11/pybind11.h>
#include <string_view>

namespace nuv_python {

namespace py = pybind11;

// A hold on the memory of a Python object. Taken and let go under the interpreter's lock.
class Buffer {
public:
    // `flags` as of PyObject_GetBuffer(). Throws what the object raises.
    Buffer(const py::handle& from, int flags)
    {
        if (PyObject_GetBuffer(from.ptr(), &view_, flags) != 0)
            throw py::error_already_set();
    }
    ~Buffer() { PyBuffer_Release(&view_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    [[nodiscard]] const Py_buffer& view() const noexcept { return view_; }
    [[nodiscard]] std::size_t bytes() const noexcept { return static_cast<std::size_t>(view_.len); }
    // Bits of an unsigned sample in the machine's order: 8, 16 or 32; 1 for a bool; else 0.
    [[nodiscard]] std::uint16_t sample_bits() const noexcept
    {
        std::string_view format = view_.format ? view_.format : "B";
        constexpr char host_order = std::endian::native == std::endian::little ? '<' : '>';
        if (!format.empty() && (format[0] == '@' || format[0] == '=' || format[0] == host_order))
            format.remove_prefix(1);
        if (format == "?")
            return 1;
        if (format.size() != 1 || format.find_first_of("BHIL") != 0)
            return 0;
        return view_.itemsize > 4 ? std::uint16_t{0}
                                  : static_cast<std::uint16_t>(8 * view_.itemsize);
    }

private:
    Py_buffer view_{};
};

} // namespace nuv_python
