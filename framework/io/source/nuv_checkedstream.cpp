#include "framework/io/nuv_checkedstream.h"

#include <algorithm>

namespace nuv {

std::uint32_t remaining_bytes(const NUV_InputStorage& storage)
{
    return static_cast<std::uint32_t>(std::max(storage.size() - storage.position(), 0));
}

bool skip_exactly(NUV_InputStorage& storage, std::uint32_t bytes)
{
    if (bytes > remaining_bytes(storage))
        return false;
    const auto distance = static_cast<std::int32_t>(bytes);
    return storage.move(distance) == distance;
}

bool seek_exactly(NUV_InputStorage& storage, std::uint32_t offset)
{
    if (offset > static_cast<std::uint32_t>(std::max(storage.size(), 0)))
        return false;
    const auto target = static_cast<std::int32_t>(offset);
    return storage.to(target) && storage.position() == target;
}

bool read_exactly(NUV_InputStorage& storage, void* into, std::uint32_t bytes)
{
    if (bytes > remaining_bytes(storage))
        return false;
    const auto count = static_cast<std::int32_t>(bytes);
    return storage.read(into, count) == count;
}

} // namespace nuv
