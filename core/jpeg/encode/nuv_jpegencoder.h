#pragma once

#include "core/jpeg/encode/nuv_jpeglosslessencoder.h"
#include "core/jpeg/encode/nuv_jpegsequentialencoder.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegframe.h"
#include "core/jpeg/stream/nuv_jpegmarkers.h"
#include "core/jpeg/stream/nuv_jpegoutput.h"

#include <cstdint>
#include <span>

namespace nuv {

// Writes one picture, line by line: baseline sequential with the standard Huffman tables, or
// lossless. The calls in order: open_coder, create, set_format, set_lossless for that kind,
// start_encode, write_line for each line, finish. The coding is that of one of two processes. It
// holds one MCU row of pixels, which is a line of a lossless picture, and its coded bytes; all
// memory is taken in start_encode.
class NUV_JPEGEncoder {
public:
    using SourceColor = NUV_JPEGSequentialEncoder::SourceColor;

    NUV_JPEGEncoder() = default;
    NUV_JPEGEncoder(const NUV_JPEGEncoder&) = delete;
    NUV_JPEGEncoder& operator=(const NUV_JPEGEncoder&) = delete;

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

    void settle_restart_interval(std::uint32_t& restart_interval) noexcept;
    [[nodiscard]] NUV_JPEGCode start_process() noexcept;
    [[nodiscard]] NUV_JPEGCode correct_height(std::int32_t position) noexcept;

    NUV_JPEGAllocator allocator_;
    NUV_JPEGOutput output_;
    const NUV_JPEGPrimitives* primitives_ = nullptr;
    State state_ = State::closed;
    bool write_failed_ = false;
    std::uint32_t lines_ = 0; // written so far

    NUV_JPEGFrame frame_;
    std::uint32_t quality_ = 0;
    SourceColor source_color_ = SourceColor::components;
    NUV_JPEGLosslessTable lossless_table_ = NUV_JPEGLosslessTable::standard;
    NUV_JPEGMarkerList markers_;

    NUV_JPEGSequentialEncoder sequential_;
    NUV_JPEGLosslessEncoder lossless_;
    NUV_JPEGEncodingProcess* process_ = nullptr; // the one of the two that is started
};

} // namespace nuv
