#include "framework/buffer/nuv_srcbuffer.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_SrcBufferImpl::initiate(NUV_DstBuffer* dst)
{
    if (!dst)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_SrcBufferImpl::initiate()");
    dst_ = dst;
    if (block_bytes(dst->block_bytes()) && manager().depend(this, dst))
        return true;
    dst_ = nullptr; // this reader was never on the buffer's list
    return false;
}

bool NUV_SrcBufferImpl::cleanup()
{
    return dst_ ? dst_->src_end(this) : true;
}

std::uint32_t NUV_SrcBufferImpl::block_bytes() const
{
    return dst_ ? dst_->src_block_bytes() : 0;
}

bool NUV_SrcBufferImpl::block_bytes(std::uint32_t bytes)
{
    constexpr auto method = "NUV_SrcBufferImpl::block_bytes()";

    if (gets_ > 0 || !dst_)
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (bytes == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return dst_->src_block_bytes(bytes);
}

bool NUV_SrcBufferImpl::get(void* into, std::uint32_t* count)
{
    constexpr auto method = "NUV_SrcBufferImpl::get()";

    if (count)
        *count = 0;
    if (!dst_)
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (!into)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    std::uint32_t got = 0;
    return from().copy_block(into, position_, &got) && take(got, count);
}

const void* NUV_SrcBufferImpl::get(std::uint32_t* count)
{
    if (count)
        *count = 0;
    if (!dst_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::get()");
    std::uint32_t got = 0;
    const void* block = from().peek(position_, &got);
    return block && take(got, count) ? block : nullptr;
}

// A block of `got` bytes has come. False when the reader wanted whole blocks and this is none.
bool NUV_SrcBufferImpl::take(std::uint32_t got, std::uint32_t* count)
{
    if (gets_ == 0) {
        block_ = block_bytes();
        holder_ = dst_->holder();
    }
    position_ += got;
    if (count) {
        *count = got;
    } else if (got < block_) {
        static_cast<void>(from().advance(this, position_));
        return false;
    }
    ++gets_;
    return true;
}

bool NUV_SrcBufferImpl::release()
{
    if (gets_ <= releases_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::release()");
    ++releases_;
    // Whole blocks, also for a short last one: a reader that released it stands behind the stream.
    return from().advance(this, std::uint64_t{block_} * releases_);
}

bool NUV_SrcBufferImpl::skip()
{
    if (!dst_ || gets_ != releases_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::skip()");
    const std::uint32_t got = from().pass_over(position_);
    return got != 0 && take(got, nullptr) && release();
}

} // namespace nuv
