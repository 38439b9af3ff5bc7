#include "core/readraster/source/nuv_formatlist.h"

#include "core/pnm/nuv_pnminfo.h"
#include "core/pnm/nuv_readpnm.h"
#include "core/sunras/nuv_readsunras.h"
#include "core/sunras/nuv_sunrasinfo.h"

namespace nuv {

std::span<const NUV_FormatRow> single_image_formats() noexcept
{
    static constexpr NUV_FormatRow rows[] = {
        format_row<NUV_SunrasInfo, NUV_ReadSunras>(),
        format_row<NUV_PNMInfo, NUV_ReadPNM>(),
    };
    return rows;
}

} // namespace nuv
