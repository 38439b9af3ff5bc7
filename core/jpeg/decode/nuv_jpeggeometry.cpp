#include "core/jpeg/decode/nuv_jpeggeometry.h"

#include <algorithm>

namespace nuv {
namespace {

constexpr std::uint32_t block_side = 8;

constexpr std::uint32_t divide_up(std::uint32_t value, std::uint32_t by) noexcept
{
    return (value + by - 1) / by;
}

// What a component has and what the output needs of it in the same stretch: one is a multiple of
// the other.
void settle_ratio(std::uint32_t has, std::uint32_t needs, std::uint32_t& repeat,
                  std::uint32_t& step) noexcept
{
    repeat = std::max(needs / has, 1U);
    step = std::max(has / needs, 1U);
}

} // namespace

NUV_JPEGGeometry NUV_JPEGGeometry::of(const NUV_JPEGFrame& frame, std::uint32_t scale) noexcept
{
    NUV_JPEGGeometry geometry;
    geometry.components = frame.components;
    std::uint32_t most_across = 1;
    std::uint32_t most_down = 1;
    for (std::size_t i = 0; frame.components > 1 && i < frame.components; ++i) {
        NUV_JPEGPlane& plane = geometry.planes[i];
        plane.horizontal = frame.component[i].horizontal;
        plane.vertical = frame.component[i].vertical;
        most_across = std::max(most_across, plane.horizontal);
        most_down = std::max(most_down, plane.vertical);
    }

    const std::uint32_t reduced_side = block_side / scale;
    geometry.width = divide_up(frame.width, scale);
    geometry.height = divide_up(frame.height, scale);
    geometry.mcus_across = divide_up(frame.width, block_side * most_across);
    geometry.mcus_down = divide_up(frame.height, block_side * most_down);
    geometry.mcu_height = reduced_side * most_down;
    geometry.stored_mcu_height = block_side * most_down;
    for (std::size_t i = 0; i < frame.components; ++i) {
        NUV_JPEGPlane& plane = geometry.planes[i];
        plane.blocks_across = geometry.mcus_across * plane.horizontal;
        plane.blocks_down = geometry.mcus_down * plane.vertical;
        // T.81, A.1.1 and A.2.2.
        plane.scan_blocks_across =
            divide_up(divide_up(frame.width * plane.horizontal, most_across), block_side);
        plane.scan_blocks_down =
            divide_up(divide_up(frame.height * plane.vertical, most_down), block_side);
        // A component with fewer samples gets along with less reduction.
        const bool is_subsampled = plane.horizontal < most_across || plane.vertical < most_down;
        plane.side = is_subsampled ? std::min(2 * reduced_side, block_side) : reduced_side;
        settle_ratio(plane.horizontal * plane.side, most_across * reduced_side, plane.repeat_across,
                     plane.step_across);
        settle_ratio(plane.vertical * plane.side, most_down * reduced_side, plane.repeat_down,
                     plane.step_down);
    }
    return geometry;
}

bool is_decoded_sampling(std::uint32_t key, bool is_progressive) noexcept
{
    switch (key) {
    case 0x111111:
    case 0x211111:
    case 0x221111:
    case 0x411111:
    case 0x121111:
    case 0x421111:
    case 0x241111:
    case 0x141111:
    case 0x11111111:
        return true;
    case 0x222121:
    case 0x221212:
    case 0x412121:
    case 0x141212:
    case 0x442222:
    case 0x22111122:
        return !is_progressive;
    default:
        return false;
    }
}

bool is_reducible_sampling(std::uint32_t key) noexcept
{
    return key == jpeg_sampling_444 || key == jpeg_sampling_422 || key == jpeg_sampling_420 ||
           key == jpeg_sampling_411;
}

} // namespace nuv
