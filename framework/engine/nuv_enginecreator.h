#pragma once

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/base/nuv_utility.h"
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
// raised the reason. Readers taken from previous engines and the proxy made for E have then been
// ended, each exactly once; the previous engines stay as they were.
class NUV_EngineCreator : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

protected:
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
        NUV_Held<E> engine = make_object<E>(manager());
        if (engine && engine->initiate(header, src, dst, args...))
            return enlist_new(engine, dst);
        engine.reset(); // before the buffers, which it may still look at
        return abandon(src, dst);
    }

    // E::initiate(storage, header, dst, args...): an engine that reads from a storage.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_reader(NUV_InputStorage* storage, const NUV_Header* header,
                                            const Args&... args)
    {
        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        NUV_Held<E> engine = make_object<E>(manager());
        if (engine && engine->initiate(storage, header, dst, args...))
            return enlist_new(engine, dst);
        engine.reset();
        return abandon(nullptr, dst);
    }

    // E::initiate(header, dst, args...): an engine without an input.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_generator(const NUV_Header* header, const Args&... args)
    {
        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        NUV_Held<E> engine = make_object<E>(manager());
        if (engine && engine->initiate(header, dst, args...))
            return enlist_new(engine, dst);
        engine.reset();
        return abandon(nullptr, dst);
    }

    // E::initiate(header, src, storage, args...): the end of a chain.
    template <class E, class... Args>
    [[nodiscard]] NUV_Engine* append_writer(NUV_Engine& previous, NUV_OutputStorage* storage,
                                            const Args&... args)
    {
        NUV_SrcBuffer* src = previous.src_buffer();
        NUV_Held<E> engine = make_object<E>(manager());
        if (engine && engine->initiate(previous.header(), src, storage, args...))
            return enlist_new(engine, nullptr);
        engine.reset();
        return abandon(src, nullptr);
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
            return abandon(sources, nullptr);

        NUV_DstBuffer* dst = manager().create_dst_buffer_proxy();
        NUV_Held<E> engine = make_object<E>(manager());
        if (engine && engine->initiate(headers.items(), sources.items(), dst, args...))
            return enlist_new(engine, dst);
        engine.reset();
        return abandon(sources, dst);
    }

    // Registers `engine` as the one that feeds `dst` (null for the end of a chain). Ends the
    // engine, and with it its buffers, when the relation refuses it.
    [[nodiscard]] NUV_Engine* enlist(NUV_Engine* engine, NUV_DstBuffer* dst);

    // Ends buffers that no engine came to own. Always null.
    NUV_Engine* abandon(NUV_SrcBuffer* src, NUV_DstBuffer* dst);
    NUV_Engine* abandon(NUV_Vector<NUV_SrcBuffer*>& sources, NUV_DstBuffer* dst);

private:
    template <class E>
    [[nodiscard]] NUV_Engine* enlist_new(NUV_Held<E>& engine, NUV_DstBuffer* dst)
    {
        engine->set_initiated(); // from now on it ends its buffers itself
        return enlist(engine.release(), dst);
    }
};

} // namespace nuv
