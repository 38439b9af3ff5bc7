#include "framework/buffer/nuv_dstbufferbase.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_DstBufferBase::initiate(std::uint64_t limit_bytes)
{
    if (limit_bytes == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_DstBufferBase::initiate()");
    limit_bytes_ = limit_bytes;
    return true;
}

bool NUV_DstBufferBase::block_bytes(std::uint32_t bytes)
{
    constexpr auto method = "NUV_DstBufferBase::block_bytes()";

    if (state_ != State::created)
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (bytes == 0 || bytes > limit_bytes_)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    block_bytes_ = bytes;
    return true;
}

bool NUV_DstBufferBase::src_block_bytes(std::uint32_t bytes)
{
    constexpr auto method = "NUV_DstBufferBase::src_block_bytes()";

    if (bytes == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (mem_block_bytes_ != 0) {
        // Memory is cut by the size that stood before; a larger block would not fit in it.
        if (bytes != src_block_bytes_)
            return fail(manager(), NUV_ERR_SEQUENCE, method);
        return true;
    }
    src_block_bytes_ = bytes;
    if (state_ == State::created)
        state_ = State::idle;
    return true;
}

bool NUV_DstBufferBase::seal()
{
    state_ = State::sealed;
    return true;
}

void NUV_DstBufferBase::create_src_buffers(NUV_Vector<NUV_SrcBuffer*>& result, std::uint32_t)
{
    result.clear();
}

} // namespace nuv
