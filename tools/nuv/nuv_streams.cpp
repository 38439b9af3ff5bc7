#include "tools/nuv/nuv_streams.h"

#include "tools/nuv/nuv_signals.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace nuv_tool {

namespace {

// Bytes of all lines of one plane of `channels` channels, which start on bytes; the largest number
// where they are beyond counting.
std::uint64_t plane_bytes(const nuv_picture& is, std::uint64_t channels)
{
    const std::uint64_t pixel_bits = channels * is.bits; // below 2^32, as the width is
    const std::uint64_t line = (pixel_bits * is.width + 7) / 8;
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() / 65536;
    return is.height != 0 && line > most / is.height ? most : line * is.height;
}

// Of a call that failed with this errno.
bool is_worth_another(int error) noexcept
{
    return (error == EINTR || error == EAGAIN) && !is_signalled();
}

// Until `descriptor` is ready, where there is an end to waiting: else reading and writing wait by
// themselves.
bool wait_for(int descriptor, short events, const Deadline& deadline, int& error)
{
    if (!deadline.is_set())
        return true;
    pollfd one{.fd = descriptor, .events = events, .revents = 0};
    int ready = -1;
    do {
        ready = poll(&one, 1, deadline.milliseconds_left());
    } while (ready < 0 && is_worth_another(errno));
    error = ready < 0 ? errno : ETIMEDOUT;
    return ready > 0;
}

} // namespace

ptrdiff_t read_standard_input(void* into, std::size_t bytes, const Deadline& deadline, int& error)
{
    ptrdiff_t got = -1;
    error = 0;
    do {
        if (!wait_for(STDIN_FILENO, POLLIN, deadline, error))
            return -1;
        got = read(STDIN_FILENO, into, bytes);
    } while (got < 0 && is_worth_another(errno));
    error = got < 0 ? errno : 0;
    return got;
}

bool write_all(int descriptor, const void* from, std::size_t bytes, const Deadline& deadline,
               int& error)
{
    // What a pipe that is ready takes without waiting.
    const std::size_t most = deadline.is_set() ? std::size_t{PIPE_BUF} : bytes;
    const auto* next = static_cast<const unsigned char*>(from);
    while (bytes != 0) {
        if (!wait_for(descriptor, POLLOUT, deadline, error))
            return false;
        const ptrdiff_t done = write(descriptor, next, std::min(bytes, most));
        if (done < 0 && !is_worth_another(errno)) {
            error = errno;
            return false;
        }
        const auto written = static_cast<std::size_t>(std::max(done, ptrdiff_t{0}));
        next += written;
        bytes -= written;
    }
    return true;
}

bool is_special_file(const std::string& path) noexcept
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

int open_special_file(const std::string& path, const Deadline& deadline, int& error)
{
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 10'000'000};

    struct stat status = {};
    const bool is_pipe = stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
    int descriptor = -1;
    while (descriptor < 0) {
        descriptor = open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
        error = errno;
        const bool is_unread = is_pipe && error == ENXIO;
        if (descriptor < 0 && ((!is_unread && error != EINTR) || is_signalled()))
            return -1;
        if (descriptor < 0 && deadline.has_passed()) {
            error = ETIMEDOUT;
            return -1;
        }
        if (descriptor < 0)
            nanosleep(&pause, nullptr);
    }
    error = 0;
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return descriptor;
}

void hint_at_standard_input(std::string& message, std::string_view path)
{
    if (path == "/dev/stdin" || path == "/dev/fd/0" || path == "/proc/self/fd/0")
        message.append(" (The name of standard input is -.)");
}

bool names_standard_output(std::string_view path)
{
    return path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

Problem StreamedSamples::open_samples(nuv_job* job, const nuv_picture& is, bool is_planar,
                                      std::uint64_t most_bytes, const Deadline& deadline)
{
    const std::uint64_t part = plane_bytes(is, is_planar ? 1 : is.channels);
    const std::uint64_t needed = part * (is_planar ? is.channels : 1U);
    if (most_bytes != 0 && needed > most_bytes)
        return "--input-raw describes " + std::to_string(needed) + " bytes, " +
               std::to_string(most_bytes) + " are allowed (--max-memory)";
    std::size_t filled = 0;
    ptrdiff_t got = 1;
    int error = 0;
    while (filled < needed && got > 0) {
        // As it comes: what is described need not be there.
        constexpr std::size_t first_bytes = 65536;
        if (filled == bytes_.size())
            bytes_.resize(static_cast<std::size_t>(
                std::min(needed, std::uint64_t{std::max(first_bytes, 2 * filled)})));
        got = read_standard_input(bytes_.data() + filled, bytes_.size() - filled, deadline, error);
        filled += static_cast<std::size_t>(std::max(got, ptrdiff_t{0}));
    }
    if (error == ETIMEDOUT)
        return late_message;
    if (error != 0)
        return "The source cannot be read: " + std::generic_category().message(error) + ".";
    if (filled < needed)
        return "ends behind " + std::to_string(filled) + " of the " + std::to_string(needed) +
               " bytes that --input-raw describes";
    if (!is_planar) {
        nuv_open_samples(job, bytes_.data(), 0, &is);
        return {};
    }
    std::vector<const void*> planes;
    for (std::size_t i = 0; i < is.channels; ++i)
        planes.push_back(bytes_.data() + i * part);
    nuv_open_planes(job, planes.data(), 0, &is);
    return {};
}

} // namespace nuv_tool
