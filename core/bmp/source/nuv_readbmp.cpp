#include "core/bmp/nuv_readbmp.h"

#include "core/dib/nuv_readdib.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"

namespace nuv {

NUV_Engine* NUV_ReadBMP::engine(NUV_InputStorage* storage)
{
    NUV_BMPInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadBMP::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadBMP::engine(NUV_InputStorage* storage, const NUV_BMPInfo* info)
{
    constexpr auto method = "NUV_ReadBMP::engine()";

    if (!storage || storage->is_closed() || !info || !info->loaded() || !info->is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const std::uint32_t off_bits = info->file_header().off_bits;
    if (off_bits != 0 && !seek_exactly(*storage, off_bits))
        return fail(
            manager(), NUV_ERR_BROKEN_DATA, method,
            info->file_header().at_offset().says("pixels at byte %u, behind the end", off_bits));
    return NUV_ReadDIB(manager()).engine(storage, info);
}

} // namespace nuv
