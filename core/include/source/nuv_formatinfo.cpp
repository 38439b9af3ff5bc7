#include "core/include/nuv_formatinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_FormatInfo::begin_load(const NUV_InputStorage* storage)
{
    loaded_ = false;
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_FormatInfo::load()");
    return true;
}

bool NUV_FormatInfo::go_back(NUV_InputStorage& storage, std::int32_t start)
{
    static_cast<void>(storage.to(start));
    return false;
}

} // namespace nuv
