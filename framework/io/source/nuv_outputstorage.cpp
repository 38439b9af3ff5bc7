#include "framework/io/nuv_outputstorage.h"

namespace nuv {

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
