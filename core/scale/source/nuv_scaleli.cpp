#include "core/scale/nuv_scaleli.h"

#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaless.h"

namespace nuv {

NUV_Engine* NUV_ScaleLI::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                bool use_fixed_real)
{
    if (!accepts(previous, width, height, "NUV_ScaleLI::engine()"))
        return nullptr;
    const NUV_Header& source = *previous->header();
    if (height < source.height() && width < source.width()) {
        const NUV_NearestRatio x(scale_ratio(source.width(), width));
        const NUV_NearestRatio y(scale_ratio(source.height(), height));
        // The point to interpolate at then lies on a pixel.
        const bool on_pixels = x.exact && y.exact && x.is_odd() && y.is_odd();
        if (on_pixels && (source.bits() == 8 || source.bits() == 16)) {
            return NUV_ScaleSS(manager()).engine(previous, x.value, y.value, x.value >> 1,
                                                 y.value >> 1);
        }
        return NUV_ScaleShrinkLI(manager()).engine(previous, width, height, use_fixed_real);
    }
    return in_order(
        previous, height,
        [&](NUV_Engine* last) {
            return NUV_ScaleWidthLI(manager()).engine(last, width, use_fixed_real);
        },
        [&](NUV_Engine* last) {
            return NUV_ScaleHeightLI(manager()).engine(last, height, use_fixed_real);
        });
}

} // namespace nuv
