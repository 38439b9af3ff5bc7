#include "framework/io/nuv_bytearrayoutputstorage.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nuv {

NUV_Diagnosis NUV_ByteArrayOutputStorage::is_full() const noexcept
{
    return NUV_Diagnosis()
        .because(NUV_Cause::limit)
        .at_byte(capacity_)
        .while_writing()
        .says("the memory that was given is full");
}

bool NUV_ByteArrayOutputStorage::initiate(std::uint8_t* data, std::int32_t bytes)
{
    if (!data || bytes < 1)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ByteArrayOutputStorage::initiate()");
    data_ = data;
    capacity_ = bytes;
    position_ = 0;
    written_ = 0;
    memory_.note(data, static_cast<std::size_t>(bytes), NUV_CallerMemory::Use::written);
    return true;
}

bool NUV_ByteArrayOutputStorage::initiate(std::uint8_t* begin, std::uint8_t* end)
{
    // What no position can tell is refused like what is empty.
    const auto bytes = begin && end ? end - begin : 0;
    return initiate(begin,
                    std::in_range<std::int32_t>(bytes) ? static_cast<std::int32_t>(bytes) : 0);
}

bool NUV_ByteArrayOutputStorage::close()
{
    data_ = nullptr;
    position_ = 0;
    capacity_ = 0;
    written_ = 0;
    memory_.forget();
    return true;
}

void NUV_ByteArrayOutputStorage::advance(std::int32_t bytes) noexcept
{
    position_ += bytes;
    written_ = std::max(written_, position_);
}

std::int32_t NUV_ByteArrayOutputStorage::put(std::uint8_t byte)
{
    if (position_ >= capacity_) {
        fail(manager(), NUV_ERR_IO, "NUV_ByteArrayOutputStorage::put()", is_full());
        return -1;
    }
    data_[position_] = byte;
    advance(1);
    return byte;
}

std::int32_t NUV_ByteArrayOutputStorage::write(const void* from, std::int32_t bytes)
{
    if (!from || bytes < 1)
        return 0;
    const std::int32_t count = std::min(bytes, capacity_ - position_);
    if (count < 1) {
        fail(manager(), NUV_ERR_IO, "NUV_ByteArrayOutputStorage::write()", is_full());
        return 0;
    }
    if (from != data_ + position_)
        std::memcpy(data_ + position_, from, static_cast<std::size_t>(count));
    advance(count);
    return count;
}

std::uint8_t* NUV_ByteArrayOutputStorage::lend_room(std::int32_t bytes)
{
    if (is_closed() || bytes > capacity_ - position_ || !memory_.is_apart())
        return nullptr;
    return data_ + position_;
}

std::int32_t NUV_ByteArrayOutputStorage::fill(std::int32_t bytes)
{
    const std::int32_t count = std::clamp(bytes, 0, capacity_ - position_);
    advance(count);
    return count;
}

NUV_InputStorage* NUV_ByteArrayOutputStorage::create_input_storage()
{
    if (is_closed())
        return nullptr;
    const std::uint8_t* data = data_;
    return make_initiated<NUV_ByteArrayInputStorage>(manager(), data, capacity_).release();
}

std::int32_t NUV_ByteArrayOutputStorage::move(std::int32_t bytes)
{
    const std::int32_t before = position_;
    position_ = clamped_position(std::int64_t{position_} + bytes, written_);
    return position_ - before;
}

bool NUV_ByteArrayOutputStorage::to_begin()
{
    position_ = 0;
    return !is_closed();
}

bool NUV_ByteArrayOutputStorage::to_end()
{
    position_ = written_;
    return !is_closed();
}

} // namespace nuv
