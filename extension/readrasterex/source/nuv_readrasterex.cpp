#include "extension/readrasterex/nuv_readrasterex.h"

#include "core/readraster/nuv_readraster.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

NUV_Engine* NUV_ReadRasterEx::engine(NUV_InputStorage* storage, std::uint32_t page)
{
    if (!storage)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadRasterEx::engine()");
    const std::int32_t start = storage->position();
    NUV_Engine* engine = NUV_ReadRaster(manager()).engine(storage, page);
    if (!engine)
        static_cast<void>(storage->to(start));
    return engine;
}

NUV_FormatInfo* NUV_ReadRasterEx::format_info(NUV_InputStorage* storage, std::uint32_t page)
{
    if (!storage)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadRasterEx::engine()");
    return NUV_ReadRaster(manager()).format_info(storage, page);
}

} // namespace nuv
