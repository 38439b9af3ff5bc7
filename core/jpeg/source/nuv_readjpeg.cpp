#include "core/jpeg/nuv_readjpeg.h"

#include "core/jpeg/source/nuv_decodejpegengine.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

NUV_Engine* NUV_ReadJPEG::engine(NUV_InputStorage* storage, std::int32_t scale)
{
    NUV_JPEGInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadJPEG::engine()");
    return engine(storage, &info, scale);
}

NUV_Engine* NUV_ReadJPEG::engine(NUV_InputStorage* storage, const NUV_JPEGInfo* info,
                                 std::int32_t scale)
{
    if (!info || !info->loaded() || !info->is_valid() || !storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadJPEG::engine()",
                    NUV_FormatInfo::why_refused(info));
    return append_reader<NUV_DecodeJPEGEngine>(storage, info, info, scale);
}

NUV_Engine* NUV_ReadJPEG::engine(NUV_JPEGStreams* streams, const NUV_DecodeJPEGOption& option)
{
    if (!streams || streams->size() == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadJPEG::engine()");
    return append_generator<NUV_DecodeJPEGEngine>(nullptr, streams, &option);
}

NUV_Engine* NUV_ReadLosslessJPEG::engine(NUV_InputStorage* storage)
{
    NUV_JPEGInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadLosslessJPEG::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadLosslessJPEG::engine(NUV_InputStorage* storage, const NUV_JPEGInfo* info)
{
    constexpr auto method = "NUV_ReadLosslessJPEG::engine()";

    if (!info || !info->loaded() || !storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!info->is_lossless())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    NUV_Header header(manager());
    if (!header.copy(*info))
        return nullptr;
    if (header.bits() > 8)
        header.bits(16);
    return append_reader<NUV_DecodeJPEGEngine>(storage, &header, info, NUV_JPEGInfo::full_scale);
}

} // namespace nuv
