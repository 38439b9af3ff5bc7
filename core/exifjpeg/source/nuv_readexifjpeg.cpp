#include "core/exifjpeg/nuv_readexifjpeg.h"

#include "core/jpeg/nuv_readjpeg.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

NUV_Engine* NUV_ReadExifJPEG::engine(NUV_InputStorage* storage, std::int32_t scale)
{
    NUV_ExifJPEGInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadExifJPEG::engine()");
    return engine(storage, &info, scale);
}

NUV_Engine* NUV_ReadExifJPEG::engine(NUV_InputStorage* storage, const NUV_ExifJPEGInfo* info,
                                     std::int32_t scale)
{
    return NUV_ReadJPEG(manager()).engine(storage, info, scale);
}

} // namespace nuv
