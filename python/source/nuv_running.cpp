#include "python/source/nuv_running.h"

#include <chrono>
#include <optional>
#include <utility>

#include "python/source/nuv_errors.h"

namespace nuv_python {

namespace {

// What a run calls back into, and what came of it. It takes the interpreter's lock once a band for
// a callback, and else now and then, to see whether a signal has come.
class Watch {
public:
    explicit Watch(const py::object& progress) : progress_(progress) {}

    static int look(void* user, std::uint32_t done, std::uint32_t lines) noexcept
    {
        return static_cast<Watch*>(user)->goes_on(done, lines) ? 0 : 1;
    }
    // What the callback or a signal has raised, which is then what the run ends with.
    void rethrow()
    {
        if (error_)
            throw std::move(*error_);
    }

protected:
    // Runs `body` under the lock, and keeps what it throws. False for that, and for its own false.
    template <class Body>
    [[nodiscard]] bool locked(Body body) noexcept
    {
        const py::gil_scoped_acquire lock;
        try {
            return body();
        } catch (py::error_already_set& error) {
            error_.emplace(std::move(error));
        } catch (const std::exception& error) {
            PyErr_SetString(PyExc_RuntimeError, error.what());
            error_.emplace();
        }
        return false;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr auto longest_wait = std::chrono::milliseconds(20); // of a signal

    [[nodiscard]] bool goes_on(std::uint32_t done, std::uint32_t lines) noexcept
    {
        if (progress_.is_none()) {
            const auto now = Clock::now();
            if (now - looked_ < longest_wait)
                return true;
            looked_ = now;
        }
        return locked([&] {
            if (PyErr_CheckSignals() != 0)
                throw py::error_already_set();
            return progress_.is_none() || !progress_(done, lines).is(py::handle(Py_False));
        });
    }

    const py::object& progress_;
    std::optional<py::error_already_set> error_;
    Clock::time_point looked_ = Clock::now();
};

// Gathers what the library hands over, and passes it on in larger pieces: each takes the lock.
class Writer final : public Watch {
public:
    Writer(const py::object& file, const py::object& progress)
        : Watch(progress),
          write_(file.attr("write"))
    {}

    static int take(void* user, const void* from, std::size_t bytes) noexcept
    {
        return static_cast<Writer*>(user)->take_piece(static_cast<const char*>(from), bytes) ? 0
                                                                                             : 1;
    }
    [[nodiscard]] bool flush() noexcept
    {
        return held_.empty() || locked([this] {
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

    py::object write_;
    std::string held_;
};

// What follows a run: failures, then warnings.
void end_run(Image& image, nuv_job* job, Watch& watch, const std::string& destination)
{
    image.first_damaged_line = nuv_first_damaged_line(job);
    watch.rethrow();
    check(job, image.source_name(), destination);
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
    Watch watch(progress);
    {
        const py::gil_scoped_release unlocked;
        nuv_run_to_memory(job.get(), Watch::look, &watch);
    }
    end_run(image, job.get(), watch, {});
    return std::make_unique<Result>(std::move(job));
}

void run_to_file(Image& image, const Form& form, const std::string& path,
                 const py::object& progress)
{
    const nuv::JobHandle job = formed_job(image, {}, form);
    Watch watch(progress);
    {
        const py::gil_scoped_release unlocked;
        nuv_run_to_file(job.get(), path.c_str(), Watch::look, &watch);
    }
    end_run(image, job.get(), watch, path);
}

void run_to_stream(Image& image, const Form& form, const py::object& file,
                   const py::object& progress)
{
    const nuv::JobHandle job = formed_job(image, {}, form);
    Writer writer(file, progress);
    {
        const py::gil_scoped_release unlocked;
        const nuv_status status = nuv_run_to_stream(job.get(), Writer::take, Watch::look, &writer);
        if (status == NUV_OK)
            static_cast<void>(writer.flush());
    }
    end_run(image, job.get(), writer, {});
}

} // namespace nuv_python
