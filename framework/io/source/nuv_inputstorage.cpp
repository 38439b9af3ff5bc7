#include "framework/io/nuv_inputstorage.h"

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

} // namespace nuv
