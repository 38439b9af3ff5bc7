#pragma once

#include "core/tiff/source/nuv_tiffstrips.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Reads strips in PackBits each of which begins anew, one behind the other, as raw lines.
class NUV_ReadPackBitsStrips final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Of the image with `header`, whose strips have `rows` lines each, but for the last. The
    // storage is this engine's alone; what was put into `strips` is handed on. Null after a status.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_Header& header,
                                     NUV_TIFFStripStream& strips, std::uint32_t rows);
};

} // namespace nuv
