#include "core/exif/nuv_exifattributes.h"

#include "core/exif/source/nuv_exifvisit.h"
#include "core/tiff/nuv_tiffresolution.h"

#include <tuple>
#include <utility>

namespace nuv {
namespace {

template <class Record>
void reset(Record& record) noexcept
{
    std::ignore = visit_tags<Record>([&record](std::uint16_t /*number*/, auto attribute) {
        auto& value = record.*attribute;
        if constexpr (requires { value.clear(); })
            value.clear();
        else
            value = {};
        return true;
    });
}

template <class Record>
void swap(Record& left, Record& right) noexcept
{
    std::ignore = visit_tags<Record>([&](std::uint16_t /*number*/, auto attribute) {
        if constexpr (requires { (left.*attribute).swap(right.*attribute); })
            (left.*attribute).swap(right.*attribute);
        else
            std::swap(left.*attribute, right.*attribute);
        return true;
    });
}

template <class Value>
bool is_set(const Value& value) noexcept
{
    if constexpr (requires { value.empty(); })
        return !value.empty();
    else
        return !(value == Value{});
}

} // namespace

NUV_ResolutionInfo NUV_ExifTIFFAttributes::resolution() const noexcept
{
    return tiff_resolution(x_resolution, y_resolution, resolution_unit.value);
}

bool NUV_ExifIFDAttributes::is_empty() const noexcept
{
    return visit_tags<NUV_ExifIFDAttributes>(
        [this](std::uint16_t /*number*/, auto attribute) { return !is_set(this->*attribute); });
}

NUV_ExifAttributes::NUV_ExifAttributes(NUV_Manager& manager) noexcept
    : ifd0(manager),
      exif(manager),
      gps(manager),
      interoperability(manager),
      ifd1(manager)
{}

void NUV_ExifAttributes::reset_attributes() noexcept
{
    reset(ifd0);
    reset(exif);
    reset(gps);
    reset(interoperability);
    reset(ifd1);
}

void NUV_ExifAttributes::swap_attributes(NUV_ExifAttributes& other) noexcept
{
    swap(ifd0, other.ifd0);
    swap(exif, other.exif);
    swap(gps, other.gps);
    swap(interoperability, other.interoperability);
    swap(ifd1, other.ifd1);
}

} // namespace nuv
