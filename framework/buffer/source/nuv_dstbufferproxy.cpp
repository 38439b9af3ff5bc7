#include "framework/buffer/nuv_dstbufferproxy.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/buffer/nuv_dstbufferbase.h"
#include "framework/buffer/nuv_srcbuffer.h"

namespace nuv {

bool NUV_DstBufferProxy::attach(NUV_DstBufferBase* real)
{
    if (!real || real_ || !real->block_bytes(block_bytes_))
        return false;
    real->owner(this);
    real_ = real;
    return true;
}

bool NUV_DstBufferProxy::end()
{
    const bool sealed = real_ ? real_->seal() : true;
    const bool ended = NUV_DstBufferImpl::end();
    return sealed && ended;
}

bool NUV_DstBufferProxy::cleanup()
{
    NUV_DstBufferBase* real = real_;
    real_ = nullptr;
    return real ? real->end() : true;
}

std::uint32_t NUV_DstBufferProxy::block_bytes() const
{
    return real_ ? real_->block_bytes() : block_bytes_;
}

bool NUV_DstBufferProxy::block_bytes(std::uint32_t bytes)
{
    if (real_)
        return real_->block_bytes(bytes);
    if (bytes == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_DstBufferProxy::block_bytes()");
    block_bytes_ = bytes;
    return true;
}

void* NUV_DstBufferProxy::get()
{
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::get()");
    return real_->get();
}

bool NUV_DstBufferProxy::release(std::uint32_t bytes)
{
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::release()");
    return real_->release(bytes);
}

std::uint32_t NUV_DstBufferProxy::wanted_blocks() const
{
    return real_ ? real_->wanted_blocks() : 1;
}

void* NUV_DstBufferProxy::get_blocks(std::uint32_t most, std::uint32_t* count)
{
    return real_ ? real_->get_blocks(most, count) : NUV_DstBufferImpl::get_blocks(most, count);
}

bool NUV_DstBufferProxy::deliver_standing(const void* data, std::uint32_t blocks)
{
    return real_ ? real_->deliver_standing(data, blocks)
                 : NUV_DstBufferImpl::deliver_standing(data, blocks);
}

bool NUV_DstBufferProxy::deliver_unseen()
{
    return real_ && real_->deliver_unseen();
}

std::uint32_t NUV_DstBufferProxy::src_block_bytes() const
{
    return real_ ? real_->src_block_bytes() : 0;
}

bool NUV_DstBufferProxy::src_block_bytes(std::uint32_t bytes)
{
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::src_block_bytes()");
    return real_->src_block_bytes(bytes);
}

bool NUV_DstBufferProxy::copy_blocks(void* into, std::uint32_t most, std::uint64_t position,
                                     std::uint32_t* count)
{
    *count = 0;
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::copy_block()");
    return real_->copy_blocks(into, most, position, count);
}

const void* NUV_DstBufferProxy::peek_blocks(std::uint32_t most, std::uint64_t position,
                                            std::uint32_t* count)
{
    *count = 0;
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::peek()");
    return real_->peek_blocks(most, position, count);
}

std::uint32_t NUV_DstBufferProxy::pass_over(std::uint64_t position)
{
    if (real_)
        return real_->pass_over(position);
    fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::pass_over()");
    return 0;
}

bool NUV_DstBufferProxy::advance(const NUV_SrcBuffer* reader, std::uint64_t position)
{
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::advance()");
    return real_->advance(reader, position);
}

bool NUV_DstBufferProxy::src_end(const NUV_SrcBuffer* reader)
{
    return real_ ? real_->src_end(reader) : true;
}

NUV_DstBuffer* NUV_DstBufferProxy::holder()
{
    return real_;
}

NUV_SrcBuffer* NUV_DstBufferProxy::create_src_buffer()
{
    if (!real_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::create_src_buffer()");
    return real_->create_src_buffer(this);
}

void NUV_DstBufferProxy::create_src_buffers(NUV_Vector<NUV_SrcBuffer*>& result, std::uint32_t count)
{
    if (real_) {
        real_->create_src_buffer(result, this, count);
        return;
    }
    result.clear();
    fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferProxy::create_src_buffers()");
}

bool NUV_DstBufferProxy::flush()
{
    return real_ ? real_->flush() : true;
}

} // namespace nuv
