#include "api/source/nuv_replacedfile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace nuv {
namespace {

constexpr mode_t rights = 07777;

struct Freed {
    void operator()(char* text) const noexcept { std::free(text); }
};

// A part of a name that hardly anyone else has taken.
[[nodiscard]] unsigned long long unlikely_number(const void* owner, unsigned attempt) noexcept
{
    constexpr unsigned long long mixer = 0x9E3779B97F4A7C15; // 2^64 / golden ratio, odd
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    auto number = static_cast<unsigned long long>(now.tv_nsec) ^
                  static_cast<unsigned long long>(getpid()) << 32;
    number ^= reinterpret_cast<std::uintptr_t>(owner) + attempt;
    return (number * mixer) >> 16;
}

} // namespace

NUV_ReplacedFile::~NUV_ReplacedFile()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
    if (!path_.empty())
        ::unlink(path_.c_str());
}

int NUV_ReplacedFile::create(const char* path)
{
    destination_ = path;
    struct stat there = {};
    const bool is_there = ::stat(path, &there) == 0;
    if (!is_there && errno != ENOENT)
        return errno;
    if (is_there) {
        if (!S_ISREG(there.st_mode))
            return S_ISDIR(there.st_mode) ? EISDIR : ESPIPE;
        if (::access(path, W_OK) != 0)
            return errno;
        const std::unique_ptr<char, Freed> resolved(::realpath(path, nullptr));
        if (!resolved)
            return errno;
        destination_ = resolved.get();
    }
    const int error = open_beside();
    if (error == 0 && is_there && ::fchmod(descriptor_, there.st_mode & rights) != 0)
        return errno;
    return error;
}

int NUV_ReplacedFile::open_beside()
{
    constexpr unsigned most_attempts = 100;
    constexpr mode_t new_file = 0666; // of which the process takes its mask

    const auto slash = destination_.rfind('/');
    const std::string folder =
        slash == std::string::npos ? std::string() : destination_.substr(0, slash + 1);
    for (unsigned attempt = 0; attempt < most_attempts; ++attempt) {
        char name[32];
        std::snprintf(name, sizeof(name), ".nuv-%012llx", unlikely_number(this, attempt));
        std::string candidate = folder + name;
        descriptor_ = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, new_file);
        if (descriptor_ >= 0) {
            path_.swap(candidate);
            return 0;
        }
        if (errno != EEXIST && errno != EINTR)
            return errno;
    }
    return EEXIST;
}

int NUV_ReplacedFile::duplicate() const noexcept
{
    return ::fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
}

int NUV_ReplacedFile::keep() noexcept
{
    if (::fsync(descriptor_) != 0)
        return errno;
    if (std::rename(path_.c_str(), destination_.c_str()) != 0)
        return errno;
    path_.clear();
    return 0;
}

} // namespace nuv
