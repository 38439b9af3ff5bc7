#include "core/scale/nuv_scalenn.h"

#include "core/include/nuv_pixelcopy.h"
#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_nearestbits_kernels.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scalennqdrle.h"
#include "core/scale/nuv_scaless.h"
#include "core/scale/source/nuv_pixelmover.h"
#include "core/scale/source/nuv_scaleshrinkengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

// Samples that can be copied one by one. A palette does not matter: indices are copied too.
bool has_movable_samples(const NUV_Header& header) noexcept
{
    const bool is_integer = header.data_type() == NUV_DataType::u_integer ||
                            header.data_type() == NUV_DataType::s_integer;
    const std::uint16_t bits = header.bits();
    return header.is_raw() && is_integer &&
           (bits == 8 || bits == 16 || (bits == 1 && header.channels() == 1));
}

// Which pixel of a source line each output pixel copies.
class NUV_NearestPixels {
public:
    [[nodiscard]] bool initiate(NUV_Manager& manager, const NUV_Header& source,
                                std::uint32_t destination_width)
    {
        const double ratio = scale_ratio(source.width(), destination_width);
        const double last = source.width() - 1;
        if (!pixels_.allocate(manager, destination_width))
            return false;
        double position = ratio * 0.5;
        for (std::uint32_t& pixel : pixels_.items()) {
            pixel = static_cast<std::uint32_t>(std::min(position, last));
            position += ratio;
        }
        if (source.bits() == 1)
            return initiate_bits(manager, source.line_bytes());
        const std::size_t pixel_bytes = std::size_t{source.bits()} / 8 * source.channels();
        const bool initiated =
            mover_.initiate(manager, source.line_bytes(), pixel_bytes, destination_width,
                            [&](std::size_t k) { return pixels_[k] * pixel_bytes; });
        pixels_.free();
        return initiated;
    }

    void copy_line(const std::uint8_t* in, std::uint8_t* out) const noexcept
    {
        if (move_bits_ != nullptr)
            move_bits_(bits_, in, out);
        else
            mover_.move_row(in, out);
    }

private:
    [[nodiscard]] bool initiate_bits(NUV_Manager& manager, std::size_t line_bytes)
    {
        const auto pixels = pixels_.items();
        move_bits_ = choose_move_bits(manager.cpu(), pixels, line_bytes);
        const std::size_t windows = count_bit_windows(move_bits_, pixels.size());
        const std::size_t masks = count_bit_masks(move_bits_, line_bytes);
        bits_ = {.pixels = pixels,
                 .windows = {},
                 .masks = {},
                 .out_pixels = pixels.size(),
                 .in_bytes = line_bytes};
        if ((windows != 0 && !windows_.allocate(manager, windows)) ||
            (masks != 0 && !masks_.allocate(manager, masks)))
            return false;
        if (windows == 0 && masks == 0)
            return true;
        if (windows != 0)
            set_bit_windows(move_bits_, pixels, line_bytes, windows_.items());
        else
            set_bit_masks(pixels, masks_.items());
        bits_.windows = windows_.items();
        bits_.masks = masks_.items();
        bits_.pixels = {};
        pixels_.free();
        return true;
    }

    NUV_Scratch<std::uint32_t> pixels_; // of packed samples
    NUV_Scratch<NUV_NearestBits::Window> windows_;
    NUV_Scratch<std::uint64_t> masks_;
    NUV_NearestBits bits_;
    MoveBits move_bits_ = nullptr;
    NUV_PixelMover mover_; // of all others
};

class NUV_ScaleWidthNNEngine final : public NUV_ScaleWidthEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthNNEngine::initiate()";
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width, initiate_method))
            return false;
        if (!has_movable_samples(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        return pixels_.initiate(manager(), *header, width);
    }

private:
    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        pixels_.copy_line(in, out);
    }

    NUV_NearestPixels pixels_;
};

class NUV_ScaleHeightNNEngine final : public NUV_ScaleHeightEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightNNEngine::initiate()";
    using NUV_ScaleHeightEngine::NUV_ScaleHeightEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height, bool source_delivers_what_it_writes)
    {
        source_delivers_what_it_writes_ = source_delivers_what_it_writes;
        if (!NUV_ScaleHeightEngine::initiate(header, src, dst, height))
            return false;
        if (!has_movable_samples(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        position_ = ratio_ * 0.5;
        return true;
    }

    // The source may write to this engine's room.
    [[nodiscard]] bool delivers_what_it_writes() const override
    {
        return source_delivers_what_it_writes_;
    }
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool deliver(std::uint8_t* out, bool wanted_again);

    bool source_delivers_what_it_writes_ = false;

    std::uint32_t lines_consumed_ = 0;   // of the source, the held one included
    const std::uint8_t* held_ = nullptr; // the line consumed last, when it is wanted again
};

bool NUV_ScaleHeightNNEngine::execute()
{
    if (line_ >= destination_height_)
        return false;
    const std::uint32_t last = source_height_ - 1;
    const std::int64_t wanted = whole(position_, last);
    const bool wanted_again =
        line_ + 1 < destination_height_ && whole(position_ + ratio_, last) == wanted;
    while (lines_consumed_ < wanted) {
        if (!src_buffer_->skip())
            return false;
        ++lines_consumed_;
    }
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    const bool delivered = deliver(out.as<std::uint8_t>(), wanted_again);
    const bool committed = out.commit(delivered ? line_bytes_ : 0);
    ++line_;
    position_ += ratio_;
    return delivered && committed;
}

// The wanted line to `out`: the held one, or the next of the source, which is read straight into
// `out` unless it has to be held.
bool NUV_ScaleHeightNNEngine::deliver(std::uint8_t* out, bool wanted_again)
{
    if (!held_) {
        ++lines_consumed_;
        if (!wanted_again) {
            NUV_InputBlock in(*src_buffer_, out);
            return in && in.release();
        }
        held_ = static_cast<const std::uint8_t*>(src_buffer_->get(nullptr));
        if (!held_)
            return false;
    }
    std::memcpy(out, held_, line_bytes_);
    if (wanted_again)
        return true;
    held_ = nullptr;
    return src_buffer_->release();
}

class NUV_ScaleShrinkNNEngine final : public NUV_ScaleShrinkEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleShrinkNNEngine::initiate()";
    using NUV_ScaleShrinkEngine::NUV_ScaleShrinkEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, std::uint32_t height)
    {
        if (!NUV_ScaleShrinkEngine::initiate(header, src, dst, width, height, initiate_method))
            return false;
        if (!has_movable_samples(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        position_y_ = ratio_y_ * 0.5;
        return pixels_.initiate(manager(), *header, width);
    }

    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] bool execute() override;

private:
    NUV_NearestPixels pixels_;
    std::uint32_t lines_consumed_ = 0;
};

bool NUV_ScaleShrinkNNEngine::execute()
{
    if (line_ >= destination_height_)
        return false;
    const auto wanted =
        static_cast<std::uint32_t>(std::min<double>(position_y_, source_height_ - 1));
    for (; lines_consumed_ < wanted; ++lines_consumed_) {
        if (!src_buffer_->skip())
            return false;
    }
    NUV_InputBlock in(*src_buffer_);
    if (!in)
        return false;
    ++lines_consumed_;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    pixels_.copy_line(in.as<std::uint8_t>(), out.as<std::uint8_t>());
    ++line_;
    position_y_ += ratio_y_;
    const bool released = in.release();
    const bool committed = out.commit(header_.line_bytes());
    return released && committed;
}

} // namespace

NUV_Engine* NUV_ScaleNN::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height)
{
    if (!accepts(previous, width, height, "NUV_ScaleNN::engine()"))
        return nullptr;
    const NUV_Header& source = *previous->header();
    if (source.encode_type() == NUV_EncodeType::qd_rle)
        return NUV_ScaleNNQDRLE(manager()).engine(previous, width, height);

    if (height < source.height() && width < source.width()) {
        const NUV_NearestRatio x(scale_ratio(source.width(), width));
        const NUV_NearestRatio y(scale_ratio(source.height(), height));
        if (x.exact && y.exact && (source.bits() == 8 || source.bits() == 16)) {
            return NUV_ScaleSS(manager()).engine(previous, x.value, y.value, x.value >> 1,
                                                 y.value >> 1);
        }
        return NUV_ScaleShrinkNN(manager()).engine(previous, width, height);
    }
    return in_order(
        previous, height,
        [&](NUV_Engine* last) { return NUV_ScaleWidthNN(manager()).engine(last, width); },
        [&](NUV_Engine* last) { return NUV_ScaleHeightNN(manager()).engine(last, height); });
}

NUV_Engine* NUV_ScaleWidthNN::engine(NUV_Engine* previous, std::uint32_t width)
{
    if (!accepts(previous, width, "NUV_ScaleWidthNN::engine()"))
        return nullptr;
    const std::uint32_t source = previous->header()->width();
    if (width == source)
        return previous;
    if (source != 0 && width % source == 0)
        return NUV_ScaleWidthIRE(manager()).engine(previous, width / source);
    return append_new<NUV_ScaleWidthNNEngine>(*previous, width);
}

NUV_Engine* NUV_ScaleHeightNN::engine(NUV_Engine* previous, std::uint32_t height)
{
    if (!accepts(previous, height, "NUV_ScaleHeightNN::engine()"))
        return nullptr;
    const std::uint32_t source = previous->header()->height();
    if (height == source)
        return previous;
    if (source != 0 && height % source == 0)
        return NUV_ScaleHeightIRE(manager()).engine(previous, height / source);
    return append_new<NUV_ScaleHeightNNEngine>(*previous, height,
                                               previous->delivers_what_it_writes());
}

NUV_Engine* NUV_ScaleShrinkNN::engine(NUV_Engine* previous, std::uint32_t width,
                                      std::uint32_t height)
{
    constexpr auto method = "NUV_ScaleShrinkNN::engine()";

    if (!accepts(previous, width, height, method))
        return nullptr;
    const NUV_Header& source = *previous->header();
    if (width == source.width() && height == source.height())
        return previous;
    const bool is_unsigned = source.data_type() == NUV_DataType::u_integer;
    const bool is_integer = is_unsigned || source.data_type() == NUV_DataType::s_integer;
    const bool is_served = (is_unsigned && source.bits() == 1) ||
                           (is_integer && (source.bits() == 8 || source.bits() == 16));
    if (!is_served)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_new<NUV_ScaleShrinkNNEngine>(*previous, width, height);
}

} // namespace nuv
