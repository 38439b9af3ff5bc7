#pragma once

#include "core/colorspace/source/nuv_csutility.h"
#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Appends what a plan says. NUV_ERR_ARGUMENT for nulls.
class NUV_ColorSpaceConverter final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_ColorType* target,
                                     const NUV_CsUtility* plan);

private:
    [[nodiscard]] NUV_Engine* append_table(NUV_Engine* previous, const NUV_ColorType* target,
                                           const NUV_CsUtility& plan);
    [[nodiscard]] NUV_Engine* append_matrix(NUV_Engine* previous, const NUV_ColorType* target,
                                            const NUV_CsUtility& plan);
    [[nodiscard]] NUV_Engine* append_label(NUV_Engine* previous, const NUV_ColorType* target);
};

// Converts pixel by pixel, without tables: between sRGB and HSL. The image's own colour gives
// `previous` itself. NUV_ERR_ARGUMENT for nulls, NUV_ERR_UNSUPPORTED for other colours and for
// samples of other than 8 and 16 bits.
class NUV_ColorSpaceConverterPtoP final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_ColorType* target);
};

} // namespace nuv
