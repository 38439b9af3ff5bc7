#pragma once

#include "core/jpeg/decode/nuv_jpegscans.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace nuv {

// Decodes lossless pictures (T.81, Annex H): one interleaved scan line by line; several scans into
// planes of the whole picture first.
class NUV_JPEGLosslessDecoder {
public:
    // The header stands behind the SOS of its first scan, and is read on where there are more. All
    // memory is taken here. `delivered` of the components from `first` on make up the lines.
    // `restart_rows` counts lines, see NUV_JPEGDecoder.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator, NUV_JPEGHeader& header,
                                    NUV_JPEGInput& input, std::size_t first, std::size_t delivered,
                                    std::uint32_t restart_rows, const NUV_Cpu& cpu) noexcept;
    void close() noexcept;

    // The next line: interleaved samples of 8 bits, or of 16 in host order when the precision is
    // above 8. NUV_JPEGCode::damaged_lines for one that is lost; its bytes are 0x80.
    [[nodiscard]] NUV_JPEGCode read_line(std::uint8_t* out) noexcept;
    // The first line of an interval that had data left behind its lines, or of the picture where
    // the scan had that does not go alone; told once.
    [[nodiscard]] std::optional<std::uint32_t> take_left_over() noexcept;

private:
    [[nodiscard]] NUV_JPEGCode begin_scan() noexcept;
    [[nodiscard]] NUV_JPEGCode build_tables() noexcept;
    [[nodiscard]] NUV_JPEGCode decode_scan_to_planes() noexcept;
    [[nodiscard]] NUV_JPEGCode decode_row() noexcept;
    [[nodiscard]] NUV_JPEGCode decode_row_differences() noexcept;
    void reconstruct() noexcept;
    void keep_in_planes(std::uint32_t line) noexcept;
    [[nodiscard]] std::uint16_t* plane_line(std::size_t component, std::uint32_t line) noexcept;
    void deliver(const std::array<const std::uint16_t*, jpeg_most_components>& rows,
                 std::uint32_t shift, std::uint8_t* out) const noexcept;

    NUV_JPEGHeader* header_ = nullptr;
    const NUV_JPEGPrimitives* primitives_ = nullptr;
    std::size_t first_ = 0;
    std::size_t delivered_ = 0;
    std::uint32_t restart_rows_ = 0;
    std::uint32_t line_ = 0;
    bool is_streamed_ = true;
    std::uint32_t interval_seen_ = 0; // that the last row belonged to
    NUV_JPEGScanHeader scan_header_;
    NUV_JPEGMemory<NUV_JPEGDifferenceTable> tables_;
    std::array<const NUV_JPEGDifferenceTable*, jpeg_most_components>
        row_tables_{}; // by place in the scan
    NUV_JPEGScans scans_;
    // By component: the row that is being made (first its differences), and the one above it.
    std::array<std::uint16_t*, jpeg_most_components> rows_{};
    std::array<std::uint16_t*, jpeg_most_components> previous_{};
    NUV_JPEGMemory<std::uint16_t> row_memory_;
    NUV_JPEGMemory<std::uint16_t> planes_; // of all components, one behind the other
};

} // namespace nuv
