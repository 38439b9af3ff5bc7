#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

NUV_Engine* NUV_EngineCreator::enlist(NUV_Engine* engine, NUV_DstBuffer* dst)
{
    if (manager().add(engine, dst))
        return engine;
    engine->end();
    return nullptr;
}

NUV_Engine* NUV_EngineCreator::abandon(NUV_SrcBuffer* src, NUV_DstBuffer* dst)
{
    if (src)
        src->end();
    if (dst)
        dst->end();
    return nullptr;
}

NUV_Engine* NUV_EngineCreator::abandon(NUV_Vector<NUV_SrcBuffer*>& sources, NUV_DstBuffer* dst)
{
    for (NUV_SrcBuffer* src : sources.items()) {
        if (src)
            src->end();
    }
    sources.clear();
    return abandon(nullptr, dst);
}

} // namespace nuv
