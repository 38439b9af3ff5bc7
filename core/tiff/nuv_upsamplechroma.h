#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Spreads subsampled chroma that is stored with its luma (TIFF 6.0, section 21: data units) over
// the pixels: each Cb and Cr goes to all pixels of its unit, and nothing is interpolated.
class NUV_UpsampleChroma final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Luma samples of a unit, across and down.
    static constexpr std::uint32_t no_units = 0; // gives `source` back
    static constexpr std::uint32_t units_2x1 = 1;
    static constexpr std::uint32_t units_2x2 = 2;
    static constexpr std::uint32_t units_4x1 = 3;

    // `source` delivers the units as a stream: three channels of 8 bits, coded as `unknown`.
    // NUV_ERR_ARGUMENT for a null, NUV_ERR_UNSUPPORTED for other units and other images. Data that
    // ends inside a line is NUV_ERR_BROKEN_DATA behind the lines that are whole.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* source, std::uint32_t mode);

private:
    [[nodiscard]] NUV_Engine* create_engine(NUV_Engine& source, std::uint32_t mode);
};

} // namespace nuv
