#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"

#include <algorithm>
#include <chrono>

namespace nuv {

NUV_InputStream::NUV_InputStream(NUV_Manager& manager) noexcept : NUV_Object(manager)
{
    take_stamp();
}

void NUV_InputStream::take_stamp() noexcept
{
    ++change_count_;
    change_time_ = std::chrono::steady_clock::now().time_since_epoch().count();
}

bool NUV_InputStorage::is_end()
{
    const std::int32_t bytes = size();
    return bytes == 0 || position() == bytes;
}

bool NUV_InputStorage::to(std::int32_t offset)
{
    if (offset < 0)
        return false;
    const std::int32_t target = std::min(offset, size());
    return to_begin() && move(target) == target;
}

bool NUV_InputStorage::to_from_end(std::int32_t bytes)
{
    const std::int32_t distance = std::max(bytes, -size());
    return to_end() && move(distance) == distance;
}

bool NUV_OutputStorage::to(std::int32_t offset)
{
    if (!to_begin())
        return false;
    return offset < 1 || move(offset) > 0;
}

bool NUV_OutputStorage::to_from_end(std::int32_t bytes)
{
    if (!to_end())
        return false;
    return bytes >= 0 || move(bytes) < 0;
}

} // namespace nuv
