#include "api/source/nuv_outputs.h"

#include "framework/base/nuv_failure.h"
#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace nuv {

bool NUV_GrowingOutputStorage::initiate(std::size_t first_bytes)
{
    return bytes_.allocate(manager(), std::max(first_bytes, std::size_t{1}));
}

bool NUV_GrowingOutputStorage::close()
{
    bytes_.free();
    position_ = 0;
    size_ = 0;
    return true;
}

std::uint8_t* NUV_GrowingOutputStorage::extend(std::int32_t bytes)
{
    if (bytes > last_stream_position - position_)
        return fail(manager(), NUV_ERR_IO, "NUV_GrowingOutputStorage::write()", beyond_positions());
    const auto position = static_cast<std::size_t>(position_);
    const std::size_t wanted = position + static_cast<std::size_t>(bytes);
    if (wanted > bytes_.size()) {
        // By half, so that each byte is copied twice at the most, on average.
        NUV_Scratch<std::uint8_t> larger;
        if (!larger.allocate(manager(), std::max(wanted, bytes_.size() + bytes_.size() / 2)))
            return nullptr;
        std::memcpy(larger.data(), bytes_.data(), static_cast<std::size_t>(size_));
        bytes_.swap(larger);
    }
    position_ += bytes;
    size_ = std::max(size_, position_);
    return bytes_.data() + position;
}

std::int32_t NUV_GrowingOutputStorage::write(const void* from, std::int32_t bytes)
{
    if (is_closed() || !from || bytes < 1)
        return 0;
    std::uint8_t* const to = extend(bytes);
    if (!to)
        return 0;
    if (from != to)
        std::memcpy(to, from, static_cast<std::size_t>(bytes));
    return bytes;
}

std::uint8_t* NUV_GrowingOutputStorage::lend_room(std::int32_t bytes)
{
    const auto position = static_cast<std::size_t>(position_);
    const bool is_there = bytes >= 0 && static_cast<std::size_t>(bytes) <= bytes_.size() - position;
    return is_there ? bytes_.data() + position : nullptr;
}

std::int32_t NUV_GrowingOutputStorage::fill(std::int32_t bytes)
{
    if (is_closed() || bytes < 1)
        return 0;
    const std::int32_t passed = move(bytes);
    const std::int32_t missing = bytes - passed;
    if (missing == 0)
        return bytes;
    std::uint8_t* const to = extend(missing);
    if (!to)
        return passed;
    std::memset(to, 0, static_cast<std::size_t>(missing));
    return bytes;
}

std::int32_t NUV_GrowingOutputStorage::move(std::int32_t bytes)
{
    const std::int32_t before = position_;
    position_ = clamped_position(std::int64_t{position_} + bytes, size_);
    return position_ - before;
}

bool NUV_GrowingOutputStorage::to_begin()
{
    position_ = 0;
    return !is_closed();
}

bool NUV_GrowingOutputStorage::to_end()
{
    position_ = size_;
    return !is_closed();
}

bool NUV_CallbackOutputStorage::initiate(nuv_write function, void* user)
{
    write_ = function;
    user_ = user;
    return true;
}

bool NUV_CallbackOutputStorage::close()
{
    write_ = nullptr;
    return true;
}

std::int32_t NUV_CallbackOutputStorage::write(const void* from, std::int32_t bytes)
{
    constexpr auto method = "NUV_CallbackOutputStorage::write()";

    if (is_closed() || !from || bytes < 1)
        return 0;
    if (bytes > last_stream_position - position_) {
        fail(manager(), NUV_ERR_IO, method, beyond_positions());
        return 0;
    }
    if (write_(user_, from, static_cast<std::size_t>(bytes)) != 0) {
        fail(manager(), NUV_ERR_IO, method,
             NUV_Diagnosis().at_byte(position_).while_writing().says(
                 "the function that takes it refused"));
        return 0;
    }
    position_ += bytes;
    return bytes;
}

std::int32_t NUV_CallbackOutputStorage::fill(std::int32_t bytes)
{
    constexpr std::array<std::uint8_t, 1024> zeros{};

    std::int32_t done = 0;
    while (done < bytes) {
        const auto piece = std::min(bytes - done, static_cast<std::int32_t>(zeros.size()));
        if (write(zeros.data(), piece) != piece)
            break;
        done += piece;
    }
    return done;
}

} // namespace nuv
