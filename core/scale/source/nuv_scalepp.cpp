#include "core/scale/nuv_scalepp.h"

#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scalenn.h"

namespace nuv {

NUV_ScalePPRoute scale_pp_route(std::uint32_t source, std::uint32_t destination) noexcept
{
    if (source == destination)
        return NUV_ScalePPRoute::unchanged;
    if (source == 1)
        return NUV_ScalePPRoute::nearest;
    if (source < destination)
        return NUV_ScalePPRoute::enlarge;
    return source % destination == 0 ? NUV_ScalePPRoute::average : NUV_ScalePPRoute::reduce;
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
    if (!accepts(previous, width, "NUV_ScaleWidthPP::engine()"))
        return nullptr;
    switch (scale_pp_route(previous->header()->width(), width)) {
    case NUV_ScalePPRoute::nearest:
        return NUV_ScaleWidthNN(manager()).engine(previous, width);
    case NUV_ScalePPRoute::enlarge:
        return NUV_ScaleWidthPPE(manager()).engine(previous, width, use_fixed_real);
    case NUV_ScalePPRoute::average:
        return NUV_ScaleWidthIAR(manager()).engine(previous, width);
    case NUV_ScalePPRoute::reduce:
        return NUV_ScaleWidthPPR(manager()).engine(previous, width, use_fixed_real);
    case NUV_ScalePPRoute::unchanged:
        break;
    }
    return previous;
}

NUV_Engine* NUV_ScaleHeightPP::engine(NUV_Engine* previous, std::uint32_t height,
                                      bool use_fixed_real)
{
    if (!accepts(previous, height, "NUV_ScaleHeightPP::engine()"))
        return nullptr;
    switch (scale_pp_route(previous->header()->height(), height)) {
    case NUV_ScalePPRoute::nearest:
        return NUV_ScaleHeightNN(manager()).engine(previous, height);
    case NUV_ScalePPRoute::enlarge:
        return NUV_ScaleHeightPPE(manager()).engine(previous, height, use_fixed_real);
    case NUV_ScalePPRoute::average:
        return NUV_ScaleHeightIAR(manager()).engine(previous, height);
    case NUV_ScalePPRoute::reduce:
        return NUV_ScaleHeightPPR(manager()).engine(previous, height, use_fixed_real);
    case NUV_ScalePPRoute::unchanged:
        break;
    }
    return previous;
}

} // namespace nuv
