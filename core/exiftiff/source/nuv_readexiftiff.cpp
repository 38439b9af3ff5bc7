#include "core/exiftiff/nuv_readexiftiff.h"

#include "core/tiff/nuv_readtiff.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {
namespace {

constexpr auto engine_method = "NUV_ReadExifTIFF::engine()";

} // namespace

NUV_Engine* NUV_ReadExifTIFF::engine(NUV_InputStorage* storage)
{
    NUV_ExifTIFFInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, engine_method);
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadExifTIFF::engine(NUV_InputStorage* storage, const NUV_ExifTIFFInfo* info)
{
    constexpr std::uint32_t first_page = 0;

    if (!info || !info->loaded() || !info->is_valid() || !storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, engine_method);
    storage->to_begin();
    return NUV_ReadTIFF(manager()).engine(storage, first_page, /*to_qdrle=*/false);
}

} // namespace nuv
