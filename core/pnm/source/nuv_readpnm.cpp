#include "core/pnm/nuv_readpnm.h"

#include "core/pnm/source/nuv_pnmengines.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {
namespace {

[[nodiscard]] bool is_readable(const NUV_PNMInfo* info)
{
    return info && info->loaded() && info->is_valid();
}

} // namespace

NUV_Engine* NUV_ReadPNM::engine(NUV_InputStorage* storage)
{
    NUV_PNMInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadPNM::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadPNM::engine(NUV_InputStorage* storage, const NUV_PNMInfo* info)
{
    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadPNM::engine()",
                    NUV_FormatInfo::why_refused(info));
    switch (info->magic()) {
    case '1':
        return NUV_ReadPBMAscii(manager()).engine(storage, info);
    case '2':
    case '3':
        return NUV_ReadPPMAscii(manager()).engine(storage, info);
    default:
        return NUV_ReadPNMBinary(manager()).engine(storage, info);
    }
}

NUV_Engine* NUV_ReadPNMBinary::engine(NUV_InputStorage* storage, const NUV_PNMInfo* info)
{
    constexpr auto method = "NUV_ReadPNMBinary::engine()";

    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, method, NUV_FormatInfo::why_refused(info));
    if (info->magic() < '4')
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_reader<NUV_ReadPNMBinaryEngine>(storage, info);
}

NUV_Engine* NUV_ReadPBMAscii::engine(NUV_InputStorage* storage, const NUV_PNMInfo* info)
{
    constexpr auto method = "NUV_ReadPBMAscii::engine()";

    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, method, NUV_FormatInfo::why_refused(info));
    if (info->magic() != '1')
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_reader<NUV_ReadPBMAsciiEngine>(storage, info);
}

NUV_Engine* NUV_ReadPPMAscii::engine(NUV_InputStorage* storage, const NUV_PNMInfo* info)
{
    constexpr auto method = "NUV_ReadPPMAscii::engine()";

    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, method, NUV_FormatInfo::why_refused(info));
    if (info->magic() != '2' && info->magic() != '3')
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_reader<NUV_ReadPPMAsciiEngine>(storage, info);
}

} // namespace nuv
