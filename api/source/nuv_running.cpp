#include "core/channel/nuv_selectchannel.h"
#include "core/jpeg/nuv_encodejpeg.h"
#include "core/pnm/nuv_writepnm.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/containers/nuv_vector.h"
#include "framework/io/nuv_fileoutputstorage.h"
#include "framework/io/nuv_posixlowlevelfile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "api/source/nuv_codes.h"
#include "api/source/nuv_job.h"
#include "api/source/nuv_replacedfile.h"

namespace {

using nuv::NUV_Engine;
using nuv::NUV_Held;
using nuv::NUV_Manager;
using nuv::NUV_OutputStorage;

[[nodiscard]] NUV_Engine* write_samples(NUV_Manager& manager, NUV_Engine* previous,
                                        NUV_OutputStorage& storage)
{
    constexpr std::int32_t host_order = 1;
    return nuv::NUV_WriteStorage(manager).engine(previous, &storage, 0, 0, 0, host_order);
}

// The engine that ends the chain.
[[nodiscard]] NUV_Engine* write_picture(nuv_job& job, NUV_OutputStorage& storage)
{
    constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

    NUV_Manager& manager = *job.manager;
    switch (job.form.kind) {
    case JobForm::Kind::jpeg: {
        nuv::NUV_WriteJPEGOption option(job.form.quality, job.form.sampling, 0);
        return nuv::NUV_WriteJPEG(manager).engine(job.last, &storage, &option);
    }
    case JobForm::Kind::lossless_jpeg: {
        nuv::NUV_WriteLosslessJPEGOption option(job.form.optimise, no_restarts);
        return nuv::NUV_WriteLosslessJPEG(manager).engine(job.last, &storage, &option);
    }
    case JobForm::Kind::anymap:
        return nuv::NUV_WritePNM(manager).engine(job.last, &storage);
    default:
        return write_samples(manager, job.last, storage);
    }
}

// Runs what ends a chain, and tells the caller how far it is.
class Run {
public:
    Run(nuv_job& job, std::uint32_t lines, nuv_progress progress, void* user) noexcept
        : job_(job),
          lines_(lines),
          band_(std::clamp<std::uint32_t>(lines / 128, 1, 64)),
          progress_(progress),
          user_(user)
    {}

    // `lines` steps, one for each line. False after a failure.
    [[nodiscard]] bool to_end(NUV_Engine& engine, std::uint32_t lines)
    {
        const std::uint32_t end = done_ + lines;
        while (engine.execute()) {
            ++done_;
            if (!goes_on())
                return false;
        }
        if (done_ == end && !job_.manager->status().has_error())
            return true;
        job_.take_failure();
        return false;
    }

private:
    [[nodiscard]] bool goes_on()
    {
        if (job_.limits.strict != 0 && job_.manager->damage().count != 0) {
            job_.note_damage();
            return false;
        }
        const bool is_due = done_ % band_ == 0 || done_ == lines_;
        if (!progress_ || !is_due || progress_(user_, done_, lines_) == 0)
            return true;
        job_.refuse(NUV_CANCELLED, "The job was cancelled behind line %u of %u.", done_, lines_);
        return false;
    }

    nuv_job& job_;
    std::uint32_t lines_;
    std::uint32_t band_;
    std::uint32_t done_ = 0;
    nuv_progress progress_;
    void* user_;
};

// Ends an engine that ran; what that raises is a failure of the job, too.
void end_engine(nuv_job& job, NUV_Engine* engine)
{
    engine->end();
    if (job.status == NUV_OK && job.manager->status().has_error())
        job.take_failure();
}

void run_chain(nuv_job& job, NUV_OutputStorage& storage, nuv_progress progress, void* user)
{
    const std::uint32_t lines = job.header().height();
    NUV_Engine* const writer = write_picture(job, storage);
    if (!writer) {
        job.take_failure();
        return;
    }
    job.last = nullptr;
    static_cast<void>(Run(job, lines, progress, user).to_end(*writer, lines));
    end_engine(job, writer);
}

// One channel behind the other: the blocks wait for the later ones.
void run_planes(nuv_job& job, NUV_OutputStorage& storage, nuv_progress progress, void* user)
{
    NUV_Manager& manager = *job.manager;
    const std::uint32_t lines = job.header().height();
    const std::uint32_t planes = job.header().channels();
    auto branches = job.last->branch(planes);
    bool complete = branches.size() == planes;
    for (std::uint32_t i = 0; complete && i < planes; ++i) {
        NUV_Engine* const plane =
            nuv::NUV_SelectChannel(manager).engine(branches[i], i, nuv::NUV_ColorType::unknown);
        branches[i] =
            plane ? nuv::NUV_WriteStorage(manager).engine(plane, &storage, 0, 0, 0, 1) : nullptr;
        complete = branches[i] != nullptr;
    }
    if (!complete) {
        job.take_failure();
        return;
    }
    job.last = nullptr;
    Run run(job, lines * planes, progress, user);
    for (std::uint32_t i = 0; i < planes && job.status == NUV_OK; ++i) {
        static_cast<void>(run.to_end(*branches[i], lines));
        end_engine(job, branches[i]);
    }
}

// Runs the job into a storage, which is its own.
void run(nuv_job& job, NUV_OutputStorage* storage, nuv_progress progress, void* user)
{
    job.stage = JobStage::done;
    job.left = nuv::picture_of(job.header());
    if (!storage)
        job.take_failure();
    else if (job.form.kind == JobForm::Kind::planes)
        run_planes(job, *storage, progress, user);
    else
        run_chain(job, *storage, progress, user);
    job.last = nullptr;
    job.note_damage();
    if (job.status == NUV_OK)
        job.let_go_of_source();
}

void refuse_file(nuv_job& job, int error) noexcept
{
    nuv::fail(*job.manager, nuv::NUV_ERR_IO, "nuv_run_to_file()",
              nuv::why_not_opened(error, nuv::NUV_FileUse::writing));
    job.take_failure();
}

void run_to_file(nuv_job& job, const char* path, nuv_progress progress, void* user)
{
    nuv::NUV_ReplacedFile file;
    int error = file.create(path);
    const int descriptor = error == 0 ? file.duplicate() : -1;
    if (error == 0 && descriptor < 0)
        error = errno;
    if (error != 0) {
        refuse_file(job, error);
        return;
    }
    auto storage = nuv::make_initiated<nuv::NUV_FileOutputStorage>(*job.manager, descriptor);
    if (!storage)
        ::close(descriptor);
    run(job, storage.get(), progress, user);
    const bool closed = !storage || storage->close();
    storage.reset();
    if (job.status != NUV_OK)
        return;
    if (!closed) {
        job.take_failure();
        return;
    }
    error = file.keep();
    if (error != 0)
        refuse_file(job, error);
}

// What the result takes at first, where that is known.
[[nodiscard]] std::size_t first_bytes(const nuv_job& job)
{
    constexpr std::size_t unknown_bytes = 65536;
    constexpr std::size_t most_head_bytes = 64;

    const bool is_coded =
        job.form.kind == JobForm::Kind::jpeg || job.form.kind == JobForm::Kind::lossless_jpeg;
    const auto bytes = job.header().checked_plane_bytes();
    return is_coded || !bytes ? unknown_bytes : std::size_t{*bytes} + most_head_bytes;
}

} // namespace

nuv_status nuv_run_to_file(nuv_job* job, const char* path, nuv_progress progress, void* user)
{
    return nuv::guarded(job, [=](nuv_job& it) {
        if (!it.must_be(JobStage::formed, "nuv_run_to_file"))
            return;
        if (!path)
            it.refuse(NUV_BAD_CALL, "nuv_run_to_file(): there is no path.");
        else
            run_to_file(it, path, progress, user);
    });
}

nuv_status nuv_run_to_memory(nuv_job* job, nuv_progress progress, void* user)
{
    return nuv::guarded(job, [=](nuv_job& it) {
        if (!it.must_be(JobStage::formed, "nuv_run_to_memory"))
            return;
        it.result =
            nuv::make_initiated<nuv::NUV_GrowingOutputStorage>(*it.manager, first_bytes(it));
        run(it, it.result.get(), progress, user);
    });
}

nuv_status nuv_run_to_stream(nuv_job* job, nuv_write write, nuv_progress progress, void* user)
{
    return nuv::guarded(job, [=](nuv_job& it) {
        if (!it.must_be(JobStage::formed, "nuv_run_to_stream"))
            return;
        if (!write) {
            it.refuse(NUV_BAD_CALL, "nuv_run_to_stream(): there is no function.");
            return;
        }
        const auto storage =
            nuv::make_initiated<nuv::NUV_CallbackOutputStorage>(*it.manager, write, user);
        run(it, storage.get(), progress, user);
    });
}

const void* nuv_result(const nuv_job* job, size_t* bytes)
{
    const bool is_there =
        job && job->status == NUV_OK && job->stage == JobStage::done && job->result;
    if (bytes)
        *bytes = is_there ? static_cast<std::size_t>(job->result->size()) : 0;
    return is_there ? job->result->data() : nullptr;
}

nuv_status nuv_read_lines(nuv_job* job, void* into, size_t stride, uint32_t lines, uint32_t* got)
{
    constexpr auto name = "nuv_read_lines";

    if (got)
        *got = 0;
    return nuv::guarded(job, [=](nuv_job& it) {
        if (it.stage == JobStage::opened) {
            it.reader.reset(it.last->src_buffer());
            it.lines_in_all = it.header().height();
            if (!it.reader || !it.reader->block_bytes(it.header().line_bytes())) {
                it.take_failure();
                return;
            }
            it.stage = JobStage::reading_lines;
        }
        if (!it.must_be(JobStage::reading_lines, name))
            return;
        const std::size_t line_bytes = it.reader->block_bytes();
        const std::size_t step = stride == 0 ? line_bytes : stride;
        if (!into || !got || step < line_bytes) {
            it.refuse(NUV_BAD_CALL, "%s(): there is no place for lines of %zu bytes.", name,
                      line_bytes);
            return;
        }
        const std::size_t most = std::min(lines, it.lines_in_all);
        if (!it.room && most != 0) {
            it.room.emplace(*it.manager)
                .note(into, (most - 1) * step + line_bytes, nuv::NUV_CallerMemory::Use::written);
        }
        auto* to = static_cast<unsigned char*>(into);
        for (; *got < lines && it.lines_read < it.lines_in_all; to += step) {
            if (!it.reader->get(to, nullptr) || !it.reader->release()) {
                it.take_failure();
                return;
            }
            ++*got;
            ++it.lines_read;
        }
        it.note_damage();
    });
}
