#pragma once

#include <pybind11/pybind11.h>

namespace nuv_python {

namespace py = pybind11;

// Others run while this lives. A thread that comes back when the interpreter is gone stays here:
// it has nowhere to go, and the process ends without it.
class Unlocked {
public:
    Unlocked() noexcept : state_(PyEval_SaveThread()) {}
    ~Unlocked();
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

private:
    PyThreadState* state_;
};

// The interpreter's lock for a callback, if it can still be had.
class Locked {
public:
    Locked() noexcept;
    ~Locked();
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return has_; }

private:
    bool has_;
    PyGILState_STATE state_{};
};

// Has callbacks refused once the interpreter ends: a thread that waits for its lock by then would
// take the process down.
void refuse_at_exit();

} // namespace nuv_python
