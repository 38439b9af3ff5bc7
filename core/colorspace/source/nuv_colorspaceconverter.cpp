#include "core/colorspace/source/nuv_colorspaceconverter.h"

#include "core/colormatrix/nuv_colormatrix.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/colorspace/source/nuv_cspointconverterfactory.h"
#include "core/dlut/nuv_dlut.h"
#include "core/lut/nuv_lut.h"
#include "core/operation/nuv_not.h"
#include "framework/engine/nuv_nop.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

namespace nuv {
namespace {

template <class T>
class NUV_ColorSpaceConverterPtoPEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ColorSpaceConverterPtoPEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_ColorType* target);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        converter_->convert(static_cast<const T*>(in), static_cast<T*>(out), pixels_per_line_);
        return true;
    }

    NUV_Held<NUV_CsPointConverter<T>> converter_;
    std::size_t pixels_per_line_ = 0;
};

template <class T>
bool NUV_ColorSpaceConverterPtoPEngine<T>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                                    NUV_DstBuffer* dst, const NUV_ColorType* target)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    converter_ = NUV_CsPointConverterFactory<T>(manager()).between(header->color_type(), target);
    if (!converter_) // a status that stands is the reason
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    header_.channels(static_cast<std::uint16_t>(target->channels()));
    header_.color_type(target);
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    pixels_per_line_ = header->width();
    return dst->block_bytes(header_.line_bytes());
}

} // namespace

NUV_Engine* NUV_ColorSpaceConverterPtoP::engine(NUV_Engine* previous, const NUV_ColorType* target)
{
    constexpr auto method = "NUV_ColorSpaceConverterPtoP::engine()";

    if (!has_image(previous) || !target)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const NUV_Header& header = *previous->header();
    if (target == header.color_type())
        return previous;
    if (header.bits() == 8)
        return append_new<NUV_ColorSpaceConverterPtoPEngine<std::uint8_t>>(*previous, target);
    if (header.bits() == 16)
        return append_new<NUV_ColorSpaceConverterPtoPEngine<std::uint16_t>>(*previous, target);
    return fail(manager(), NUV_ERR_UNSUPPORTED, method);
}

NUV_Engine* NUV_ColorSpaceConverter::append_table(NUV_Engine* previous, const NUV_ColorType* target,
                                                  const NUV_CsUtility& plan)
{
    return NUV_Lut(manager()).engine(previous, plan.table.get(), target);
}

// Twelve fractional bits cost several levels of 16-bit samples.
NUV_Engine* NUV_ColorSpaceConverter::append_matrix(NUV_Engine* previous,
                                                   const NUV_ColorType* target,
                                                   const NUV_CsUtility& plan)
{
    const bool use_fixed_real = has_image(previous) && previous->header()->bits() <= 8;
    return NUV_ColorMatrix(manager()).engine(previous, &plan.matrix,
                                             std::span(plan.offsets).first(plan.offset_count),
                                             target, use_fixed_real);
}

NUV_Engine* NUV_ColorSpaceConverter::append_label(NUV_Engine* previous, const NUV_ColorType* target)
{
    if (!previous)
        return nullptr;
    NUV_Header header(manager());
    if (!header.copy(*previous->header()))
        return nullptr;
    header.color_type(target);
    return NUV_RewriteHeader(manager()).engine(previous, &header);
}

NUV_Engine* NUV_ColorSpaceConverter::engine(NUV_Engine* previous, const NUV_ColorType* target,
                                            const NUV_CsUtility* plan)
{
    if (!has_image(previous) || !target || !plan)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ColorSpaceConverter::engine()");

    NUV_ColorSpaceConverterPtoP points(manager());
    NUV_ColorSpace others(manager());
    const NUV_ColorType* gray = NUV_ColorType::gray;
    switch (plan->mode) {
    case NUV_CsMode::table:
        return append_table(previous, target, *plan);
    case NUV_CsMode::matrix:
        return append_matrix(previous, target, *plan);
    case NUV_CsMode::grid:
        return NUV_DLutTetrahedron(manager()).engine(previous, &plan->grid, target);
    case NUV_CsMode::matrix_then_table:
        return append_table(append_matrix(previous, gray, *plan), target, *plan);
    case NUV_CsMode::table_then_matrix:
        return append_matrix(append_table(previous, gray, *plan), target, *plan);
    case NUV_CsMode::inversion:
        return append_label(NUV_Not(manager()).engine(previous), target);
    case NUV_CsMode::points:
        return points.engine(previous, target);
    case NUV_CsMode::relabel:
        return append_label(previous, target);
    case NUV_CsMode::points_then_others:
        return others.engine(points.engine(previous, plan->between), target);
    case NUV_CsMode::others_then_points:
        return points.engine(others.engine(previous, plan->between), target);
    }
    return nullptr;
}

} // namespace nuv
