#pragma once

#include "core/jpeg/encode/nuv_jpegencodingprocess.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegframe.h"
#include "core/jpeg/stream/nuv_jpegmarkers.h"
#include "core/jpeg/stream/nuv_jpegmemory.h"
#include "core/jpeg/stream/nuv_jpegoutput.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// 64 quantisers in zig-zag order, at least 1: the standard table times 2 - quality / 50, so that
// quality 0 doubles it, 50 keeps it and 100 makes it all ones. `base` is in natural order.
[[nodiscard]] NUV_JPEGQuantisers jpeg_quantisers_of_quality(std::span<const std::uint8_t, 64> base,
                                                            std::uint32_t quality) noexcept;

// The baseline sequential process (T.81, F.1): one scan of all components under the standard
// Huffman tables. It holds one MCU row of pixels and its coded bytes; all memory is taken in start.
class NUV_JPEGSequentialEncoder final : public NUV_JPEGEncodingProcess {
public:
    // What the samples of three components are.
    enum class SourceColor : std::uint8_t {
        components, // coded as they come
        rgb,        // converted to YCbCr, but for 4:1:1, which keeps and marks them as RGB
    };
    struct Settings {
        std::uint32_t quality; // 0 to 100
        SourceColor color;
        std::span<const NUV_JPEGMarker> markers; // for the header
    };

    NUV_JPEGSequentialEncoder() = default;

    // `frame` has 1 or 3 components, sampled in one of the four ways that are written. The header
    // is written here. NUV_JPEGCode::bad_parameter for samples that are not of 8 bits,
    // NUV_JPEGCode::no_memory, NUV_JPEGCode::io.
    [[nodiscard]] NUV_JPEGCode start(const NUV_JPEGFrame& frame, const Settings& settings,
                                     const NUV_JPEGAllocator& allocator,
                                     const NUV_JPEGOutput& output,
                                     const NUV_JPEGPrimitives& primitives) noexcept;
    [[nodiscard]] std::uint8_t* next_line() noexcept override;
    [[nodiscard]] NUV_JPEGCode encode_line() noexcept override;
    [[nodiscard]] NUV_JPEGCode close() noexcept override;
    void free_memory() noexcept override;
    [[nodiscard]] std::int32_t height_position() const noexcept override
    {
        return height_position_;
    }

private:
    // MCUs are coded several at a time, so that the transform has whole groups of blocks. In memory
    // those of the first component come first, behind them by turns those of the others.
    static constexpr std::size_t most_blocks = 12; // of a batch of MCUs
    static constexpr std::size_t most_tables = 2;  // luma and chroma

    void set_geometry() noexcept;
    void choose_conversion(SourceColor color) noexcept;
    [[nodiscard]] bool allocate_memory(const NUV_JPEGAllocator& allocator) noexcept;
    [[nodiscard]] bool build_tables(std::uint32_t quality) noexcept;
    void lay_out_blocks() noexcept;
    [[nodiscard]] NUV_JPEGCode write_header(std::span<const NUV_JPEGMarker> markers) noexcept;
    [[nodiscard]] NUV_JPEGCode write_markers(std::span<const NUV_JPEGMarker> markers) noexcept;

    void pad_line(std::uint8_t* line) const noexcept;
    [[nodiscard]] NUV_JPEGCode encode_mcu_row() noexcept;
    [[nodiscard]] NUV_JPEGCode encode_mcus(const std::uint8_t* pixels, std::size_t count) noexcept;
    [[nodiscard]] bool encode_batch(const std::uint8_t* pixels, std::size_t count) noexcept;
    [[nodiscard]] NUV_JPEGCode put_restart() noexcept;
    [[nodiscard]] NUV_JPEGCode flush_bits() noexcept;
    void put_coded_marker(std::uint8_t id) noexcept;
    [[nodiscard]] NUV_JPEGCode write(std::span<const std::uint8_t> bytes) noexcept;
    [[nodiscard]] NUV_JPEGCode write_coded() noexcept;

    NUV_JPEGFrame frame_;
    NUV_JPEGOutput output_;
    const NUV_JPEGPrimitives* primitives_ = nullptr;
    std::int32_t height_position_ = 0; // of the SOF's height, in the storage

    NUV_JPEGPrimitives::PixelsToBlocks pixels_to_blocks_ = nullptr;
    std::size_t mcu_width_ = 0;  // pixels
    std::size_t mcu_height_ = 0; // lines
    std::size_t mcus_per_row_ = 0;
    std::size_t line_bytes_ = 0; // without padding
    std::size_t row_step_ = 0;   // bytes of a line padded to whole MCUs

    NUV_JPEGMemory<std::uint8_t> memory_; // what those that follow are parts of
    std::int16_t* samples_ = nullptr;     // the blocks of a batch
    std::int16_t* coefficients_ = nullptr;
    std::uint8_t* row_ = nullptr; // mcu_height_ lines
    std::span<std::uint8_t> coded_;
    std::size_t coded_bytes_ = 0;

    std::size_t open_lines_ = 0; // of the MCU row
    std::uint32_t mcus_to_restart_ = 0;
    std::uint8_t restart_number_ = 0; // of the next RST

    std::size_t batch_ = 0;                                 // MCUs
    std::size_t first_blocks_ = 0;                          // of an MCU's first component
    std::array<NUV_JPEGBlockToCode, most_blocks> blocks_{}; // in the order of coding
    std::array<std::uint64_t, most_blocks> masks_{};        // in the order of memory
    std::array<std::array<std::uint16_t, jpeg_block_size>, most_tables> inverses_{};
    std::array<NUV_JPEGQuantisers, most_tables> quantisers_{};
    std::array<NUV_JPEGEncodeTable, most_tables> dc_tables_{};
    std::array<NUV_JPEGWideEncodeTable, most_tables> ac_tables_{};
    NUV_JPEGEncodeState bits_{};
};

} // namespace nuv
