#include "tools/nuv/nuv_streams.h"

#include "tools/nuv/nuv_signals.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>
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

} // namespace

ptrdiff_t read_standard_input(void* into, std::size_t bytes, int& error)
{
    ptrdiff_t got = -1;
    do {
        got = read(STDIN_FILENO, into, bytes);
    } while (got < 0 && errno == EINTR && !is_signalled());
    error = got < 0 ? errno : 0;
    return got;
}

bool write_standard_output(const void* from, std::size_t bytes, int& error)
{
    const auto* next = static_cast<const unsigned char*>(from);
    while (bytes != 0) {
        const ptrdiff_t done = write(STDOUT_FILENO, next, bytes);
        if (done < 0 && (errno != EINTR || is_signalled())) {
            error = errno;
            return false;
        }
        const auto written = static_cast<std::size_t>(std::max(done, ptrdiff_t{0}));
        next += written;
        bytes -= written;
    }
    return true;
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
                                      std::uint64_t most_bytes)
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
        got = read_standard_input(bytes_.data() + filled, bytes_.size() - filled, error);
        filled += static_cast<std::size_t>(std::max(got, ptrdiff_t{0}));
    }
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
