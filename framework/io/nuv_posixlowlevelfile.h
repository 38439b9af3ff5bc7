#pragma once

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_streamposition.h"

#include <cerrno>
#include <cstdint>

namespace nuv {

enum class NUV_FileUse { reading, writing };
// `no` is for a file that is written meanwhile: what stands there at a read is what it gives.
enum class NUV_ReadAhead { no, yes };
enum class NUV_SeekOrigin { begin, current, end };

// One file of the system, each read and write a call of the system. Its positions end at 2^31 - 1.
// Failures raise NUV_ERR_IO unless an operation says otherwise; a closed file answers -1, 0 or
// false.
class NUV_PosixLowLevelFile {
public:
    explicit NUV_PosixLowLevelFile(NUV_Manager& manager) noexcept : manager_(&manager) {}
    ~NUV_PosixLowLevelFile() { close(); }
    NUV_PosixLowLevelFile(const NUV_PosixLowLevelFile&) = delete;
    NUV_PosixLowLevelFile& operator=(const NUV_PosixLowLevelFile&) = delete;

    // Closes what is open. For reading the file must be a regular one of less than 2 GiB. For
    // writing it is created or emptied, and must be able to seek. Never waits for another process,
    // and raises nothing: errno tells the reason, EFBIG for a file that is too large.
    [[nodiscard]] bool open(const char* name, NUV_FileUse use);
    // Takes over a descriptor, under the same conditions and where it stands; it stays the caller's
    // when this answers false. Raises nothing; errno tells the reason.
    [[nodiscard]] bool adopt(std::int32_t descriptor, NUV_FileUse use = NUV_FileUse::reading);
    [[nodiscard]] bool is_closed() const noexcept { return descriptor_ < 0; }
    bool close();

    // The bytes that came, fewer than asked for at the end; -1 for a failure before the first one.
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes);
    // As many as the system gives at once: 0 at the end, -1 for a failure. `bytes` is above 0.
    [[nodiscard]] std::int32_t read_some(void* into, std::int32_t bytes);
    // Whether the system has the byte so far ahead in memory, as far as it tells.
    [[nodiscard]] bool is_at_hand(std::int64_t distance) const noexcept;
    // The bytes that went out before the end or a failure.
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes);
    // The new position, or -1.
    std::int32_t seek(std::int32_t offset, NUV_SeekOrigin origin);
    [[nodiscard]] std::int32_t position() const noexcept { return position_; }
    // 0 when it cannot be told.
    [[nodiscard]] std::int32_t size() const noexcept;

private:
    NUV_Manager* manager_;
    std::int32_t descriptor_ = -1;
    std::int32_t position_ = 0;
};

// One file for reading. Small reads one behind the other are served from one large one, so that a
// picture of short lines does not cost a call of the system a line. What is passed over is not read
// unless it stands among that.
class NUV_PosixReadFile {
public:
    explicit NUV_PosixReadFile(NUV_Manager& manager) noexcept : file_(manager), manager_(&manager)
    {}

    // As those of NUV_PosixLowLevelFile.
    [[nodiscard]] bool open(const char* name, NUV_FileUse use);
    [[nodiscard]] bool adopt(std::int32_t descriptor);
    [[nodiscard]] bool is_closed() const noexcept { return file_.is_closed(); }
    bool close();
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes);
    std::int32_t seek(std::int32_t offset, NUV_SeekOrigin origin);
    // False, without having moved, where the file ends before that.
    [[nodiscard]] bool pass_over(std::int32_t bytes) noexcept;
    [[nodiscard]] std::int32_t position() const noexcept
    {
        return file_.position() - held() + gap_bytes_;
    }
    [[nodiscard]] std::int32_t size() const noexcept { return file_.size(); }

    void read_ahead(NUV_ReadAhead ahead) noexcept { reads_ahead_ = ahead == NUV_ReadAhead::yes; }

private:
    [[nodiscard]] std::int32_t held() const noexcept { return end_ - begin_; }
    [[nodiscard]] std::int32_t read_some(std::uint8_t* to, std::int32_t bytes);
    [[nodiscard]] bool close_gap(std::int32_t bytes);
    void forget() noexcept;

    static constexpr std::int32_t ahead_bytes = 16384;

    NUV_PosixLowLevelFile file_;
    NUV_Manager* manager_;
    bool reads_ahead_ = true;
    // What was read already and not asked for yet: the file stands behind it.
    NUV_Scratch<std::uint8_t> ahead_;
    std::int32_t begin_ = 0;
    std::int32_t end_ = 0;
    std::int32_t gap_bytes_ = 0;   // passed over behind all that was read
    std::int32_t known_bytes_ = 0; // that the file has at least
};

// What an errno of open() and adopt() says here.
[[nodiscard]] NUV_Diagnosis why_not_opened(int error, NUV_FileUse use) noexcept;

// What file storages share.
template <class LowLevelFile>
class NUV_PosixStorage {
protected:
    explicit NUV_PosixStorage(NUV_Manager& manager) noexcept
        : file_(manager),
          storage_manager_(&manager)
    {}
    ~NUV_PosixStorage() = default;

    // NUV_ERR_ARGUMENT for a null, NUV_ERR_IO for what the system or the low-level file refuses.
    [[nodiscard]] bool open(const char* name, NUV_FileUse use)
    {
        constexpr auto method = "NUV_PosixStorage::open()";

        if (!name)
            return fail(*storage_manager_, NUV_ERR_ARGUMENT, method);
        if (file_.open(name, use))
            return true;
        return fail(*storage_manager_, NUV_ERR_IO, method, why_not_opened(errno, use));
    }

    // The distance moved, which ends at both ends of the file.
    std::int32_t move_file(std::int32_t bytes)
    {
        if (bytes == 0 || file_.is_closed())
            return 0;
        const std::int32_t before = file_.position();
        return seek_file(std::int64_t{before} + bytes) ? file_.position() - before : 0;
    }

    [[nodiscard]] bool seek_file(std::int64_t target)
    {
        const std::int32_t offset = clamped_position(target, file_.size());
        return file_.seek(offset, NUV_SeekOrigin::begin) == offset;
    }

    LowLevelFile file_;

private:
    NUV_Manager* storage_manager_;
};

} // namespace nuv
