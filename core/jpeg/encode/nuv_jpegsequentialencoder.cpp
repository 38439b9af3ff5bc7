#include "core/jpeg/encode/nuv_jpegsequentialencoder.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

namespace nuv {
namespace {

constexpr std::size_t block_side = 8;
constexpr std::size_t alignment = 64;                         // bytes, the widest vectors'
constexpr std::size_t most_block_bytes = 512;                 // coded; see huffman_encode_block
constexpr std::uint8_t rgb_component_ids[] = {'R', 'G', 'B'}; // what decoders take for RGB

constexpr std::size_t aligned(std::size_t bytes) noexcept
{
    return (bytes + alignment - 1) / alignment * alignment;
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
        for (std::size_t block = 0; block < cell; ++block) {
            const std::uint8_t* const pixels = source + block * block_side * pixel_bytes;
            std::int16_t* const row = first + (block * block_side + y) * block_side;
            for (std::size_t x = 0; x < block_side; ++x)
                row[x] = level_shifted(pixels[x * pixel_bytes]);
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

NUV_JPEGCode NUV_JPEGSequentialEncoder::start(const NUV_JPEGFrame& frame, const Settings& settings,
                                              const NUV_JPEGAllocator& allocator,
                                              const NUV_JPEGOutput& output,
                                              const NUV_JPEGPrimitives& primitives) noexcept
{
    if (frame.precision != 8)
        return NUV_JPEGCode::bad_parameter;
    frame_ = frame;
    output_ = output;
    primitives_ = &primitives;
    set_geometry();
    choose_conversion(settings.color);
    if (!allocate_memory(allocator))
        return NUV_JPEGCode::no_memory;
    if (!build_tables(settings.quality))
        return NUV_JPEGCode::bad_table;
    lay_out_blocks();
    open_lines_ = 0;
    coded_bytes_ = 0;
    restart_number_ = 0;
    mcus_to_restart_ = frame_.restart_interval;
    return write_header(settings.markers);
}

void NUV_JPEGSequentialEncoder::set_geometry() noexcept
{
    mcu_width_ = block_side * frame_.component[0].horizontal;
    mcu_height_ = block_side * frame_.component[0].vertical;
    mcus_per_row_ = (frame_.width + mcu_width_ - 1) / mcu_width_;
    line_bytes_ = frame_.width * frame_.components;
    row_step_ = mcus_per_row_ * mcu_width_ * frame_.components;
}

void NUV_JPEGSequentialEncoder::choose_conversion(SourceColor color) noexcept
{
    const bool convert = color == SourceColor::rgb;
    if (frame_.components == 1) {
        pixels_to_blocks_ = gray_to_block;
        return;
    }
    switch (jpeg_sampling_key(frame_)) {
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
bool NUV_JPEGSequentialEncoder::allocate_memory(const NUV_JPEGAllocator& allocator) noexcept
{
    free_memory();
    constexpr std::size_t block_bytes = most_blocks * jpeg_block_size * sizeof(std::int16_t);
    const std::size_t row_bytes = aligned(mcu_height_ * row_step_);
    const std::size_t coded_bytes = 2 * row_bytes + (most_blocks + 1) * most_block_bytes;
    std::size_t room = alignment + 2 * block_bytes + row_bytes + coded_bytes;
    if (!memory_.allocate(allocator, room))
        return false;

    void* start = memory_.data();
    std::align(alignment, block_bytes, start, room);
    samples_ = static_cast<std::int16_t*>(start);
    // The last MCUs may be less than a batch, which is transformed in whole groups.
    std::fill_n(samples_, most_blocks * jpeg_block_size, std::int16_t{0});
    coefficients_ = samples_ + most_blocks * jpeg_block_size;
    row_ = static_cast<std::uint8_t*>(start) + 2 * block_bytes;
    coded_ = {row_ + row_bytes, coded_bytes};
    return true;
}

void NUV_JPEGSequentialEncoder::free_memory() noexcept
{
    memory_.free();
    samples_ = nullptr;
    coefficients_ = nullptr;
    row_ = nullptr;
    coded_ = {};
}

void NUV_JPEGSequentialEncoder::lay_out_blocks() noexcept
{
    first_blocks_ = std::size_t{frame_.component[0].horizontal} * frame_.component[0].vertical;
    // So that the first component fills whole groups, and so do the others together.
    batch_ = first_blocks_ == 1 ? 4 : 2;
    std::size_t coded = 0;
    for (std::size_t mcu = 0; mcu < batch_; ++mcu) {
        for (std::size_t i = 0; i < frame_.components; ++i) {
            NUV_JPEGComponent& component = frame_.component[i];
            component.previous_dc = 0;
            const std::size_t blocks = i == 0 ? first_blocks_ : 1;
            std::size_t at =
                i == 0 ? mcu * first_blocks_ : batch_ * first_blocks_ + 2 * mcu + i - 1;
            for (const std::size_t end = at + blocks; at != end; ++at) {
                blocks_[coded++] = {coefficients_ + at * jpeg_block_size, &masks_[at],
                                    &dc_tables_[component.dc_table],
                                    &ac_tables_[component.ac_table], &component.previous_dc};
            }
        }
    }
}

std::uint8_t* NUV_JPEGSequentialEncoder::next_line() noexcept
{
    return row_ + open_lines_ * row_step_;
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::encode_line() noexcept
{
    pad_line(next_line());
    ++open_lines_;
    return open_lines_ == mcu_height_ ? encode_mcu_row() : NUV_JPEGCode::good;
}

// Repeats the last pixel up to the edge of the last MCU.
void NUV_JPEGSequentialEncoder::pad_line(std::uint8_t* line) const noexcept
{
    const std::size_t pixel_bytes = frame_.components;
    for (std::size_t i = line_bytes_; i < row_step_; ++i)
        line[i] = line[i - pixel_bytes];
}

// Codes the lines of the open MCU row, the last of them repeated down to its height, and writes
// what came of it.
NUV_JPEGCode NUV_JPEGSequentialEncoder::encode_mcu_row() noexcept
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

NUV_JPEGCode NUV_JPEGSequentialEncoder::encode_mcus(const std::uint8_t* pixels,
                                                    std::size_t count) noexcept
{
    constexpr std::size_t enough = (most_blocks + 1) * most_block_bytes;
    const std::size_t mcu_bytes = mcu_width_ * frame_.components;
    bool ok = true;
    for (std::size_t mcus = 0; count != 0; count -= mcus, pixels += mcus * mcu_bytes) {
        if (coded_.size() - coded_bytes_ < enough) {
            const NUV_JPEGCode code = write_coded();
            if (!is_good(code))
                return code;
        }
        mcus = std::min(count, batch_);
        ok &= encode_batch(pixels, mcus);
    }
    return ok ? NUV_JPEGCode::good : NUV_JPEGCode::bad_table;
}

// `count` MCUs, at most a batch. False for a coefficient that has no code.
bool NUV_JPEGSequentialEncoder::encode_batch(const std::uint8_t* pixels, std::size_t count) noexcept
{
    const NUV_JPEGPrimitives& primitives = *primitives_;
    const std::size_t others = batch_ * first_blocks_;
    const auto row_step = static_cast<std::int32_t>(row_step_);
    const std::size_t mcu_bytes = mcu_width_ * frame_.components;
    for (std::size_t mcu = 0; mcu < count; ++mcu, pixels += mcu_bytes) {
        std::int16_t* const second = samples_ + (others + 2 * mcu) * jpeg_block_size;
        pixels_to_blocks_(pixels, row_step, samples_ + mcu * first_blocks_ * jpeg_block_size,
                          second, second + jpeg_block_size);
    }
    const auto transform = [&](std::size_t component, std::size_t begin, std::size_t blocks) {
        primitives.transform_blocks(samples_ + begin * jpeg_block_size, blocks,
                                    inverses_[frame_.component[component].quantiser].data(),
                                    coefficients_ + begin * jpeg_block_size, &masks_[begin]);
    };
    transform(0, 0, count * first_blocks_);
    const std::size_t mcu_blocks = first_blocks_ + frame_.components - 1;
    if (mcu_blocks > first_blocks_)
        transform(1, others, 2 * count);

    std::uint8_t* const start = coded_.data() + coded_bytes_;
    const std::uint8_t* const end =
        primitives.huffman_encode_blocks(blocks_.data(), count * mcu_blocks, start, &bits_);
    if (end == nullptr)
        return false;
    coded_bytes_ += static_cast<std::size_t>(end - start);
    return true;
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::flush_bits() noexcept
{
    const NUV_JPEGBlockToCode& block = blocks_[0];
    auto position = static_cast<std::int32_t>(coded_bytes_);
    const NUV_JPEGResult result = primitives_->huffman_encode_block(
        block.coefficients, coded_.data(), static_cast<std::int32_t>(coded_.size()), &position,
        block.previous_dc, block.dc_table, &block.ac_table->plain, &bits_, /*flush=*/true);
    coded_bytes_ = static_cast<std::size_t>(position);
    return is_good(result) ? NUV_JPEGCode::good : NUV_JPEGCode::bad_table;
}

void NUV_JPEGSequentialEncoder::put_coded_marker(std::uint8_t id) noexcept
{
    NUV_JPEGSegmentWriter(coded_.subspan(coded_bytes_)).put_marker(id);
    coded_bytes_ += 2;
}

// T.81, F.1.1.5: the bits padded with ones, the marker, and predictions that start anew.
NUV_JPEGCode NUV_JPEGSequentialEncoder::put_restart() noexcept
{
    const NUV_JPEGCode code = flush_bits();
    put_coded_marker(jpeg_marker_rst0 + restart_number_);
    restart_number_ = (restart_number_ + 1) & 7U;
    for (NUV_JPEGComponent& component : frame_.component)
        component.previous_dc = 0;
    mcus_to_restart_ = frame_.restart_interval;
    return code;
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::close() noexcept
{
    NUV_JPEGCode code = open_lines_ == 0 ? NUV_JPEGCode::good : encode_mcu_row();
    if (is_good(code))
        code = flush_bits();
    if (!is_good(code))
        return code;
    put_coded_marker(jpeg_marker_eoi);
    return write_coded();
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::write(std::span<const std::uint8_t> bytes) noexcept
{
    const auto count = static_cast<std::int32_t>(bytes.size());
    return output_.write(output_.storage, bytes.data(), count) ? NUV_JPEGCode::good
                                                               : NUV_JPEGCode::io;
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::write_coded() noexcept
{
    const std::span<const std::uint8_t> bytes = coded_.first(coded_bytes_);
    coded_bytes_ = 0;
    return write(bytes);
}

} // namespace nuv
