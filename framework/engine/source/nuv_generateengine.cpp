#include "framework/engine/nuv_generateengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_GenerateEngine::initiate(const NUV_Header* header, NUV_DstBuffer* dst)
{
    if (!NUV_BufferOutputEngine::initiate(header, dst))
        return false;
    if (!header->is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_GenerateEngine::initiate()");
    return true;
}

} // namespace nuv
