#pragma once

#include "framework/base/nuv_manager.h"

namespace nuv {

// The context for one pipeline. `kind` 0 is the one there is; any other answers null, and so does a
// lack of memory.
[[nodiscard]] NUV_Manager* create_manager(int kind);

// Null does nothing. What the destructor throws is passed on after the memory has been freed.
void destroy_manager(NUV_Manager* manager);

} // namespace nuv
