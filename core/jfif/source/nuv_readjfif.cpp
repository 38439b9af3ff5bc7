#include "core/jfif/nuv_readjfif.h"

#include "core/jpeg/nuv_readjpeg.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {
namespace {

bool is_jfif_image(const NUV_Header& header)
{
    if (header.bits() != 8)
        return false;
    const NUV_ColorType* const color = header.color_type();
    return (header.channels() == 1 && color == NUV_ColorType::gray) ||
           (header.channels() == 3 && color == NUV_ColorType::ycbcr);
}

} // namespace

NUV_Engine* NUV_ReadJFIF::engine(NUV_InputStorage* storage, std::int32_t scale)
{
    NUV_JFIFInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadJFIF::engine()");
    return engine(storage, &info, scale);
}

NUV_Engine* NUV_ReadJFIF::engine(NUV_InputStorage* storage, const NUV_JFIFInfo* info,
                                 std::int32_t scale)
{
    constexpr auto method = "NUV_ReadJFIF::engine()";

    if (!info || !info->loaded() || !storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    // Before the header's validity: other depths are known, and not meant for a raw image.
    if (!is_jfif_image(*info))
        return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_ReadJFIF::initiate()",
                    info->not_served());
    if (!info->is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return NUV_ReadJPEG(manager()).engine(storage, info, scale);
}

} // namespace nuv
