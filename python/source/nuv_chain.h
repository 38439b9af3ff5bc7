#pragma once

#include <nuv/nuv.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <pybind11/pybind11.h>
#include <string>
#include <vector>

namespace nuv_python {

namespace py = pybind11;

// Where the pixels come from. Made and ended under the interpreter's lock.
class Source {
public:
    Source() = default;
    virtual ~Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    // Opens it in a fresh job, without the lock. What it reads stays as long as this object.
    virtual void open(nuv_job* job) const = 0;
    // What people know it by; "" for memory.
    [[nodiscard]] virtual std::string name() const { return {}; }
};

// One step. Its failure is the job's.
using Operation = std::function<void(nuv_job*)>;

// What a job would do. Chains share their source and their steps.
struct Chain {
    std::shared_ptr<const Source> source;
    nuv_limits limits;
    std::uint32_t page = 0;
    std::vector<std::shared_ptr<const Operation>> operations;
};

// Throws where the limits, or the system, have no memory for it.
[[nodiscard]] nuv::JobHandle new_job(const nuv_limits& limits);

// A job of its own that has the whole chain. Throws what Python calls its failure.
[[nodiscard]] nuv::JobHandle job_of(const Chain& chain);

// A chain and, for as long as nobody has taken it, the job that was built with it. Operations hand
// the job on, so that a chain written in one go is built once; whoever uses an image again gets a
// job of its own. All of it under the interpreter's lock.
class Image {
public:
    explicit Image(Chain chain);

    // The chain with one more step. The image stays what it is.
    [[nodiscard]] Image with(Operation operation);
    // The job of the chain, for one run.
    [[nodiscard]] nuv::JobHandle take_job();
    // Lets go of what is open.
    void close() noexcept { job_.reset(); }

    [[nodiscard]] const Chain& chain() const noexcept { return chain_; }
    // What leaves the chain.
    [[nodiscard]] const nuv_picture& picture() const noexcept { return picture_; }
    [[nodiscard]] std::string source_name() const { return chain_.source->name(); }

    // Of the last run; -1 where nothing was mended.
    std::int64_t first_damaged_line = -1;

private:
    Image(Chain chain, nuv::JobHandle job);

    Chain chain_;
    nuv::JobHandle job_; // goes before the source
    nuv_picture picture_{};
};

} // namespace nuv_python
