#include "core/dib/nuv_readdib.h"

#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/dib/source/nuv_readdibrawengine.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/storage/nuv_readstorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {
namespace {

[[nodiscard]] bool is_readable(const NUV_InputStorage* storage, const NUV_DIBInfo* info)
{
    return storage && !storage->is_closed() && info && info->loaded() && info->is_valid();
}

[[nodiscard]] bool is_run_length(std::uint32_t compression) noexcept
{
    return compression == NUV_BitmapInfoHeader::rle8 || compression == NUV_BitmapInfoHeader::rle4;
}

} // namespace

NUV_Engine* NUV_ReadDIB::engine(NUV_InputStorage* storage)
{
    NUV_DIBInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadDIB::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadDIB::engine(NUV_InputStorage* storage, const NUV_DIBInfo* info)
{
    constexpr auto method = "NUV_ReadDIB::engine()";

    if (!is_readable(storage, info))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const std::uint32_t compression = info->info_header().compression;
    if (is_run_length(compression))
        return NUV_ReadDIBRLE(manager()).engine(storage, info);
    if (compression > NUV_BitmapInfoHeader::bit_fields)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return NUV_ReadDIBRaw(manager()).engine(storage, info);
}

NUV_Engine* NUV_ReadDIBRaw::engine(NUV_InputStorage* storage, const NUV_DIBInfo* info)
{
    if (!is_readable(storage, info))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadDIBRaw::engine()");
    return append_reader<NUV_ReadDIBRawEngine>(storage, info, &info->info_header());
}

// Lines of a coding can be read forward alone, so turning them around is a stage of its own. A
// single line needs none.
NUV_Engine* NUV_ReadDIBRLE::engine(NUV_InputStorage* storage, const NUV_DIBInfo* info)
{
    constexpr auto method = "NUV_ReadDIBRLE::engine()";
    constexpr std::int32_t host_order = 1; // of bytes: there are no samples to turn

    if (!is_readable(storage, info))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!is_run_length(info->info_header().compression))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    NUV_Engine* codes =
        NUV_ReadStorage(manager()).engine(storage, info, storage->position(), 0, host_order);
    NUV_Engine* lines = codes ? NUV_DecodeToRaw(manager()).engine(codes) : nullptr;
    if (!lines || info->info_header().height <= 1)
        return lines;
    return NUV_MirrorY(manager()).engine(lines);
}

} // namespace nuv
