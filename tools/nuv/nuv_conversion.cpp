#include "tools/nuv/nuv_conversion.h"

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_deadline.h"
#include "tools/nuv/nuv_limits.h"
#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_signals.h"
#include "tools/nuv/nuv_streams.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace nuv_tool {

namespace {

using Clock = Deadline::Clock;

constexpr const char* cannot_write = "The result cannot be written";

struct JobEnd {
    void operator()(nuv_job* job) const noexcept { nuv_free(job); }
};
using JobHandle = std::unique_ptr<nuv_job, JobEnd>;

// What a job is watched by.
struct Watch {
    explicit Watch(std::optional<double> seconds) : deadline(seconds) {}

    const Deadline deadline;
    ProgressBar::Picture* progress = nullptr;
    int destination = STDOUT_FILENO;
    int stream_error = 0; // errno
    Clock::time_point last_line = {};
    Clock::duration writing{}; // to a stream

    static int wants_end(void* user) noexcept
    {
        const auto& watch = *static_cast<const Watch*>(user);
        return watch.deadline.has_passed() || is_signalled() ? 1 : 0;
    }
    static int look(void* user, std::uint32_t lines_done, std::uint32_t lines) noexcept
    {
        auto& watch = *static_cast<Watch*>(user);
        watch.progress->tell(lines_done, lines);
        if (lines_done == lines)
            watch.last_line = Clock::now();
        return 0;
    }
    static int write(void* user, const void* from, std::size_t bytes)
    {
        auto& watch = *static_cast<Watch*>(user);
        const Clock::time_point start = Clock::now();
        const bool is_done =
            write_all(watch.destination, from, bytes, watch.deadline, watch.stream_error);
        watch.writing += Clock::now() - start;
        return is_done ? 0 : 1;
    }
    static ptrdiff_t read(void* user, void* into, std::size_t bytes)
    {
        auto& watch = *static_cast<Watch*>(user);
        return read_standard_input(into, bytes, watch.deadline, watch.stream_error);
    }
};

std::string milliseconds(Clock::duration time)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f ms",
                  std::chrono::duration<double, std::milli>(time).count());
    return text.data();
}

std::string described(const nuv_picture& is)
{
    return std::to_string(is.width) + "x" + std::to_string(is.height) + ", " +
           std::to_string(is.channels) + "x" + std::to_string(is.bits) + " " +
           std::string{color_name(is.color)} +
           (is.palette_entries != 0 ? ", with a colour table" : "");
}

// A stream by a word for it.
std::string shown(const std::string& path, std::string_view stream)
{
    return path == "-" ? std::string{stream} : path;
}

// The word for it, and thumbnails.
bool turns_upright(const Operation& operation)
{
    return operation.word == "auto-orient" || operation.word.starts_with("--size ");
}

// By what a word has scaled the picture; nothing for others, and where there was nothing to scale.
std::string steps_of(std::string_view word, const nuv_job* job)
{
    constexpr std::array scaling{"--size", "fit",   "fill", "max", "nearest",
                                 "linear", "cubic", "area", "fine"};

    const std::string_view steps = nuv_scaling_steps(job);
    const bool is_scaling =
        std::ranges::find(scaling, word.substr(0, word.find_first_of(" ="))) != scaling.end();
    return is_scaling && !steps.empty() ? " (" + std::string{steps} + ")" : "";
}

// One job from its source to its destination.
class Conversion {
public:
    Conversion(const Recipe& recipe, const Errand& errand)
        : recipe_(recipe),
          source_(shown(errand.source, "standard input")),
          errand_(errand),
          job_(nuv_new(&recipe.limits))
    {}

    [[nodiscard]] Outcome work(bool tell_mending, ProgressBar::Picture& progress)
    {
        watch_.progress = &progress;
        nuv_cancel_when(job(), Watch::wants_end, &watch_);
        if (!open() || !build() || !run()) {
            if (!is_signalled())
                report(why());
            return Outcome::failed;
        }
        if (recipe_.verbose)
            tell_costs();
        if (nuv_first_damaged_line(job()) < 0)
            return Outcome::done;
        if (tell_mending)
            report(source_ + ": " + nuv_message(job()));
        return Outcome::mended;
    }

private:
    [[nodiscard]] nuv_job* job() const noexcept { return job_.get(); }
    [[nodiscard]] bool is_well() const noexcept { return !problem_ && nuv_state(job()) == NUV_OK; }

    void tell(const std::string& text) const
    {
        if (recipe_.verbose)
            report(source_ + ": " + text);
    }

    [[nodiscard]] bool open()
    {
        nuv_page(job(), recipe_.page);
        const bool is_stream = errand_.source == "-";
        if (recipe_.raw) {
            if (is_stream)
                problem_ = input_.open_samples(job(), *recipe_.raw, recipe_.planar_input,
                                               recipe_.limits.memory_bytes, watch_.deadline);
            else
                nuv_open_samples_file(job(), errand_.source.c_str(), &*recipe_.raw,
                                      recipe_.planar_input ? 1 : 0);
        } else if (is_stream) {
            nuv_open_stream(job(), Watch::read, &watch_);
        } else {
            nuv_open_file(job(), errand_.source.c_str());
        }
        opened_ = Clock::now();
        if (recipe_.verbose && is_well())
            tell_source();
        return is_well();
    }

    void tell_source() const
    {
        nuv_source is{};
        is.size = sizeof(is);
        nuv_source_info(job(), &is);
        std::string text = std::string{is.kind} + ", " + is.coding;
        if (is.sampling != 0)
            text.append(" ").append(sampling_name(is.sampling));
        tell(text + ", " + described(look(job())));
        const bool is_turned = std::ranges::any_of(recipe_.operations, turns_upright);
        if (is.orientation > 1 && !is_turned)
            tell("is to be seen turned (orientation " + std::to_string(is.orientation) +
                 "), which 'auto-orient' does");
    }

    // A file is written as it is made; what is told apart is having it on the disk.
    void tell_costs() const
    {
        const Clock::time_point end = Clock::now();
        const Clock::duration writing = watch_.writing + (end - watch_.last_line);
        tell("took " + milliseconds(end - start_) + ": opened in " +
             milliseconds(opened_ - start_) + ", run in " + milliseconds(end - opened_ - writing) +
             ", written in " + milliseconds(writing) + "; at the most " +
             std::to_string(nuv_memory_peak(job()) / 1024) + " KiB of memory");
    }

    [[nodiscard]] bool build()
    {
        for (const Operation& operation : recipe_.operations) {
            if (!is_well())
                return false;
            word_ = operation.word;
            problem_ = operation.append(job());
            if (is_well() && recipe_.verbose)
                tell(quoted(word_) + " makes " + described(look(job())) + steps_of(word_, job()));
        }
        if (!is_well())
            return false;
        word_.clear();
        is_forming_ = true;
        problem_ = errand_.kind->append(job(), recipe_.settings);
        if (is_well() && recipe_.verbose)
            tell("written as " + std::string{errand_.kind->name} + ", " + described(look(job())));
        return is_well();
    }

    [[nodiscard]] bool run()
    {
        if (errand_.destination == "-")
            nuv_run_to_stream(job(), Watch::write, Watch::look, &watch_);
        else if (is_special_file(errand_.destination))
            run_to_special_file();
        else
            nuv_run_to_file(job(), errand_.destination.c_str(), Watch::look, &watch_);
        return is_well();
    }

    void run_to_special_file()
    {
        watch_.destination =
            open_special_file(errand_.destination, watch_.deadline, watch_.stream_error);
        if (watch_.destination < 0) {
            problem_ = cannot_write;
            return;
        }
        nuv_run_to_stream(job(), Watch::write, Watch::look, &watch_);
        if (close(watch_.destination) != 0 && is_well()) {
            watch_.stream_error = errno;
            problem_ = cannot_write;
        }
    }

    // The line that tells the failure, with the file that it is about.
    [[nodiscard]] std::string why() const
    {
        if (!job())
            return source_ + ": " + no_memory_message;
        if (nuv_state(job()) == NUV_CANCELLED || watch_.stream_error == ETIMEDOUT)
            return source_ + ": " + late_message;
        nuv_failure failure{};
        failure.size = sizeof(failure);
        nuv_why(job(), &failure);
        const bool is_of_result = failure.in_destination != 0 || (is_forming_ && problem_);
        const std::string file =
            is_of_result ? shown(errand_.destination, "standard output") : source_;
        std::string text = problem_ ? *problem_ : nuv_message(job());
        if (watch_.stream_error != 0)
            text = std::string{is_of_result ? cannot_write : "The source cannot be read"} + ": " +
                   std::generic_category().message(watch_.stream_error) + ".";
        name_the_word(text);
        name_option(text, failure.limit);
        if (failure.status == NUV_IO)
            hint_at_standard_input(text, errand_.source);
        return file + ": " + text;
    }

    // In the place of the call that it stands for.
    void name_the_word(std::string& text) const
    {
        const auto call = text.starts_with("nuv_") ? text.find("()") : std::string::npos;
        std::string name = word_.empty() ? "--input-raw" : quoted(word_);
        if (is_forming_)
            name = "--write " + std::string{errand_.kind->name};
        if (call != std::string::npos)
            text.replace(0, call + 2, name);
        else if (!word_.empty() && problem_)
            text.insert(0, name + ": ");
    }

    const Recipe& recipe_;
    const std::string source_;
    const Errand& errand_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point opened_ = start_;
    Watch watch_{recipe_.timeout_seconds}; // before the job, as what follows
    StreamedSamples input_;
    JobHandle job_;
    Problem problem_;
    std::string word_; // that is being appended
    bool is_forming_ = false;
};

} // namespace

Outcome convert(const Recipe& recipe, const Errand& errand, bool tell_mending,
                ProgressBar::Picture& progress)
{
    return Conversion(recipe, errand).work(tell_mending, progress);
}

bool is_stored_picture(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
        return false;
    if (status.st_size > std::numeric_limits<std::int32_t>::max())
        return false; // it is refused for its length, whatever it is
    const JobHandle job(nuv_new(nullptr));
    const nuv_status opened = nuv_open_file(job.get(), path.c_str());
    return opened == NUV_OK || opened == NUV_UNSUPPORTED || opened == NUV_INVALID ||
           opened == NUV_DAMAGED || opened == NUV_LIMIT;
}

} // namespace nuv_tool
