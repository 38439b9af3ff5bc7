#include "extension/readrasterex/nuv_readrasterex.h"

#include "core/jpeg/nuv_jpeginfo.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/readraster/nuv_readraster.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

namespace nuv {

NUV_Engine* NUV_ReadRasterEx::engine(NUV_InputStorage* storage, std::uint32_t page)
{
    if (!storage)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadRasterEx::engine()");
    const std::int32_t start = storage->position();
    const NUV_Report entry(manager());
    if (NUV_Engine* engine = NUV_ReadRaster(manager()).engine(storage, page))
        return engine;

    const NUV_Report failure(manager());
    static_cast<void>(storage->to(start));
    if (page == 0 &&
        !entry.status().has_error()) { // an error from before stands, and nothing is built on it
        manager().reset();
        entry.raise_again(manager());
        NUV_JPEGInfo info(manager());
        if (info.load(storage) && info.bits() > 8 && info.is_lossless())
            return NUV_ReadLosslessJPEG(manager()).engine(storage, &info);
        static_cast<void>(storage->to(start));
    }
    // What the search has said, and not what the rescue has.
    manager().reset();
    failure.raise_again(manager());
    return nullptr;
}

NUV_FormatInfo* NUV_ReadRasterEx::format_info(NUV_InputStorage* storage, std::uint32_t page)
{
    if (!storage)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadRasterEx::engine()");
    const std::int32_t start = storage->position();
    NUV_Held<NUV_FormatInfo> found(NUV_ReadRaster(manager()).format_info(storage, page));
    const auto* jpeg = dynamic_cast<const NUV_JPEGInfo*>(found.get());
    if (!jpeg || !jpeg->is_lossless())
        return found.release();

    // A lossless stream is that and nothing else, whatever segments it carries.
    static_cast<void>(storage->to(start));
    found.reset();
    NUV_Held<NUV_JPEGInfo> plain = make_object<NUV_JPEGInfo>(manager());
    if (plain)
        static_cast<void>(plain->load(storage));
    return plain.release();
}

} // namespace nuv
