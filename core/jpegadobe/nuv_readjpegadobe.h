#pragma once

#include "core/jpegadobe/nuv_jpegadobeinfo.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Reads an Adobe JPEG file of 8 bits: gray, YCbCr and RGB as they are, YCCK as YCbCr, and CMYK,
// which is stored inverted, the right way round.
class NUV_ReadJPEGAdobe final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no Adobe JPEG file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::int32_t scale);
    // NUV_ERR_INVALID_DATA for what such a file does not hold, otherwise as NUV_ReadJPEG.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_JPEGAdobeInfo* info,
                                     std::int32_t scale);

private:
    [[nodiscard]] NUV_Engine* turn_cmyk(NUV_Engine* inverted);
};

} // namespace nuv
