#include "core/scale/nuv_scaless.h"

#include "core/scale/source/nuv_pixelmover.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <cstddef>

namespace nuv {
namespace {

struct NUV_Subsampling {
    std::uint32_t step_x = 1;
    std::uint32_t step_y = 1;
    std::uint32_t offset_x = 0;
    std::uint32_t offset_y = 0;
};

// Samples of 8, 16 and 32 bits, and floating ones of 32 and 64.
bool has_whole_byte_samples(const NUV_Header& header) noexcept
{
    const std::uint16_t bits = header.bits();
    if (header.data_type() == NUV_DataType::floating)
        return bits == 32 || bits == 64;
    const bool is_integer = header.data_type() == NUV_DataType::u_integer ||
                            header.data_type() == NUV_DataType::s_integer;
    return is_integer && (bits == 8 || bits == 16 || bits == 32);
}

// How many of `size` pixels are kept; the offset lies among them.
std::uint32_t kept(std::uint32_t size, std::uint32_t step, std::uint32_t offset) noexcept
{
    return static_cast<std::uint32_t>((std::uint64_t{size} - offset + step - 1) / step);
}

class NUV_ScaleSSEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleSSEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_Subsampling& subsampling);
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }

private:
    NUV_Subsampling subsampling_;
    NUV_PixelMover mover_;
    std::uint32_t lines_consumed_ = 0;
    std::uint32_t line_ = 0;
};

bool NUV_ScaleSSEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                 const NUV_Subsampling& subsampling)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (subsampling.step_x == 0 || subsampling.step_y == 0 ||
        subsampling.offset_x >= header->width() || subsampling.offset_y >= header->height())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!header->is_raw() || !has_whole_byte_samples(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    subsampling_ = subsampling;
    header_.width(kept(header->width(), subsampling.step_x, subsampling.offset_x));
    header_.height(kept(header->height(), subsampling.step_y, subsampling.offset_y));
    const std::size_t pixel_bytes = std::size_t{header->channels()} * header->bits() / 8;
    return mover_.initiate(manager(), header->line_bytes(), pixel_bytes, header_.width(),
                           [&](std::size_t k) {
                               return (subsampling.offset_x + k * subsampling.step_x) * pixel_bytes;
                           }) &&
           src->block_bytes(header->line_bytes()) && dst->block_bytes(header_.line_bytes());
}

bool NUV_ScaleSSEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    const std::uint64_t wanted = subsampling_.offset_y + std::uint64_t{subsampling_.step_y} * line_;
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
    mover_.move_row(in.as<std::uint8_t>(), out.as<std::uint8_t>());
    ++line_;
    const bool released = in.release();
    const bool committed = out.commit(header_.line_bytes());
    return released && committed;
}

} // namespace

NUV_Engine* NUV_ScaleSS::engine(NUV_Engine* previous, std::uint32_t step_x, std::uint32_t step_y,
                                std::uint32_t offset_x, std::uint32_t offset_y)
{
    constexpr auto method = "NUV_ScaleSS::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    if (!has_whole_byte_samples(*previous->header()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_new<NUV_ScaleSSEngine>(*previous,
                                         NUV_Subsampling{step_x, step_y, offset_x, offset_y});
}

} // namespace nuv
