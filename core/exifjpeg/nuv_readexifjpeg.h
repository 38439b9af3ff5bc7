#pragma once

#include "core/exifjpeg/nuv_exifjpeginfo.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Reads the primary image of an Exif JPEG file as NUV_ReadJPEG does. No attribute changes it.
class NUV_ReadExifJPEG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no such file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::int32_t scale);
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_ExifJPEGInfo* info,
                                     std::int32_t scale);
};

} // namespace nuv
