#pragma once

#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Expands bits to samples of 8 or 16 bits, signed or not: a 1 becomes `one`, a 0 becomes `zero`.
// Raw one-bit images of any number of channels, without a palette.
class NUV_Convert1To8xNBits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // NUV_ERR_ARGUMENT for a null and for values that the new samples cannot hold.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, std::int32_t one, std::int32_t zero);
};

} // namespace nuv
