#pragma once

#include "core/png/nuv_pnginfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reads a PNG file through libpng. Lines before damage are delivered, with the status of the
// damage; an interlaced image comes whole or not at all, and is held once in memory. What libpng
// finds wrong behind the last line costs nothing but the status.
class NUV_ReadPNG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no PNG file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // The storage is the one of which the info was loaded. NUV_ERR_ARGUMENT for an info that is not
    // loaded or not valid, NUV_ERR_SEQUENCE for one whose image is being read already: what was
    // read is not read twice. NUV_ERR_BROKEN_DATA for an interlaced image that the rest of the
    // storage cannot hold, if it is larger than 16 MiB.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNGInfo* info);
};

// The same for an image that is stored line after line; NUV_ERR_UNSUPPORTED for another.
class NUV_ReadPNGNoninterlace final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNGInfo* info);
};

// The same for an image that is stored in seven passes; NUV_ERR_UNSUPPORTED for another.
class NUV_ReadPNGInterlace final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNGInfo* info);
};

} // namespace nuv
