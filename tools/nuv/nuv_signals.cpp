#include "tools/nuv/nuv_signals.h"

#include <atomic>
#include <csignal>
#include <ctime>

namespace nuv_tool {

namespace {

constexpr std::time_t patience_seconds = 2;

std::atomic<int> noticed = 0;                         // a signal
static_assert(std::atomic<int>::is_always_lock_free); // for a handler

std::atomic<std::time_t> noticed_at = 0;
static_assert(std::atomic<std::time_t>::is_always_lock_free);

// Some send a signal to a program and to its group, so that it comes twice at once.
extern "C" void notice(int signal_number)
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (noticed == 0) {
        noticed_at = now.tv_sec;
        noticed = signal_number;
    } else if (signal_number != SIGPIPE && now.tv_sec - noticed_at > patience_seconds) {
        std::signal(signal_number, SIG_DFL);
        std::raise(signal_number);
    }
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
