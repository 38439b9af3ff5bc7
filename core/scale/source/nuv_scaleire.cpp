#include "core/scale/nuv_scaleire.h"

#include "core/include/nuv_pixelcopy.h"
#include "core/include/nuv_scaleframe.h"
#include "framework/base/nuv_checkedsize.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

// Makes `header` `factor` times as wide. False when its lines then pass 32-bit sizes.
bool widen(NUV_Header& header, std::uint32_t factor) noexcept
{
    const auto width = checked_product(header.width(), factor);
    if (!width)
        return false;
    header.width(*width);
    return header.checked_line_bytes().has_value();
}

class NUV_ScaleWidthIRE8xNBitsEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthIRE8xNBitsEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t factor)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        const bool served = visit_sample_type(
            integer_samples, *header, []<class T>() { return true; }, [] { return false; });
        if (!served)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        if (factor == 0)
            return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

        factor_ = factor;
        source_width_ = header->width();
        pixel_bytes_ = std::size_t{header->channels()} * header->bits() / 8;
        if (!widen(header_, factor))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        return dst->block_bytes(header_.line_bytes());
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        visit_pixel_bytes(pixel_bytes_, [&]<std::size_t PixelBytes>() {
            repeat_pixels<PixelBytes>(static_cast<const std::uint8_t*>(in), factor_,
                                      static_cast<std::uint8_t*>(out), source_width_, pixel_bytes_);
        });
        return true;
    }

    std::uint32_t factor_ = 0;
    std::uint32_t source_width_ = 0;
    std::size_t pixel_bytes_ = 0;
};

class NUV_ScaleWidthIRE1BitEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthIRE1BitEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t factor);
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] bool execute() override;

private:
    void fill_table() noexcept;
    void expand(const std::uint8_t* in, std::uint8_t* out) const noexcept;

    std::uint32_t factor_ = 0;
    std::uint32_t source_width_ = 0;
    NUV_Scratch<std::uint8_t> table_; // 256 entries of factor_ bytes
    std::uint32_t line_ = 0;
};

bool NUV_ScaleWidthIRE1BitEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                           NUV_DstBuffer* dst, std::uint32_t factor)
{
    constexpr std::size_t byte_values = 256;

    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!header->is_raw() || header->data_type() != NUV_DataType::u_integer ||
        header->bits() != 1 || header->channels() != 1)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (factor == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    factor_ = factor;
    source_width_ = header->width();
    if (!widen(header_, factor))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (!table_.allocate(manager(), byte_values * factor))
        return false;
    fill_table();
    return src->block_bytes(header->line_bytes()) && dst->block_bytes(header_.line_bytes());
}

void NUV_ScaleWidthIRE1BitEngine::fill_table() noexcept
{
    std::memset(table_.data(), 0, table_.size());
    for (std::size_t value = 0; value < 256; ++value) {
        std::uint8_t* entry = table_.data() + value * factor_;
        for (std::size_t bit = 0; bit < 8 * std::size_t{factor_}; ++bit) {
            if (value & (0x80U >> (bit / factor_)))
                entry[bit >> 3] = static_cast<std::uint8_t>(entry[bit >> 3] | 0x80U >> (bit & 7));
        }
    }
}

void NUV_ScaleWidthIRE1BitEngine::expand(const std::uint8_t* in, std::uint8_t* out) const noexcept
{
    const std::size_t whole = source_width_ >> 3;
    const std::size_t rest = source_width_ & 7;
    for (std::size_t i = 0; i < whole; ++i)
        std::memcpy(out + i * factor_, table_.data() + std::size_t{in[i]} * factor_, factor_);
    if (rest == 0)
        return;
    // The padding of the source must not show.
    const std::size_t last = in[whole] & (0xFFU << (8 - rest)) & 0xFFU;
    std::memcpy(out + whole * factor_, table_.data() + last * factor_, (factor_ * rest + 7) >> 3);
}

bool NUV_ScaleWidthIRE1BitEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    NUV_InputBlock in(*src_buffer_);
    if (!in)
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    expand(in.as<std::uint8_t>(), out.as<std::uint8_t>());
    ++line_;
    const bool released = in.release();
    const bool committed = out.commit(header_.line_bytes());
    return released && committed;
}

// Commits `factor` lines at once.
class NUV_ScaleHeightIREEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightIREEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t factor)
    {
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (!header->is_raw())
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        if (factor == 0)
            return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
        const auto height = checked_product(header->height(), factor);
        const auto block_bytes = checked_product(header->line_bytes(), factor);
        if (!height || !block_bytes)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

        header_.height(*height);
        source_height_ = header->height();
        factor_ = factor;
        return src->block_bytes(header->line_bytes()) && dst->block_bytes(*block_bytes);
    }

    // Lines that are made where others look at them are not made by block.
    [[nodiscard]] bool delivers_what_it_writes() const override { return factor_ > 1; }
    [[nodiscard]] bool execute() override
    {
        if (source_line_ >= source_height_)
            return false;
        NUV_OutputBlock block(*dst_buffer_);
        if (!block)
            return false;
        auto* out = block.as<std::uint8_t>();
        NUV_InputBlock in(*src_buffer_, out);
        if (!in)
            return false;
        const std::size_t line_bytes = header_.line_bytes();
        for (std::size_t i = 1; i < factor_; ++i)
            std::memcpy(out + i * line_bytes, out, line_bytes);
        ++source_line_;
        const bool released = in.release();
        const bool committed = block.commit(static_cast<std::uint32_t>(line_bytes * factor_));
        return released && committed;
    }

private:
    std::uint32_t source_height_ = 0;
    std::uint32_t factor_ = 0;
    std::uint32_t source_line_ = 0;
};

} // namespace

NUV_Engine* NUV_ScaleWidthIRE::engine(NUV_Engine* previous, std::uint32_t factor)
{
    if (!accepts(previous, factor, "NUV_ScaleWidthIRE::engine()"))
        return nullptr;
    if (factor == 1)
        return previous;
    if (previous->header()->bits() == 1)
        return NUV_ScaleWidthIRE1Bit(manager()).engine(previous, factor);
    return NUV_ScaleWidthIRE8xNBits(manager()).engine(previous, factor);
}

NUV_Engine* NUV_ScaleWidthIRE8xNBits::engine(NUV_Engine* previous, std::uint32_t factor)
{
    constexpr auto method = "NUV_ScaleWidthIRE8xNBits::engine()";

    if (!accepts(previous, factor, method))
        return nullptr;
    return visit_sample_type(
        integer_samples, *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_ScaleWidthIRE8xNBitsEngine>(*previous, factor);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ScaleWidthIRE1Bit::engine(NUV_Engine* previous, std::uint32_t factor)
{
    if (!accepts(previous, factor, "NUV_ScaleWidthIRE1Bit::engine()"))
        return nullptr;
    return append_new<NUV_ScaleWidthIRE1BitEngine>(*previous, factor);
}

NUV_Engine* NUV_ScaleHeightIRE::engine(NUV_Engine* previous, std::uint32_t factor)
{
    if (!accepts(previous, factor, "NUV_ScaleHeightIRE::engine()"))
        return nullptr;
    if (factor == 1)
        return previous;
    return append_new<NUV_ScaleHeightIREEngine>(*previous, factor);
}

NUV_Engine* NUV_ScaleIRE::engine(NUV_Engine* previous, std::uint32_t factor_x,
                                 std::uint32_t factor_y)
{
    if (!has_image(previous) || factor_x == 0 || factor_y == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ScaleIRE::engine()");
    NUV_Engine* widened = NUV_ScaleWidthIRE(manager()).engine(previous, factor_x);
    return widened ? NUV_ScaleHeightIRE(manager()).engine(widened, factor_y) : nullptr;
}

} // namespace nuv
