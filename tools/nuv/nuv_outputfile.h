#pragma once

#include "tools/nuv/nuv_problem.h"

#include <string>
#include <sys/types.h>

namespace nuv_tool {

// A file that comes into being whole or not at all: written under a name of its own beside the one
// asked for, and renamed at the end. What has not been renamed is removed with the object, and when
// a signal ends the program. One at a time.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Makes the file to write, beside `destination` (beside what it points to, when it is a link).
    // A problem when there is no place for it, or when something other than a file has that name.
    [[nodiscard]] Problem create(const std::string& destination);

    // Where to write.
    [[nodiscard]] const std::string& path() const { return path_; }

    // Gives the file its name, in place of what had it.
    [[nodiscard]] Problem keep();

private:
    std::string destination_;
    std::string path_; // empty when there is nothing to remove
    mode_t mode_ = 0;  // rights that the file gets with its name
};

} // namespace nuv_tool
