#pragma once

#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Samples of another type and width: in x slope + offset, limited to what the new type can hold.
// Results that are no integers are rounded, halves away from zero; with a slope of 1 they are cut
// towards zero. Into 32-bit reals it is all calculated in those. What is not a number stays so in
// real samples, and becomes 0 in integers; beyond the range of real samples lies their largest.
//
// Raw images without a palette of integers of 1 (unsigned), 8, 16 and 32 bits or reals of 32 and
// 64; to the same types. Channels and colour stay. A null type stands for the image's own.
// NUV_ERR_ARGUMENT for a null engine, NUV_ERR_UNSUPPORTED for other types.

// Takes the cheapest way: a table, a shift, an expansion of bits, or one of the creators below. The
// image's own type with slope 1 and offset 0 gives `previous` itself. Halves of negative samples
// are rounded up where a shift does it. To one bit from another width, `offset` is a threshold: a
// bit is 1 where in x slope reaches it.
class NUV_ConvertDataType final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, double slope, double offset);
};

// By arithmetic, from 8 bits or more to 8 bits or more.
class NUV_ConvertDataType8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, double slope, double offset);
};

// From one bit to one bit: the image itself, its inverse, or one value throughout.
class NUV_ConvertDataType1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, double slope, double offset);
};

// From one bit to 8 bits or more.
class NUV_ConvertDataTypeFrom1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DataType* type,
                                     std::uint16_t bits, double slope, double offset);
};

// From 8 bits or more to one: 1 where in x slope, as a double, reaches the threshold.
class NUV_ConvertDataTypeTo1bit final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, double slope, double threshold);
};

} // namespace nuv
