#pragma once

#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Turns an image into another colour. Raw images without a palette of 8 and 16 bit unsigned
// samples in any colour but none and unknown, to any of these colours, with the same bits; and
// one-bit images of one channel to another colour of one channel. Values run from 0 to the largest
// sample in every channel; white is D50.
//
// Conversions that are linear or go channel by channel are exact to rounding, those to and from
// HSL too. All others go through a grid of 33 points for each channel of the image, computed when
// the engine is made, and are interpolated between them.
//
// The image's own colour gives `previous` itself. NUV_ERR_ARGUMENT for nulls, NUV_ERR_UNSUPPORTED
// for other colours and images.
class NUV_ColorSpace final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_ColorType* target);
};

} // namespace nuv
