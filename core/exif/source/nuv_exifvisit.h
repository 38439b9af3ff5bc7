#pragma once

#include "core/exif/nuv_exifattributes.h"

#include <cstdint>
#include <type_traits>

namespace nuv {

// Visits the attributes of a record in the order of reading, `bool visit(std::uint16_t number,
// pointer to the member)`, until one visit is false.
template <class Record, class Visit>
[[nodiscard]] bool visit_tags(Visit visit)
{
#define NUV_EXIF_TAG(kind, number, attribute) &&visit(std::uint16_t{number}, &Record::attribute)
    if constexpr (std::is_same_v<Record, NUV_ExifTIFFAttributes>) {
        return true
#include "core/exif/nuv_exiftifftags.inc"
            ;
    } else if constexpr (std::is_same_v<Record, NUV_ExifIFDAttributes>) {
        return true
#include "core/exif/nuv_exififdtags.inc"
            ;
    } else if constexpr (std::is_same_v<Record, NUV_ExifGPSAttributes>) {
        return true
#include "core/exif/nuv_exifgpstags.inc"
            ;
    } else {
        static_assert(std::is_same_v<Record, NUV_ExifInteroperabilityAttributes>);
        return true
#include "core/exif/nuv_exifinteroperabilitytags.inc"
            ;
    }
#undef NUV_EXIF_TAG
}

} // namespace nuv
