#include "python/source/nuv_errors.h"

#include <cerrno>
#include <cstring>

namespace nuv_python {

namespace {

[[nodiscard]] const char* class_of(nuv_status status) noexcept
{
    switch (status) {
    case NUV_CANCELLED:
        return "Cancelled";
    case NUV_LIMIT:
        return "LimitError";
    case NUV_UNKNOWN_KIND:
        return "UnknownKindError";
    case NUV_UNSUPPORTED:
        return "UnsupportedError";
    case NUV_INVALID:
        return "InvalidError";
    case NUV_DAMAGED:
        return "DamagedError";
    default:
        return "CallError";
    }
}

[[nodiscard]] py::object type_of(const char* name)
{
    return py::module_::import("nuv._types").attr(name);
}

[[nodiscard]] py::object or_none(std::int64_t number)
{
    return number < 0 ? py::object(py::none()) : py::object(py::int_(number));
}

[[nodiscard]] py::object path_object(std::string_view name)
{
    return name.empty() ? py::object(py::none()) : text_of(name);
}

[[noreturn]] void throw_object(const py::object& error)
{
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
    throw py::error_already_set();
}

// The class that Python has for this errno, FileNotFoundError and the like.
[[nodiscard]] py::object system_error(const nuv_failure& why, const char* message,
                                      const py::object& path)
{
    const auto type = py::reinterpret_borrow<py::object>(PyExc_OSError);
    if (why.system_error == 0)
        return type(EIO, text_of(message), path);
    const char* const usual = std::strerror(why.system_error);
    return type(why.system_error, text_of(std::strstr(message, usual) ? usual : message), path);
}

} // namespace

py::str text_of(std::string_view text)
{
    PyObject* const is =
        PyUnicode_DecodeFSDefaultAndSize(text.data(), static_cast<Py_ssize_t>(text.size()));
    if (!is)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(is);
}

void raise(const char* type, const std::string& message, std::string_view path)
{
    throw_object(type_of(type)(text_of(message), path_object(path)));
}

void check(const nuv_job* job, const std::string& source, const std::string& destination)
{
    const nuv_status status = nuv_state(job);
    if (status == NUV_OK)
        return;
    nuv_failure why{};
    why.size = sizeof(why);
    nuv_why(job, &why);
    const py::object path = path_object(why.in_destination != 0 ? destination : source);
    const char* const message = nuv_message(job);
    py::object error;
    if (status == NUV_NO_MEMORY)
        error = py::reinterpret_borrow<py::object>(PyExc_MemoryError)(text_of(message));
    else if (status == NUV_IO)
        error = system_error(why, message, path);
    else
        error = type_of(class_of(status))(text_of(message));
    error.attr("path") = path;
    error.attr("byte") = or_none(why.byte);
    error.attr("line") = or_none(why.line);
    throw_object(error);
}

void warn_of_damage(const nuv_job* job, const std::string& source)
{
    if (nuv_first_damaged_line(job) < 0)
        return;
    const std::string text = (source.empty() ? "" : source + ": ").append(nuv_message(job));
    if (PyErr_WarnFormat(type_of("DamagedWarning").ptr(), 1, "%U", text_of(text).ptr()) != 0)
        throw py::error_already_set();
}

} // namespace nuv_python
