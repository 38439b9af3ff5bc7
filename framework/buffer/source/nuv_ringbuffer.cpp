#include "framework/buffer/nuv_ringbuffer.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace nuv {
namespace {

bool has_byte_samples(const NUV_Header& header) noexcept
{
    if (!header.is_valid() || !header.is_raw())
        return false;
    const std::uint16_t bits = header.bits();
    if (header.data_type() == NUV_DataType::floating)
        return bits == 32 || bits == 64;
    return header.data_type() != NUV_DataType::unknown && (bits == 8 || bits == 16 || bits == 32);
}

template <std::size_t PixelBytes>
void repeat_pixel(std::uint8_t* to, const std::uint8_t* pixel, std::size_t pixels) noexcept
{
    for (std::size_t i = 0; i < pixels; ++i)
        std::memcpy(to + i * PixelBytes, pixel, PixelBytes);
}

void repeat_pixel(std::uint8_t* to, const std::uint8_t* pixel, std::size_t pixels,
                  std::size_t pixel_bytes) noexcept
{
    if (pixel_bytes == 1)
        return repeat_pixel<1>(to, pixel, pixels);
    if (pixel_bytes == 3)
        return repeat_pixel<3>(to, pixel, pixels);
    for (std::size_t i = 0; i < pixels; ++i)
        std::memcpy(to + i * pixel_bytes, pixel, pixel_bytes);
}

} // namespace

bool NUV_RingBuffer::initiate(NUV_SrcBuffer* src, const NUV_Header* header,
                              const NUV_KernelAttr& kernel)
{
    constexpr auto method = "NUV_RingBuffer::initiate()";

    if (!src || !header || kernel.width == 0 || kernel.height == 0 || kernel.x >= kernel.width ||
        kernel.y >= kernel.height)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!has_byte_samples(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    constexpr std::uint64_t limit = std::numeric_limits<std::int32_t>::max();
    const std::uint64_t pixel_bytes = std::uint64_t{header->channels()} * header->bits() / 8;
    const std::uint64_t row_pixels = std::uint64_t{kernel.width} + header->width() - 1;
    if (pixel_bytes > std::numeric_limits<std::uint16_t>::max() ||
        row_pixels > limit / pixel_bytes || row_pixels * pixel_bytes > limit / kernel.height)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    src_ = src;
    width_ = header->width();
    height_ = header->height();
    kernel_ = kernel;
    pixel_bytes_ = static_cast<std::uint32_t>(pixel_bytes);
    left_bytes_ = pixel_bytes_ * kernel.x;
    last_pixel_offset_ = (width_ + kernel.x - 1) * pixel_bytes_;
    row_bytes_ = static_cast<std::uint32_t>(row_pixels) * pixel_bytes_;
    row_count_ = kernel.height;
    origin_y_ = kernel.y;

    if (!memory_.allocate(manager(), std::size_t{row_bytes_} * row_count_) ||
        !rows_.allocate(manager(), row_count_))
        return false;
    for (std::uint32_t i = 0; i < row_count_; ++i)
        rows_[i] = memory_.data() + std::size_t{row_bytes_} * i;
    return src->block_bytes(pixel_bytes_ * width_);
}

bool NUV_RingBuffer::cleanup()
{
    rows_.free();
    memory_.free();
    return true;
}

void NUV_RingBuffer::rotate_rows() noexcept
{
    const auto rows = rows_.items();
    std::rotate(rows.begin(), rows.begin() + 1, rows.end());
}

bool NUV_RingBufferOutlineCopy::advance()
{
    if (lines_read_ > 0) {
        rotate_rows();
        return next_row(row_count_ - 1);
    }
    if (!read_row(row_to_fill(0)))
        return false;
    for (std::uint32_t i = 1; i <= origin_y_; ++i)
        std::memcpy(row_to_fill(i), row_to_fill(0), row_bytes_);
    for (std::uint32_t i = origin_y_ + 1; i < row_count_; ++i) {
        if (!next_row(i))
            return false;
    }
    return true;
}

// The next line of the image in row `index`, or behind the last one a copy of the row before.
bool NUV_RingBufferOutlineCopy::next_row(std::uint32_t index)
{
    if (lines_read_ < height_)
        return read_row(row_to_fill(index));
    if (index > 0)
        std::memcpy(row_to_fill(index), row_to_fill(index - 1), row_bytes_);
    return true;
}

bool NUV_RingBufferOutlineCopy::read_row(std::uint8_t* row)
{
    if (!src_->get(row + left_bytes_, nullptr) || !src_->release())
        return false;
    ++lines_read_;
    fill_margins(row);
    return true;
}

void NUV_RingBufferOutlineCopy::fill_margins(std::uint8_t* row) const noexcept
{
    const std::uint8_t* last = row + last_pixel_offset_;
    repeat_pixel(row, row + left_bytes_, kernel_.x, pixel_bytes_);
    repeat_pixel(row + last_pixel_offset_ + pixel_bytes_, last, kernel_.width - 1 - kernel_.x,
                 pixel_bytes_);
}

} // namespace nuv
