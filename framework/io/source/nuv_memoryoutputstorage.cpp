#include "framework/io/nuv_memoryoutputstorage.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_memoryinputstorage.h"
#include "framework/io/nuv_streamposition.h"

namespace nuv {

bool NUV_MemoryOutputStorage::initiate(std::int32_t block_bytes)
{
    if (block_bytes < 1)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MemoryOutputStorage::initiate()");
    position_ = 0;
    return contents_.own(make_object<NUV_MemoryBlockVector>(manager(), block_bytes));
}

bool NUV_MemoryOutputStorage::close()
{
    contents_.reset();
    position_ = 0;
    return true;
}

std::int32_t NUV_MemoryOutputStorage::append(const void* from, std::int32_t bytes)
{
    const std::int32_t done = contents_->write(position_, from, bytes);
    position_ += done;
    if (done < bytes) // unless the memory came to an end first, and has been raised
        fail(manager(), NUV_ERR_IO, "NUV_MemoryOutputStorage::write()", beyond_positions());
    return done;
}

std::int32_t NUV_MemoryOutputStorage::put(std::uint8_t byte)
{
    return write(&byte, 1) == 1 ? byte : -1;
}

std::int32_t NUV_MemoryOutputStorage::write(const void* from, std::int32_t bytes)
{
    return contents_ && from && bytes > 0 ? append(from, bytes) : 0;
}

std::int32_t NUV_MemoryOutputStorage::fill(std::int32_t bytes)
{
    if (!contents_ || bytes < 1)
        return 0;
    const std::int32_t passed = move(bytes);
    return passed < bytes ? passed + append(nullptr, bytes - passed) : passed;
}

NUV_InputStorage* NUV_MemoryOutputStorage::create_input_storage()
{
    if (is_closed())
        return nullptr;
    return make_initiated<NUV_MemoryInputStorage>(manager(), contents_).release();
}

std::int32_t NUV_MemoryOutputStorage::move(std::int32_t bytes)
{
    const std::int32_t before = position_;
    position_ = clamped_position(std::int64_t{position_} + bytes, size());
    return position_ - before;
}

std::int32_t NUV_MemoryOutputStorage::size()
{
    return contents_ ? contents_->content_bytes() : 0;
}

bool NUV_MemoryOutputStorage::to_begin()
{
    position_ = 0;
    return !is_closed();
}

bool NUV_MemoryOutputStorage::to_end()
{
    position_ = size();
    return !is_closed();
}

} // namespace nuv
