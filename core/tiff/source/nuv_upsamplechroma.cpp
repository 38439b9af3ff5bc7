#include "core/tiff/nuv_upsamplechroma.h"

#include "core/tiff/source/nuv_chromaunits_kernels.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <cstddef>

namespace nuv {
namespace {

constexpr std::size_t channels = 3;

template <std::size_t Across, std::size_t Down>
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
        expand_ = choose_expand_chroma_units<Across, Down>(manager().cpu());
        // No more than the line of pixels has, but for what fills up the last unit.
        const auto units = static_cast<std::uint32_t>((header->width() + Across - 1) / Across);
        const bool source_set =
            src->block_bytes(units * static_cast<std::uint32_t>(chroma_unit_bytes<Across, Down>));
        return source_set && dst->block_bytes(header_.line_bytes());
    }

    [[nodiscard]] bool execute() override
    {
        if (line_ >= header_.height())
            return false;
        NUV_OutputBlock out(*dst_buffer_);
        if (!out)
            return false;
        const std::size_t row = line_ % Down;
        if (row == 0 && !take_units())
            return false;
        expand_(units_, out.as<std::uint8_t>(), header_.width(), row);
        ++line_;
        const bool is_last = row + 1 == Down || line_ == header_.height();
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
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_UpsampleChromaEngine::execute()",
                    NUV_Diagnosis().says("the data ends early, at line %u of %u", line_ + 1,
                                         header_.height()));
    }

    ExpandChromaUnits expand_ = nullptr;
    const std::uint8_t* units_ = nullptr;
    std::uint32_t line_ = 0;
};

using NUV_UpsampleChroma422Engine = NUV_UpsampleChromaEngine<2, 1>;
using NUV_UpsampleChroma420Engine = NUV_UpsampleChromaEngine<2, 2>;
using NUV_UpsampleChroma411Engine = NUV_UpsampleChromaEngine<4, 1>;

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
