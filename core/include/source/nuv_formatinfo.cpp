#include "core/include/nuv_formatinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_FormatInfo::refuse()
{
    return fail(manager(), NUV_ERR_ARGUMENT, "NUV_FormatInfo::load()");
}

NUV_Diagnosis NUV_FormatInfo::why_refused(const NUV_FormatInfo* info)
{
    NUV_Diagnosis why;
    if (!info || !info->loaded() || info->is_valid())
        return why;
    const NUV_Palette& colors = info->palette();
    why.because(NUV_Cause::invalid);
    if (colors.is_empty())
        return why.says("%u x %u pixels, %u x %u bits, in a color of %u channels", info->width(),
                        info->height(), unsigned{info->channels()}, unsigned{info->bits()},
                        unsigned{info->color_type()->channels()});
    return why.says("%u x %u pixels, %u x %u bits, with a palette of %u x %u bits, %u entries",
                    info->width(), info->height(), unsigned{info->channels()},
                    unsigned{info->bits()}, unsigned{colors.channels}, unsigned{colors.bits},
                    colors.entries);
}

bool NUV_FormatInfo::go_back(NUV_InputStorage& storage, std::int32_t start)
{
    static_cast<void>(storage.to(start));
    return false;
}

} // namespace nuv
