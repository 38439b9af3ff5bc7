#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

class NUV_OutputStorage;

// Ends a chain with a binary anymap at the position of a storage. Takes raw images of unsigned
// samples without a palette: one bit of gray_reverse becomes P4, in which a 1 is black; gray of 8
// and 16 bits P5; s_rgb of 8 and 16 bits P6. Samples of 16 bits are stored high byte first, under
// the largest value of their width. Nothing is converted: what none of the three forms can say is
// refused.
class NUV_WritePNM final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // The header is written before the call returns. NUV_ERR_ARGUMENT for nulls and a closed
    // storage, NUV_ERR_UNSUPPORTED for other images, NUV_ERR_IO; the others are those of
    // NUV_WriteStorage.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, NUV_OutputStorage* storage);
};

} // namespace nuv
