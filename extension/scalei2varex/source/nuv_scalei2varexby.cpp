#include "extension/scalei2varex/nuv_scalei2varexby.h"

#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "extension/scalefast/nuv_scaleppfastby.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2utility/nuv_scalei2arithmetic.h"
#include "extension/scalei2utility/nuv_scalei2mask.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "extension/scalei2varex/nuv_scaleccfastby.h"
#include "extension/scalei2varex/nuv_scalelifastby.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace nuv {
namespace {

constexpr std::uint16_t no_limit = 0;

// What an axis asks for.
enum class Axis { enlarge, shrink, shrink_far };

[[nodiscard]] Axis axis_of(double ratio) noexcept
{
    if (ratio >= 1)
        return Axis::enlarge;
    return ratio >= scale_i2_least_ratio ? Axis::shrink : Axis::shrink_far;
}

// Below 33 percent, so that twice the size is still smaller than the source.
[[nodiscard]] std::uint32_t twice_if_far(Axis axis, std::uint32_t size, std::uint32_t source)
{
    return axis == Axis::shrink_far ? 2 * size : source;
}

} // namespace

template <RealNumber R>
NUV_Engine* NUV_ScaleI2VARExBy<R>::engine(NUV_Engine* previous, std::uint32_t width,
                                          std::uint32_t height)
{
    return engine(previous, width, height, -0.75, no_limit);
}

template <RealNumber R>
NUV_Engine* NUV_ScaleI2VARExBy<R>::engine(NUV_Engine* previous, double ratio_x, double ratio_y,
                                          double a, std::uint16_t bits)
{
    if (!this->accepts_image(previous, "NUV_ScaleI2VARExBy::engine()"))
        return nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    if (!this->ratio_to_size(previous->header(), ratio_x, ratio_y, width, height))
        return nullptr;
    return engine(previous, width, height, a, bits);
}

template <RealNumber R>
NUV_Engine* NUV_ScaleI2VARExBy<R>::engine(NUV_Engine* previous, std::uint32_t width,
                                          std::uint32_t height, double a, std::uint16_t bits)
{
    constexpr auto method = "NUV_ScaleI2VARExBy::engine()";

    steps_.fill('\0');
    if (!this->accepts(previous, width, height, method))
        return nullptr;
    const NUV_Header& source = *previous->header();
    if (!limits_bits(source, bits) && width == source.width() && height == source.height())
        return previous;
    if (!has_scale_i2_samples(source))
        return fail(this->manager(), NUV_ERR_UNSUPPORTED, method);
    if (!takes_scale_i2(source)) {
        add_step("cubic");
        return NUV_ScaleCCFastBy<R>(this->manager()).engine(previous, width, height, a, bits);
    }
    if (width < scale_i2_least_size || height < scale_i2_least_size)
        return route_tiny(previous, width, height, a, bits);
    return route(previous, width, height, a, bits);
}

template <RealNumber R>
void NUV_ScaleI2VARExBy<R>::add_step(const char* name) noexcept
{
    const std::size_t used = std::strlen(steps_.data());
    std::snprintf(steps_.data() + used, steps_.size() - used, "%s%s", used != 0 ? ", " : "", name);
}

template <RealNumber R>
NUV_Engine* NUV_ScaleI2VARExBy<R>::route(NUV_Engine* previous, std::uint32_t width,
                                         std::uint32_t height, double a, std::uint16_t bits)
{
    const NUV_Header& source = *previous->header();
    const std::uint32_t source_width = source.width();
    const std::uint32_t source_height = source.height();
    const double ratio_x = static_cast<double>(width) / source_width;
    const double ratio_y = static_cast<double>(height) / source_height;
    const Axis x = axis_of(ratio_x);
    const Axis y = axis_of(ratio_y);
    const auto a_float = static_cast<float>(a);

    if (x == Axis::shrink_far && y == Axis::shrink_far && is_same_ratio(ratio_x, ratio_y)) {
        add_step("area and mask at once");
        return NUV_ScaleI2(this->manager()).engine(previous, width, height, a_float, bits);
    }

    NUV_Engine* last = previous;
    if (x == Axis::shrink_far || y == Axis::shrink_far) {
        add_step("area");
        last = NUV_ScalePPFastBy<R>(this->manager())
                   .engine(last, twice_if_far(x, width, source_width),
                           twice_if_far(y, height, source_height));
        if (!last)
            return nullptr;
    }
    const bool enlarges = x == Axis::enlarge || y == Axis::enlarge;
    if (x != Axis::enlarge || y != Axis::enlarge) {
        add_step("mask");
        last = NUV_ScaleI2VAR(this->manager())
                   .engine(last, x == Axis::enlarge ? source_width : width,
                           y == Axis::enlarge ? source_height : height, a_float,
                           enlarges ? no_limit : bits);
    }
    if (!last || !enlarges)
        return last;
    add_step("cubic");
    return NUV_ScaleCCFastBy<R>(this->manager()).engine(last, width, height, a, bits);
}

// The mask makes 8 pixels where fewer are wanted, and linear interpolation the rest. It cannot
// shrink far; the area can, all the way.
template <RealNumber R>
NUV_Engine* NUV_ScaleI2VARExBy<R>::route_tiny(NUV_Engine* previous, std::uint32_t width,
                                              std::uint32_t height, double a, std::uint16_t bits)
{
    const NUV_Header& source = *previous->header();
    const bool is_far = axis_of(static_cast<double>(width) / source.width()) == Axis::shrink_far ||
                        axis_of(static_cast<double>(height) / source.height()) == Axis::shrink_far;
    if (is_far) {
        add_step("area");
        NUV_Engine* last = NUV_ScalePPFastBy<R>(this->manager()).engine(previous, width, height);
        if (!last || !limits_bits(*last->header(), bits))
            return last;
        return NUV_LimitPixelValue(this->manager())
            .engine(last, (std::int32_t{1} << bits) - 1, std::int32_t{0});
    }
    add_step("mask");
    NUV_Engine* last =
        NUV_ScaleI2VAR(this->manager())
            .engine(previous, std::max(width, scale_i2_least_size),
                    std::max(height, scale_i2_least_size), static_cast<float>(a), bits);
    if (!last)
        return nullptr;
    add_step("linear");
    return NUV_ScaleLIFastBy<R>(this->manager()).engine(last, width, height);
}

template class NUV_ScaleI2VARExBy<NUV_FixedReal>;
template class NUV_ScaleI2VARExBy<double>;

} // namespace nuv
