#include "core/rotate/nuv_rotate90.h"
#include "core/rotate/source/nuv_rotate90engines.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/base/nuv_version.h"

namespace nuv {
namespace {

template <int PixelBytes>
[[nodiscard]] Rotate90Block block_for(std::int32_t angle)
{
    switch (angle) {
    case 90:
        return rotate90block_8xn<PixelBytes, true>;
    case 270:
        return rotate90block_8xn<PixelBytes, false>;
    default:
        return rotate90block_8xn_180<PixelBytes>;
    }
}

} // namespace

Rotate90Block choose_rotate90block_8xn(std::int32_t angle, std::size_t pixel_bytes)
{
    switch (pixel_bytes) {
    case 1:
        return block_for<1>(angle);
    case 2:
        return block_for<2>(angle);
    case 3:
        return block_for<3>(angle);
    case 4:
        return block_for<4>(angle);
    case 6:
        return block_for<6>(angle);
    case 8:
        return block_for<8>(angle);
    default:
        return block_for<0>(angle);
    }
}

template <class T>
bool NUV_Rotate90_8xNEngine<T>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                         NUV_DstBuffer* dst, std::int32_t angle,
                                         std::uint32_t block)
{
    constexpr auto method = "NUV_Rotate90_8xNEngine::initiate()";
    const NUV_Angle wanted(angle);

    if (!compatible_version(NUV_VERSION))
        return fail(manager(), NUV_ERR_VERSION, method);
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    const bool is_integer = header->data_type() == NUV_DataType::u_integer ||
                            header->data_type() == NUV_DataType::s_integer;
    if (!header->is_raw() || header->bits() != 8 * sizeof(T) || !is_integer)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (block == 0 || !wanted.is_quarter_turn())
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    pixel_bytes_ = sizeof(T) * header->channels();
    rotate_block_ = choose_rotate90block_8xn(wanted.normalized(), pixel_bytes_);
    return prepare(wanted, block, method);
}

NUV_Engine* NUV_Rotate90_8xN::engine(NUV_Engine* previous, std::int32_t angle, std::uint32_t block)
{
    constexpr auto method = "NUV_Rotate90_8xN::engine()";

    if (!previous || !previous->header())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (NUV_Angle(angle).is_whole_turn())
        return previous;
    switch (previous->header()->bits()) {
    case 8:
        return append_new<NUV_Rotate90_8xNEngine<std::uint8_t>>(*previous, angle, block);
    case 16:
        return append_new<NUV_Rotate90_8xNEngine<std::uint16_t>>(*previous, angle, block);
    default:
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    }
}

} // namespace nuv
