#pragma once

#include "core/jfif/nuv_jfifinfo.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Reads a JFIF file: 8 bits, one channel of gray or three of luma and chroma, as NUV_ReadJPEG does.
class NUV_ReadJFIF final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no JFIF file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::int32_t scale);
    // NUV_ERR_INVALID_DATA for what a JFIF file does not hold, otherwise as NUV_ReadJPEG.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_JFIFInfo* info,
                                     std::int32_t scale);
};

} // namespace nuv
