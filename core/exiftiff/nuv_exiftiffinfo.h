#pragma once

#include "core/exif/nuv_exifattributes.h"
#include "core/include/nuv_formatinfo.h"

namespace nuv {

class NUV_TIFFInfo;

// The first image of a TIFF file with an Exif directory, and the attributes in it. The resolution
// is that of Exif.
class NUV_ExifTIFFTagInfo : public NUV_FormatInfo, public NUV_ExifAttributes {
public:
    explicit NUV_ExifTIFFTagInfo(NUV_Manager& manager) noexcept
        : NUV_FormatInfo(manager),
          NUV_ExifAttributes(manager)
    {}

    [[nodiscard]] const char* format_name() const noexcept override { return "tiff"; }
    // What NUV_TIFFInfo refuses is refused in its words. False without a status for an image that
    // is not conforming and for one whose Exif directory is not there or sets nothing; with
    // NUV_ERR_BROKEN_DATA or NUV_ERR_UNSUPPORTED for one whose directories cannot be read.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    // Whether load() can be true, from the names of the tags alone: for a search that goes on with
    // NUV_TIFFInfo, which says why there is no TIFF file. Leaves the storage where it was.
    [[nodiscard]] static bool can_load(NUV_Manager& manager, NUV_InputStorage* storage);

protected:
    // The image is of the kind that is wanted: here any.
    [[nodiscard]] virtual bool is_conforming(const NUV_TIFFInfo& info) const noexcept;
};

// Such an image of the form that Exif has for its primary image (Exif 2.2, 4.4.3): uncompressed,
// 8 bits, RGB, or luma and chroma with chroma for 2 x 1 or 2 x 2 pixels.
class NUV_ExifTIFFInfo final : public NUV_ExifTIFFTagInfo {
public:
    using NUV_ExifTIFFTagInfo::NUV_ExifTIFFTagInfo;

    [[nodiscard]] const char* format_name() const noexcept override { return "exif_tiff"; }

protected:
    [[nodiscard]] bool is_conforming(const NUV_TIFFInfo& info) const noexcept override;
};

} // namespace nuv
