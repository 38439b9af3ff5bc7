#include "tools/nuv/nuv_outputfile.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace nuv_tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t path_limit = 4096;
// What the signal handler removes. A plain array, for a handler may touch little else.
std::array<char, path_limit> pending_path{};
volatile std::sig_atomic_t pending = 0;

extern "C" void remove_pending(int signal_number)
{
    if (pending != 0)
        unlink(pending_path.data());
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
}

constexpr int ending_signals[] = {SIGHUP, SIGINT, SIGTERM};

// Puts off the signals that end the program, as long as this lives: between the making of a file
// and the word of it to the handler none may come.
class SignalsHeld {
public:
    SignalsHeld()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal_number : ending_signals)
            sigaddset(&held, signal_number);
        sigprocmask(SIG_BLOCK, &held, &before_);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before_{};
};

void remove_on_signals(const std::string& path)
{
    pending_path.fill('\0');
    path.copy(pending_path.data(), pending_path.size() - 1);
    pending = 1;
    for (const int signal_number : ending_signals) {
        // A program started with one of them ignored goes on ignoring it.
        if (std::signal(signal_number, remove_pending) == SIG_IGN)
            std::signal(signal_number, SIG_IGN);
    }
}

std::string reason(int error)
{
    return std::generic_category().message(error);
}

// The rights that a new file would have, which mkstemp() does not give.
mode_t default_mode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return static_cast<mode_t>(0666 & ~mask);
}

} // namespace

OutputFile::~OutputFile()
{
    pending = 0;
    if (!path_.empty())
        unlink(path_.c_str());
}

Problem OutputFile::create(const std::string& destination)
{
    std::error_code error;
    fs::path target{destination};
    if (fs::is_symlink(target, error))
        target = fs::weakly_canonical(target, error);
    else
        error.clear();
    if (error)
        return destination + ": " + error.message();

    struct stat status = {};
    mode_ = default_mode();
    if (stat(target.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode))
            return destination + ": is not a regular file";
        if (access(target.c_str(), W_OK) != 0)
            return destination + ": " + reason(errno);
        mode_ = status.st_mode & 0777;
    }

    std::string name = (target.parent_path() / ".nuv-XXXXXX").string();
    if (name.size() >= path_limit)
        return destination + ": " + reason(ENAMETOOLONG);
    const SignalsHeld held;
    const int file = mkstemp(name.data());
    if (file < 0)
        return destination + ": " + reason(errno);
    close(file);
    destination_ = target.string();
    path_ = name;
    remove_on_signals(path_);
    return {};
}

Problem OutputFile::keep()
{
    if (chmod(path_.c_str(), mode_) != 0 || std::rename(path_.c_str(), destination_.c_str()) != 0)
        return destination_ + ": " + reason(errno);
    pending = 0;
    path_.clear();
    return {};
}

} // namespace nuv_tool
