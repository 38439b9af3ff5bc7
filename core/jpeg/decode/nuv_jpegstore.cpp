#include "core/jpeg/decode/nuv_jpegstore.h"

#include <algorithm>
#include <limits>

namespace nuv {

NUV_JPEGCode check_stored_size(std::uint64_t line_bytes, std::uint64_t lines,
                               std::uint64_t stored_bytes, std::uint64_t units,
                               std::int64_t stream_bytes) noexcept
{
    constexpr std::uint64_t always_granted = std::uint64_t{256} << 20;
    constexpr std::uint64_t most_units_per_byte = 512;

    if (line_bytes * lines > std::numeric_limits<std::uint32_t>::max())
        return NUV_JPEGCode::unsupported;
    const std::uint64_t least_bytes = units / most_units_per_byte;
    const bool is_credible =
        stream_bytes > 0 && static_cast<std::uint64_t>(stream_bytes) >= least_bytes;
    return stored_bytes <= always_granted || is_credible ? NUV_JPEGCode::good
                                                         : NUV_JPEGCode::read_failed;
}

NUV_JPEGCode NUV_JPEGStore::open(const NUV_JPEGAllocator& allocator,
                                 const NUV_JPEGGeometry& geometry, bool is_progressive,
                                 std::int64_t stream_bytes) noexcept
{
    constexpr std::size_t block_bytes = jpeg_block_size * sizeof(std::int16_t);
    constexpr std::size_t alignment = 64; // bytes: a block is two lines of the cache

    std::uint64_t blocks = 0;
    for (std::size_t i = 0; i < geometry.components; ++i) {
        const NUV_JPEGPlane& plane = geometry.planes[i];
        planes_[i] = {blocks, plane.blocks_across};
        blocks += std::uint64_t{plane.blocks_across} * plane.blocks_down;
    }
    const std::uint64_t line_bytes = std::uint64_t{geometry.width} * geometry.components;
    const NUV_JPEGCode code =
        check_stored_size(line_bytes, geometry.height, blocks * block_bytes, blocks, stream_bytes);
    if (!is_good(code))
        return code;
    if (!memory_.allocate(allocator, blocks * jpeg_block_size + alignment / 2) ||
        (is_progressive && !masks_.allocate(allocator, blocks)))
        return NUV_JPEGCode::no_memory;
    std::ranges::fill(memory_.items(), std::int16_t{0});
    std::ranges::fill(masks_.items(), std::uint64_t{0});

    const std::size_t misalignment = reinterpret_cast<std::uintptr_t>(memory_.data()) % alignment;
    blocks_ = memory_.data() + (alignment - misalignment) % alignment / 2;
    return NUV_JPEGCode::good;
}

void NUV_JPEGStore::close() noexcept
{
    memory_.free();
    masks_.free();
}

} // namespace nuv
