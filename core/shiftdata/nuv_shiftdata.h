#pragma once

#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Multiplies samples by 2^shift and changes their type at the same time, in integers: a positive
// shift is to the left; a negative one, to the right, rounds half up. Raw images of 8, 16 and 32
// bit integers without a palette, to any of these types. The same type with a shift of 0 gives
// `previous` itself.
//
// NUV_ERR_ARGUMENT for a null and for shifts beyond -31 to 31, NUV_ERR_UNSUPPORTED for other types.

// What does not fit the new type wraps.
class NUV_ShiftDataNL final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, std::int32_t shift);
};

// What does not fit the new type becomes its nearest value.
class NUV_ShiftDataWL final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, std::int32_t shift);
};

// Either of the two.
class NUV_ShiftData final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, std::int32_t shift, bool limit);
};

} // namespace nuv
