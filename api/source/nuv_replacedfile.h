#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

namespace nuv {

// A file that takes the place of another when it is whole. Until keep() it lies on the same disk
// without a name, so that it goes with the process whatever ends that; where the system has no such
// files, beside the destination under a name of its own. It goes with this object.
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
    // May throw std::bad_alloc.
    [[nodiscard]] int keep();

private:
    [[nodiscard]] bool open_nameless();
    // Tries names beside the destination until `take(path)` is true, or errno is something else
    // than that the name is taken; the name is then path_. 0, or errno.
    template <class Take>
    [[nodiscard]] int take_name(Take take);
    [[nodiscard]] int give_name();

    std::string destination_;
    std::string path_; // of the file, empty when it has none
    int descriptor_ = -1;
};

} // namespace nuv
