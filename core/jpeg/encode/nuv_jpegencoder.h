#pragma once

#include "core/jpeg/encode/nuv_jpeglosslessencoder.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegframe.h"
#include "core/jpeg/stream/nuv_jpegmarkers.h"
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

// Writes one picture, line by line: baseline sequential with the standard Huffman tables, or
// lossless. The calls in order: open_coder, create, set_format, set_lossless for that kind,
// start_encode, write_line for each line, finish. It holds one MCU row of pixels, which is a line
// of a lossless picture, and its coded bytes; all memory is taken in start_encode.
class NUV_JPEGEncoder {
public:
    // What the samples of three components are.
    enum class SourceColor {
        components, // coded as they come
        rgb,        // converted to YCbCr, but for 4:1:1, which keeps and marks them as RGB
    };

    NUV_JPEGEncoder() = default;
    NUV_JPEGEncoder(const NUV_JPEGEncoder&) = delete;
    NUV_JPEGEncoder& operator=(const NUV_JPEGEncoder&) = delete;
    ~NUV_JPEGEncoder() { free_memory(); }

    // The allocator must outlive the coder.
    [[nodiscard]] NUV_JPEGCode open_coder(const NUV_JPEGAllocator& allocator) noexcept;
    // The forms of the primitives are those that `cpu` runs fastest.
    [[nodiscard]] NUV_JPEGCode create(const NUV_JPEGOutput& output, const NUV_Cpu& cpu) noexcept;

    // Width 1 to 65535 pixels, height 1 to 65535 lines or 0 for one that finish() finds out; 1 or
    // 3 components; precision 2 to 16 bits; a key of the four that are written (which a single
    // component ignores); quality 0 to 100. Else NUV_JPEGCode::bad_parameter.
    [[nodiscard]] NUV_JPEGCode set_format(std::uint32_t width, std::uint32_t height,
                                          std::uint32_t components, std::uint32_t bits,
                                          std::uint32_t key, std::uint32_t quality) noexcept;
    // Makes the picture a lossless one, whatever the key and the quality. It keeps its samples: no
    // colours are converted, and no markers are added. NUV_JPEGCode::wrong_state but between
    // set_format and start_encode.
    [[nodiscard]] NUV_JPEGCode set_lossless(NUV_JPEGLosslessTable table) noexcept;
    // To be called before start_encode; components unless it is.
    void set_source_color(SourceColor color) noexcept { source_color_ = color; }
    // A segment for the header, APP0 to APP15, JPG0 to JPG13 or COM, of at most 65533 bytes.
    [[nodiscard]] NUV_JPEGCode add_marker(std::uint8_t id,
                                          std::span<const std::uint8_t> payload) noexcept;

    // Writes the header. `restart_interval` counts MCUs; 0 stands for one MCU row. It is set to
    // what is used: 0, for none, when it is above 65535 or when the picture has no more MCUs.
    // The MCU of a lossless picture is a pixel. NUV_JPEGCode::wrong_state before set_format,
    // NUV_JPEGCode::bad_parameter for samples that are not of 8 bits (or 16, lossless) and for an
    // interval of a lossless picture that is not whole lines, NUV_JPEGCode::no_memory,
    // NUV_JPEGCode::io.
    [[nodiscard]] NUV_JPEGCode start_encode(std::uint32_t& restart_interval) noexcept;

    // Where the coder keeps the next line: width x components samples, for a caller that can put
    // its line there itself. Null when there is no next line.
    [[nodiscard]] std::uint8_t* next_line() noexcept;
    // `line` may be next_line(). The last line closes the stream. NUV_JPEGCode::wrong_state before
    // start_encode, NUV_JPEGCode::too_many_lines beyond the height, NUV_JPEGCode::io for a write
    // that failed, now or earlier; the stream then stays cut.
    [[nodiscard]] NUV_JPEGCode write_line(const void* line) noexcept;

    // Closes a stream that got some lines but not all, and corrects its height. Frees the buffers
    // in any case; a second call does nothing.
    [[nodiscard]] NUV_JPEGCode finish() noexcept;

private:
    enum class State : std::uint8_t { closed = 0, formatted = 1, encoding = 2 };

    // A block of the MCU and what codes it.
    struct BlockSlot {
        std::int16_t* block;
        const std::uint16_t* inverses;
        const NUV_JPEGEncodeTable* dc_table;
        const NUV_JPEGWideEncodeTable* ac_table;
        std::int16_t* previous_dc;
    };

    static constexpr std::size_t most_blocks = 6; // of an MCU: 2 x 2, 1 and 1, or 4, 1 and 1
    static constexpr std::size_t most_tables = 2; // luma and chroma

    [[nodiscard]] bool is_lossless() const noexcept
    {
        return frame_.start_marker == jpeg_marker_sof3;
    }
    [[nodiscard]] NUV_JPEGCode start_lossless(std::uint32_t& restart_interval) noexcept;
    [[nodiscard]] NUV_JPEGCode encode_lossless_line() noexcept;

    void set_geometry() noexcept;
    void settle_restart_interval(std::uint32_t& restart_interval) noexcept;
    void choose_conversion(std::uint32_t key) noexcept;
    [[nodiscard]] bool allocate_memory() noexcept;
    void free_memory() noexcept;
    [[nodiscard]] bool build_tables() noexcept;
    void lay_out_slots() noexcept;
    [[nodiscard]] NUV_JPEGCode write_header() noexcept;
    [[nodiscard]] NUV_JPEGCode write_stored_markers() noexcept;

    void pad_line(std::uint8_t* line) const noexcept;
    [[nodiscard]] NUV_JPEGCode encode_mcu_row() noexcept;
    [[nodiscard]] NUV_JPEGCode encode_mcus(const std::uint8_t* pixels, std::size_t count) noexcept;
    [[nodiscard]] NUV_JPEGCode put_restart() noexcept;
    [[nodiscard]] NUV_JPEGCode flush_bits() noexcept;
    void put_coded_marker(std::uint8_t id) noexcept;
    [[nodiscard]] NUV_JPEGCode close_stream() noexcept;
    [[nodiscard]] NUV_JPEGCode correct_height() noexcept;
    [[nodiscard]] NUV_JPEGCode write(std::span<const std::uint8_t> bytes) noexcept;
    [[nodiscard]] NUV_JPEGCode write_coded() noexcept;

    NUV_JPEGAllocator allocator_;
    NUV_JPEGOutput output_;
    const NUV_JPEGPrimitives* primitives_ = nullptr;
    State state_ = State::closed;
    bool write_failed_ = false;

    NUV_JPEGFrame frame_;
    std::uint32_t quality_ = 0;
    std::uint32_t sampling_ = jpeg_sampling_444;
    SourceColor source_color_ = SourceColor::components;
    NUV_JPEGMarkerList markers_;
    std::int32_t height_position_ = 0; // of the SOF's height, in the storage

    NUV_JPEGLosslessTable lossless_table_ = NUV_JPEGLosslessTable::standard;
    NUV_JPEGLosslessEncoder lossless_;

    NUV_JPEGPrimitives::PixelsToBlocks pixels_to_blocks_ = nullptr;
    std::size_t mcu_width_ = 0;  // pixels
    std::size_t mcu_height_ = 0; // lines
    std::size_t mcus_per_row_ = 0;
    std::size_t line_bytes_ = 0; // without padding
    std::size_t row_step_ = 0;   // bytes of a line padded to whole MCUs

    void* memory_ = nullptr; // what the three that follow are parts of
    std::int16_t* blocks_ = nullptr;
    std::int16_t* second_block_ = nullptr; // the first one of the second component
    std::int16_t* third_block_ = nullptr;
    std::uint8_t* row_ = nullptr; // mcu_height_ lines
    std::span<std::uint8_t> coded_;
    std::int32_t coded_bytes_ = 0;

    std::uint32_t lines_ = 0;    // written so far
    std::size_t open_lines_ = 0; // of the MCU row
    std::uint32_t mcus_to_restart_ = 0;
    std::uint8_t restart_number_ = 0; // of the next RST

    std::size_t slot_count_ = 0;
    std::array<BlockSlot, most_blocks> slots_{};
    std::array<std::array<std::uint16_t, jpeg_block_size>, most_tables> inverses_{};
    std::array<NUV_JPEGQuantisers, most_tables> quantisers_{};
    std::array<NUV_JPEGEncodeTable, most_tables> dc_tables_{};
    std::array<NUV_JPEGWideEncodeTable, most_tables> ac_tables_{};
    NUV_JPEGEncodeState bits_{};
};

} // namespace nuv
