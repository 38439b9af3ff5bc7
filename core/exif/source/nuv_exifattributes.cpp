#include "core/exif/nuv_exifattributes.h"

#include "core/exif/source/nuv_exifvisit.h"

#include <limits>
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

double quotient(const NUV_ExifKind::URational& rational) noexcept
{
    return rational.denominator == 0
               ? std::numeric_limits<double>::max()
               : static_cast<double>(rational.numerator) / rational.denominator;
}

} // namespace

NUV_ResolutionInfo NUV_ExifTIFFAttributes::resolution() const noexcept
{
    constexpr std::uint32_t inch = 2; // ResolutionUnit
    constexpr std::uint32_t centimetre = 3;

    NUV_ResolutionInfo info;
    info.x = quotient(x_resolution);
    info.y = quotient(y_resolution);
    info.unit = resolution_unit.value == inch         ? NUV_ResolutionInfo::per_inch
                : resolution_unit.value == centimetre ? NUV_ResolutionInfo::per_centimetre
                                                      : NUV_ResolutionInfo::no_unit;
    return info;
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
