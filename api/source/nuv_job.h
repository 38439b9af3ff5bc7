#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_callermemory.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_manager.h"
#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_inputstorage.h"
#include "framework/manager/nuv_countedmemorymanager.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "api/source/nuv_api.h"
#include "api/source/nuv_interruption.h"
#include "api/source/nuv_outputs.h"

// How far a job has come.
enum class JobStage { fresh, opened, formed, reading_lines, done };

// What the result is to be.
struct JobForm {
    enum class Kind { none, jpeg, lossless_jpeg, anymap, samples, planes };

    Kind kind = Kind::none;
    std::uint32_t quality = 0;
    std::uint32_t sampling = 0; // a key
    bool optimise = false;
};

// The record behind the handle: one manager, what it made, and the first failure.
struct nuv_job {
    explicit nuv_job(const nuv_limits& asked) noexcept;
    ~nuv_job();
    nuv_job(const nuv_job&) = delete;
    nuv_job& operator=(const nuv_job&) = delete;

    // Keeps the first failure. `format` is as of printf, a whole sentence.
    [[gnu::format(printf, 3, 4)]] void refuse(nuv_status with, const char* format, ...) noexcept;
    // What the manager has raised, while the source was opened or read and the result written.
    void take_failure() noexcept;
    // The same of a call that adds to the chain: `name` is what the caller knows it by.
    void take_refusal(const char* name) noexcept;
    // That the caller wanted no more, and nothing else is then what happened.
    void take_interruption() noexcept;
    // A failure that came as an exception.
    void take_exception() noexcept;
    // What a NUV_LIMIT that is refused next is about.
    void note_limit(nuv_passed_limit limit) noexcept;
    void note_damage() noexcept;

    // False after NUV_BAD_CALL.
    [[nodiscard]] bool must_be(JobStage wanted, const char* name) noexcept;
    // False after NUV_LIMIT.
    [[nodiscard]] bool allows_size(std::uint64_t width, std::uint64_t height) noexcept;
    // Behind a run, whose result may stay for long: what was open need not.
    void let_go_of_source() noexcept;
    // Puts `next` behind the chain, or takes the reason why there is none.
    bool append(const char* name, nuv::NUV_Engine* next) noexcept;
    [[nodiscard]] const nuv::NUV_Header& header() const { return *last->header(); }

    nuv::NUV_MemoryCount memory;        // before the manager, which counts in it
    nuv::NUV_Interruption interruption; // and asks this
    nuv_limits limits;
    nuv::NUV_Manager* manager = nullptr;
    JobStage stage = JobStage::fresh;
    nuv_status status = NUV_OK;
    std::array<char, 512> message{};
    nuv_failure failure{}; // whose status is told by the field above

    std::uint32_t page = 0;
    nuv::NUV_Scratch<std::uint8_t> stream; // what a caller's function has read
    nuv::NUV_Held<nuv::NUV_InputStorage> source;
    nuv::NUV_Held<nuv::NUV_FormatInfo> info; // none of samples
    nuv_source facts{};                      // what nuv_source_info() tells
    nuv::NUV_Engine* last = nullptr;         // of the chain; the manager's
    bool is_source_alone = false;            // no operation stands behind the reader
    bool is_turned = false;                  // by nuv_upright()
    std::uint32_t source_lines = 0;          // as they are stored
    std::uint32_t missing_lines = 0;         // of these, below those that the reader shows
    std::array<char, 64> scaling_steps{};    // of the last scaling

    JobForm form;
    nuv_picture left{}; // the chain, when it ran
    nuv::NUV_Held<nuv::NUV_GrowingOutputStorage> result;
    nuv::NUV_Held<nuv::NUV_SrcBuffer> reader;  // of nuv_read_lines()
    std::optional<nuv::NUV_CallerMemory> room; // that its lines go into
    std::uint32_t lines_read = 0;
    std::uint32_t lines_in_all = 0;
};

namespace nuv {

// Runs the body of a call: not on a null, nor behind a failure. What the call answers. Whatever an
// interrupted one has done is not to be relied on.
template <class Body>
[[nodiscard]] nuv_status guarded(nuv_job* job, Body body) noexcept
{
    if (!job)
        return NUV_BAD_CALL;
    if (job->status != NUV_OK)
        return job->status;
    try {
        body(*job);
    } catch (...) { // of the containers, or of a caller's function
        job->take_exception();
    }
    if (job->interruption.has_come())
        job->take_interruption();
    return job->status;
}

} // namespace nuv
