#include "core/dib/source/nuv_storedlines.h"

#include "framework/io/nuv_checkedstream.h"
#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

// Stays in the second cache beside the lines that it becomes.
constexpr std::uint64_t usual_band_bytes = std::uint64_t{1} << 17;

constexpr std::uint32_t zeros_behind = 3; // to a pixel of 4 bytes of which one is there

} // namespace

bool NUV_StoredLines::initiate(NUV_Manager& manager, NUV_InputStorage& storage,
                               const NUV_Shape& shape)
{
    storage_ = &storage;
    shape_ = shape;
    start_ = storage.position();
    stored_bytes_ = remaining_bytes(storage);
    step_bytes_ = (std::uint64_t{shape.line_bytes} + 3) & ~std::uint64_t{3};
    band_lines_ = 0;
    const std::uint64_t wanted = std::max(usual_band_bytes, step_bytes_);
    band_capacity_ = static_cast<std::uint32_t>(std::min(wanted, stored_bytes_));
    return band_.allocate(manager, std::size_t{band_capacity_} + zeros_behind);
}

NUV_StoredLine NUV_StoredLines::line(std::uint32_t number)
{
    if (number < band_begin_ || number - band_begin_ >= band_lines_)
        load_band(number);
    passed_lines_ = 0;
    const auto position = static_cast<std::int64_t>(step_bytes_ * number) + start_;
    if (!is_band_reached_ || position > last_stream_position)
        return {.position = position};
    const std::uint64_t offset = step_bytes_ * (number - band_begin_);
    const std::uint64_t there = offset < band_bytes_ ? band_bytes_ - offset : 0;
    const auto bytes =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(there, shape_.line_bytes));
    return {.data = bytes > 0 ? band_.data() + offset : band_.data(),
            .bytes = bytes,
            .position = position,
            .is_reached = true,
            .is_padded = there >= step_bytes_};
}

bool NUV_StoredLines::pass_over(std::uint32_t number) noexcept
{
    if (step_bytes_ * (std::uint64_t{number} + 1) > stored_bytes_)
        return false;
    ++passed_lines_;
    return true;
}

// Lines that lie behind the end of the storage cost no call of it. Where the next line that is
// looked at would not stand in the same band, the one at hand is read alone.
void NUV_StoredLines::load_band(std::uint32_t number)
{
    const std::uint64_t in_band = band_capacity_ / step_bytes_;
    const bool is_alone = passed_lines_ >= in_band;
    const auto most = static_cast<std::uint32_t>(
        std::max<std::uint64_t>(is_alone ? 1 : std::min<std::uint64_t>(in_band, shape_.lines), 1));
    if (shape_.is_upward) {
        band_begin_ = number >= most ? number + 1 - most : 0;
        band_lines_ = number + 1 - band_begin_;
    } else {
        band_begin_ = number;
        band_lines_ = std::min(most, shape_.lines - number);
    }
    const std::uint64_t offset = step_bytes_ * band_begin_;
    band_bytes_ = 0;
    is_band_reached_ = true;
    if (offset >= stored_bytes_)
        return;
    const std::uint64_t wanted = std::min(step_bytes_ * band_lines_, stored_bytes_ - offset);
    is_band_reached_ = seek(start_ + static_cast<std::int64_t>(offset));
    if (!is_band_reached_)
        return;
    band_bytes_ =
        read_up_to(*storage_, band_.data(),
                   static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, band_capacity_)));
    std::memset(band_.data() + band_bytes_, 0, zeros_behind);
}

bool NUV_StoredLines::seek(std::int64_t position)
{
    if (storage_->position() == position)
        return true;
    return storage_->to(static_cast<std::int32_t>(position)) && storage_->position() == position;
}

} // namespace nuv
