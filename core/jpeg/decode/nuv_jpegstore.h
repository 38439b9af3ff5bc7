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

// The coefficients of a whole picture, in natural order; all 0 at first.
class NUV_JPEGStore {
public:
    // `stream_bytes` of coded data are to come.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator,
                                    const NUV_JPEGGeometry& geometry, bool is_progressive,
                                    std::int64_t stream_bytes) noexcept;
    void close() noexcept;

    // Block (x, y) of a component; the blocks to its right follow.
    [[nodiscard]] std::int16_t* block(std::size_t component, std::size_t x,
                                      std::size_t y) const noexcept
    {
        return blocks_ + number_of(component, x, y) * jpeg_block_size;
    }
    // Of a progressive picture: which coefficients of a block behind the first are not 0, for the
    // decoder of scans to keep. A bit for each by its index in zig-zag order, and those of the
    // blocks to the right follow.
    [[nodiscard]] std::uint64_t* mask(std::size_t component, std::size_t x,
                                      std::size_t y) const noexcept
    {
        return masks_.data() + number_of(component, x, y);
    }

private:
    struct Plane {
        std::size_t first = 0; // block
        std::size_t blocks_across = 0;
    };

    [[nodiscard]] std::size_t number_of(std::size_t component, std::size_t x,
                                        std::size_t y) const noexcept
    {
        const Plane& plane = planes_[component];
        return plane.first + y * plane.blocks_across + x;
    }

    std::array<Plane, jpeg_most_components> planes_;
    std::int16_t* blocks_ = nullptr;
    NUV_JPEGMemory<std::int16_t> memory_;
    NUV_JPEGMemory<std::uint64_t> masks_;
};

} // namespace nuv
