#include "core/rotate/source/nuv_rotate90plane.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <optional>

namespace nuv {

bool NUV_Rotate90PlaneEngine::prepare(NUV_Angle angle, std::uint32_t block, const char* method)
{
    src_width_ = header_.width();
    src_height_ = header_.height();
    src_line_bytes_ = header_.line_bytes();
    block_ = std::min(block, src_height_);
    const auto band_bytes = checked_product(header_.line_bytes(), block_);
    if (angle.exchanges_sides()) {
        header_.width(src_height_);
        header_.height(src_width_);
    }
    const auto plane_bytes = header_.checked_plane_bytes();
    if (!band_bytes || !plane_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    plane_bytes_ = *plane_bytes;
    is_half_ = !angle.exchanges_sides();
    if (is_half_)
        return src_buffer_->block_bytes(plane_bytes_) &&
               dst_buffer_->block_bytes(header_.line_bytes());
    return src_buffer_->block_bytes(*band_bytes) && dst_buffer_->block_bytes(plane_bytes_);
}

bool NUV_Rotate90PlaneEngine::execute()
{
    if (row_ >= src_height_)
        return false;
    if (is_half_)
        return turn_next_line();
    NUV_OutputBlock plane(*dst_buffer_);
    return plane && rotate_all(plane.as<std::uint8_t>()) && plane.commit(plane_bytes_);
}

bool NUV_Rotate90PlaneEngine::turn_next_line()
{
    if (row_ == 0)
        source_ = static_cast<const std::uint8_t*>(src_buffer_->get(nullptr));
    if (!source_)
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    ++row_;
    turn_line(source_ + (src_height_ - row_) * src_line_bytes_, out.as<std::uint8_t>());
    return out.commit(header_.line_bytes());
}

bool NUV_Rotate90PlaneEngine::rotate_all(std::uint8_t* plane)
{
    while (row_ < src_height_) {
        if (!rotate_some(plane))
            return false;
    }
    return true;
}

// Bands are held until they are turned, and then released one after the other.
bool NUV_Rotate90PlaneEngine::rotate_some(std::uint8_t* plane)
{
    std::array<NUV_Rotate90Band, most_bands> bands;
    std::array<std::optional<NUV_InputBlock>, most_bands> blocks;
    const std::size_t wanted = bands_at_once();
    std::size_t held = 0;
    bool is_whole = true;
    while (is_whole && held < wanted && row_ < src_height_) {
        const std::uint32_t rows = std::min(block_, src_height_ - row_);
        std::uint32_t count = 0;
        const NUV_InputBlock& in = blocks[held].emplace(*src_buffer_, nullptr, &count);
        is_whole = in && count == rows * src_line_bytes_;
        if (!in)
            break;
        bands[held++] = {.src = in.as<std::uint8_t>(),
                         .plane = plane,
                         .src_step = src_line_bytes_,
                         .plane_step = header_.line_bytes(),
                         .width = src_width_,
                         .height = src_height_,
                         .first_row = row_,
                         .rows = rows};
        row_ += rows;
    }
    if (!is_whole)
        return false;
    rotate(std::span(bands).first(held));
    for (auto& block : std::span(blocks).first(held))
        is_whole = block->release() && is_whole;
    return is_whole;
}

} // namespace nuv
