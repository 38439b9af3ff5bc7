#pragma once

#include "core/jpeg/stream/nuv_jpegframe.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// How the blocks of one component make up its part of the picture.
struct NUV_JPEGPlane {
    std::uint32_t horizontal = 1; // blocks of an MCU across
    std::uint32_t vertical = 1;   // and down
    // Blocks of the whole picture in MCUs, those beyond its edges included.
    std::uint32_t blocks_across = 0;
    std::uint32_t blocks_down = 0;
    // Blocks that a scan of this component alone has.
    std::uint32_t scan_blocks_across = 0;
    std::uint32_t scan_blocks_down = 0;
    // Samples of a block's side when it is transformed: 8, or fewer at a reduced size.
    std::uint32_t side = 8;
    // How often a sample stands in the output, or of how many samples one does.
    std::uint32_t repeat_across = 1;
    std::uint32_t repeat_down = 1;
    std::uint32_t step_across = 1;
    std::uint32_t step_down = 1;
};

// How the MCUs of a frame make up the picture (T.81, A.1 and A.2). A single component counts as
// 1 x 1, whatever its factors are.
struct NUV_JPEGGeometry {
    std::size_t components = 0;
    std::array<NUV_JPEGPlane, jpeg_most_components> planes;
    std::uint32_t mcus_across = 0;
    std::uint32_t mcus_down = 0;
    // Of the output, in pixels and lines.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t mcu_height = 0;
    // Of the stored picture.
    std::uint32_t stored_mcu_height = 0;

    // Rows of units that `lines` lines of the stored picture take: MCUs, or blocks of a component
    // that is alone in its scan and has `vertical` of them down in an MCU.
    [[nodiscard]] std::uint32_t unit_rows_of(std::uint32_t lines,
                                             std::uint32_t vertical) const noexcept
    {
        const std::uint64_t parts = std::uint64_t{lines} * vertical;
        return static_cast<std::uint32_t>((parts + stored_mcu_height - 1) / stored_mcu_height);
    }
    // For a picture at 1 / `scale` of its size: 1, 2, 4 or 8. The frame has a width, a height and
    // factors that the decoder accepts.
    [[nodiscard]] static NUV_JPEGGeometry of(const NUV_JPEGFrame& frame,
                                             std::uint32_t scale) noexcept;
};

// Whether pictures of this sampling are decoded.
[[nodiscard]] bool is_decoded_sampling(std::uint32_t key, bool is_progressive) noexcept;
// Whether they are decoded at a reduced size.
[[nodiscard]] bool is_reducible_sampling(std::uint32_t key) noexcept;

} // namespace nuv
