#include "framework/io/nuv_posixlowlevelfile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

#ifdef RWF_NOWAIT
#    include <linux/magic.h>
#    include <sys/vfs.h>
#endif

namespace nuv {
namespace {

template <class Call>
[[nodiscard]] auto uninterrupted(Call&& call)
{
    for (;;) {
        const auto result = call();
        if (result >= 0 || errno != EINTR)
            return result;
    }
}

// A FIFO would block its reader, a directory opens but has no bytes, and beyond 2 GiB no position
// can be told. errno tells which, behind a refusal.
[[nodiscard]] bool is_readable_file(int descriptor)
{
    struct stat about = {};
    if (fstat(descriptor, &about) != 0)
        return false;
    if (!S_ISREG(about.st_mode)) {
        errno = S_ISDIR(about.st_mode) ? EISDIR : ESPIPE;
        return false;
    }
    errno = EFBIG;
    return about.st_size <= last_stream_position;
}

#ifdef RWF_NOWAIT
// On a file system that is nowhere else.
[[nodiscard]] bool is_in_memory(int descriptor)
{
    struct statfs about = {};
    return fstatfs(descriptor, &about) == 0 && about.f_type == TMPFS_MAGIC;
}
#endif

// Piece by piece until all is there, the end or a failure; -1 for a failure before the first byte.
template <class ReadSome>
[[nodiscard]] std::int32_t read_all(std::uint8_t* to, std::int32_t bytes, ReadSome read_some)
{
    std::int32_t done = 0;
    while (to && done < bytes) {
        const std::int32_t got = read_some(to + done, bytes - done);
        if (got < 0)
            return done > 0 ? done : -1;
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

} // namespace

NUV_Diagnosis why_not_opened(int error, NUV_FileUse use) noexcept
{
    NUV_Diagnosis why;
    why.system(error);
    if (use == NUV_FileUse::writing)
        why.while_writing();
    if (error == ESPIPE)
        why.says("it is no regular file");
    else if (error == EFBIG)
        why.because(NUV_Cause::limit).says("a file of more than 2 GiB");
    return why;
}

bool NUV_PosixLowLevelFile::open(const char* name, NUV_FileUse use)
{
    // Not blocking: the open of a FIFO waits for the other end otherwise. Regular files do not
    // care.
    constexpr int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    constexpr mode_t permission = 0644;

    close();
    const bool reading = use == NUV_FileUse::reading;
    const int flags = common | (reading ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC);
    const int opened = uninterrupted([&] { return ::open(name, flags, permission); });
    if (opened < 0)
        return false;
    if (reading ? !is_readable_file(opened) : lseek(opened, 0, SEEK_CUR) < 0) {
        const int reason = errno;
        ::close(opened);
        errno = reason;
        return false;
    }
    descriptor_ = opened;
    position_ = 0;
    return true;
}

bool NUV_PosixLowLevelFile::adopt(std::int32_t descriptor, NUV_FileUse use)
{
    if (use == NUV_FileUse::reading && !is_readable_file(descriptor))
        return false;
    const off_t at = lseek(descriptor, 0, SEEK_CUR);
    if (at > last_stream_position)
        errno = EFBIG;
    if (at < 0 || at > last_stream_position)
        return false;
    close();
    descriptor_ = descriptor;
    position_ = static_cast<std::int32_t>(at);
    return true;
}

bool NUV_PosixLowLevelFile::close()
{
    if (is_closed())
        return true;
    position_ = 0;
    // Whatever the answer, the descriptor is gone; closing it again could hit someone else's.
    if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR)
        return fail(*manager_, NUV_ERR_IO, "NUV_PosixLowLevelIO::close()",
                    NUV_Diagnosis().system(errno));
    return true;
}

std::int32_t NUV_PosixLowLevelFile::read_some(void* into, std::int32_t bytes)
{
    if (is_closed() || !into)
        return 0;
    // A file may have grown past what can be told.
    const std::int32_t room = std::min(bytes, last_stream_position - position_);
    if (room < 1)
        return 0;
    const ssize_t got =
        uninterrupted([&] { return ::read(descriptor_, into, static_cast<std::size_t>(room)); });
    if (got < 0) {
        fail(*manager_, NUV_ERR_IO, "NUV_PosixLowLevelIO::read()",
             NUV_Diagnosis().at_byte(position_).system(errno));
        return -1;
    }
    position_ += static_cast<std::int32_t>(got);
    return static_cast<std::int32_t>(got);
}

std::int32_t NUV_PosixLowLevelFile::read(void* into, std::int32_t bytes)
{
    return read_all(static_cast<std::uint8_t*>(into), bytes,
                    [this](std::uint8_t* to, std::int32_t left) { return read_some(to, left); });
}

bool NUV_PosixLowLevelFile::is_at_hand(std::int64_t distance) const noexcept
{
#ifdef RWF_NOWAIT
    std::uint8_t byte = 0;
    const iovec one{&byte, 1};
    if (preadv2(descriptor_, &one, 1, position_ + distance, RWF_NOWAIT) >= 0)
        return true;
    return errno == EOPNOTSUPP && is_in_memory(descriptor_);
#else
    static_cast<void>(distance);
    return false;
#endif
}

std::int32_t NUV_PosixLowLevelFile::write(const void* from, std::int32_t bytes)
{
    constexpr auto method = "NUV_PosixLowLevelIO::write()";

    if (is_closed() || !from || bytes < 1)
        return 0;
    const auto* next = static_cast<const std::uint8_t*>(from);
    const std::int32_t room = std::min(bytes, last_stream_position - position_);
    std::int32_t done = 0;
    while (done < room) {
        const auto left = static_cast<std::size_t>(room - done);
        const ssize_t put = uninterrupted([&] { return ::write(descriptor_, next + done, left); });
        if (put < 1)
            break;
        done += static_cast<std::int32_t>(put);
        position_ += static_cast<std::int32_t>(put);
    }
    if (done < room)
        fail(*manager_, NUV_ERR_IO, method,
             NUV_Diagnosis().at_byte(position_).while_writing().system(errno));
    else if (done < bytes)
        fail(*manager_, NUV_ERR_IO, method, beyond_positions());
    return done;
}

std::int32_t NUV_PosixLowLevelFile::seek(std::int32_t offset, NUV_SeekOrigin origin)
{
    if (is_closed())
        return -1;
    const bool relative = origin == NUV_SeekOrigin::current;
    const off_t target = relative ? off_t{position_} + offset : off_t{offset};
    const off_t at =
        lseek(descriptor_, target, origin == NUV_SeekOrigin::end ? SEEK_END : SEEK_SET);
    if (at < 0) {
        fail(*manager_, NUV_ERR_IO, "NUV_PosixLowLevelIO::seek()", NUV_Diagnosis().system(errno));
        return -1;
    }
    if (at > last_stream_position) {
        fail(*manager_, NUV_ERR_IO, "NUV_PosixLowLevelIO::position()");
        lseek(descriptor_, position_, SEEK_SET);
        return -1;
    }
    position_ = static_cast<std::int32_t>(at);
    return position_;
}

std::int32_t NUV_PosixLowLevelFile::size() const noexcept
{
    struct stat about = {};
    if (is_closed() || fstat(descriptor_, &about) != 0)
        return 0;
    return static_cast<std::int32_t>(std::min<off_t>(about.st_size, last_stream_position));
}

void NUV_PosixReadFile::forget() noexcept
{
    begin_ = end_ = 0;
    gap_bytes_ = known_bytes_ = 0;
}

bool NUV_PosixReadFile::open(const char* name, NUV_FileUse use)
{
    forget();
    return file_.open(name, use);
}

bool NUV_PosixReadFile::adopt(std::int32_t descriptor)
{
    if (!file_.adopt(descriptor))
        return false;
    forget();
    return true;
}

bool NUV_PosixReadFile::close()
{
    forget();
    return file_.close();
}

std::int32_t NUV_PosixReadFile::read_some(std::uint8_t* to, std::int32_t bytes)
{
    if (held() == 0) {
        // Behind a wide gap, the next one will begin before what could be read ahead has an end.
        const bool is_alone = gap_bytes_ >= ahead_bytes;
        if (gap_bytes_ != 0 && !close_gap(bytes))
            return -1;
        if (!reads_ahead_ || is_alone || bytes > ahead_bytes / 2)
            return file_.read_some(to, bytes);
        if (ahead_.size() == 0 && !ahead_.allocate(*manager_, ahead_bytes))
            return -1;
        const std::int32_t got = file_.read_some(ahead_.data(), ahead_bytes);
        if (got < 1)
            return got;
        begin_ = 0;
        end_ = got;
    }
    const std::int32_t taken = std::min(bytes, held());
    std::memcpy(to, ahead_.data() + begin_, static_cast<std::size_t>(taken));
    begin_ += taken;
    return taken;
}

std::int32_t NUV_PosixReadFile::read(void* into, std::int32_t bytes)
{
    return read_all(static_cast<std::uint8_t*>(into), bytes,
                    [this](std::uint8_t* to, std::int32_t left) { return read_some(to, left); });
}

bool NUV_PosixReadFile::pass_over(std::int32_t bytes) noexcept
{
    if (bytes < 0 || is_closed())
        return false;
    const std::int64_t target = std::int64_t{position()} + bytes;
    if (target > known_bytes_)
        known_bytes_ = size();
    if (target > known_bytes_)
        return false;
    const std::int32_t of_held = std::min(bytes, held());
    begin_ += of_held;
    gap_bytes_ += bytes - of_held;
    return true;
}

// A disk is read in one go as long as the system sees no gaps. So a gap of moderate width is left
// out only where what stands behind it is in memory already, and else read like the rest, by which
// the system goes on reading ahead. What costs no more than a read itself is read, too.
bool NUV_PosixReadFile::close_gap(std::int32_t bytes)
{
    constexpr std::int32_t wide = 1 << 18;

    std::int32_t gap = std::exchange(gap_bytes_, 0);
    const bool is_block_saved = gap >= ahead_bytes || bytes > ahead_bytes / 2;
    if (gap >= wide || (is_block_saved && file_.is_at_hand(std::int64_t{gap} + bytes - 1)))
        return file_.seek(gap, NUV_SeekOrigin::current) >= 0;
    if (ahead_.size() == 0 && !ahead_.allocate(*manager_, ahead_bytes))
        return false;
    while (gap > 0) {
        const std::int32_t got = file_.read_some(ahead_.data(), std::min(gap, ahead_bytes));
        if (got < 1)
            return got == 0;
        gap -= got;
    }
    return true;
}

// The place that the system knows is behind what is held, or before a gap, so a distance is told
// from here.
std::int32_t NUV_PosixReadFile::seek(std::int32_t offset, NUV_SeekOrigin origin)
{
    if (origin == NUV_SeekOrigin::current)
        offset += gap_bytes_ - held();
    const std::int32_t at = file_.seek(offset, origin);
    if (at >= 0)
        begin_ = end_ = gap_bytes_ = 0;
    return at;
}

} // namespace nuv
