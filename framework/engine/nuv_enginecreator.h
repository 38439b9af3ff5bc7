#pragma once

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/base/nuv_utility.h"
#include "framework/base/nuv_version.h"
#include "framework/buffer/nuv_dstbuffer.h"
#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/engine/nuv_engine.h"

#include <cstddef>
#include <span>

namespace nuv {

class NUV_InputStorage;
class NUV_OutputStorage;

// Base of every factory. A creator lives on the stack for one engine(...) call; it checks what
// needs no engine, starting with nulls, and ends in one of the calls below.
//
// Each of them allocates one E, runs its initiate, and registers it; null on failure, after E has
// raised the reason, or NUV_ERR_VERSION for an E that was written against another interface.
// Readers taken from previous engines and the proxy made for E have then been ended, each exactly
// once; the previous engines stay as they were.
class NUV_EngineCreator : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

protected:
    // False after NUV_ERR_ARGUMENT with the text `method`: no engine, or one without an image.
    [[nodiscard]] bool accepts_image(const NUV_Engine* previous, const char* method,
                                     NUV_Here here = NUV_Here::now());

    // E::initiate(header, src, dst, args...), behind one engine.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_new(NUV_Engine& previous, const Args&... args)
    {
        return append_behind<E>(previous.header(), previous.src_buffer(), args...);
    }

    // The same behind a reader, which is taken over in any case.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_behind(const NUV_Header* header, NUV_SrcBuffer* src,
                                            const Args&... args)
    {
        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        return make_enlisted<E>(
            {&src, 1}, dst, [&](E& engine) { return engine.initiate(header, src, dst, args...); });
    }

    // E::initiate(storage, header, dst, args...): an engine that reads from a storage.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_reader(NUV_InputStorage* storage, const NUV_Header* header,
                                            const Args&... args)
    {
        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        return make_enlisted<E>(
            {}, dst, [&](E& engine) { return engine.initiate(storage, header, dst, args...); });
    }

    // E::initiate(header, dst, args...): an engine without an input.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_generator(const NUV_Header* header, const Args&... args)
    {
        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        return make_enlisted<E>({}, dst,
                                [&](E& engine) { return engine.initiate(header, dst, args...); });
    }

    // E::initiate(header, src, storage, args...): the end of a chain.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_writer(NUV_Engine& previous, NUV_OutputStorage* storage,
                                            const Args&... args)
    {
        NUV_SrcBuffer* src = previous.src_buffer();
        return make_enlisted<E>({&src, 1}, nullptr, [&](E& engine) {
            return engine.initiate(previous.header(), src, storage, args...);
        });
    }

    // E::initiate(headers, sources, dst, args...), behind several engines, none of them null and
    // each with a header.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_multi(std::span<NUV_Engine* const> previous,
                                           const Args&... args)
    {
        NUV_Vector<const NUV_Header*> headers(manager());
        NUV_Vector<NUV_SrcBuffer*> sources(manager());
        bool complete = headers.reserve(previous.size()) && sources.reserve(previous.size());
        for (std::size_t i = 0; complete && i < previous.size(); ++i) {
            complete = headers.push_back(previous[i]->header()) &&
                       sources.push_back(previous[i]->src_buffer());
        }
        if (!complete)
            return abandon(sources.items(), nullptr);

        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        return make_enlisted<E>(sources.items(), dst, [&](E& engine) {
            return engine.initiate(headers.items(), sources.items(), dst, args...);
        });
    }

private:
    // One E, initiated and registered over `sources` and `dst`, which are its own from then on.
    template <class E, class Initiate>
    [[nodiscard]] NUV_Engine* make_enlisted(std::span<NUV_SrcBuffer* const> sources,
                                            NUV_DstBuffer* dst, Initiate initiate)
    {
        if (!compatible_version(E::module_version)) {
            fail(manager(), NUV_ERR_VERSION, E::initiate_method);
            return abandon(sources, dst);
        }
        NUV_Held<E> engine = make_object<E>(manager());
        if (!engine || !initiate(*engine)) {
            engine.reset(); // before the buffers, which it may still look at
            return abandon(sources, dst);
        }
        engine->set_initiated(); // from now on it ends its buffers itself
        return enlist(engine.release(), dst);
    }

    // Registers `engine` as the one that feeds `dst` (null for the end of a chain). Ends the
    // engine, and with it its buffers, when the relation refuses it.
    [[nodiscard]] NUV_Engine* enlist(NUV_Engine* engine, NUV_DstBuffer* dst);

    // Ends the buffers that are there and that no engine came to own. Always null.
    NUV_Engine* abandon(std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst);
};

} // namespace nuv
