#include "core/dib/source/nuv_readdibrawengine.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

// A field without a bit inside the pixel is nothing.
[[nodiscard]] NUV_BitFields bit_fields_of(const NUV_BitmapInfoHeader& stored) noexcept
{
    if (stored.compression != NUV_BitmapInfoHeader::bit_fields) {
        if (stored.bit_count == 16) // five bits each, at the top of a byte
            return {.masks = {0x7C00, 0x03E0, 0x001F}, .right = {7, 2, 0}, .left = {0, 0, 3}};
        return {.masks = {0xFF0000, 0x00FF00, 0x0000FF}, .right = {16, 8, 0}, .left = {}};
    }
    const std::uint32_t pixel = stored.bit_count == 16 ? 0xFFFF : 0xFFFFFFFF;
    NUV_BitFields fields{
        .masks = {stored.red_mask, stored.green_mask, stored.blue_mask}, .right = {}, .left = {}};
    for (std::size_t c = 0; c < 3; ++c) {
        fields.masks[c] &= pixel;
        if (fields.masks[c] != 0)
            fields.right[c] = static_cast<std::uint32_t>(std::countr_zero(fields.masks[c]));
    }
    return fields;
}

} // namespace

bool NUV_ReadDIBRawEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                    NUV_DstBuffer* dst, const NUV_BitmapInfoHeader* stored)
{
    pixel_bits_ = std::uint32_t{header->channels()} * header->bits();
    constexpr std::uint32_t longest = last_stream_position;
    constexpr std::uint32_t longest_stored = longest & ~3U; // with what fills it up
    const auto stored_line_bytes = checked_stored_line_bytes(stored->bit_count, header->width());
    const auto line_bytes = checked_stored_line_bytes(pixel_bits_, header->width());
    if (!stored_line_bytes || *stored_line_bytes > longest_stored || !line_bytes ||
        *line_bytes > longest)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method,
                    NUV_Diagnosis()
                        .because(NUV_Cause::limit)
                        .says("lines of %u pixels of %u bits", header->width(),
                              unsigned{stored->bit_count}));
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    bit_count_ = stored->bit_count;
    bottom_up_ = stored->height > 0;
    stored_line_bytes_ = *stored_line_bytes;
    line_bytes_ = *line_bytes;
    fields_ = bit_fields_of(*stored);
    convert_row_ = choose_dib_row(manager().cpu(), bit_count_, header->bits(), fields_);
    return lines_.initiate(manager(), *storage,
                           {stored_line_bytes_, header->height(), bottom_up_}) &&
           dst->block_bytes(line_bytes_);
}

bool NUV_ReadDIBRawEngine::execute()
{
    const std::uint32_t height = header_.height();
    if (line_ >= height)
        return false;
    const std::uint32_t number = bottom_up_ ? height - 1 - line_ : line_;
    if (dst_buffer_->is_passed_over() && lines_.pass_over(number)) {
        ++line_;
        return dst_buffer_->deliver_unseen();
    }
    NUV_OutputBlock out(*dst_buffer_);
    if (!out) {
        if (line_ + 1 < height)
            fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadDIBRawEngine::execute()");
        return false;
    }
    const NUV_StoredLine line = lines_.line(number);
    warn_of(line);
    convert(line, out.as<std::uint8_t>());
    ++line_;
    return out.commit(line_bytes_);
}

bool NUV_ReadDIBRawEngine::cleanup()
{
    lines_.release();
    return NUV_ReadEngine::cleanup();
}

void NUV_ReadDIBRawEngine::warn_of(const NUV_StoredLine& line)
{
    if (line.is_padded)
        return;
    const char* method = "NUV_ReadDIBRawEngine::execute() - can't skip";
    if (!line.is_reached)
        method = "NUV_ReadDIBRawEngine::execute() - can't seek";
    else if (line.bytes < stored_line_bytes_)
        method = "NUV_ReadDIBRawEngine::execute() - can't read";
    // Without a text, which would take longer than a short line.
    warn(manager(), NUV_WARN_BROKEN_DATA, method,
         NUV_Diagnosis().at_byte(line.position).on_line(line_));
}

// Missing bytes are read as zeros, which are zeros in every form: only pixels that at least begin
// in the storage are converted.
void NUV_ReadDIBRawEngine::convert(const NUV_StoredLine& line, std::uint8_t* out) const
{
    const std::uint64_t begun = (std::uint64_t{line.bytes} * 8 + bit_count_ - 1) / bit_count_;
    const std::uint64_t pixels = std::min<std::uint64_t>(begun, header_.width());
    const auto made = static_cast<std::size_t>((pixels * pixel_bits_ + 7) / 8);
    if (pixels > 0)
        convert_row_(line.data, out, static_cast<std::size_t>(pixels), fields_);
    std::memset(out + made, 0, line_bytes_ - made);
}

} // namespace nuv
