#pragma once

#include "python/source/nuv_chain.h"

namespace nuv_python {

// The form of a result.
using Form = std::function<void(nuv_job*)>;

// What a run has left in memory, behind Python's protocol for buffers.
class Result {
public:
    explicit Result(nuv::JobHandle job) noexcept : job_(std::move(job)) {}

    [[nodiscard]] const void* data(std::size_t& bytes) const noexcept
    {
        return nuv_result(job_.get(), &bytes);
    }

private:
    nuv::JobHandle job_;
};

// The chain of the image, run once into memory, without the interpreter's lock. `progress` is None
// or is called after each band. Throws what Python calls a failure, or what came of the callback
// and of signals.
[[nodiscard]] std::unique_ptr<Result> run_to_memory(Image& image, const Operation& before,
                                                    const Form& form, const py::object& progress);
// The same into a file that takes the place of `path`.
void run_to_file(Image& image, const Form& form, const std::string& path,
                 const py::object& progress);
// The same, handed to `file.write()` in pieces.
void run_to_stream(Image& image, const Form& form, const py::object& file,
                   const py::object& progress);

} // namespace nuv_python
