#pragma once

#include "core/jpeg/decode/nuv_jpeggeometry.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegmemory.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Refuses what a header claims beyond all reason, before memory is taken for it:
// NUV_JPEGCode::unsupported for a picture of `line_bytes` x `lines` that 32-bit sizes cannot hold;
// NUV_JPEGCode::read_failed for more than 256 MiB of `stored_bytes` out of a stream of fewer than
// `units` / 512 bytes.
[[nodiscard]] NUV_JPEGCode check_stored_size(std::uint64_t line_bytes, std::uint64_t lines,
                                             std::uint64_t stored_bytes, std::uint64_t units,
                                             std::int64_t stream_bytes) noexcept;

// The coefficients of a whole picture, in natural order; all 0 at first, and no block occupied.
class NUV_JPEGStore {
public:
    // `stream_bytes` of coded data are to come.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator,
                                    const NUV_JPEGGeometry& geometry,
                                    std::int64_t stream_bytes) noexcept;
    void close() noexcept;

    // Block (x, y) of a component; the blocks to its right follow.
    [[nodiscard]] std::int16_t* block(std::size_t component, std::size_t x,
                                      std::size_t y) const noexcept
    {
        const Plane& plane = planes_[component];
        return plane.blocks + (y * plane.blocks_across + x) * jpeg_block_size;
    }
    // Whether a block has coefficients behind the first one, for the decoder of scans to keep: 0 or
    // 1, and those of the blocks to the right follow.
    [[nodiscard]] std::uint8_t* occupied(std::size_t component, std::size_t x,
                                         std::size_t y) const noexcept
    {
        const Plane& plane = planes_[component];
        return plane.occupied + y * plane.blocks_across + x;
    }

private:
    struct Plane {
        std::int16_t* blocks = nullptr;
        std::uint8_t* occupied = nullptr;
        std::size_t blocks_across = 0;
    };

    std::array<Plane, jpeg_most_components> planes_;
    NUV_JPEGMemory<std::int16_t> memory_;
    NUV_JPEGMemory<std::uint8_t> occupied_;
};

} // namespace nuv
