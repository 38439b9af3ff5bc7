#pragma once

#include "core/rotate/source/nuv_angle.h"
#include "framework/engine/nuv_processengine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// One band of the source, and the plane that its pixels go to. Steps are in bytes.
struct NUV_Rotate90Band {
    const std::uint8_t* src = nullptr; // the band's first line
    std::uint8_t* plane = nullptr;
    std::size_t src_step = 0;
    std::size_t plane_step = 0;
    std::uint32_t width = 0;     // of the source image, in pixels
    std::uint32_t height = 0;    // of the source image, in lines
    std::uint32_t first_row = 0; // of the band
    std::uint32_t rows = 0;
};

// The frame of the raw rotations. For quarter turns the source comes in bands of lines, and the
// output is one block. For half turns it is the other way round, the source one block and the
// output lines: a source that stands in memory anyway, or an output that may, needs no second place
// then.
class NUV_Rotate90PlaneEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    // Of a plane that is no line, which has memory of its own until it is turned.
    [[nodiscard]] bool delivers_what_it_writes() const override
    {
        return is_half_ || header_.height() > 1;
    }
    [[nodiscard]] bool execute() override;

protected:
    // Behind the base's initiate() and the own tests. A source block is `block` lines, or the image
    // when that is lower. NUV_ERR_UNSUPPORTED under `method` when the plane passes 32-bit sizes.
    [[nodiscard]] bool prepare(NUV_Angle angle, std::uint32_t block, const char* method);

    static constexpr std::size_t most_bands = 8;

    // Makes the output line that is this source line from right to left.
    virtual void turn_line(const std::uint8_t* in, std::uint8_t* out) const = 0;
    // Quarter turns: writes all that some bands contribute. They come from the top of the image, as
    // many at a time as bands_at_once() says, all but the image's last with the same number of
    // lines.
    virtual void rotate(std::span<const NUV_Rotate90Band> bands) = 0;
    // At most most_bands.
    [[nodiscard]] virtual std::size_t bands_at_once() const = 0;

    std::uint32_t src_width_ = 0;
    std::uint32_t src_height_ = 0;
    std::size_t src_line_bytes_ = 0;

private:
    [[nodiscard]] bool turn_next_line();
    [[nodiscard]] bool rotate_all(std::uint8_t* plane);
    [[nodiscard]] bool rotate_some(std::uint8_t* plane);

    bool is_half_ = false;
    const std::uint8_t* source_ = nullptr; // of a half turn, held for the run
    std::uint32_t block_ = 0;              // lines of a band
    std::uint32_t row_ = 0;                // lines done
    std::uint32_t plane_bytes_ = 0;
};

} // namespace nuv
