#include "framework/io/nuv_bytearrayinputstorage.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nuv {

bool NUV_ByteArrayInputStorage::initiate(const std::uint8_t* data, std::int32_t bytes)
{
    if (!data || bytes < 1)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ByteArrayInputStorage::initiate()");
    if (!is_closed())
        take_stamp();
    data_ = data;
    size_ = bytes;
    position_ = 0;
    memory_.note(data, static_cast<std::size_t>(bytes), NUV_CallerMemory::Use::read);
    return true;
}

bool NUV_ByteArrayInputStorage::initiate(const std::uint8_t* begin, const std::uint8_t* end)
{
    // What no position can tell is refused like what is empty.
    const auto bytes = begin && end ? end - begin : 0;
    return initiate(begin,
                    std::in_range<std::int32_t>(bytes) ? static_cast<std::int32_t>(bytes) : 0);
}

bool NUV_ByteArrayInputStorage::close()
{
    data_ = nullptr;
    position_ = 0;
    size_ = 0;
    memory_.forget();
    return true;
}

std::int32_t NUV_ByteArrayInputStorage::get()
{
    if (position_ < size_)
        return data_[position_++];
    // No fault of the system: there is no more.
    fail(manager(), NUV_ERR_IO, "NUV_ByteArrayInputStorage::get()",
         NUV_Diagnosis().because(NUV_Cause::damaged).at_byte(size_).says("the data ends here"));
    return -1;
}

std::int32_t NUV_ByteArrayInputStorage::read(void* into, std::int32_t bytes)
{
    const std::int32_t count = std::min(bytes, size_ - position_);
    if (count < 1 || !into)
        return 0;
    std::memcpy(into, data_ + position_, static_cast<std::size_t>(count));
    position_ += count;
    return count;
}

const std::uint8_t* NUV_ByteArrayInputStorage::lend(std::int32_t bytes)
{
    if (bytes < 0 || bytes > size_ - position_ || !memory_.is_apart())
        return nullptr;
    position_ += bytes;
    return data_ + (position_ - bytes);
}

std::int32_t NUV_ByteArrayInputStorage::move(std::int32_t bytes)
{
    const std::int32_t before = position_;
    position_ = clamped_position(std::int64_t{position_} + bytes, size_);
    return position_ - before;
}

bool NUV_ByteArrayInputStorage::pass_over(std::int32_t bytes)
{
    if (bytes < 0 || is_closed() || bytes > size_ - position_)
        return false;
    position_ += bytes;
    return true;
}

bool NUV_ByteArrayInputStorage::to(std::int32_t offset)
{
    if (is_closed() || offset < 0)
        return false;
    position_ = std::min(offset, size_);
    return true;
}

bool NUV_ByteArrayInputStorage::to_from_end(std::int32_t bytes)
{
    position_ = clamped_position(std::int64_t{size_} + bytes, size_);
    return !is_closed();
}

bool NUV_ByteArrayInputStorage::to_begin()
{
    position_ = 0;
    return !is_closed();
}

bool NUV_ByteArrayInputStorage::to_end()
{
    position_ = size_;
    return !is_closed();
}

} // namespace nuv
