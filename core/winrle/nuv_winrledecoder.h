#pragma once

#include "core/include/nuv_codedinput.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Decodes the run-length coding of Windows bitmaps line by line, one byte a pixel, in the order in
// which lines are stored.
//
// Line ends are codes of their own, and a delta moves to a later line and column. The column that a
// delta has still to reach has 8 bits, as in the files' origin.
class WinRLEDecoder {
public:
    using DataInStream = QDCodedInput;

    static constexpr std::uint32_t line_done = 0;
    static constexpr std::uint32_t data_ended = 0x10000000;

    virtual ~WinRLEDecoder() = default;
    WinRLEDecoder(const WinRLEDecoder&) = delete;
    WinRLEDecoder& operator=(const WinRLEDecoder&) = delete;

    // The next line, `width` bytes; what no code sets is 0. line_done; data_ended;
    // NUV_WARN_BROKEN_DATA for a line that is done but has pixels left over, which are dropped;
    // NUV_ERR_ARGUMENT without a line or for a width of 0.
    [[nodiscard]] virtual std::uint32_t decode_line(std::uint8_t* line) = 0;
    // Of the last line: pixels in runs that lie wholly behind its end.
    [[nodiscard]] std::uint64_t dropped_pixels() const noexcept { return dropped_pixels_; }

protected:
    WinRLEDecoder(DataInStream& input, std::uint32_t width) noexcept : input_(input), width_(width)
    {}

    // `fill(to, count, value)` sets a run of pixels, inlined where the count is a constant;
    // `copy(to, count)` reads single ones, with what fills them up, and is false at the end of the
    // data.
    template <class Fill, class Copy>
    [[nodiscard]] std::uint32_t decode(std::uint8_t* line, Fill fill, Copy copy);

    QDCodedCursor input_;

private:
    template <class Fill>
    [[nodiscard]] std::uint32_t fill_short_runs(std::uint8_t* line, std::uint32_t x, Fill fill);
    [[nodiscard]] std::uint32_t drop_rest(std::uint8_t first, std::uint8_t second);

    std::uint32_t width_;
    std::uint64_t dropped_pixels_ = 0;
    std::uint8_t dx_ = 0; // the delta that is still to be applied
    std::uint8_t dy_ = 0;
};

// 8 bits a pixel.
class WinRLE8Decoder final : public WinRLEDecoder {
public:
    WinRLE8Decoder(DataInStream& input, std::uint32_t width) noexcept : WinRLEDecoder(input, width)
    {}
    [[nodiscard]] std::uint32_t decode_line(std::uint8_t* line) override;
};

// 4 bits a pixel, the left one in the high half of a byte.
class WinRLE4Decoder final : public WinRLEDecoder {
public:
    WinRLE4Decoder(DataInStream& input, std::uint32_t width) noexcept : WinRLEDecoder(input, width)
    {}
    [[nodiscard]] std::uint32_t decode_line(std::uint8_t* line) override;
};

} // namespace nuv
