#include "core/storage/nuv_writestorage.h"

#include "core/include/nuv_sampleorder.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/engine/nuv_writeengine.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nuv {
namespace {

constexpr auto execute_method = "NUV_WriteStorageEngine::execute()";

class NUV_WriteStorageEngine final : public NUV_WriteEngine {
public:
    static constexpr auto initiate_method = "NUV_WriteStorageEngine::initiate()";
    using NUV_WriteEngine::NUV_WriteEngine;

    bool cleanup() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                NUV_OutputStorage* storage, std::int32_t offset,
                                std::int32_t line_pad, std::int32_t line_gap,
                                std::int32_t byte_order, bool may_have_room);
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool go_to(std::int32_t offset);
    [[nodiscard]] std::uint8_t* room(std::uint32_t& lines);
    [[nodiscard]] bool get_in(std::uint8_t* room, std::uint32_t lines);
    [[nodiscard]] bool write_in_place();
    [[nodiscard]] bool take(const NUV_InputBlock& line, std::uint32_t got);
    void finish_line(std::uint8_t* line, std::uint32_t bytes) const noexcept;
    [[nodiscard]] bool leave_gap();
    [[nodiscard]] bool write_held();
    [[nodiscard]] bool write_pad();

    std::int32_t line_pad_ = 0;
    std::int32_t line_gap_ = 0;
    std::uint32_t lines_done_ = 0; // blocks of a stream that is not raw
    std::uint32_t height_ = 0;
    bool raw_ = false;
    bool may_have_room_ = false;         // lines may be made where the storage keeps them
    std::uint8_t last_byte_mask_ = 0xFF; // what a line uses of its last byte
    std::uint16_t sample_bytes_ = 1;
    NUV_Scratch<std::uint8_t> block_;
    std::uint32_t held_bytes_ = 0; // of block_, not written yet
    std::uint32_t most_held_lines_ = 1;
    std::int32_t byte_order_ = host_byte_order;
    std::uint32_t line_bytes_ = 0;
    std::uint8_t* in_place_ = nullptr; // lines that stand where the storage keeps them,
    std::uint32_t bytes_in_place_ = 0; // but are not written yet
    std::uint32_t lines_in_place_ = 0; // that came with them
};

[[nodiscard]] std::uint8_t last_byte_mask(const NUV_Header& header) noexcept
{
    const auto used = static_cast<unsigned>(std::uint64_t{header.channels()} * header.width() % 8);
    if (!header.is_raw() || header.bits() != 1 || used == 0)
        return 0xFF;
    return static_cast<std::uint8_t>(0xFF << (8 - used));
}

// Where a write costs more than its bytes, short lines go out several at a time.
[[nodiscard]] std::uint32_t lines_at_a_time(const NUV_OutputStorage& storage,
                                            const NUV_Header& header)
{
    if (!header.is_raw())
        return 1;
    const auto worthwhile = static_cast<std::uint32_t>(storage.worthwhile_bytes());
    const std::uint32_t lines = worthwhile / std::max(header.line_bytes(), std::uint32_t{1});
    return std::clamp(lines, std::uint32_t{1}, std::max(header.height(), std::uint32_t{1}));
}

bool NUV_WriteStorageEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                      NUV_OutputStorage* storage, std::int32_t offset,
                                      std::int32_t line_pad, std::int32_t line_gap,
                                      std::int32_t byte_order, bool may_have_room)
{
    if (!NUV_WriteEngine::initiate(header, src, storage))
        return false;
    if (offset < 0 || line_pad < 0)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    line_pad_ = line_pad;
    line_gap_ = line_gap;
    byte_order_ = byte_order;
    height_ = header->height();
    raw_ = header->is_raw();
    sample_bytes_ = static_cast<std::uint16_t>((header->bits() + 7) / 8);
    last_byte_mask_ = last_byte_mask(*header);
    if (!go_to(offset))
        return fail(manager(), NUV_ERR_IO, initiate_method);
    line_bytes_ = raw_ ? header->line_bytes() : manager().default_block_bytes();
    if (line_pad == 0 && line_gap == 0) // nothing goes between the lines
        most_held_lines_ = lines_at_a_time(*storage, *header);
    may_have_room_ = may_have_room && raw_ && line_pad == 0 && line_gap == 0;
    return src->block_bytes(line_bytes_);
}

// Beyond the end nothing can be reached: what is missing there is filled up.
bool NUV_WriteStorageEngine::go_to(std::int32_t offset)
{
    if (storage_->to(offset) && storage_->position() == offset)
        return true;
    if (!storage_->to_end())
        return false;
    const std::int32_t missing = offset - storage_->position();
    return missing >= 0 && storage_->fill(missing) == missing;
}

bool NUV_WriteStorageEngine::cleanup()
{
    block_.free();
    return NUV_WriteEngine::cleanup();
}

bool NUV_WriteStorageEngine::execute()
{
    if (raw_ && lines_done_ >= height_)
        return false;
    if (bytes_in_place_ != 0)
        return write_in_place();
    std::uint32_t lines = 0;
    if (std::uint8_t* const place = room(lines))
        return get_in(place, lines) && write_in_place();
    // Behind the lines that are held, once there is room for them.
    const bool has_room = block_.size() != 0;
    std::uint32_t got = 0;
    NUV_InputBlock in(*src_buffer_, has_room ? block_.data() + held_bytes_ : nullptr, &got);
    if (!in || !take(in, got)) {
        static_cast<void>(write_held()); // the lines before a failure stand
        return false;
    }
    const bool is_due = lines_done_ + 1 == height_ || (lines_done_ + 1) % most_held_lines_ == 0;
    if (is_due && (!write_held() || !write_pad()))
        return fail(manager(), NUV_ERR_IO, execute_method);
    ++lines_done_;
    return in.release();
}

// Where the storage keeps the next lines, for them to be made there, or null. Short ones come
// several at a time; buffers keep account of each.
std::uint8_t* NUV_WriteStorageEngine::room(std::uint32_t& lines)
{
    constexpr std::uint32_t most_bytes = 0x8000;
    constexpr std::uint32_t most_lines = 64;
    if (!may_have_room_ || held_bytes_ != 0)
        return nullptr;
    const std::uint32_t fitting = std::min(most_bytes / line_bytes_, most_lines);
    lines = std::clamp(fitting, std::uint32_t{1}, height_ - lines_done_);
    std::uint8_t* place = nullptr;
    if (lines > 1)
        place = storage_->lend_room(static_cast<std::int32_t>(lines * line_bytes_));
    if (!place && std::in_range<std::int32_t>(line_bytes_)) {
        place = storage_->lend_room(static_cast<std::int32_t>(line_bytes_));
        lines = 1;
    }
    // Engines write samples where samples may be.
    return reinterpret_cast<std::uintptr_t>(place) % sample_bytes_ == 0 ? place : nullptr;
}

bool NUV_WriteStorageEngine::get_in(std::uint8_t* room, std::uint32_t lines)
{
    if (!src_buffer_->get_blocks(room, lines, &bytes_in_place_))
        return false;
    in_place_ = room;
    lines_in_place_ = (bytes_in_place_ + line_bytes_ - 1) / line_bytes_;
    return true;
}

// A line a step, as all are written.
bool NUV_WriteStorageEngine::write_in_place()
{
    if (bytes_in_place_ < line_bytes_)
        return fail(manager(), NUV_ERR_BROKEN_DATA, execute_method);
    finish_line(in_place_, line_bytes_);
    const auto bytes = static_cast<std::int32_t>(line_bytes_);
    if (storage_->write(in_place_, bytes) != bytes)
        return fail(manager(), NUV_ERR_IO, execute_method);
    ++lines_done_;
    in_place_ += line_bytes_;
    bytes_in_place_ -= line_bytes_;
    return bytes_in_place_ != 0 || src_buffer_->release_blocks(lines_in_place_);
}

// A header alone may state any size: memory is asked for when there is a line to put into it.
bool NUV_WriteStorageEngine::take(const NUV_InputBlock& line, std::uint32_t got)
{
    if (got == 0 && !raw_)
        return false;
    if (block_.size() == 0) {
        if (!block_.allocate(manager(), std::size_t{most_held_lines_} * src_buffer_->block_bytes()))
            return false;
        std::memcpy(block_.data(), line.data(), got);
    }
    std::uint8_t* const block = block_.data() + held_bytes_;
    if (!leave_gap())
        return fail(manager(), NUV_ERR_IO, execute_method);
    if (raw_) {
        if (got != src_buffer_->block_bytes())
            return fail(manager(), NUV_ERR_BROKEN_DATA, execute_method);
        finish_line(block, got);
    }
    held_bytes_ += got;
    return true;
}

void NUV_WriteStorageEngine::finish_line(std::uint8_t* line, std::uint32_t bytes) const noexcept
{
    line[bytes - 1] &= last_byte_mask_;
    if (sample_bytes_ >= 2 && byte_order_ != host_byte_order)
        reverse_samples(line, bytes, sample_bytes_);
}

bool NUV_WriteStorageEngine::write_held()
{
    const auto bytes = static_cast<std::int32_t>(held_bytes_);
    held_bytes_ = 0;
    return storage_->write(block_.data(), bytes) == bytes;
}

// Stands between lines, not before the first one.
bool NUV_WriteStorageEngine::leave_gap()
{
    if (lines_done_ == 0 || line_gap_ == 0)
        return true;
    const std::int32_t moved = storage_->move(line_gap_);
    const std::int32_t missing = line_gap_ - moved; // not above 0 on the way back
    return missing <= 0 || storage_->fill(missing) == missing;
}

bool NUV_WriteStorageEngine::write_pad()
{
    for (std::int32_t i = 0; i < line_pad_; ++i) {
        if (storage_->put(0) < 0)
            return false;
    }
    return true;
}

} // namespace

NUV_Engine* NUV_WriteStorage::engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                     std::int32_t offset, std::int32_t line_pad,
                                     std::int32_t line_gap, std::int32_t byte_order)
{
    if (!accepts_image(previous, "NUV_WriteStorage::engine()"))
        return nullptr;
    return append_writer<NUV_WriteStorageEngine>(*previous, storage, offset, line_pad, line_gap,
                                                 byte_order, previous->delivers_what_it_writes());
}

} // namespace nuv
