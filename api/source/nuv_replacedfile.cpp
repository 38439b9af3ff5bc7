#include "api/source/nuv_replacedfile.h"

#include <cerrno>
#include <climits>
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
constexpr mode_t new_file = 0666; // of which the process takes its mask

// With its slash; empty for the folder in which the process is.
[[nodiscard]] std::string folder_of(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// A link whose file is missing stands for the place of that file. Else `path` stays. 0, or errno.
[[nodiscard]] int follow_links(std::string& path)
{
    constexpr int most_links = 40; // as many as the system follows

    for (int i = 0; i < most_links; ++i) {
        char text[PATH_MAX];
        const ssize_t bytes = ::readlink(path.c_str(), text, sizeof(text));
        if (bytes < 0)
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        if (bytes == ssize_t{sizeof(text)})
            return ENAMETOOLONG;
        const std::string target(text, static_cast<std::size_t>(bytes));
        path = target.starts_with('/') ? target : folder_of(path) + target;
    }
    return ELOOP;
}

// By which a file without a name can be reached as long as it is open.
struct NamelessPath {
    explicit NamelessPath(int descriptor) noexcept
    {
        std::snprintf(text, sizeof(text), "/proc/self/fd/%d", descriptor);
    }
    char text[32];
};

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
    } else if (const int error = follow_links(destination_)) {
        return error;
    }
    const int error = open_nameless() ? 0 : take_name([this](const char* name) {
        descriptor_ = ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, new_file);
        return descriptor_ >= 0;
    });
    if (error == 0 && is_there && ::fchmod(descriptor_, there.st_mode & rights) != 0)
        return errno;
    return error;
}

bool NUV_ReplacedFile::open_nameless()
{
#if defined(O_TMPFILE)
    const std::string folder = folder_of(destination_);
    const int opened =
        ::open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, new_file);
    // Without /proc it could not get a name later.
    if (opened >= 0 && ::access(NamelessPath(opened).text, F_OK) != 0)
        ::close(opened);
    else
        descriptor_ = opened;
#endif
    return descriptor_ >= 0;
}

template <class Take>
int NUV_ReplacedFile::take_name(Take take)
{
    constexpr unsigned most_attempts = 100;

    const std::string folder = folder_of(destination_);
    for (unsigned attempt = 0; attempt < most_attempts; ++attempt) {
        char name[32];
        std::snprintf(name, sizeof(name), ".nuv-%012llx", unlikely_number(this, attempt));
        std::string candidate = folder + name;
        if (take(candidate.c_str())) {
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

int NUV_ReplacedFile::give_name()
{
    const NamelessPath nameless(descriptor_);
    const auto link = [&nameless](const char* name) {
        return ::linkat(AT_FDCWD, nameless.text, AT_FDCWD, name, AT_SYMLINK_FOLLOW) == 0;
    };
    return take_name(link);
}

int NUV_ReplacedFile::keep()
{
    if (::fsync(descriptor_) != 0)
        return errno;
    // What has a name already can only be replaced by another name.
    const int error = path_.empty() ? give_name() : 0;
    if (error != 0)
        return error;
    if (std::rename(path_.c_str(), destination_.c_str()) != 0)
        return errno;
    path_.clear();
    return 0;
}

} // namespace nuv
