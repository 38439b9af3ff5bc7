#pragma once

#include <nuv/nuv.h>

#include <optional>
#include <pybind11/pybind11.h>

#include "python/source/nuv_lock.h"

namespace nuv_python {

namespace py = pybind11;

// What a call on a job calls back into while the interpreter's lock is free, and what came of it.
// It takes the lock once a band for a callback and, in the thread that Python's signals go to, some
// fifty times a second to see whether one has come. Made and ended under the lock.
class Watch {
public:
    // `progress` is None or is called with lines done and lines in all; False cancels.
    explicit Watch(nuv_job* job, py::object progress = py::none());
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // For the run; null where nobody asks.
    [[nodiscard]] nuv_progress progress() const noexcept
    {
        return progress_.is_none() ? nullptr : tell;
    }
    // Throws what a signal or a callback has raised, and else what Python calls the job's failure.
    void check(const std::string& source, const std::string& destination = {});

    // Runs `body` under the lock, and keeps what it throws. False for that, for its own false, and
    // at the end of the interpreter.
    template <class Body>
    [[nodiscard]] bool locked(Body body) noexcept
    {
        const Locked lock;
        if (!lock)
            return false;
        try {
            return body();
        } catch (py::error_already_set& error) {
            error_.emplace(std::move(error));
        } catch (const std::exception& error) {
            PyErr_SetString(PyExc_RuntimeError, error.what());
            error_.emplace();
        }
        return false;
    }

private:
    static int tell(void* user, std::uint32_t done, std::uint32_t lines) noexcept;
    static int is_interrupted(void* user) noexcept;

    nuv_job* job_;
    py::object progress_;
    std::optional<py::error_already_set> error_;
};

} // namespace nuv_python
