#pragma once

#include "core/exif/nuv_exifattributes.h"
#include "core/jpeg/nuv_jpeginfo.h"

#include <cstdint>
#include <optional>
#include <span>

namespace nuv {

// A JPEG stream with an Exif segment, and the attributes in it. The resolution is that of Exif.
class NUV_ExifJPEGTagInfo : public NUV_JPEGInfo, public NUV_ExifAttributes {
public:
    explicit NUV_ExifJPEGTagInfo(NUV_Manager& manager) noexcept
        : NUV_JPEGInfo(manager),
          NUV_ExifAttributes(manager)
    {}

    // False without a status for a JPEG stream that has no such segment or is not conforming; with
    // NUV_ERR_BROKEN_DATA or NUV_ERR_UNSUPPORTED for one whose directories cannot be read. Damage
    // that costs tags alone is NUV_WARN_INVALID_DATA.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

protected:
    // The stream is of the kind that is wanted: here any.
    [[nodiscard]] virtual bool is_conforming() const noexcept { return true; }

private:
    [[nodiscard]] bool load_exif();
    // The bytes behind the identifier of the first Exif segment.
    [[nodiscard]] std::optional<std::span<const std::uint8_t>> exif_structure() const noexcept;
};

// Such a stream of the form that Exif has for its primary image (Exif 2.2, 4.4 and 4.7): sequential
// luma and chroma of 8 bits, chroma for 1, 2 x 1, 2 x 2 or 1 x 2 pixels.
class NUV_ExifJPEGInfo final : public NUV_ExifJPEGTagInfo {
public:
    using NUV_ExifJPEGTagInfo::NUV_ExifJPEGTagInfo;

    [[nodiscard]] const char* format_name() const noexcept override { return "exif_jpeg"; }

protected:
    [[nodiscard]] bool is_conforming() const noexcept override;
};

} // namespace nuv
