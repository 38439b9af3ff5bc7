#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

bool NUV_EngineCreator::accepts_image(const NUV_Engine* previous, const char* method, NUV_Here here)
{
    return has_image(previous) || fail(manager(), NUV_ERR_ARGUMENT, method, here);
}

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
