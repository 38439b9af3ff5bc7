#include "python/source/nuv_watch.h"

#include <utility>

#include "python/source/nuv_errors.h"

namespace nuv_python {

namespace {

[[nodiscard]] bool is_main_thread()
{
    const py::object main = py::module_::import("threading").attr("main_thread")();
    return main.attr("ident").cast<unsigned long>() == PyThread_get_thread_ident();
}

} // namespace

Watch::Watch(nuv_job* job, py::object progress) : job_(job), progress_(std::move(progress))
{
    if (is_main_thread())
        nuv_cancel_when(job_, is_interrupted, this);
}

Watch::~Watch()
{
    nuv_cancel_when(job_, nullptr, nullptr);
}

void Watch::check(const std::string& source, const std::string& destination)
{
    if (error_)
        throw std::move(*error_);
    nuv_python::check(job_, source, destination);
}

int Watch::tell(void* user, std::uint32_t done, std::uint32_t lines) noexcept
{
    auto& it = *static_cast<Watch*>(user);
    return it.locked([&] { return !it.progress_(done, lines).is(py::handle(Py_False)); }) ? 0 : 1;
}

int Watch::is_interrupted(void* user) noexcept
{
    const auto look = [] {
        if (PyErr_CheckSignals() != 0)
            throw py::error_already_set();
        return true;
    };
    return static_cast<Watch*>(user)->locked(look) ? 0 : 1;
}

} // namespace nuv_python
