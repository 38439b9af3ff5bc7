#include "core/tiff/nuv_upsamplechroma.h"

#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <cstddef>

namespace nuv {
namespace {

constexpr std::size_t channels = 3;

// Units of Across x Down pixels: their luma line by line, one Cb, one Cr.
template <std::size_t Across, std::size_t Down>
struct ChromaUnits {
    static constexpr std::size_t across = Across;
    static constexpr std::size_t down = Down;
    static constexpr std::size_t bytes = Across * Down + 2;

    // Line `row` of the units, `width` pixels; a last unit may reach beyond them.
    static void expand(const std::uint8_t* in, std::uint8_t* out, std::size_t width,
                       std::size_t row) noexcept
    {
        const std::uint8_t* luma = in + row * Across;
        const std::uint8_t* chroma = in + Across * Down;
        std::size_t left = width;
        for (; left >= Across; left -= Across) {
            put(luma, chroma, out, Across);
            luma += bytes;
            chroma += bytes;
            out += channels * Across;
        }
        put(luma, chroma, out, left);
    }

private:
    static void put(const std::uint8_t* luma, const std::uint8_t* chroma, std::uint8_t* out,
                    std::size_t pixels) noexcept
    {
        for (std::size_t i = 0; i < pixels; ++i) {
            out[channels * i] = luma[i];
            out[channels * i + 1] = chroma[0];
            out[channels * i + 2] = chroma[1];
        }
    }
};

template <class Units>
class NUV_UpsampleChromaEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_UpsampleChromaEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (header->encode_type() != NUV_EncodeType::unknown || header->channels() != channels ||
            header->bits() != 8)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        header_.encode_type(NUV_EncodeType::raw);
        // No more than the line of pixels has, but for what fills up the last unit.
        const auto units =
            static_cast<std::uint32_t>((header->width() + Units::across - 1) / Units::across);
        const bool source_set = src->block_bytes(units * static_cast<std::uint32_t>(Units::bytes));
        return source_set && dst->block_bytes(header_.line_bytes());
    }

    [[nodiscard]] bool execute() override
    {
        if (line_ >= header_.height())
            return false;
        NUV_OutputBlock out(*dst_buffer_);
        if (!out)
            return false;
        const std::size_t row = line_ % Units::down;
        if (row == 0 && !take_units())
            return false;
        Units::expand(units_, out.as<std::uint8_t>(), header_.width(), row);
        ++line_;
        const bool is_last = row + 1 == Units::down || line_ == header_.height();
        const bool released = !is_last || src_buffer_->release();
        const bool committed = out.commit(header_.line_bytes());
        return released && committed;
    }

private:
    // A line of units, which stands until its last line of pixels is out.
    [[nodiscard]] bool take_units()
    {
        std::uint32_t bytes = 0;
        units_ = static_cast<const std::uint8_t*>(src_buffer_->get(&bytes));
        if (units_ && bytes == src_buffer_->block_bytes())
            return true;
        if (units_)
            static_cast<void>(src_buffer_->release());
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_UpsampleChromaEngine::execute()");
    }

    const std::uint8_t* units_ = nullptr;
    std::uint32_t line_ = 0;
};

using NUV_UpsampleChroma422Engine = NUV_UpsampleChromaEngine<ChromaUnits<2, 1>>;
using NUV_UpsampleChroma420Engine = NUV_UpsampleChromaEngine<ChromaUnits<2, 2>>;
using NUV_UpsampleChroma411Engine = NUV_UpsampleChromaEngine<ChromaUnits<4, 1>>;

} // namespace

NUV_Engine* NUV_UpsampleChroma::engine(NUV_Engine* source, std::uint32_t mode)
{
    if (!accepts_image(source, "NUV_UpsampleChroma::engine()"))
        return nullptr;
    return mode == no_units ? source : create_engine(*source, mode);
}

NUV_Engine* NUV_UpsampleChroma::create_engine(NUV_Engine& source, std::uint32_t mode)
{
    switch (mode) {
    case units_2x1:
        return append_new<NUV_UpsampleChroma422Engine>(source);
    case units_2x2:
        return append_new<NUV_UpsampleChroma420Engine>(source);
    case units_4x1:
        return append_new<NUV_UpsampleChroma411Engine>(source);
    default:
        return fail(manager(), NUV_ERR_UNSUPPORTED, "NUV_UpsampleChroma::create_engine()");
    }
}

} // namespace nuv
