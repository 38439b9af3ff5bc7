#include "core/scale/nuv_scalepp.h"

#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scalenn.h"

namespace nuv {

NUV_Engine* NUV_ScalePPAxis::repeat(NUV_Engine* previous, Axis axis, std::uint32_t size)
{
    return axis == Axis::width ? NUV_ScaleWidthNN(manager()).engine(previous, size)
                               : NUV_ScaleHeightNN(manager()).engine(previous, size);
}

NUV_Engine* NUV_ScalePPAxis::average(NUV_Engine* previous, Axis axis, std::uint32_t size)
{
    return axis == Axis::width ? NUV_ScaleWidthIAR(manager()).engine(previous, size)
                               : NUV_ScaleHeightIAR(manager()).engine(previous, size);
}

NUV_Engine* NUV_ScalePP::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                bool use_fixed_real)
{
    if (!accepts(previous, width, height, "NUV_ScalePP::engine()"))
        return nullptr;
    return in_order(
        previous, height,
        [&](NUV_Engine* last) {
            return NUV_ScaleWidthPP(manager()).engine(last, width, use_fixed_real);
        },
        [&](NUV_Engine* last) {
            return NUV_ScaleHeightPP(manager()).engine(last, height, use_fixed_real);
        });
}

NUV_Engine* NUV_ScaleWidthPP::engine(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real)
{
    return route(
        previous, Axis::width, width, "NUV_ScaleWidthPP::engine()",
        [&] { return NUV_ScaleWidthPPE(manager()).engine(previous, width, use_fixed_real); },
        [&] { return NUV_ScaleWidthPPR(manager()).engine(previous, width, use_fixed_real); });
}

NUV_Engine* NUV_ScaleHeightPP::engine(NUV_Engine* previous, std::uint32_t height,
                                      bool use_fixed_real)
{
    return route(
        previous, Axis::height, height, "NUV_ScaleHeightPP::engine()",
        [&] { return NUV_ScaleHeightPPE(manager()).engine(previous, height, use_fixed_real); },
        [&] { return NUV_ScaleHeightPPR(manager()).engine(previous, height, use_fixed_real); });
}

} // namespace nuv
