#include "framework/engine/nuv_processengine.h"

namespace nuv {

bool NUV_ProcessEngine::cleanup()
{
    const bool source_ended = NUV_BufferInputEngine::cleanup(initiated());
    const bool destination_ended = NUV_BufferOutputEngine::cleanup();
    return source_ended && destination_ended;
}

bool NUV_ProcessEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
{
    return NUV_BufferOutputEngine::initiate(header, dst) &&
           NUV_BufferInputEngine::initiate(header, src);
}

} // namespace nuv
