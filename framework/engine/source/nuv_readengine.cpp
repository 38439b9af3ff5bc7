#include "framework/engine/nuv_readengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <utility>

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

bool NUV_ReadEngine::passes_over(std::uint64_t bytes)
{
    return dst_buffer_->is_passed_over() && std::in_range<std::int32_t>(bytes) &&
           storage_->pass_over(static_cast<std::int32_t>(bytes));
}

} // namespace nuv
