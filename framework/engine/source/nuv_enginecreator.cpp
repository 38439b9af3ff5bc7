#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

NUV_Engine* NUV_EngineCreator::enlist(NUV_Engine* engine, NUV_DstBuffer* dst)
{
    if (manager().add(engine, dst))
        return engine;
    engine->end();
    return nullptr;
}

NUV_Engine* NUV_EngineCreator::abandon(std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst)
{
    for (NUV_SrcBuffer* src : sources) {
        if (src)
            src->end();
    }
    if (dst)
        dst->end();
    return nullptr;
}

} // namespace nuv
