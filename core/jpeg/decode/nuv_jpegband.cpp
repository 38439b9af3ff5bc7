#include "core/jpeg/decode/nuv_jpegband.h"

#include "core/jpeg/kernels/nuv_jpegtransform.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

constexpr std::uint8_t middle_level = 0x80;
constexpr std::size_t alignment = 32;

constexpr std::size_t round_up(std::size_t bytes) noexcept
{
    return (bytes + alignment - 1) / alignment * alignment;
}

void repeat(const std::uint8_t* in, std::uint8_t* out, std::size_t count,
            std::size_t times) noexcept
{
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < times; ++k)
            out[times * i + k] = in[i];
    }
}

void thin_out(const std::uint8_t* in, std::uint8_t* out, std::size_t count,
              std::size_t step) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = in[step * i];
}

// What both passes of the inverse transform make of a block that is flat.
void put_flat_block(std::int16_t dc, std::int16_t factor, std::uint8_t* out,
                    std::size_t stride) noexcept
{
    const std::int32_t first = saturate_to_16_bits(4 * saturate_to_16_bits(dc * factor));
    const std::uint64_t sample = deliver_sample((first + 16) >> 5);
    const std::uint64_t row = sample * 0x0101010101010101U;
    for (std::size_t y = 0; y < 8; ++y)
        std::memcpy(out + stride * y, &row, sizeof(row));
}

} // namespace

NUV_JPEGCode NUV_JPEGBand::open(const NUV_JPEGAllocator& allocator,
                                const NUV_JPEGGeometry& geometry, std::size_t first,
                                std::size_t delivered, const NUV_JPEGSampleForms& forms) noexcept
{
    geometry_ = geometry;
    first_ = first;
    delivered_ = delivered;
    forms_ = &forms;

    std::array<std::size_t, jpeg_most_components> sample_bytes{};
    std::array<std::size_t, jpeg_most_components> wide_bytes{};
    std::size_t total = alignment;
    for (std::size_t i = first_; i < first_ + delivered_; ++i) {
        const NUV_JPEGPlane& plane = geometry_.planes[i];
        rows_[i].side = plane.side;
        rows_[i].stride = round_up(std::size_t{plane.blocks_across} * plane.side);
        sample_bytes[i] = rows_[i].stride * plane.side * plane.vertical;
        if (plane.repeat_across > 1 || plane.step_across > 1)
            wide_bytes[i] = rows_[i].stride * plane.repeat_across;
        total += sample_bytes[i] + wide_bytes[i];
    }
    if (!memory_.allocate(allocator, total))
        return NUV_JPEGCode::no_memory;
    std::memset(memory_.data(), middle_level, total);

    const std::size_t misalignment = reinterpret_cast<std::uintptr_t>(memory_.data()) % alignment;
    std::uint8_t* next = memory_.data() + (alignment - misalignment) % alignment;
    for (std::size_t i = first_; i < first_ + delivered_; ++i) {
        rows_[i].samples = next;
        next += sample_bytes[i];
        rows_[i].wide = wide_bytes[i] != 0 ? next : nullptr;
        next += wide_bytes[i];
    }
    return NUV_JPEGCode::good;
}

void NUV_JPEGBand::close() noexcept
{
    memory_.free();
    rows_ = {};
}

void NUV_JPEGBand::put_block(std::size_t component, std::size_t across, std::size_t down,
                             const std::int16_t* coefficients, const NUV_JPEGFactors& factors,
                             std::uint32_t reached) noexcept
{
    const Rows& rows = rows_[component];
    std::uint8_t* const out = place(rows, across, down);
    if (rows.side == 8) [[likely]] {
        if (reached <= 1)
            put_flat_block(coefficients[0], factors[0], out, rows.stride);
        else if (reached <= jpeg_short_block)
            forms_->short_block_to_samples(coefficients, factors.data(), out, rows.stride);
        else
            forms_->block_to_samples(coefficients, factors.data(), out, rows.stride);
        return;
    }
    std::int16_t samples[16];
    reduced_idct(coefficients, factors.data(), rows.side, samples);
    put_samples(samples, rows.side, out, rows.stride);
}

void NUV_JPEGBand::put_sample_block(std::size_t component, std::size_t across, std::size_t down,
                                    const std::int16_t* samples) noexcept
{
    const Rows& rows = rows_[component];
    put_samples(samples, 8, place(rows, across, down), rows.stride);
}

const std::uint8_t* NUV_JPEGBand::stored_line(std::size_t component,
                                              std::size_t line) const noexcept
{
    const NUV_JPEGPlane& plane = geometry_.planes[component];
    const std::size_t row = line / plane.repeat_down * plane.step_down;
    return rows_[component].samples + row * rows_[component].stride;
}

// Of the width of the picture.
const std::uint8_t* NUV_JPEGBand::wide_line(std::size_t component, std::size_t line) const noexcept
{
    const Rows& rows = rows_[component];
    const NUV_JPEGPlane& plane = geometry_.planes[component];
    const std::uint8_t* const samples = stored_line(component, line);
    if (rows.wide == nullptr)
        return samples;

    const std::size_t repeats = plane.repeat_across;
    const std::size_t count = (geometry_.width + repeats - 1) / repeats;
    if (plane.step_across > 1) {
        thin_out(samples, rows.wide, geometry_.width, plane.step_across);
    } else if (repeats == 2) {
        forms_->repeat_twice(samples, rows.wide, count);
    } else {
        repeat(samples, rows.wide, count, repeats);
    }
    return rows.wide;
}

void NUV_JPEGBand::get_line(std::size_t line, std::uint8_t* out) const noexcept
{
    std::array<const std::uint8_t*, jpeg_most_components> lines{};
    for (std::size_t i = 0; i < delivered_; ++i)
        lines[i] = wide_line(first_ + i, line);
    switch (delivered_) {
    case 1:
        std::memcpy(out, lines[0], geometry_.width);
        break;
    case 3:
        forms_->interleave_3(lines.data(), out, geometry_.width);
        break;
    default:
        forms_->interleave_4(lines.data(), out, geometry_.width);
        break;
    }
}

bool NUV_JPEGBand::has_half_planes() const noexcept
{
    const auto repeats = [&](std::size_t i, std::uint32_t times) {
        return geometry_.planes[i].repeat_across == times && geometry_.planes[i].step_across == 1;
    };
    return delivered_ == 3 && repeats(0, 1) && repeats(1, 2) && repeats(2, 2);
}

void NUV_JPEGBand::get_planes(std::size_t line, std::uint8_t* out) const noexcept
{
    for (std::size_t i = 0; i < delivered_; ++i) {
        const std::size_t repeats = geometry_.planes[i].repeat_across;
        std::memcpy(out + i * geometry_.width, stored_line(i, line),
                    (geometry_.width + repeats - 1) / repeats);
    }
}

} // namespace nuv
