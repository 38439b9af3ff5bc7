#include "framework/engine/nuv_bufferinputengine.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <utility>

namespace nuv {

bool NUV_BufferInputEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src)
{
    if (!header || !src || !header->is_valid())
        return fail(*input_manager_, NUV_ERR_ARGUMENT, "NUV_BufferInputEngine::initiate()");
    src_buffer_ = src;
    return true;
}

bool NUV_BufferInputEngine::cleanup(bool initiated)
{
    NUV_SrcBuffer* src = std::exchange(src_buffer_, nullptr);
    return initiated && src ? src->end() : true;
}

} // namespace nuv
