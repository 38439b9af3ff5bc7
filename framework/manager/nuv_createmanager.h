#pragma once

#include "framework/base/nuv_manager.h"

namespace nuv {

struct NUV_MemoryCount;
class NUV_Watch;

// The context for one pipeline. `kind` 0 is the one there is; any other answers null, and so does a
// lack of memory.
[[nodiscard]] NUV_Manager* create_manager(int kind);
// One that counts what it takes, and takes no more than it may: then it raises NUV_ERR_MEMORY, with
// NUV_Cause::limit as the reason. With a `watch` it asks that before each step, and raises
// NUV_ERR_IO because of NUV_Cause::cancelled. Both outlive it.
[[nodiscard]] NUV_Manager* create_manager(NUV_MemoryCount& count, NUV_Watch* watch = nullptr);

// Null does nothing. What the destructor throws is passed on after the memory has been freed.
void destroy_manager(NUV_Manager* manager);

} // namespace nuv
