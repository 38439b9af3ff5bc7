#include "core/jpeg/encode/nuv_jpegencoder.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

namespace nuv {
namespace {

constexpr std::size_t block_side = 8;
constexpr std::size_t alignment = 32;                         // bytes, the widest vectors'
constexpr std::size_t most_block_bytes = 512;                 // coded; see huffman_encode_block
constexpr std::uint32_t largest_restart_interval = 65535;     // DRI has 16 bits
constexpr std::uint32_t undeclared_height = 0xFFFF;           // until finish() knows better
constexpr std::uint8_t rgb_component_ids[] = {'R', 'G', 'B'}; // what decoders take for RGB

constexpr std::size_t whole_units(std::size_t count, std::size_t unit) noexcept
{
    return (count + unit - 1) / unit;
}

constexpr std::size_t aligned(std::size_t bytes) noexcept
{
    return whole_units(bytes, alignment) * alignment;
}

std::int16_t level_shifted(std::size_t sample) noexcept
{
    return static_cast<std::int16_t>(static_cast<int>(sample) - 128);
}

// 8 by 8 samples of one component.
NUV_JPEGResult gray_to_block(const std::uint8_t* source, std::int32_t row_step, std::int16_t* block,
                             std::int16_t* /*second*/, std::int16_t* /*third*/)
{
    for (std::size_t y = 0; y < block_side; ++y, source += row_step, block += block_side) {
        for (std::size_t x = 0; x < block_side; ++x)
            block[x] = level_shifted(source[x]);
    }
    return NUV_JPEGResult::good;
}

// 32 by 8 pixels: four blocks of the first component, and the others at a quarter of the width,
// each sample the floor of a mean of four.
NUV_JPEGResult split_411(const std::uint8_t* source, std::int32_t row_step, std::int16_t* first,
                         std::int16_t* second, std::int16_t* third)
{
    constexpr std::size_t cell = 4;        // pixels
    constexpr std::size_t pixel_bytes = 3; // and components
    for (std::size_t y = 0; y < block_side; ++y, source += row_step) {
        for (std::size_t x = 0; x < cell * block_side; ++x) {
            const std::size_t block = x / block_side;
            first[(block * block_side + y) * block_side + x % block_side] =
                level_shifted(source[x * pixel_bytes]);
        }
        for (std::size_t x = 0; x < block_side; ++x) {
            const std::uint8_t* pixels = source + x * cell * pixel_bytes;
            const auto mean = [pixels](std::size_t component) {
                std::size_t sum = 0;
                for (std::size_t i = 0; i < cell; ++i)
                    sum += pixels[i * pixel_bytes + component];
                return sum / cell;
            };
            second[y * block_side + x] = level_shifted(mean(1));
            third[y * block_side + x] = level_shifted(mean(2));
        }
    }
    return NUV_JPEGResult::good;
}

} // namespace

NUV_JPEGCode NUV_JPEGEncoder::open_coder(const NUV_JPEGAllocator& allocator) noexcept
{
    if (allocator.allocate == nullptr || allocator.deallocate == nullptr)
        return NUV_JPEGCode::bad_parameter;
    allocator_ = allocator;
    markers_.set_allocator(allocator);
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGEncoder::create(const NUV_JPEGOutput& output, const NUV_Cpu& cpu) noexcept
{
    if (allocator_.allocate == nullptr)
        return NUV_JPEGCode::wrong_state;
    if (output.write == nullptr || output.to == nullptr || output.position == nullptr)
        return NUV_JPEGCode::bad_parameter;
    output_ = output;
    primitives_ = &jpeg_primitives(cpu);
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGEncoder::set_format(std::uint32_t width, std::uint32_t height,
                                         std::uint32_t components, std::uint32_t bits,
                                         std::uint32_t key, std::uint32_t quality) noexcept
{
    if (primitives_ == nullptr || state_ == State::encoding)
        return NUV_JPEGCode::wrong_state;
    const bool written_key = key == jpeg_sampling_444 || key == jpeg_sampling_422 ||
                             key == jpeg_sampling_420 || key == jpeg_sampling_411;
    if (quality > 100 || (components != 1 && components != 3) || bits < 2 || bits > 16 ||
        !written_key || width == 0 || width > jpeg_largest_side || height > jpeg_largest_side)
        return NUV_JPEGCode::bad_parameter;

    frame_ = {};
    frame_.start_marker = jpeg_marker_sof0;
    frame_.precision = static_cast<std::uint8_t>(bits);
    frame_.width = static_cast<std::uint16_t>(width);
    frame_.height = static_cast<std::uint16_t>(height == 0 ? undeclared_height : height);
    frame_.components = components;
    // T.81, A.2.2: the blocks of a single component are not interleaved, whatever its factors.
    sampling_ = components == 1 ? jpeg_sampling_444 : key;
    frame_.set_sampling(sampling_);
    for (std::size_t i = 0; i < components; ++i) {
        NUV_JPEGComponent& component = frame_.component[i];
        const std::uint8_t table = i == 0 ? 0 : 1;
        component.id = static_cast<std::uint8_t>(i + 1);
        component.quantiser = table;
        component.dc_table = table;
        component.ac_table = table;
    }
    quality_ = quality;
    state_ = State::formatted;
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGEncoder::add_marker(std::uint8_t id,
                                         std::span<const std::uint8_t> payload) noexcept
{
    if (primitives_ == nullptr || state_ == State::encoding)
        return NUV_JPEGCode::wrong_state;
    if (id < jpeg_marker_app0 || id > jpeg_marker_com)
        return NUV_JPEGCode::bad_parameter;
    return markers_.add(id, payload);
}

NUV_JPEGCode NUV_JPEGEncoder::start_encode(std::uint32_t& restart_interval) noexcept
{
    if (state_ != State::formatted)
        return NUV_JPEGCode::wrong_state;
    lines_ = 0;
    write_failed_ = false;
    if (is_lossless())
        return start_lossless(restart_interval);
    if (frame_.precision != 8)
        return NUV_JPEGCode::bad_parameter;

    set_geometry();
    settle_restart_interval(restart_interval);
    choose_conversion(sampling_);
    if (!allocate_memory())
        return NUV_JPEGCode::no_memory;
    if (!build_tables())
        return NUV_JPEGCode::bad_table;
    lay_out_slots();
    open_lines_ = 0;
    coded_bytes_ = 0;
    restart_number_ = 0;
    mcus_to_restart_ = frame_.restart_interval;
    state_ = State::encoding;
    return write_header();
}

NUV_JPEGCode NUV_JPEGEncoder::set_lossless(NUV_JPEGLosslessTable table) noexcept
{
    if (state_ != State::formatted)
        return NUV_JPEGCode::wrong_state;
    frame_.start_marker = jpeg_marker_sof3;
    frame_.set_sampling(jpeg_sampling_444);
    for (NUV_JPEGComponent& component : frame_.component) {
        component.quantiser = 0;
        component.dc_table = 0;
        component.ac_table = 0;
    }
    lossless_table_ = table;
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGEncoder::start_lossless(std::uint32_t& restart_interval) noexcept
{
    if (frame_.precision != 8 && frame_.precision != 16)
        return NUV_JPEGCode::bad_parameter;
    mcu_width_ = 1;
    mcu_height_ = 1;
    mcus_per_row_ = frame_.width;
    line_bytes_ = frame_.components * frame_.width * (frame_.precision / 8U);
    settle_restart_interval(restart_interval);
    if (restart_interval % frame_.width != 0) // T.81, H.1.1: an interval is whole lines
        return NUV_JPEGCode::bad_parameter;
    const NUV_JPEGCode code =
        lossless_.start(frame_, lossless_table_, allocator_, output_, *primitives_);
    if (is_good(code) || code == NUV_JPEGCode::io)
        state_ = State::encoding;
    write_failed_ = code == NUV_JPEGCode::io;
    return code;
}

void NUV_JPEGEncoder::set_geometry() noexcept
{
    mcu_width_ = block_side * frame_.component[0].horizontal;
    mcu_height_ = block_side * frame_.component[0].vertical;
    mcus_per_row_ = whole_units(frame_.width, mcu_width_);
    line_bytes_ = frame_.width * frame_.components;
    row_step_ = mcus_per_row_ * mcu_width_ * frame_.components;
}

void NUV_JPEGEncoder::settle_restart_interval(std::uint32_t& restart_interval) noexcept
{
    const std::size_t mcus = mcus_per_row_ * whole_units(frame_.height, mcu_height_);
    if (restart_interval == 0)
        restart_interval = static_cast<std::uint32_t>(mcus_per_row_);
    if (restart_interval > largest_restart_interval || restart_interval >= mcus)
        restart_interval = 0;
    frame_.restart_interval = restart_interval;
}

void NUV_JPEGEncoder::choose_conversion(std::uint32_t key) noexcept
{
    const bool convert = source_color_ == SourceColor::rgb;
    if (frame_.components == 1) {
        pixels_to_blocks_ = gray_to_block;
        return;
    }
    switch (key) {
    case jpeg_sampling_422:
        pixels_to_blocks_ = convert ? primitives_->convert_rgb_ycc_422 : primitives_->split_422;
        break;
    case jpeg_sampling_420:
        pixels_to_blocks_ = convert ? primitives_->convert_rgb_ycc_420 : primitives_->split_420;
        break;
    case jpeg_sampling_411:
        pixels_to_blocks_ = split_411;
        // Three components without a word about their colour count as YCbCr; these ids tell.
        for (std::size_t i = 0; convert && i < std::size(rgb_component_ids); ++i)
            frame_.component[i].id = rgb_component_ids[i];
        break;
    default:
        pixels_to_blocks_ = convert ? primitives_->convert_rgb_ycc_444 : primitives_->split_444;
        break;
    }
}

// The coded bytes of an MCU row seldom pass half of its samples. Where they pass twice their
// number, they are written in several pieces.
bool NUV_JPEGEncoder::allocate_memory() noexcept
{
    free_memory();
    const std::size_t block_bytes = aligned(most_blocks * jpeg_block_size * sizeof(std::int16_t));
    const std::size_t row_bytes = aligned(mcu_height_ * row_step_);
    const std::size_t coded_bytes = 2 * row_bytes + (most_blocks + 1) * most_block_bytes;
    std::size_t room = alignment + block_bytes + row_bytes + coded_bytes;
    memory_ = allocator_.allocate(allocator_.owner, room);
    if (memory_ == nullptr)
        return false;

    void* start = memory_;
    std::align(alignment, block_bytes, start, room);
    auto* bytes = static_cast<std::uint8_t*>(start);
    blocks_ = static_cast<std::int16_t*>(start);
    row_ = bytes + block_bytes;
    coded_ = {row_ + row_bytes, coded_bytes};
    return true;
}

void NUV_JPEGEncoder::free_memory() noexcept
{
    lossless_.free_memory();
    if (memory_ != nullptr)
        allocator_.deallocate(allocator_.owner, memory_);
    memory_ = nullptr;
    blocks_ = nullptr;
    row_ = nullptr;
    coded_ = {};
}

void NUV_JPEGEncoder::lay_out_slots() noexcept
{
    slot_count_ = 0;
    for (std::size_t i = 0; i < frame_.components; ++i) {
        NUV_JPEGComponent& component = frame_.component[i];
        component.previous_dc = 0;
        const int blocks = component.horizontal * component.vertical;
        for (int block = 0; block < blocks; ++block, ++slot_count_) {
            slots_[slot_count_] = {blocks_ + slot_count_ * jpeg_block_size,
                                   inverses_[component.quantiser].data(),
                                   &dc_tables_[component.dc_table], &ac_tables_[component.ac_table],
                                   &component.previous_dc};
        }
    }
    // The components behind the first have one block each.
    second_block_ =
        blocks_ + (slot_count_ - std::min<std::size_t>(slot_count_ - 1, 2)) * jpeg_block_size;
    third_block_ = blocks_ + (slot_count_ - 1) * jpeg_block_size;
}

std::uint8_t* NUV_JPEGEncoder::next_line() noexcept
{
    if (state_ != State::encoding || lines_ >= frame_.height)
        return nullptr;
    return is_lossless() ? lossless_.next_line() : row_ + open_lines_ * row_step_;
}

NUV_JPEGCode NUV_JPEGEncoder::write_line(const void* line) noexcept
{
    if (state_ != State::encoding)
        return NUV_JPEGCode::wrong_state;
    if (write_failed_)
        return NUV_JPEGCode::io;
    if (lines_ >= frame_.height)
        return NUV_JPEGCode::too_many_lines;
    if (line == nullptr)
        return NUV_JPEGCode::bad_parameter;

    std::uint8_t* own = next_line();
    if (line != own)
        std::memcpy(own, line, line_bytes_);
    ++lines_;
    if (is_lossless())
        return encode_lossless_line();
    pad_line(own);
    ++open_lines_;
    if (lines_ == frame_.height)
        return close_stream();
    return open_lines_ == mcu_height_ ? encode_mcu_row() : NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGEncoder::encode_lossless_line() noexcept
{
    NUV_JPEGCode code = lossless_.encode_line();
    if (is_good(code) && lines_ == frame_.height)
        code = lossless_.close();
    write_failed_ = code == NUV_JPEGCode::io;
    return code;
}

// Repeats the last pixel up to the edge of the last MCU.
void NUV_JPEGEncoder::pad_line(std::uint8_t* line) const noexcept
{
    const std::size_t pixel_bytes = frame_.components;
    for (std::size_t i = line_bytes_; i < row_step_; ++i)
        line[i] = line[i - pixel_bytes];
}

// Codes the lines of the open MCU row, the last of them repeated down to its height, and writes
// what came of it.
NUV_JPEGCode NUV_JPEGEncoder::encode_mcu_row() noexcept
{
    for (std::size_t i = open_lines_; i < mcu_height_; ++i)
        std::memcpy(row_ + i * row_step_, row_ + (open_lines_ - 1) * row_step_, row_step_);
    open_lines_ = 0;

    const std::size_t mcu_bytes = mcu_width_ * frame_.components;
    const bool restarts = frame_.restart_interval != 0;
    for (std::size_t mcu = 0; mcu < mcus_per_row_;) {
        // Only now, so that no marker comes behind the last MCU.
        NUV_JPEGCode code = NUV_JPEGCode::good;
        if (restarts && mcus_to_restart_ == 0)
            code = put_restart();
        std::size_t count = mcus_per_row_ - mcu;
        if (restarts)
            count = std::min<std::size_t>(count, mcus_to_restart_);
        if (is_good(code))
            code = encode_mcus(row_ + mcu * mcu_bytes, count);
        if (!is_good(code))
            return code;
        mcu += count;
        mcus_to_restart_ -= restarts ? static_cast<std::uint32_t>(count) : 0;
    }
    return write_coded();
}

NUV_JPEGCode NUV_JPEGEncoder::encode_mcus(const std::uint8_t* pixels, std::size_t count) noexcept
{
    const NUV_JPEGPrimitives& primitives = *primitives_;
    const auto row_step = static_cast<std::int32_t>(row_step_);
    const auto coded_room = static_cast<std::int32_t>(coded_.size());
    const auto enough = static_cast<std::int32_t>((most_blocks + 1) * most_block_bytes);
    const std::size_t mcu_bytes = mcu_width_ * frame_.components;
    const std::span<const BlockSlot> slots = std::span(slots_).first(slot_count_);

    bool ok = true;
    for (; count != 0; --count, pixels += mcu_bytes) {
        if (coded_room - coded_bytes_ < enough) {
            const NUV_JPEGCode code = write_coded();
            if (!is_good(code))
                return code;
        }
        pixels_to_blocks_(pixels, row_step, blocks_, second_block_, third_block_);
        for (const BlockSlot& slot : slots) {
            primitives.fdct_quant(slot.block, slot.inverses);
            ok &= is_good(primitives.huffman_encode_block_wide(
                slot.block, coded_.data(), coded_room, &coded_bytes_, slot.previous_dc,
                slot.dc_table, slot.ac_table, &bits_, /*flush=*/false));
        }
    }
    return ok ? NUV_JPEGCode::good : NUV_JPEGCode::bad_table;
}

NUV_JPEGCode NUV_JPEGEncoder::flush_bits() noexcept
{
    const BlockSlot& slot = slots_[0];
    const NUV_JPEGResult result = primitives_->huffman_encode_block_wide(
        slot.block, coded_.data(), static_cast<std::int32_t>(coded_.size()), &coded_bytes_,
        slot.previous_dc, slot.dc_table, slot.ac_table, &bits_, /*flush=*/true);
    return is_good(result) ? NUV_JPEGCode::good : NUV_JPEGCode::bad_table;
}

void NUV_JPEGEncoder::put_coded_marker(std::uint8_t id) noexcept
{
    const auto at = static_cast<std::size_t>(coded_bytes_);
    NUV_JPEGSegmentWriter(coded_.subspan(at)).put_marker(id);
    coded_bytes_ += 2;
}

// T.81, F.1.1.5: the bits padded with ones, the marker, and predictions that start anew.
NUV_JPEGCode NUV_JPEGEncoder::put_restart() noexcept
{
    const NUV_JPEGCode code = flush_bits();
    put_coded_marker(jpeg_marker_rst0 + restart_number_);
    restart_number_ = (restart_number_ + 1) & 7U;
    for (NUV_JPEGComponent& component : frame_.component)
        component.previous_dc = 0;
    mcus_to_restart_ = frame_.restart_interval;
    return code;
}

NUV_JPEGCode NUV_JPEGEncoder::close_stream() noexcept
{
    if (is_lossless())
        return lossless_.close();
    NUV_JPEGCode code = open_lines_ == 0 ? NUV_JPEGCode::good : encode_mcu_row();
    if (is_good(code))
        code = flush_bits();
    if (!is_good(code))
        return code;
    put_coded_marker(jpeg_marker_eoi);
    return write_coded();
}

NUV_JPEGCode NUV_JPEGEncoder::correct_height() noexcept
{
    const std::int32_t end = output_.position(output_.storage);
    const std::uint8_t height[] = {static_cast<std::uint8_t>(lines_ >> 8),
                                   static_cast<std::uint8_t>(lines_)};
    const std::int32_t position = is_lossless() ? lossless_.height_position() : height_position_;
    if (!output_.to(output_.storage, position))
        return NUV_JPEGCode::io;
    const NUV_JPEGCode code = write(height);
    const bool back = output_.to(output_.storage, end);
    return back ? code : NUV_JPEGCode::io;
}

NUV_JPEGCode NUV_JPEGEncoder::finish() noexcept
{
    NUV_JPEGCode code = NUV_JPEGCode::good;
    const bool cut_short = state_ == State::encoding && lines_ != 0 && lines_ < frame_.height;
    if (cut_short && !write_failed_) {
        code = close_stream();
        const bool knew_height = is_lossless() && lossless_table_ == NUV_JPEGLosslessTable::optimal;
        if (is_good(code) && !knew_height)
            code = correct_height();
    }
    state_ = State::closed;
    free_memory();
    markers_.clear();
    return code;
}

NUV_JPEGCode NUV_JPEGEncoder::write(std::span<const std::uint8_t> bytes) noexcept
{
    if (output_.write(output_.storage, bytes.data(), static_cast<std::int32_t>(bytes.size())))
        return NUV_JPEGCode::good;
    write_failed_ = true;
    return NUV_JPEGCode::io;
}

NUV_JPEGCode NUV_JPEGEncoder::write_coded() noexcept
{
    const std::span<const std::uint8_t> bytes =
        coded_.first(static_cast<std::size_t>(coded_bytes_));
    coded_bytes_ = 0;
    return write(bytes);
}

} // namespace nuv
