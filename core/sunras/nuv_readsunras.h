#pragma once

#include "core/sunras/nuv_sunrasinfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reads a Sun raster file. Colours come out red first, whatever the file has; the four channels of
// a 32-bit file are turned around likewise. The first line that the data cannot fill ends the image
// with NUV_ERR_BROKEN_DATA; the lines before it stand.
class NUV_ReadSunras final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no Sun raster file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // The storage stands behind the header. NUV_ERR_ARGUMENT for an info that is not loaded or not
    // valid, NUV_ERR_UNSUPPORTED for run-length data.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_SunrasInfo* info);
};

} // namespace nuv
