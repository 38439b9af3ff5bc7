#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/engine/nuv_engine.h"

namespace nuv {

// Turns indices into the colours that they stand for: an image of the channels and the bits of the
// palette's entries. Indices beyond the palette become its last entry. `previous` itself without a
// palette; null after a status.
[[nodiscard]] NUV_Engine* expand_palette(NUV_Manager& manager, NUV_Engine* previous);

} // namespace nuv
