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
    if (count)
        *count = 0;
    std::uint32_t got = 0;
    return copy(into, 1, &got) && take(got, count);
}

bool NUV_SrcBufferImpl::get_blocks(void* into, std::uint32_t most, std::uint32_t* count)
{
    *count = 0;
    std::uint32_t got = 0;
    return copy(into, most, &got) && take(got, count);
}

bool NUV_SrcBufferImpl::copy(void* into, std::uint32_t most, std::uint32_t* got)
{
    constexpr auto method = "NUV_SrcBufferImpl::get()";

    if (!dst_)
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (!into)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return from().copy_blocks(into, most, position_, got);
}

const void* NUV_SrcBufferImpl::get(std::uint32_t* count)
{
    if (count)
        *count = 0;
    std::uint32_t got = 0;
    const void* block = look(1, &got);
    return block && take(got, count) ? block : nullptr;
}

const void* NUV_SrcBufferImpl::get_blocks(std::uint32_t most, std::uint32_t* blocks)
{
    *blocks = 0;
    std::uint32_t got = 0;
    const void* block = look(most, &got);
    if (!block)
        return nullptr;
    const std::uint32_t each = block_bytes_once();
    if (got > each)
        got -= got % each; // what is behind the last whole block ends the stream the next time
    if (!take(got, nullptr))
        return nullptr;
    *blocks = got == each ? 1 : got / each;
    return block;
}

const void* NUV_SrcBufferImpl::look(std::uint32_t most, std::uint32_t* got)
{
    if (!dst_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::get()");
    return from().peek_blocks(most, position_, got);
}

// Which nobody may change from the first block on.
std::uint32_t NUV_SrcBufferImpl::block_bytes_once()
{
    if (gets_ == 0) {
        block_ = block_bytes();
        holder_ = dst_->holder();
    }
    return block_;
}

// `got` bytes have come. False when the reader wanted whole blocks and this is less than one.
bool NUV_SrcBufferImpl::take(std::uint32_t got, std::uint32_t* count)
{
    const std::uint32_t each = block_bytes_once();
    position_ += got;
    if (count) {
        *count = got;
    } else if (got < each) {
        static_cast<void>(from().advance(this, position_));
        return false;
    }
    gets_ += got <= each ? 1 : (std::uint64_t{got} + each - 1) / each;
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

bool NUV_SrcBufferImpl::release_blocks(std::uint32_t blocks)
{
    if (gets_ - releases_ < blocks)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_SrcBufferImpl::release()");
    releases_ += blocks;
    if (releases_ < gets_) {
        gets_ = releases_;
        position_ = std::uint64_t{block_} * releases_;
    }
    return from().advance(this, std::uint64_t{block_} * releases_);
}

} // namespace nuv
