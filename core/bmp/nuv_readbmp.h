#pragma once

#include "core/bmp/nuv_bmpinfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reads a Windows bitmap file; see NUV_ReadDIB for what comes out.
class NUV_ReadBMP final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no bitmap file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // The storage stands behind the colour table, where the pixels begin unless the file header
    // tells another place. NUV_ERR_ARGUMENT for an info that is not loaded or not valid,
    // NUV_ERR_BROKEN_DATA for pixels that begin behind the end.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_BMPInfo* info);
};

} // namespace nuv
