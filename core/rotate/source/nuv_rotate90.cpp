#include "core/rotate/nuv_rotate90.h"

#include "core/rotate/source/nuv_angle.h"

namespace nuv {

NUV_Engine* NUV_Rotate90::engine(NUV_Engine* previous, std::int32_t angle)
{
    constexpr auto method = "NUV_Rotate90::engine()";
    constexpr std::uint32_t lines_of_bytes = 200; // of a band
    constexpr std::uint32_t lines_of_bits = 64;

    if (!accepts_image(previous, method))
        return nullptr;
    if (NUV_Angle(angle).is_whole_turn())
        return previous;
    const NUV_Header& header = *previous->header();
    if (header.bits() != 1)
        return NUV_Rotate90_8xN(manager()).engine(previous, angle, lines_of_bytes);
    if (header.is_raw())
        return NUV_Rotate90_1(manager()).engine(previous, angle, lines_of_bits);
    if (header.encode_type() == NUV_EncodeType::qd_rle)
        return NUV_Rotate90QDRLE(manager()).engine(previous, angle);
    return fail(manager(), NUV_ERR_UNSUPPORTED, method);
}

} // namespace nuv
