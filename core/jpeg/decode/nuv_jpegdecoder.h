#pragma once

#include "core/jpeg/decode/nuv_jpegband.h"
#include "core/jpeg/decode/nuv_jpeggeometry.h"
#include "core/jpeg/decode/nuv_jpeglosslessdecoder.h"
#include "core/jpeg/decode/nuv_jpegsequential.h"
#include "core/jpeg/decode/nuv_jpegstoredscans.h"
#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegheader.h"
#include "core/jpeg/stream/nuv_jpeginput.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace nuv {

// What the components of a picture are.
enum class NUV_JPEGColor : std::uint32_t {
    s_rgb = 1,
    ycbcr = 2,
    itu_lab = 3,
    gray = 4,
    gray_reverse = 5,
    lstar = 6,
    cmyk = 7,
    cmy = 8,
    icc_lab = 9,
    not_set = 99999,
};

// 0 when that is not known.
[[nodiscard]] std::size_t jpeg_components_of(NUV_JPEGColor color) noexcept;

// Reads one JPEG stream: baseline and progressive pictures of 8 bits, lossless ones of 2 to 16,
// all with Huffman codes. The calls in order: open, read_header, start_decode, read_line for each
// line. A sequential picture of one scan takes the memory of one row of MCUs; others that of all
// their coefficients or samples. All memory is taken in open and start_decode.
class NUV_JPEGDecoder {
public:
    NUV_JPEGDecoder() = default;
    NUV_JPEGDecoder(const NUV_JPEGDecoder&) = delete;
    NUV_JPEGDecoder& operator=(const NUV_JPEGDecoder&) = delete;

    // The allocator and the storage must outlive the decoder; the stream begins where the storage
    // stands. The forms of the kernels are those that `cpu` runs fastest.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator,
                                    const NUV_JPEGSource& source, const NUV_Cpu& cpu) noexcept;

    // Everything up to the first scan, behind whose header the storage then stands. `tables`, which
    // may be null, are those that the stream may lack. The codes are those of NUV_JPEGHeader.
    [[nodiscard]] NUV_JPEGCode read_header(const NUV_JPEGStoredTables* tables) noexcept;
    // The same for a stream of tables alone.
    [[nodiscard]] NUV_JPEGCode read_tables() noexcept;
    [[nodiscard]] const NUV_JPEGHeader& header() const noexcept { return header_; }

    // Before start_decode:
    //
    // The colour to deliver. The file's own is not looked for: three components that are not
    // lossless count as YCbCr. Only RGB from YCbCr is a conversion, at full size for a sequential
    // picture in one scan, sampled 4:4:4, 4:2:2 or 4:2:0.
    void set_output_color(NUV_JPEGColor color) noexcept { output_color_ = color; }
    [[nodiscard]] NUV_JPEGColor output_color() const noexcept { return output_color_; }
    // 1, 2, 4 or 8: the size is divided by it.
    void set_scale(std::uint32_t scale) noexcept { scale_ = scale; }
    // One component alone, by its index; -1 for all.
    void set_component_filter(std::int32_t component) noexcept { component_filter_ = component; }
    // The first component alone, where it is a luminance.
    void set_luminance_only(bool wanted) noexcept { luminance_only_ = wanted; }
    // For a stream without restart interval whose scans begin anew after so many lines, with or
    // without a restart marker between; 0 for one that does not.
    void set_restart_rows(std::uint32_t rows) noexcept { restart_rows_ = rows; }
    // Where a sequential picture has its Huffman tables: they are built anew only where they differ
    // from those of the picture before. They outlive the decoder; null for its own.
    void set_tables(NUV_JPEGScanTables* tables) noexcept { tables_ = tables; }
    // Of a picture that is not lossless, what read_line() calls a failure for its data is only
    // damage, and costs no more than its restart interval.
    void set_mends(bool wanted) noexcept { mends_ = wanted; }

    // NUV_JPEGCode::wrong_state unless a header with a scan has just been read,
    // NUV_JPEGCode::unsupported, NUV_JPEGCode::bad_parameter for settings that do not go together
    // or not with this stream, NUV_JPEGCode::bad_segment for missing tables,
    // NUV_JPEGCode::read_failed for a picture far beyond what the data can hold,
    // NUV_JPEGCode::no_memory.
    [[nodiscard]] NUV_JPEGCode start_decode() noexcept;

    // Of what is delivered; valid after start_decode.
    [[nodiscard]] std::uint32_t width() const noexcept { return geometry_.width; }
    [[nodiscard]] std::uint32_t height() const noexcept { return geometry_.height; }
    [[nodiscard]] std::size_t components() const noexcept { return delivered_; }
    // Bytes of a sample: 2 for a precision above 8.
    [[nodiscard]] std::size_t sample_bytes() const noexcept
    {
        return header_.frame().precision > 8 ? 2 : 1;
    }

    // The next line, width() x components() samples. NUV_JPEGCode::damaged_lines when something of
    // it is missing: it then shows the row above, or gray. NUV_JPEGCode::wrong_state before
    // start_decode and behind the last line. A failure is the end of the picture.
    //
    // A code that means nothing ends its restart interval where fewer than 16 bits are left in
    // front of the marker, and anyhow in a lossless picture. Elsewhere it is
    // NUV_JPEGCode::read_failed in a picture of one scan; where scans are stored first, it ends the
    // scan, see NUV_JPEGScans, and every line of the picture is damaged.
    //
    // In planes, if it has_half_planes(), the line has its components one after the other, each
    // from width() samples behind the one before on.
    [[nodiscard]] NUV_JPEGCode read_line(std::uint8_t* line, bool in_planes = false) noexcept;
    // Once decoding has started: whether there are three components, and two pixels of a line share
    // a sample of the second and one of the third.
    [[nodiscard]] bool has_half_planes() const noexcept
    {
        return path_ != Path::lossless && band_.has_half_planes();
    }
    // The first line that may be wrong, though nothing of it is missing: data was left behind what
    // it was decoded of. Told once, behind the line with which that is known.
    [[nodiscard]] std::optional<std::uint32_t> take_left_over() noexcept;

    // Gives back all that start_decode has taken.
    void close() noexcept;

private:
    enum class State : std::uint8_t { closed = 0, ready = 1, decoding = 2 };
    enum class Path : std::uint8_t { sequential, stored, lossless };

    [[nodiscard]] NUV_JPEGCode check_frame() const noexcept;
    [[nodiscard]] NUV_JPEGCode choose_output() noexcept;
    [[nodiscard]] bool converts_to_rgb() const noexcept;
    [[nodiscard]] bool can_convert_to_rgb() const noexcept;
    [[nodiscard]] NUV_JPEGCode open_path() noexcept;
    [[nodiscard]] NUV_JPEGCode open_band() noexcept;
    [[nodiscard]] NUV_JPEGCode decode_band() noexcept;

    NUV_JPEGAllocator allocator_;
    NUV_Cpu cpu_;
    NUV_JPEGInput input_;
    NUV_JPEGHeader header_;
    State state_ = State::closed;

    NUV_JPEGColor output_color_ = NUV_JPEGColor::not_set;
    std::uint32_t scale_ = 1;
    std::int32_t component_filter_ = -1;
    bool luminance_only_ = false;
    std::uint32_t restart_rows_ = 0;
    NUV_JPEGScanTables* tables_ = nullptr;
    bool mends_ = false;

    NUV_JPEGGeometry geometry_;
    std::size_t first_ = 0; // component that is delivered
    std::size_t delivered_ = 0;
    Path path_ = Path::sequential;
    NUV_JPEGBand band_;
    NUV_JPEGSequential sequential_;
    NUV_JPEGStoredScans stored_;
    NUV_JPEGLosslessDecoder lossless_;
    std::uint32_t line_ = 0; // of the picture
    std::uint32_t band_line_ = 0;
    NUV_JPEGCode band_code_ = NUV_JPEGCode::good;
};

} // namespace nuv
