#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

namespace nuv {

// A file that takes the place of another when it is whole. Until keep() it lies beside the
// destination under a name of its own, and it goes with this object.
class NUV_ReplacedFile {
public:
    NUV_ReplacedFile() = default;
    ~NUV_ReplacedFile();
    NUV_ReplacedFile(const NUV_ReplacedFile&) = delete;
    NUV_ReplacedFile& operator=(const NUV_ReplacedFile&) = delete;

    // 0, or errno. What stands at `path` must be a regular file that may be written; a link is
    // followed. May throw std::bad_alloc.
    [[nodiscard]] int create(const char* path);
    // A second descriptor of the file, the caller's, or -1 with errno.
    [[nodiscard]] int duplicate() const noexcept;
    // Has the system write it to the disk, and puts it into its place. 0, or errno.
    [[nodiscard]] int keep() noexcept;

private:
    [[nodiscard]] int open_beside();

    std::string destination_;
    std::string path_; // of the file, empty when there is none
    int descriptor_ = -1;
};

} // namespace nuv
