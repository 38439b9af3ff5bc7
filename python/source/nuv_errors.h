#pragma once

#include <nuv/nuv.h>

#include <pybind11/pybind11.h>
#include <string>
#include <string_view>

namespace nuv_python {

namespace py = pybind11;

// Throws what Python calls the failure of the job, if there is one, and says whose it is; "" for
// what has no name.
void check(const nuv_job* job, const std::string& source, const std::string& destination = {});

// Text in which names stand as the system has them: of any bytes, as os.fsdecode() has it.
[[nodiscard]] py::str text_of(std::string_view text);

// An exception of the classes in nuv._types; "" for a path that is not known.
[[noreturn]] void raise(const char* type, const std::string& message, std::string_view path = {});

// Warns of what was mended; throws where the caller has made errors of warnings.
void warn_of_damage(const nuv_job* job, const std::string& source);

} // namespace nuv_python
