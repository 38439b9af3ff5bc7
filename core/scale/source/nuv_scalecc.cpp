#include "core/scale/nuv_scalecc.h"

namespace nuv {

NUV_Engine* NUV_ScaleCC::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                bool use_fixed_real)
{
    return engine(previous, width, height, use_fixed_real, -1.0);
}

NUV_Engine* NUV_ScaleCC::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                bool use_fixed_real, double a)
{
    if (!accepts(previous, width, height, "NUV_ScaleCC::engine()"))
        return nullptr;
    return in_order(
        previous, height,
        [&](NUV_Engine* last) {
            return NUV_ScaleWidthCC(manager()).engine(last, width, use_fixed_real, a);
        },
        [&](NUV_Engine* last) {
            return NUV_ScaleHeightCC(manager()).engine(last, height, use_fixed_real, a);
        });
}

NUV_Engine* NUV_ScaleCC::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                double a)
{
    if (!accepts(previous, width, height, "NUV_ScaleCC::engine()"))
        return nullptr;
    return engine(previous, width, height, previous->header()->bits() <= 8, a);
}

} // namespace nuv
