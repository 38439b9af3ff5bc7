#include "python/source/nuv_chain.h"

#include "tools/nuv/nuv_operations.h"

#include <utility>

#include "python/source/nuv_errors.h"
#include "python/source/nuv_watch.h"

namespace nuv_python {

nuv::JobHandle new_job(const nuv_limits& limits)
{
    nuv::JobHandle job(nuv_new(&limits));
    if (job)
        return job;
    if (const nuv::JobHandle any{nuv_new(nullptr)})
        raise("LimitError", "A limit of the job is passed: " + std::to_string(limits.memory_bytes) +
                                " bytes are too few for any.");
    throw std::bad_alloc();
}

nuv::JobHandle job_of(const Chain& chain)
{
    nuv::JobHandle job = new_job(chain.limits);
    Watch watch(job.get());
    {
        const Unlocked unlocked;
        nuv_page(job.get(), chain.page);
        chain.source->open(job.get());
    }
    watch.check(chain.source->name());
    for (const auto& operation : chain.operations)
        (*operation)(job.get());
    check(job.get(), chain.source->name());
    return job;
}

Image::Image(Chain chain) : chain_(std::move(chain)), job_(job_of(chain_))
{
    picture_ = nuv_tool::look(job_.get());
}

Image::Image(Chain chain, nuv::JobHandle job)
    : chain_(std::move(chain)),
      job_(std::move(job)),
      picture_(nuv_tool::look(job_.get()))
{}

Image Image::with(Operation operation)
{
    nuv::JobHandle job = take_job();
    operation(job.get());
    check(job.get(), source_name());
    Chain longer = chain_;
    longer.operations.push_back(std::make_shared<const Operation>(std::move(operation)));
    return Image(std::move(longer), std::move(job));
}

nuv::JobHandle Image::take_job()
{
    return job_ ? std::move(job_) : job_of(chain_);
}

} // namespace nuv_python
