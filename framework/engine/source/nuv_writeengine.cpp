#include "framework/engine/nuv_writeengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

const NUV_Header* NUV_NoOutputEngine::header() const
{
    return fail(manager(), NUV_ERR_SEQUENCE, "NUV_NoOutputEngine::header()");
}

NUV_SrcBuffer* NUV_NoOutputEngine::src_buffer()
{
    return fail(manager(), NUV_ERR_SEQUENCE, "NUV_NoOutputEngine::src_buffer()");
}

NUV_Vector<NUV_Engine*> NUV_NoOutputEngine::branch(std::uint32_t)
{
    fail(manager(), NUV_ERR_SEQUENCE, "NUV_NoOutputEngine::branch()");
    return NUV_Vector<NUV_Engine*>(manager());
}

bool NUV_StorageOutputEngine::initiate(NUV_OutputStorage* storage)
{
    if (!NUV_Engine::initiate())
        return false;
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_StorageOutputEngine::initiate()");
    storage_ = storage;
    return manager().depend(this, storage);
}

bool NUV_WriteEngine::cleanup()
{
    return NUV_BufferInputEngine::cleanup(initiated());
}

bool NUV_WriteEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                               NUV_OutputStorage* storage)
{
    return NUV_StorageOutputEngine::initiate(storage) &&
           NUV_BufferInputEngine::initiate(header, src);
}

} // namespace nuv
