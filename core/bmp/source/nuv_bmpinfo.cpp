#include "core/bmp/nuv_bmpinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_BMPInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_BMPInfo::load()");
    const std::int32_t start = storage->position();
    if (load_file(*storage))
        return true;
    static_cast<void>(storage->to(start));
    return false;
}

bool NUV_BMPInfo::load_file(NUV_InputStorage& storage)
{
    const std::int32_t start = storage.position();
    return file_header_.read(&storage) && load_headers(storage) &&
           file_header_.is_valid(static_cast<std::uint32_t>(storage.position() - start));
}

std::uint64_t NUV_BMPInfo::pixel_offset() const noexcept
{
    using Info = NUV_BitmapInfoHeader;
    constexpr std::uint32_t masks = Info::masks_bytes - Info::info_bytes;

    if (file_header_.off_bits != 0)
        return file_header_.off_bits;
    const Info& stored = info_header();
    std::uint64_t colors = stored.clr_used;
    if (colors == 0 && stored.bit_count <= 8)
        colors = std::uint64_t{1} << stored.bit_count;
    return NUV_BitmapFileHeader::stored_bytes + stored.header_size +
           (stored.has_masks_behind() ? masks : 0) + stored.color_bytes() * colors;
}

} // namespace nuv
