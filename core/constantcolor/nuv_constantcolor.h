#pragma once

#include "framework/base/nuv_header.h"
#include "framework/engine/nuv_enginecreator.h"

#include <span>

namespace nuv {

// The start of a chain: an image of one colour. `header` says what image, and is copied; `color`
// has one value for each channel, in units of the sample. NUV_ERR_ARGUMENT for a null, another
// number of values and values that the samples cannot hold, NUV_ERR_UNSUPPORTED for images that no
// engine makes.

// Any image that NUV_ConstantColorRaw makes.
class NUV_ConstantColor final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(const NUV_Header* header, std::span<const double> color);
};

// Raw images of one bit, of 8, 16 and 32 bit integers, and of 32 and 64 bit reals.
class NUV_ConstantColorRaw final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(const NUV_Header* header, std::span<const double> color);
};

} // namespace nuv
