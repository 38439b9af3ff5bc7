#include "core/exiftiff/nuv_exiftiffinfo.h"

#include "core/exif/nuv_exifinfobase.h"
#include "core/tiff/nuv_tiffinfo.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_ExifTIFFTagInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ExifTIFFTagInfo::load()");
    reset_attributes();
    const std::int32_t start = storage->position();
    {
        NUV_TIFFInfo tiff(manager());
        if (!tiff.load(storage) || !is_conforming(tiff) || !copy(tiff))
            return false;
    }
    NUV_ExifInfoBase read(manager());
    if (!storage->to(start) || !read.load_attributes(storage))
        return false;
    // This is what tells such a file from any other TIFF file.
    if (read.exif.is_empty())
        return false;
    swap_attributes(read);
    resolution_ = ifd0.resolution();
    return true;
}

bool NUV_ExifTIFFTagInfo::can_load(NUV_Manager& manager, NUV_InputStorage* storage)
{
    constexpr std::uint16_t exif_ifd = 0x8769;

    const std::int32_t start = storage->position();
    NUV_TIFFImageFileHeader header(manager);
    NUV_TIFFImageFileDirectory directory(manager);
    const bool has_exif =
        header.load(storage) &&
        directory.load(storage, header.first_ifd_offset(), header.byte_order(), 0) &&
        directory.find(exif_ifd);
    return storage->to(start) && has_exif;
}

bool NUV_ExifTIFFTagInfo::is_conforming(const NUV_TIFFInfo& /*info*/) const noexcept
{
    return true;
}

bool NUV_ExifTIFFInfo::is_conforming(const NUV_TIFFInfo& info) const noexcept
{
    if (info.bits() != 8 || info.channels() != 3 || info.encode_type() != NUV_EncodeType::raw)
        return false;
    const auto& factors = info.ycbcr_subsampling;
    if (info.color_type() == NUV_ColorType::s_rgb)
        return factors.empty();
    return info.color_type() == NUV_ColorType::ycbcr && factors.size() >= 2 && factors[0] == 2 &&
           (factors[1] == 1 || factors[1] == 2);
}

} // namespace nuv
