#pragma once

#include "core/tiff/nuv_tiffimagefiledirectory.h"
#include "framework/base/nuv_resolutioninfo.h"
#include "framework/containers/nuv_basicstring.h"
#include "framework/containers/nuv_vector.h"

#include <cstdint>
#include <type_traits>

namespace nuv {

// A numerator and a denominator; 0/1 where no tag sets it. The denominator may be 0.
template <class T>
using NUV_ExifRational = QDTIFF_Rational_T<T>;

// The kinds of attributes. One that no tag sets is 0, absent or empty.
class NUV_ExifKind {
public:
    using Long = std::uint32_t;
    // A number of 16 bits.
    struct Short {
        static constexpr std::uint32_t absent = 0xFFFFFFFF;

        std::uint32_t value = absent;

        [[nodiscard]] bool operator==(const Short&) const = default;
    };
    using URational = NUV_ExifRational<std::uint32_t>;
    using SRational = NUV_ExifRational<std::int32_t>;
    using Ascii = NUV_BasicString<char>; // without the zero that ends it in the file
    using Bytes = NUV_Vector<std::uint8_t>;
    using Shorts = NUV_Vector<std::uint16_t>;
    using Longs = NUV_Vector<std::uint32_t>;
    using Rationals = NUV_Vector<URational>;

    // An attribute that is not set.
    template <class Kind>
    [[nodiscard]] static Kind unset([[maybe_unused]] NUV_Manager& manager) noexcept
    {
        if constexpr (std::is_constructible_v<Kind, NUV_Manager&>)
            return Kind(manager);
        else
            return Kind();
    }
};

// The tags of a directory are a record: an attribute for each row of its table.
#define NUV_EXIF_TAG(kind, number, attribute)                                                      \
    NUV_ExifKind::kind attribute = NUV_ExifKind::unset<NUV_ExifKind::kind>(manager_);

class NUV_ExifTIFFAttributes {
    NUV_Manager& manager_;

public:
    explicit NUV_ExifTIFFAttributes(NUV_Manager& manager) noexcept : manager_(manager) {}

#include "core/exif/nuv_exiftifftags.inc"

    // Pixels per unit. A resolution without a denominator is the largest number there is.
    [[nodiscard]] NUV_ResolutionInfo resolution() const noexcept;
};

class NUV_ExifIFDAttributes {
    NUV_Manager& manager_;

public:
    explicit NUV_ExifIFDAttributes(NUV_Manager& manager) noexcept : manager_(manager) {}

#include "core/exif/nuv_exififdtags.inc"

    // No attribute is set.
    [[nodiscard]] bool is_empty() const noexcept;
};

class NUV_ExifGPSAttributes {
    NUV_Manager& manager_;

public:
    explicit NUV_ExifGPSAttributes(NUV_Manager& manager) noexcept : manager_(manager) {}

#include "core/exif/nuv_exifgpstags.inc"
};

class NUV_ExifInteroperabilityAttributes {
    NUV_Manager& manager_;

public:
    explicit NUV_ExifInteroperabilityAttributes(NUV_Manager& manager) noexcept : manager_(manager)
    {}

#include "core/exif/nuv_exifinteroperabilitytags.inc"
};
#undef NUV_EXIF_TAG

// What Exif says of a picture (Exif 2.2): copies, which need no storage any more.
class NUV_ExifAttributes {
public:
    explicit NUV_ExifAttributes(NUV_Manager& manager) noexcept;

    NUV_ExifTIFFAttributes ifd0;
    NUV_ExifIFDAttributes exif;
    NUV_ExifGPSAttributes gps;
    NUV_ExifInteroperabilityAttributes interoperability;
    NUV_ExifTIFFAttributes ifd1; // of the thumbnail

    // Nothing is set any more.
    void reset_attributes() noexcept;
    // With those of the same manager.
    void swap_attributes(NUV_ExifAttributes& other) noexcept;
};

} // namespace nuv
