#include "core/rotate/nuv_rotate90.h"
#include "core/rotate/source/nuv_rotate90engines.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>

namespace nuv {

Rotate90Block::Rotate90Block(std::int32_t angle, std::size_t pixel_bytes, const NUV_Cpu& cpu)
    : angle_(angle),
      pixel_bytes_(pixel_bytes),
      tile_form_(choose_rotate90tile(cpu, pixel_bytes)),
      mirror_row_(choose_mirror_row(cpu, pixel_bytes))
{}

void Rotate90Block::rotate(const NUV_Rotate90Band& band) const
{
    // So many source lines at a time that the pieces of output lines fill cache lines, while one
    // cache line of each source line stays near for the columns that follow.
    constexpr std::uint32_t tile_rows = 32;
    const bool is_clockwise = angle_ == 90;
    const auto src_step = static_cast<std::ptrdiff_t>(band.src_step);
    const auto plane_step = static_cast<std::ptrdiff_t>(band.plane_step);
    for (std::uint32_t row = 0, rows = 0; row < band.rows; row += rows) {
        rows = std::min(tile_rows, band.rows - row);
        // Clockwise the last source line becomes the left column, and the left column the first
        // line; the other way it is the first line, and the right column.
        const std::uint32_t from = is_clockwise ? row + rows - 1 : row;
        const std::size_t column =
            is_clockwise ? band.height - 1 - (band.first_row + from) : band.first_row + from;
        const std::size_t line = is_clockwise ? 0 : band.width - 1;
        tile_form_({.in = band.src + from * band.src_step,
                    .out = band.plane + line * band.plane_step + column * pixel_bytes_,
                    .in_step = is_clockwise ? -src_step : src_step,
                    .out_step = is_clockwise ? plane_step : -plane_step,
                    .width = band.width,
                    .rows = rows},
                   pixel_bytes_);
    }
}

template <class T>
bool NUV_Rotate90_8xNEngine<T>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                         NUV_DstBuffer* dst, std::int32_t angle,
                                         std::uint32_t block)
{
    const NUV_Angle wanted(angle);

    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    const bool is_integer = header->data_type() == NUV_DataType::u_integer ||
                            header->data_type() == NUV_DataType::s_integer;
    if (!header->is_raw() || header->bits() != 8 * sizeof(T) || !is_integer)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (block == 0 || !wanted.is_quarter_turn())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    rotate_block_ =
        Rotate90Block(wanted.normalized(), sizeof(T) * header->channels(), manager().cpu());
    return prepare(wanted, block, initiate_method);
}

NUV_Engine* NUV_Rotate90_8xN::engine(NUV_Engine* previous, std::int32_t angle, std::uint32_t block)
{
    constexpr auto method = "NUV_Rotate90_8xN::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    if (NUV_Angle(angle).is_whole_turn())
        return previous;
    // Whatever the samples mean, their bytes move.
    return visit_sample_type(
        unsigned_samples, NUV_DataType::u_integer, previous->header()->bits(),
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_Rotate90_8xNEngine<T>>(*previous, angle, block);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
