#pragma once

#include "tools/nuv/nuv_deadline.h"
#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nuv_tool {

// For a nuv_read of the standard input, and for a nuv_write to what `descriptor` stands for. They
// fail once a signal was noticed, and when nothing comes or goes until the deadline; `error` is
// then errno.
[[nodiscard]] ptrdiff_t read_standard_input(void* into, std::size_t bytes, const Deadline& deadline,
                                            int& error);
[[nodiscard]] bool write_all(int descriptor, const void* from, std::size_t bytes,
                             const Deadline& deadline, int& error);

// True for what is there and can only be written straight: a device, a pipe, no file and no folder.
[[nodiscard]] bool is_special_file(const std::string& path) noexcept;
// Opens such a one to be written; of a pipe that nobody reads it waits for somebody. -1 on failure,
// and `error` is errno.
[[nodiscard]] int open_special_file(const std::string& path, const Deadline& deadline, int& error);

// Of a message that the file at `path` cannot be read: tells the name that the tool has for it,
// when it is the system's name of the standard input, as "/dev/stdin".
void hint_at_standard_input(std::string& message, std::string_view path);
// True for the names that the system has for the standard output.
[[nodiscard]] bool names_standard_output(std::string_view path);

// Samples that come by the standard input, and have to stay as long as the job that reads them.
class StreamedSamples {
public:
    // Takes them, and opens them in `job`. A problem when they do not come whole and in time, or
    // are more than `most_bytes` bytes; 0 for no limit. Other failures stand in the job.
    [[nodiscard]] Problem open_samples(nuv_job* job, const nuv_picture& is, bool is_planar,
                                       std::uint64_t most_bytes, const Deadline& deadline);

private:
    std::vector<unsigned char> bytes_;
};

} // namespace nuv_tool
