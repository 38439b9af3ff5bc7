#include "python/source/nuv_running.h"

#include <utility>

#include "python/source/nuv_errors.h"
#include "python/source/nuv_watch.h"

namespace nuv_python {

namespace {

// Gathers what the library hands over, and passes it on in larger pieces: each takes the lock.
class Writer {
public:
    Writer(const py::object& file, Watch& watch) : watch_(watch), write_(file.attr("write")) {}

    static int tell(void* user, std::uint32_t done, std::uint32_t lines) noexcept
    {
        Watch& watch = static_cast<Writer*>(user)->watch_;
        return watch.progress()(&watch, done, lines);
    }

    static int take(void* user, const void* from, std::size_t bytes) noexcept
    {
        return static_cast<Writer*>(user)->take_piece(static_cast<const char*>(from), bytes) ? 0
                                                                                             : 1;
    }
    [[nodiscard]] bool flush() noexcept
    {
        return held_.empty() || watch_.locked([this] {
            const char* from = held_.data();
            std::size_t left = held_.size();
            while (left != 0) {
                const py::object written = write_(py::bytes(from, left));
                // A raw file may take less.
                const auto count = written.is_none() ? left : written.cast<std::size_t>();
                if (count == 0 || count > left)
                    throw py::value_error("write() has taken an impossible count of bytes");
                from += count;
                left -= count;
            }
            held_.clear();
            return true;
        });
    }

private:
    static constexpr std::size_t piece_bytes = 1 << 18;

    [[nodiscard]] bool take_piece(const char* from, std::size_t bytes) noexcept
    {
        try {
            held_.append(from, bytes);
        } catch (...) { // there is no memory
            return false;
        }
        return held_.size() < piece_bytes || flush();
    }

    Watch& watch_;
    py::object write_;
    std::string held_;
};

// What follows a run: failures, then warnings.
void end_run(Image& image, nuv_job* job, Watch& watch, const std::string& destination)
{
    image.first_damaged_line = nuv_first_damaged_line(job);
    watch.check(image.source_name(), destination);
    warn_of_damage(job, image.source_name());
}

[[nodiscard]] nuv::JobHandle formed_job(Image& image, const Operation& before, const Form& form)
{
    nuv::JobHandle job = image.take_job();
    if (before)
        before(job.get());
    form(job.get());
    check(job.get(), image.source_name());
    return job;
}

} // namespace

std::unique_ptr<Result> run_to_memory(Image& image, const Operation& before, const Form& form,
                                      const py::object& progress)
{
    nuv::JobHandle job = formed_job(image, before, form);
    Watch watch(job.get(), progress);
    {
        const Unlocked unlocked;
        nuv_run_to_memory(job.get(), watch.progress(), &watch);
    }
    end_run(image, job.get(), watch, {});
    auto result = std::make_unique<Result>(std::move(job));
    return result;
}

void run_to_file(Image& image, const Form& form, const std::string& path,
                 const py::object& progress)
{
    const nuv::JobHandle job = formed_job(image, {}, form);
    Watch watch(job.get(), progress);
    {
        const Unlocked unlocked;
        nuv_run_to_file(job.get(), path.c_str(), watch.progress(), &watch);
    }
    end_run(image, job.get(), watch, path);
}

void run_to_stream(Image& image, const Form& form, const py::object& file,
                   const py::object& progress)
{
    const nuv::JobHandle job = formed_job(image, {}, form);
    Watch watch(job.get(), progress);
    Writer writer(file, watch);
    {
        const Unlocked unlocked;
        const nuv_progress tell = watch.progress() ? Writer::tell : nullptr;
        if (nuv_run_to_stream(job.get(), Writer::take, tell, &writer) == NUV_OK)
            static_cast<void>(writer.flush());
    }
    end_run(image, job.get(), watch, {});
}

} // namespace nuv_python
