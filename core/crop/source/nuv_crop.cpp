#include "core/crop/nuv_crop.h"

namespace nuv {

NUV_Engine* NUV_Crop::engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t y,
                             std::uint32_t w, std::uint32_t h)
{
    if (!accepts_image(previous, "NUV_Crop::engine()"))
        return nullptr;
    if (previous->header()->encode_type() == NUV_EncodeType::qd_rle)
        return NUV_CropQDRLE(manager()).engine(previous, x, y, w, h);
    NUV_Engine* lines = NUV_CropHeight(manager()).engine(previous, y, h);
    return lines ? NUV_CropWidth(manager()).engine(lines, x, w) : nullptr;
}

} // namespace nuv
