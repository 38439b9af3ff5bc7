#include "python/source/nuv_lock.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <unistd.h>

namespace nuv_python {

namespace {

std::atomic<bool> is_ending = false;
std::atomic<std::thread::id> last_thread; // that ends the interpreter
std::atomic<int> callbacks = 0;           // that wait for the lock or have it

[[nodiscard]] bool is_finalizing() noexcept
{
#if PY_VERSION_HEX >= 0x030D0000
    return Py_IsFinalizing() != 0;
#else
    return _Py_IsFinalizing() != 0;
#endif
}

// No callback begins any more; those that have are let end, unless they take their time.
void end()
{
    using namespace std::chrono_literals;
    constexpr auto step = 1ms;
    constexpr int most_steps = 2000;

    last_thread = std::this_thread::get_id();
    is_ending = true;
    const Unlocked unlocked;
    for (int i = 0; i < most_steps && callbacks != 0; ++i)
        std::this_thread::sleep_for(step);
}

} // namespace

Unlocked::~Unlocked()
{
    while (is_finalizing() && last_thread.load() != std::this_thread::get_id())
        ::pause();
    try {
        PyEval_RestoreThread(state_);
    } catch (...) { // the interpreter has ended meanwhile, by pthread_exit()
        for (;;)
            ::pause();
    }
}

Locked::Locked() noexcept
{
    ++callbacks;
    has_ = !is_ending || last_thread.load() == std::this_thread::get_id();
    if (has_)
        state_ = PyGILState_Ensure();
}

Locked::~Locked()
{
    if (has_)
        PyGILState_Release(state_);
    --callbacks;
}

void refuse_at_exit()
{
    py::module_::import("atexit").attr("register")(py::cpp_function(end));
}

} // namespace nuv_python
