#include "framework/engine/nuv_multiinputprocessengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

#include <algorithm>

namespace nuv {

bool NUV_NBuffersInputEngine::initiate(std::span<const NUV_Header* const> headers,
                                       std::span<NUV_SrcBuffer* const> sources)
{
    constexpr auto method = "NUV_NBuffersInputEngine::initiate()";
    NUV_Manager& manager = *input_manager_;

    if (headers.empty() || headers.size() != sources.size())
        return fail(manager, NUV_ERR_ARGUMENT, method);
    for (const NUV_Header* header : headers) {
        if (!header)
            return fail(manager, NUV_ERR_ARGUMENT, method);
        if (!keep_header(header))
            return false;
    }
    if (std::find(sources.begin(), sources.end(), nullptr) != sources.end())
        return fail(manager, NUV_ERR_ARGUMENT, method);
    if (!src_buffers_.reserve(sources.size()))
        return false;
    for (NUV_SrcBuffer* source : sources) {
        if (!src_buffers_.push_back(source))
            return false;
    }
    for (const NUV_Header* header : headers_.items()) {
        if (!header->is_valid())
            return fail(manager, NUV_ERR_ARGUMENT, method);
    }
    return true;
}

bool NUV_NBuffersInputEngine::keep_header(const NUV_Header* header)
{
    NUV_Held<NUV_Header> kept = make_object<NUV_Header>(*input_manager_);
    if (!kept || !kept->copy(*header) || !headers_.push_back(kept.get()))
        return false;
    static_cast<void>(kept.release());
    return true;
}

bool NUV_NBuffersInputEngine::cleanup(bool initiated)
{
    bool ok = true;
    for (NUV_Header* header : headers_.items()) {
        const bool ended = header->end();
        ok = ok && ended;
    }
    headers_.clear();
    if (initiated) {
        for (NUV_SrcBuffer* source : src_buffers_.items()) {
            const bool ended = source->end();
            ok = ok && ended;
        }
    }
    src_buffers_.clear();
    return ok;
}

bool NUV_MultiInputProcessEngine::cleanup()
{
    const bool sources_ended = NUV_NBuffersInputEngine::cleanup(initiated());
    const bool destination_ended = NUV_BufferOutputEngine::cleanup();
    return sources_ended && destination_ended;
}

bool NUV_MultiInputProcessEngine::initiate(std::span<const NUV_Header* const> headers,
                                           std::span<NUV_SrcBuffer* const> sources,
                                           NUV_DstBuffer* dst)
{
    if (headers.empty())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MultiInputProcessEngine::initiate()");
    return NUV_BufferOutputEngine::initiate(headers[0], dst) &&
           NUV_NBuffersInputEngine::initiate(headers, sources);
}

} // namespace nuv
