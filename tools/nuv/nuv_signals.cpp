#include "tools/nuv/nuv_signals.h"

#include <atomic>
#include <csignal>

namespace nuv_tool {

namespace {

std::atomic<int> noticed = 0;                         // a signal
static_assert(std::atomic<int>::is_always_lock_free); // for a handler

extern "C" void notice(int signal_number)
{
    noticed = signal_number;
}

} // namespace

void notice_signals()
{
    for (const int signal_number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM}) {
        struct sigaction before = {};
        if (sigaction(signal_number, nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = notice;
        sigemptyset(&action.sa_mask);
        // A pipe that is broken is so for every write; the others are meant once more.
        action.sa_flags = signal_number == SIGPIPE ? 0 : static_cast<int>(SA_RESETHAND);
        sigaction(signal_number, &action, nullptr);
    }
}

bool is_signalled() noexcept
{
    return noticed != 0;
}

void end_by_signal()
{
    if (noticed == 0)
        return;
    std::signal(noticed, SIG_DFL);
    std::raise(noticed);
}

} // namespace nuv_tool
