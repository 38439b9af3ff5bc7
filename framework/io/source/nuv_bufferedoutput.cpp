#include "framework/io/nuv_bufferedoutput.h"

#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

constexpr auto flush_method = "NUV_OutputStorageBuffer<Strm>::flush()";

} // namespace

bool NUV_StreamBuffer::initial_allocate(NUV_Manager& manager, std::int32_t bytes)
{
    if (bytes < 1)
        return fail(manager, NUV_ERR_ARGUMENT, "NUV_StreamBuffer::initial_allocate()");
    buffer_bytes_ = 0;
    if (!buffer_.allocate(manager, static_cast<std::size_t>(bytes)))
        return false;
    buffer_bytes_ = bytes;
    return true;
}

void NUV_StreamBuffer::free_buffer() noexcept
{
    buffer_.free();
    buffer_bytes_ = 0;
}

bool NUV_OutputStorageBuffer::initiate(NUV_OutputStorage* inner, std::int32_t buffer_bytes)
{
    if (!NUV_OutputStorageDecorator::initiate(inner))
        return false;
    if (!initial_allocate(manager(), buffer_bytes))
        return false;
    size_ = inner->size();
    stand_at(inner->position());
    return true;
}

void NUV_OutputStorageBuffer::stand_at(std::int32_t offset) noexcept
{
    start_ = offset;
    position_ = offset;
    valid_end_ = offset;
}

bool NUV_OutputStorageBuffer::is_closed() const
{
    return buffer_bytes() == 0 || NUV_OutputStorageDecorator::is_closed();
}

bool NUV_OutputStorageBuffer::close()
{
    const bool flushed = flush();
    free_buffer();
    stand_at(0);
    size_ = 0;
    const bool forgotten = NUV_OutputStorageDecorator::close();
    return flushed && forgotten;
}

bool NUV_OutputStorageBuffer::flush()
{
    const std::int32_t held = valid_end_ - start_;
    if (!inner_)
        return held == 0;
    if (held > 0 && inner_->write(buffer(), held) != held) {
        stand_at(inner_->position());
        size_ = inner_->size();
        return fail(manager(), NUV_ERR_IO, flush_method);
    }
    size_ = std::max(size_, valid_end_);
    if (held > 0)
        stand_at(valid_end_);
    return true;
}

// Flushes and returns to the position, which may lie inside what was buffered.
bool NUV_OutputStorageBuffer::flush_in_place()
{
    const std::int32_t here = position_;
    if (!flush())
        return false;
    if (here != position_) {
        inner_->move(here - position_);
        stand_at(inner_->position());
    }
    return position_ == here;
}

// How much more fits in front of the buffer's end.
std::int32_t NUV_OutputStorageBuffer::room() const noexcept
{
    return std::min(buffer_bytes() - (position_ - start_), last_stream_position - position_);
}

std::int32_t NUV_OutputStorageBuffer::put(std::uint8_t byte)
{
    return write(&byte, 1) == 1 ? byte : -1;
}

std::int32_t NUV_OutputStorageBuffer::write(const void* from, std::int32_t bytes)
{
    if (is_closed() || !from || bytes < 1)
        return 0;
    const auto* next = static_cast<const std::uint8_t*>(from);
    std::int32_t done = 0;
    while (done < bytes) {
        if (room() < 1 && (!flush() || room() < 1))
            break;
        const std::int32_t left = bytes - done;
        if (valid_end_ == start_ && left >= buffer_bytes())
            return done + write_through(next + done, left);
        const std::int32_t piece = std::min(left, room());
        std::memcpy(buffer() + (position_ - start_), next + done, static_cast<std::size_t>(piece));
        position_ += piece;
        valid_end_ = std::max(valid_end_, position_);
        done += piece;
    }
    if (done < bytes)
        fail(manager(), NUV_ERR_IO, flush_method);
    return done;
}

// Past the empty buffer, for what would not fit in it.
std::int32_t NUV_OutputStorageBuffer::write_through(const std::uint8_t* from, std::int32_t bytes)
{
    const std::int32_t written = inner_->write(from, bytes);
    stand_at(inner_->position());
    size_ = std::max(size_, position_);
    if (written < bytes)
        fail(manager(), NUV_ERR_IO, flush_method);
    return written;
}

std::int32_t NUV_OutputStorageBuffer::fill(std::int32_t bytes)
{
    if (is_closed() || !flush_in_place())
        return 0;
    const std::int32_t filled = inner_->fill(bytes);
    stand_at(inner_->position());
    size_ = inner_->size();
    return filled;
}

NUV_InputStorage* NUV_OutputStorageBuffer::create_input_storage()
{
    return flush_in_place() ? NUV_OutputStorageDecorator::create_input_storage() : nullptr;
}

std::int32_t NUV_OutputStorageBuffer::move(std::int32_t bytes)
{
    if (is_closed())
        return 0;
    const std::int32_t before = position_;
    const std::int32_t end = std::max(size_, valid_end_);
    const std::int32_t target = clamped_position(std::int64_t{position_} + bytes, end);
    if (target >= start_ && target <= valid_end_) {
        position_ = target;
        return target - before;
    }
    if (!flush())
        return position_ - before;
    inner_->move(target - position_);
    stand_at(inner_->position());
    return position_ - before;
}

// Both go by way of move(): the inner storage knows nothing of what is buffered.
bool NUV_OutputStorageBuffer::to(std::int32_t offset)
{
    if (is_closed())
        return false;
    move(std::max(offset, 0) - position_);
    return offset < 1 ? position_ == 0 : position_ > 0;
}

bool NUV_OutputStorageBuffer::to_from_end(std::int32_t bytes)
{
    if (is_closed())
        return false;
    const std::int32_t end = std::max(size_, valid_end_);
    move(clamped_position(std::int64_t{end} + bytes, end) - position_);
    return bytes < 0 ? position_ < end : position_ == end;
}

std::int32_t NUV_OutputStorageBuffer::size()
{
    static_cast<void>(flush_in_place());
    return std::max(size_, valid_end_);
}

bool NUV_OutputStorageBuffer::to_begin()
{
    if (is_closed() || !flush() || !inner_->to_begin())
        return false;
    stand_at(inner_->position());
    return true;
}

bool NUV_OutputStorageBuffer::to_end()
{
    if (is_closed() || !flush() || !inner_->to_end())
        return false;
    stand_at(inner_->position());
    return true;
}

} // namespace nuv
