#pragma once

#include "core/tiff/nuv_tiffinfo.h"
#include "framework/engine/nuv_engine.h"

namespace nuv {

// Appends an engine for each JPEG strip of an image, or one for its stream, that delivers the raw
// lines of the strip. False after a status; the engines so far are there.
[[nodiscard]] bool read_tiff_jpeg_strips(NUV_Manager& manager, NUV_InputStorage* storage,
                                         const NUV_TIFFInfo& info,
                                         NUV_Vector<NUV_Engine*>& engines);

} // namespace nuv
