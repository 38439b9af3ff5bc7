#pragma once

#include "core/tiff/nuv_tiffinfo.h"
#include "framework/engine/nuv_engine.h"

namespace nuv {

// The raw lines of the JPEG strips of an image, or of its stream. Null after a status.
[[nodiscard]] NUV_Engine* read_tiff_jpeg_strips(NUV_Manager& manager, NUV_InputStorage* storage,
                                                const NUV_TIFFInfo& info);

} // namespace nuv
