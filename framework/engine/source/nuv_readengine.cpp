#include "framework/engine/nuv_readengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_ReadEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                              NUV_DstBuffer* dst)
{
    if (!NUV_BufferOutputEngine::initiate(header, dst))
        return false;
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadEngine::initiate()");
    storage_ = storage;
    return manager().depend(this, storage);
}

} // namespace nuv
