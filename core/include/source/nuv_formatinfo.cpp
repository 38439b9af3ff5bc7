#include "core/include/nuv_formatinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_FormatInfo::refuse()
{
    return fail(manager(), NUV_ERR_ARGUMENT, "NUV_FormatInfo::load()");
}

bool NUV_FormatInfo::go_back(NUV_InputStorage& storage, std::int32_t start)
{
    static_cast<void>(storage.to(start));
    return false;
}

} // namespace nuv
