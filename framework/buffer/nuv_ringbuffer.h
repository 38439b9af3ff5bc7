#pragma once

#include "framework/base/nuv_header.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"
#include "framework/buffer/nuv_srcbuffer.h"

#include <cstdint>

namespace nuv {

// The neighbourhood that an operation looks at: `width` x `height` pixels, of which (x, y) is the
// one in the middle of the work.
struct NUV_KernelAttr {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};

// A window of as many lines as the kernel has, over the lines of a source, with room for margins
// on both sides. Samples must be whole bytes. The source stays the caller's, who ends the window
// before it.
class NUV_RingBuffer : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

    // Sets the reader's block to one line. NUV_ERR_ARGUMENT for nulls and a kernel whose origin
    // lies outside it, NUV_ERR_UNSUPPORTED for other samples and for a window above 2 GiB.
    [[nodiscard]] bool initiate(NUV_SrcBuffer* src, const NUV_Header* header,
                                const NUV_KernelAttr& kernel);
    bool cleanup() override;

    // Moves the window down to the next line, at first to line 0. False when a read failed.
    [[nodiscard]] virtual bool advance() = 0;

    // Row `index` of the window, from its left margin on; row kernel.y holds the current line.
    [[nodiscard]] const std::uint8_t* row(std::uint32_t index) const noexcept
    {
        return rows_[index];
    }

protected:
    [[nodiscard]] std::uint8_t* row_to_fill(std::uint32_t index) noexcept { return rows_[index]; }
    void rotate_rows() noexcept;

    std::uint32_t lines_read_ = 0;
    NUV_SrcBuffer* src_ = nullptr;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    std::uint32_t pixel_bytes_ = 0;
    NUV_KernelAttr kernel_;
    std::uint32_t left_bytes_ = 0;        // of the left margin
    std::uint32_t last_pixel_offset_ = 0; // of the last image pixel in a row
    std::uint32_t row_bytes_ = 0;
    std::uint32_t row_count_ = 0;
    std::uint32_t origin_y_ = 0;

private:
    NUV_Scratch<std::uint8_t*> rows_;
    NUV_Scratch<std::uint8_t> memory_;
};

// What lies outside the image is a copy of the nearest pixel.
class NUV_RingBufferOutlineCopy final : public NUV_RingBuffer {
public:
    using NUV_RingBuffer::NUV_RingBuffer;

    [[nodiscard]] bool advance() override;

private:
    [[nodiscard]] bool read_row(std::uint8_t* row);
    void fill_margins(std::uint8_t* row) const noexcept;
    [[nodiscard]] bool next_row(std::uint32_t index);
};

} // namespace nuv
