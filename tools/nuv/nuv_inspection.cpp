#include "tools/nuv/nuv_inspection.h"

#include "tools/nuv/nuv_deadline.h"
#include "tools/nuv/nuv_limits.h"
#include "tools/nuv/nuv_streams.h"

#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

namespace nuv_tool {

namespace {

struct JobEnd {
    void operator()(nuv_job* job) const noexcept { nuv_free(job); }
};

// What a job is watched by.
struct Watch {
    const Deadline deadline;
    int stream_error = 0; // errno of the standard input

    static int wants_end(void* user) noexcept
    {
        return static_cast<const Watch*>(user)->deadline.has_passed() ? 1 : 0;
    }
    static ptrdiff_t read(void* user, void* into, std::size_t bytes)
    {
        auto& watch = *static_cast<Watch*>(user);
        return read_standard_input(into, bytes, watch.deadline, watch.stream_error);
    }
};

void open_source(nuv_job* job, const std::string& path, std::uint32_t page, Watch& watch)
{
    nuv_page(job, page);
    nuv_cancel_when(job, Watch::wants_end, &watch);
    if (path == "-")
        nuv_open_stream(job, Watch::read, &watch);
    else
        nuv_open_file(job, path.c_str());
}

// Asks for every line. What is found out stands in the job.
void read_all_lines(nuv_job* job, ProgressBar::Picture& progress)
{
    constexpr std::size_t usual_bytes = std::size_t{1} << 20;

    nuv_picture is{};
    is.size = sizeof(is);
    if (nuv_look(job, &is) != NUV_OK)
        return;
    const std::uint64_t line_bits = std::uint64_t{is.width} * is.channels * is.bits;
    const auto line_bytes = static_cast<std::size_t>(line_bits / 8 + 1);
    const auto lines = static_cast<std::uint32_t>(usual_bytes / line_bytes + 1);
    std::vector<unsigned char> band(lines * line_bytes);
    std::uint32_t done = 0;
    std::uint32_t got = 0;
    while (nuv_read_lines(job, band.data(), 0, lines, &got) == NUV_OK && got != 0) {
        done += got;
        progress.tell(done, is.height);
    }
}

void look_at(const std::string& path, const InspectionOptions& options,
             ProgressBar::Picture& progress, Inspection& told)
{
    Watch watch{Deadline(options.timeout_seconds)};
    const std::unique_ptr<nuv_job, JobEnd> job(nuv_new(&options.limits));
    if (!job)
        throw std::bad_alloc();
    open_source(job.get(), path, options.page, watch);
    nuv_source_info(job.get(), &told.source);
    // Files that have no more than a ratio of sides tell it as this.
    if (told.source.x_resolution <= 1 && told.source.y_resolution <= 1)
        told.source.x_resolution = told.source.y_resolution = 0;
    told.is_known = told.source.kind[0] != '\0';
    nuv_picture is{};
    is.size = sizeof(is);
    if (nuv_state(job.get()) == NUV_OK && nuv_look(job.get(), &is) == NUV_OK)
        told.palette_entries = is.palette_entries;
    if (options.verify && nuv_state(job.get()) == NUV_OK) {
        told.is_verified = true;
        read_all_lines(job.get(), progress);
    }
    nuv_why(job.get(), &told.failure);
    told.message = nuv_message(job.get());
    if (watch.stream_error == ETIMEDOUT) // which is no failure of the stream
        told.failure.status = NUV_CANCELLED;
    else if (watch.stream_error != 0)
        told.message =
            "The source cannot be read: " + std::generic_category().message(watch.stream_error) +
            ".";
    if (told.failure.status == NUV_CANCELLED)
        told.message = late_message;
    name_option(told.message, told.failure.limit);
    if (told.failure.status == NUV_IO)
        hint_at_standard_input(told.message, path);
    if (told.failure.status == NUV_OK)
        told.damaged_line = nuv_first_damaged_line(job.get()) + 1;
}

} // namespace

Inspection inspect(const std::string& path, const InspectionOptions& options,
                   ProgressBar::Picture& progress)
{
    Inspection told;
    told.source.size = sizeof(told.source);
    told.failure.size = sizeof(told.failure);
    try {
        look_at(path, options, progress, told);
    } catch (const std::bad_alloc&) {
        told.failure.status = NUV_NO_MEMORY;
        told.failure.byte = told.failure.line = -1;
        told.message = no_memory_message;
    }
    return told;
}

} // namespace nuv_tool
