#include "framework/manager/nuv_blockworkflow.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_header.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/buffer/nuv_dstbufferproxy.h"
#include "framework/buffer/nuv_stblockdstbuffer.h"
#include "framework/manager/nuv_relationforst.h"

#include <new>

namespace nuv {

NUV_DstBuffer* NUV_WorkflowImpl::create_dst_buffer_proxy()
{
    if (manager().status().has_error())
        return nullptr;
    auto proxy = make_object<NUV_DstBufferProxy>(manager());
    if (!proxy || !proxy->seal())
        return nullptr;
    proxy->set_initiated();
    return proxy.release();
}

NUV_DstBufferBase* NUV_BlockWorkflow::create_dst_buffer(NUV_Engine* engine)
{
    constexpr auto method = "NUV_BlockWorkflow::create_dst_buffer()";
    constexpr std::uint64_t coded_limit = 0x40000000;

    const NUV_Header* header = engine ? engine->header() : nullptr;
    if (!header || !header->checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    std::uint64_t limit = coded_limit; // the length of a coded stream is not known in advance
    if (header->is_raw()) {
        limit = header->checked_plane_bytes().value_or(0);
        if (limit == 0)
            return fail(manager(), NUV_ERR_UNSUPPORTED, method,
                        NUV_Diagnosis()
                            .because(NUV_Cause::limit)
                            .says("%u x %u pixels of %u x %u bits", header->width(),
                                  header->height(), unsigned{header->channels()},
                                  unsigned{header->bits()}));
    }
    return make_initiated<NUV_STBlockDstBuffer>(manager(), limit).release();
}

bool NUV_BlockWorkflow::attach_dst_buffer(NUV_Engine* engine, NUV_DstBuffer* dst)
{
    auto* proxy = dynamic_cast<NUV_DstBufferProxy*>(dst);
    if (!proxy)
        return true;
    NUV_Held<NUV_DstBufferBase> real(create_dst_buffer(engine));
    if (!proxy->attach(real.get()))
        return false;
    static_cast<void>(real.release());
    return true;
}

bool NUV_BlockWorkflow::run_step(NUV_Engine* engine)
{
    if (engine->execute())
        return true;
    engine->end();
    return false;
}

NUV_Relation* NUV_BlockWorkflow::create_relation()
{
    void* memory = manager().allocate(sizeof(NUV_RelationForST));
    return memory ? ::new (memory) NUV_RelationForST(manager()) : nullptr;
}

} // namespace nuv
