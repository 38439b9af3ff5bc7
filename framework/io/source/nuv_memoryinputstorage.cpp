#include "framework/io/nuv_memoryinputstorage.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_streamposition.h"

namespace nuv {

bool NUV_MemoryInputStorage::initiate(const NUV_MemoryContents& contents)
{
    if (!contents)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MemoryInputStorage::initiate()");
    if (!is_closed())
        take_stamp();
    contents_ = contents;
    position_ = 0;
    return true;
}

bool NUV_MemoryInputStorage::close()
{
    contents_.reset();
    position_ = 0;
    return true;
}

std::int32_t NUV_MemoryInputStorage::get()
{
    std::uint8_t byte = 0;
    return read(&byte, 1) == 1 ? byte : -1;
}

std::int32_t NUV_MemoryInputStorage::read(void* into, std::int32_t bytes)
{
    if (!contents_ || !into || bytes < 1)
        return 0;
    const std::int32_t got = contents_->read(position_, into, bytes);
    position_ += got;
    return got;
}

std::int32_t NUV_MemoryInputStorage::move(std::int32_t bytes)
{
    const std::int32_t before = position_;
    position_ = clamped_position(std::int64_t{position_} + bytes, size());
    return position_ - before;
}

bool NUV_MemoryInputStorage::pass_over(std::int32_t bytes)
{
    if (bytes < 0 || is_closed() || bytes > size() - position_)
        return false;
    position_ += bytes;
    return true;
}

bool NUV_MemoryInputStorage::to(std::int32_t offset)
{
    if (is_closed() || offset < 0)
        return false;
    position_ = clamped_position(offset, size());
    return true;
}

bool NUV_MemoryInputStorage::to_from_end(std::int32_t bytes)
{
    position_ = clamped_position(std::int64_t{size()} + bytes, size());
    return !is_closed();
}

std::int32_t NUV_MemoryInputStorage::size() const
{
    return contents_ ? contents_->content_bytes() : 0;
}

bool NUV_MemoryInputStorage::to_begin()
{
    position_ = 0;
    return !is_closed();
}

bool NUV_MemoryInputStorage::to_end()
{
    position_ = size();
    return !is_closed();
}

} // namespace nuv
