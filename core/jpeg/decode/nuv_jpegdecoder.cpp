#include "core/jpeg/decode/nuv_jpegdecoder.h"

#include <algorithm>

namespace nuv {

std::size_t jpeg_components_of(NUV_JPEGColor color) noexcept
{
    switch (color) {
    case NUV_JPEGColor::s_rgb:
    case NUV_JPEGColor::ycbcr:
    case NUV_JPEGColor::itu_lab:
    case NUV_JPEGColor::cmy:
    case NUV_JPEGColor::icc_lab:
        return 3;
    case NUV_JPEGColor::gray:
    case NUV_JPEGColor::gray_reverse:
    case NUV_JPEGColor::lstar:
        return 1;
    case NUV_JPEGColor::cmyk:
        return 4;
    case NUV_JPEGColor::not_set:
        break;
    }
    return 0;
}

NUV_JPEGCode NUV_JPEGDecoder::open(const NUV_JPEGAllocator& allocator, const NUV_JPEGSource& source,
                                   const NUV_Cpu& cpu) noexcept
{
    allocator_ = allocator;
    cpu_ = cpu;
    header_.set_allocator(allocator);
    return input_.open(allocator, source);
}

NUV_JPEGCode NUV_JPEGDecoder::read_header(const NUV_JPEGStoredTables* tables) noexcept
{
    if (tables != nullptr)
        header_.set_tables(*tables);
    const NUV_JPEGCode code = header_.read(input_);
    if (is_failure(code))
        return code;
    if (is_good(code) && header_.has_frame() && header_.has_scan())
        state_ = State::ready;
    const NUV_JPEGCode settled = input_.settle();
    return is_good(settled) ? code : settled;
}

NUV_JPEGCode NUV_JPEGDecoder::read_tables() noexcept
{
    return header_.read_tables(input_);
}

NUV_JPEGCode NUV_JPEGDecoder::check_frame() const noexcept
{
    const NUV_JPEGFrame& frame = header_.frame();
    const bool is_lossy =
        (frame.start_marker == jpeg_marker_sof0 || frame.start_marker == jpeg_marker_sof2) &&
        frame.precision == 8;
    const bool is_lossless = frame.start_marker == jpeg_marker_sof3;
    if ((!is_lossy && !is_lossless) || frame.components == 2 || frame.width == 0 ||
        frame.height == 0)
        return NUV_JPEGCode::unsupported;
    const std::uint32_t key = jpeg_sampling_key(frame);
    if (is_lossless) {
        const bool is_full = key == jpeg_sampling_444 || key == 0x11111111;
        return is_full ? NUV_JPEGCode::good : NUV_JPEGCode::unsupported;
    }
    const bool is_progressive = frame.start_marker == jpeg_marker_sof2;
    return is_decoded_sampling(key, is_progressive) ? NUV_JPEGCode::good
                                                    : NUV_JPEGCode::unsupported;
}

bool NUV_JPEGDecoder::converts_to_rgb() const noexcept
{
    const NUV_JPEGFrame& frame = header_.frame();
    return output_color_ == NUV_JPEGColor::s_rgb && frame.components == 3 &&
           frame.start_marker != jpeg_marker_sof3;
}

bool NUV_JPEGDecoder::can_convert_to_rgb() const noexcept
{
    const NUV_JPEGFrame& frame = header_.frame();
    const std::uint32_t key = jpeg_sampling_key(frame);
    return frame.start_marker == jpeg_marker_sof0 && scale_ == 1 &&
           header_.scan().components == frame.components && component_filter_ < 0 &&
           (key == jpeg_sampling_444 || key == jpeg_sampling_422 || key == jpeg_sampling_420);
}

// Which components are delivered, and by which way.
NUV_JPEGCode NUV_JPEGDecoder::choose_output() noexcept
{
    const NUV_JPEGFrame& frame = header_.frame();
    const std::size_t asked = jpeg_components_of(output_color_);
    if (asked != 0 && asked != frame.components)
        return NUV_JPEGCode::bad_parameter;
    if (converts_to_rgb() && !can_convert_to_rgb())
        return NUV_JPEGCode::bad_parameter;

    first_ = 0;
    delivered_ = frame.components;
    const bool has_luminance = output_color_ == NUV_JPEGColor::ycbcr ||
                               output_color_ == NUV_JPEGColor::itu_lab ||
                               output_color_ == NUV_JPEGColor::icc_lab;
    if (component_filter_ >= 0) {
        first_ = static_cast<std::size_t>(component_filter_);
        if (first_ >= frame.components)
            return NUV_JPEGCode::bad_parameter;
        delivered_ = 1;
    } else if (luminance_only_ && has_luminance) {
        delivered_ = 1;
    }

    if (frame.start_marker == jpeg_marker_sof3)
        path_ = Path::lossless;
    else if (frame.start_marker == jpeg_marker_sof2 ||
             header_.scan().components != frame.components)
        path_ = Path::stored;
    else
        path_ = Path::sequential;
    const bool can_reduce =
        path_ == Path::sequential && is_reducible_sampling(jpeg_sampling_key(frame));
    return scale_ == 1 || can_reduce ? NUV_JPEGCode::good : NUV_JPEGCode::bad_parameter;
}

NUV_JPEGCode NUV_JPEGDecoder::start_decode() noexcept
{
    if (state_ != State::ready)
        return NUV_JPEGCode::wrong_state;
    if (scale_ != 1 && scale_ != 2 && scale_ != 4 && scale_ != 8)
        return NUV_JPEGCode::bad_parameter;
    NUV_JPEGCode code = check_frame();
    if (is_good(code))
        code = choose_output();
    if (!is_good(code))
        return code;

    geometry_ = NUV_JPEGGeometry::of(header_.frame(), scale_);
    line_ = 0;
    band_line_ = geometry_.mcu_height;
    code = open_path();
    if (is_good(code))
        state_ = State::decoding;
    else
        close();
    return code;
}

NUV_JPEGCode NUV_JPEGDecoder::open_path() noexcept
{
    if (path_ == Path::lossless)
        return lossless_.open(allocator_, header_, input_, first_, delivered_, restart_rows_, cpu_);
    const NUV_JPEGCode code = open_band();
    if (!is_good(code))
        return code;
    if (path_ == Path::stored)
        return stored_.open(allocator_, header_, geometry_, input_, restart_rows_, mends_);
    const auto color = converts_to_rgb() ? NUV_JPEGSequential::Color::rgb_from_ycc
                                         : NUV_JPEGSequential::Color::as_stored;
    return sequential_.open(allocator_, header_, geometry_, input_, band_, tables_, color,
                            restart_rows_, mends_, cpu_);
}

NUV_JPEGCode NUV_JPEGDecoder::open_band() noexcept
{
    NUV_JPEGGeometry geometry = geometry_;
    if (converts_to_rgb()) // all three at the size of the luma
        std::fill_n(geometry.planes.begin(), geometry.components, geometry_.planes[0]);
    return band_.open(allocator_, geometry, first_, delivered_, jpeg_sample_forms(cpu_));
}

NUV_JPEGCode NUV_JPEGDecoder::decode_band() noexcept
{
    if (path_ == Path::sequential)
        return sequential_.decode_row();
    return stored_.decode_row(line_ / geometry_.mcu_height, band_);
}

NUV_JPEGCode NUV_JPEGDecoder::read_line(std::uint8_t* line, bool in_planes) noexcept
{
    if (state_ != State::decoding || line_ >= geometry_.height)
        return NUV_JPEGCode::wrong_state;
    if (path_ == Path::lossless) {
        ++line_;
        return lossless_.read_line(line);
    }
    if (band_line_ == geometry_.mcu_height) {
        band_code_ = decode_band();
        if (is_failure(band_code_))
            return band_code_;
        band_line_ = 0;
    }
    if (in_planes)
        band_.get_planes(band_line_, line);
    else
        band_.get_line(band_line_, line);
    ++band_line_;
    ++line_;
    return band_code_;
}

std::optional<std::uint32_t> NUV_JPEGDecoder::take_left_over() noexcept
{
    if (path_ == Path::lossless)
        return lossless_.take_left_over();
    if (path_ == Path::stored)
        return stored_.take_left_over() ? std::optional(0U) : std::nullopt;
    const auto row = sequential_.take_left_over();
    return row ? std::optional(*row * geometry_.mcu_height) : std::nullopt;
}

void NUV_JPEGDecoder::close() noexcept
{
    state_ = State::closed;
    band_.close();
    sequential_.close();
    stored_.close();
    lossless_.close();
}

} // namespace nuv
