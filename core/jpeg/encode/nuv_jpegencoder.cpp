#include "core/jpeg/encode/nuv_jpegencoder.h"

#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace nuv {
namespace {

constexpr std::size_t block_side = 8;
constexpr std::uint32_t largest_restart_interval = 65535; // DRI has 16 bits
constexpr std::uint32_t undeclared_height = 0xFFFF;       // until finish() knows better

constexpr std::size_t whole_units(std::size_t count, std::size_t unit) noexcept
{
    return (count + unit - 1) / unit;
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
    frame_.set_sampling(components == 1 ? jpeg_sampling_444 : key);
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

NUV_JPEGCode NUV_JPEGEncoder::start_encode(std::uint32_t& restart_interval) noexcept
{
    if (state_ != State::formatted)
        return NUV_JPEGCode::wrong_state;
    lines_ = 0;
    settle_restart_interval(restart_interval);
    const NUV_JPEGCode code = start_process();
    write_failed_ = code == NUV_JPEGCode::io;
    if (is_good(code) || write_failed_)
        state_ = State::encoding;
    return code;
}

void NUV_JPEGEncoder::settle_restart_interval(std::uint32_t& restart_interval) noexcept
{
    const std::size_t unit = frame_.start_marker == jpeg_marker_sof3 ? 1 : block_side; // pixels
    const NUV_JPEGComponent& finest = frame_.component[0];
    const std::size_t mcus_per_row = whole_units(frame_.width, unit * finest.horizontal);
    const std::size_t mcus = mcus_per_row * whole_units(frame_.height, unit * finest.vertical);
    if (restart_interval == 0)
        restart_interval = static_cast<std::uint32_t>(mcus_per_row);
    if (restart_interval > largest_restart_interval || restart_interval >= mcus)
        restart_interval = 0;
    frame_.restart_interval = restart_interval;
}

NUV_JPEGCode NUV_JPEGEncoder::start_process() noexcept
{
    if (frame_.start_marker == jpeg_marker_sof3) {
        process_ = &lossless_;
        return lossless_.start(frame_, lossless_table_, allocator_, output_, *primitives_);
    }
    process_ = &sequential_;
    return sequential_.start(frame_, {quality_, source_color_, markers_.items()}, allocator_,
                             output_, *primitives_);
}

std::uint8_t* NUV_JPEGEncoder::next_line() noexcept
{
    return state_ == State::encoding && lines_ < frame_.height ? process_->next_line() : nullptr;
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

    std::uint8_t* const own = process_->next_line();
    if (line != own)
        std::memcpy(own, line, frame_.width * frame_.components * (frame_.precision / 8U));
    ++lines_;
    NUV_JPEGCode code = process_->encode_line();
    if (is_good(code) && lines_ == frame_.height)
        code = process_->close();
    write_failed_ = code == NUV_JPEGCode::io;
    return code;
}

NUV_JPEGCode NUV_JPEGEncoder::correct_height(std::int32_t position) noexcept
{
    const std::int32_t end = output_.position(output_.storage);
    std::array<std::uint8_t, 2> height{};
    store_be16(height.data(), lines_);
    if (!output_.to(output_.storage, position))
        return NUV_JPEGCode::io;
    const bool written = output_.write(output_.storage, height.data(), height.size());
    const bool back = output_.to(output_.storage, end);
    return written && back ? NUV_JPEGCode::good : NUV_JPEGCode::io;
}

NUV_JPEGCode NUV_JPEGEncoder::finish() noexcept
{
    NUV_JPEGCode code = NUV_JPEGCode::good;
    const bool cut_short = state_ == State::encoding && lines_ != 0 && lines_ < frame_.height;
    if (cut_short && !write_failed_) {
        code = process_->close();
        const std::int32_t stated = process_->height_position();
        if (is_good(code) && stated != NUV_JPEGEncodingProcess::height_is_true)
            code = correct_height(stated);
    }
    state_ = State::closed;
    sequential_.free_memory();
    lossless_.free_memory();
    markers_.clear();
    return code;
}

} // namespace nuv
