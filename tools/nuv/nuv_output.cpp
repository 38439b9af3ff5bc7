#include "tools/nuv/nuv_output.h"

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace nuv_tool {

namespace {

// Of the streams and the bar, which the program has once.
std::mutex printing;
bool bar_stands = false;

void wipe_bar_locked() noexcept
{
    if (bar_stands)
        std::fputs("\r\x1b[K", stderr);
    bar_stands = false;
}

[[noreturn]] void throw_reason()
{
    throw std::runtime_error("standard output: " + std::generic_category().message(errno));
}

} // namespace

void print_to_stdout(std::string_view text)
{
    const std::lock_guard lock(printing);
    wipe_bar_locked();
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throw_reason();
}

void finish_stdout()
{
    if (std::fflush(stdout) != 0)
        throw_reason();
}

void print_to_stderr(const std::string& line)
{
    const std::lock_guard lock(printing);
    wipe_bar_locked();
    std::fputs((line + "\n").c_str(), stderr);
}

bool is_stderr_a_terminal() noexcept
{
    static const bool is = isatty(STDERR_FILENO) != 0;
    return is;
}

void draw_bar(const std::string& bar)
{
    const std::string line = "\r" + bar + "\x1b[K";
    const std::lock_guard lock(printing);
    std::fputs(line.c_str(), stderr);
    bar_stands = true;
}

void wipe_bar() noexcept
{
    const std::lock_guard lock(printing);
    wipe_bar_locked();
}

} // namespace nuv_tool
