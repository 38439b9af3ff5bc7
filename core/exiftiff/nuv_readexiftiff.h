#pragma once

#include "core/exiftiff/nuv_exiftiffinfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reads the primary image of an Exif TIFF file as NUV_ReadTIFF does. No attribute of Exif changes
// it.
class NUV_ReadExifTIFF final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no such file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // Reads the directory again, from the begin of the storage. NUV_ERR_ARGUMENT for an info that
    // is not loaded or not valid and for a null or closed storage, otherwise as NUV_ReadTIFF.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_ExifTIFFInfo* info);
};

} // namespace nuv
